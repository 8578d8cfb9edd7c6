// The bit-bang buffer on the default bench's device 5, whose D4-D7 follow
// D0-D3: a value v driven on D0-D3 reads back as v * 0x11.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "brevant/clsFTDISyncBitBang.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant {

// The buffer's bookkeeping, which no member shows.
class SyncBitBangInspector {
 public:
  explicit SyncBitBangInspector(const clsFTDISyncBitBang& port) : p(port) {}
  int32_t Size() const { return p.BufferSize; }
  int32_t Count() const { return p.WriteCount; }
  int32_t Position() const { return p.ReadPosition; }
  uint8_t At(int32_t index) const { return p.Buffer[index]; }
  int32_t Elements() const { return p.Buffer.Count(); }

 private:
  const clsFTDISyncBitBang& p;
};

namespace testing {
namespace {

using virt::Call;
using virt::FaultKind;

class SyncBitBangBufferTest : public BenchTest {
 protected:
  // Device 5 open with D0-D3 outputs at 0x0F and the log emptied.
  clsFTDISyncBitBang& Open() {
    port.emplace();
    port->Log(log);
    port->Initialize(5);
    port->PortDirection(0x0F);
    port->PortOutput(0x0F);
    log->lines.clear();
    return *port;
  }
  SyncBitBangInspector Inspect() const { return SyncBitBangInspector(*port); }

  std::optional<clsFTDISyncBitBang> port;
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

TEST_F(SyncBitBangBufferTest, WorkedRun) {
  clsFTDISyncBitBang& p = Open();
  p.BufferInitialize();
  EXPECT_EQ(p.BufferInputCount(), 1);
  p.BufferPortOutput(0x01);
  p.BufferSignalOutput(eftD1, eb1);
  p.BufferTransfer();
  EXPECT_EQ(log->Texts(), (std::vector<std::string>{
                              "FT_Purge (0x00000A3C, 0x1) = 0",
                              "FT_Write (0x00000A3C, 0x{0F 01 03}, 3, 3) = 0",
                              "FT_Read (0x00000A3C, 0x{FF FF 11}, 3, 3) = 0",
                          }));
  EXPECT_EQ(p.PortOutput0(), 0x03);
  EXPECT_EQ(p.PortInput0(), 0x11);
  EXPECT_EQ(p.BufferInputCount(), 2);
  EXPECT_EQ(p.BufferPortInput(), 0xFF);  // under the leading byte
  EXPECT_EQ(p.BufferSignalInput(eftD4), eb1);
  EXPECT_EQ(p.BufferInputCount(), 0);
  const Error empty = Raised([&] { p.BufferPortInput(); });
  EXPECT_EQ(empty.Number(), errBufferEmpty);
  EXPECT_EQ(empty.Source(), "clsFTDISyncBitBang");
  EXPECT_EQ(empty.Description(), "Read buffer empty");
}

// The k-th input shows the pins just before the client's k-th byte; without the
// leading byte the first byte's own sample is dropped.
TEST_F(SyncBitBangBufferTest, InputsAlignWithOutputs) {
  for (const bool leading : {true, false}) {
    SCOPED_TRACE(leading ? "leading byte" : "none");
    clsFTDISyncBitBang& p = Open();
    if (leading) p.BufferInitialize(2, 3);
    std::vector<uint8_t> sent = {0x0F};  // what the pins held before the run
    for (uint8_t v = 0; v < 12; ++v) {
      p.BufferPortOutput(v);
      sent.push_back(v);
    }
    p.BufferTransfer();
    if (!leading) sent.erase(sent.begin());
    ASSERT_EQ(p.BufferInputCount(), static_cast<int32_t>(sent.size()) - 1);
    for (size_t k = 0; k + 1 < sent.size(); ++k) {
      EXPECT_EQ(p.BufferPortInput(), sent[k] * 0x11) << "input " << k + 1;
    }
  }
}

TEST_F(SyncBitBangBufferTest, GrowsByTheIncrementKeepingItsContents) {
  const struct {
    int32_t initial, increment, added, size;
  } cases[] = {{1024, 1024, 1024, 1025}, {1024, 1024, 1025, 2049}, {1, 1, 5, 6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.added);
    clsFTDISyncBitBang& p = Open();
    p.BufferInitialize(c.initial, c.increment);
    for (int32_t i = 0; i < c.added; ++i) p.BufferPortOutput(static_cast<uint8_t>(i * 7));
    EXPECT_EQ(Inspect().Size(), c.size);
    EXPECT_EQ(Inspect().Elements(), c.size);
    EXPECT_EQ(Inspect().Count(), c.added + 1);
    EXPECT_EQ(Inspect().At(0), 0x0F);
    EXPECT_EQ(Inspect().At(c.added), static_cast<uint8_t>((c.added - 1) * 7));
  }
  // A new object grows from nothing, with no leading byte.
  port.emplace();
  port->BufferPortOutput(0xAB);
  EXPECT_EQ(Inspect().Size(), 1024);
  EXPECT_EQ(Inspect().At(0), 0xAB);
}

// Bad arguments leave a composed run exactly as it was.
TEST_F(SyncBitBangBufferTest, RefusalsKeepTheRun) {
  clsFTDISyncBitBang& p = Open();
  p.BufferInitialize(4, 2);
  p.BufferPortOutput(0x11);
  const struct {
    std::string name;
    std::function<void()> action;
    int32_t number;
  } cases[] = {
      {"InitialSize 0", [&] { p.BufferInitialize(0, 1); }, errArgumentInvalid},
      {"SizeIncrement 0", [&] { p.BufferInitialize(1, 0); }, errArgumentInvalid},
      {"InitialSize max", [&] { p.BufferInitialize(INT32_MAX, 1); }, kErrOverflow},
      {"Signal 256", [&] { p.BufferSignalOutput(static_cast<eFTDIChannel>(256), eb1); },
       kErrOverflow},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Raised(c.action).Number(), c.number);
    EXPECT_EQ(Inspect().Size(), 5);
    EXPECT_EQ(Inspect().Count(), 2);
    EXPECT_EQ(Inspect().At(1), 0x11);
  }
  EXPECT_EQ(Raised([&] { p.BufferInitialize(0, 1); }).Description(), "Invalid parameter");
  port.emplace();
  const Error notInit = Raised([&] { port->BufferSignalOutput(eftD0, eb1); });
  EXPECT_EQ(notInit.Number(), errBufferNotInit);
  EXPECT_EQ(notInit.Description(), "Write buffer not initialized");
}

// Each failing step of a transfer of 0F 01 03, and what it leaves.
TEST_F(SyncBitBangBufferTest, TransferFailures) {
  const struct {
    std::string name;
    Call call;
    FaultKind kind;
    int32_t number;
    uint8_t output;  // the output shadow afterwards
    std::vector<uint8_t> array;
  } cases[] = {
      {"purge", Call::kPurge, FaultKind::kStatus, kErrDriverStatus, 0x0F, {0x0F, 0x01, 0x03}},
      {"write", Call::kWrite, FaultKind::kStatus, kErrDriverStatus, 0x0F, {0x0F, 0x01, 0x03}},
      {"short write",
       Call::kWrite,
       FaultKind::kShortWrite,
       kErrTransmissionIncomplete,
       0x0F,
       {0x0F, 0x01, 0x03}},
      {"read", Call::kRead, FaultKind::kStatus, kErrDriverStatus, 0x03, {}},
      {"short read", Call::kRead, FaultKind::kShortRead, errReadError, 0x03, {0xFF, 0x01, 0x03}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    clsFTDISyncBitBang& p = Open();
    p.BufferInitialize();
    p.BufferPortOutput(0x01);
    p.BufferPortOutput(0x03);
    bench->Faults().Add(
        {.call = c.call, .nth = bench->Faults().Calls(c.call) + 1, .kind = c.kind, .count = 1});
    EXPECT_EQ(Raised([&] { p.BufferTransfer(); }).Number(), c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
    EXPECT_EQ(p.PortInput0(), 0x00);
    EXPECT_EQ(Inspect().Position(), 0);
    EXPECT_EQ(Inspect().Count(), 3);
    for (size_t i = 0; i < c.array.size(); ++i) EXPECT_EQ(Inspect().At(i), c.array[i]);
  }
  clsFTDISyncBitBang& p = Open();
  p.BufferInitialize();
  p.Terminate();
  EXPECT_EQ(Raised([&] { p.BufferTransfer(); }).Description(), "Device not opened");
  EXPECT_EQ(Inspect().Count(), 1);
  EXPECT_EQ(Inspect().Position(), 0);
}

// The read time-out must cover the whole run at the chip's pace.
TEST_F(SyncBitBangBufferTest, SlowRunOutlastsTheReadTimeOut) {
  clsFTDISyncBitBang& p = Open();
  p.SetBaudRate(300);  // 4800 bytes a second
  p.SetTimeOuts(100, 100);
  p.BufferInitialize(1000, 1);
  for (int i = 0; i < 1000; ++i) p.BufferPortOutput(static_cast<uint8_t>(i));
  EXPECT_EQ(Raised([&] { p.BufferTransfer(); }).Description(), "FTDI read error (timeout)");
}

// Transfers of nothing still move the read position; the count stays at 0.
TEST_F(SyncBitBangBufferTest, EmptyTransfers) {
  clsFTDISyncBitBang& p = Open();
  p.BufferTransfer();
  p.BufferTransfer();
  EXPECT_TRUE(log->lines.empty());
  EXPECT_EQ(Inspect().Position(), 2);
  EXPECT_EQ(p.BufferInputCount(), 0);
  EXPECT_EQ(Raised([&] { p.BufferPortInput(); }).Number(), errBufferEmpty);
  // The leading byte alone: one sample read and dropped.
  p.BufferInitialize();
  p.BufferTransfer();
  EXPECT_EQ(p.BufferInputCount(), 0);
  EXPECT_EQ(p.PortInput0(), 0xFF);
  // Signal 0 still consumes its sample.
  p.BufferPortOutput(0x00);
  EXPECT_EQ(Raised([&] { p.BufferSignalInput(static_cast<eFTDIChannel>(0)); }).Number(),
            kErrDivisionByZero);
  EXPECT_EQ(p.BufferInputCount(), 0);
}

}  // namespace
}  // namespace testing
}  // namespace brevant
