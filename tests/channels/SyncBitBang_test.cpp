// The bit-bang channel on the default bench. Device 5 loops D0-D3 back to D4-D7,
// so a value v driven on D0-D3 reads as v * 0x11; device 6's board holds D4-D7
// at 0, 1, 0, 1. The first handle logs as 00000A3C.
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
  std::vector<int32_t> Fields() const { return {p.BufferSize, p.WriteCount, p.ReadPosition}; }
  uint8_t At(int32_t index) const { return p.Buffer[index]; }
  int32_t Elements() const { return p.Buffer.Count(); }

 private:
  const clsFTDISyncBitBang& p;
};

namespace testing {
namespace {

using virt::Call;
using virt::FaultKind;
using Fields = std::vector<int32_t>;  // buffer size, write count, read position

class SyncBitBangTest : public BenchTest {
 protected:
  // Opens `device` with the sink set, D0-D3 outputs at 0x0F, the log emptied.
  clsFTDISyncBitBang& Open(int16_t device = 5) {
    port.emplace();
    port->Log(log);
    port->Initialize(device);
    port->PortDirection(0x0F);
    port->PortOutput(0x0F);
    log->lines.clear();
    return *port;
  }
  SyncBitBangInspector Inspect() const { return SyncBitBangInspector(*port); }
  void FailNext(Call call, FaultKind kind = FaultKind::kStatus) {
    bench->Faults().Add({.call = call, .nth = Calls(call) + 1, .kind = kind, .count = 1});
  }
  int Calls(Call call) const { return bench->Faults().Calls(call); }

  std::optional<clsFTDISyncBitBang> port;
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

TEST_F(SyncBitBangTest, InitializeSetsNoBitModeTheFirstDirectionCallDoes) {
  port.emplace();
  port->Log(log);
  port->Initialize(5);
  port->SyncDirection();
  port->PortDirection(0x0F);
  port->PortOutput(0x05);
  EXPECT_EQ(port->PortInput(), 0x55);
  EXPECT_EQ(log->Texts(), (std::vector<std::string>{
                              "FT_Open (5, 0x00000A3C) = 0",
                              "FT_SetTimeouts (0x00000A3C, 2000, 2000) = 0",
                              "FT_SetLatencyTimer (0x00000A3C, 1) = 0",
                              "FT_SetBitMode (0x00000A3C, 0x00, 0x04) = 0",
                              "FT_SetBitMode (0x00000A3C, 0x0F, 0x04) = 0",
                              "FT_Write (0x00000A3C, 0x{05}, 1, 1) = 0",
                              "FT_GetBitMode(0x00000A3C, 0x55) = 0",
                          }));
}

// From an output shadow of 0x0F. Only bit 0 of Value counts; Signal is not
// checked. The shadow form computes the same on a closed object.
TEST_F(SyncBitBangTest, SignalWrites) {
  const struct {
    int32_t signal, value, output, number;
  } cases[] = {
      {eftD1, 2, 0x0D, 0}, {eftD4, 3, 0x1F, 0},         {0, 1, 0x0F, 0},
      {256, 0, 0x0F, 0},   {0x30, 1, 0x3F, 0},          {256, 1, 0x0F, kErrOverflow},
      {-1, 0, 0x00, 0},    {-1, 1, 0x0F, kErrOverflow},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.signal << "," << c.value);
    clsFTDISyncBitBang& p = Open();
    const auto signal = static_cast<eFTDIChannel>(c.signal);
    const auto value = static_cast<eBit>(c.value);
    const int writes = Calls(Call::kWrite);
    EXPECT_EQ(Raised([&] { p.SignalOutput(signal, value); }).Number(), c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
    EXPECT_EQ(Calls(Call::kWrite) - writes, c.number ? 0 : 1);
    p.Terminate();
    p.PortOutput0(0x0F);
    EXPECT_EQ(Raised([&] { p.SignalOutput0(signal, value); }).Number(), c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
  }
}

TEST_F(SyncBitBangTest, SignalReads) {
  clsFTDISyncBitBang& p = Open(6);
  p.PortDirection(0x00);  // every pin an input: 0xAF
  EXPECT_EQ(p.SignalInput(eftD4), eb0);
  EXPECT_EQ(p.SignalInput0(eftD5), eb1);
  const Error e = Raised([&] { p.SignalInput(eFTDIChannel{}); });
  EXPECT_EQ(e.Number(), kErrDivisionByZero);
  EXPECT_EQ(e.Source(), "Brevant.clsFTDISyncBitBang");
}

// A failing driver call leaves the new value in the shadow and the Sync members
// send it later; a failing read leaves the input shadow alone.
TEST_F(SyncBitBangTest, WritesStoreBeforeTheySend) {
  clsFTDISyncBitBang& p = Open();
  p.PortInput();
  for (Call call : {Call::kSetBitMode, Call::kWrite, Call::kGetBitMode}) FailNext(call);
  EXPECT_EQ(Raised([&] { p.SignalDirection(eftD3, eb0); }).Number(), kErrDriverStatus);
  EXPECT_EQ(Raised([&] { p.SignalOutput(eftD0, eb0); }).Number(), kErrDriverStatus);
  EXPECT_EQ(Raised([&] { p.PortInput(); }).Number(), kErrDriverStatus);
  EXPECT_EQ(p.PortDirection0(), 0x07);
  EXPECT_EQ(p.PortOutput0(), 0x0E);
  EXPECT_EQ(p.PortInput0(), 0xFF);
  p.SyncDirection();
  p.SyncValue();
  EXPECT_EQ(p.PortInput0(), 0xEE);  // D3 is an input now: it and its loop read high
}

TEST_F(SyncBitBangTest, ShadowsSurviveTerminateAndInitialize) {
  clsFTDISyncBitBang& p = Open();
  p.PortOutput(0x05);
  p.PortInput();
  p.Terminate();
  EXPECT_EQ(Raised([&] { p.PortOutput(0x06); }).Description(), "Device not opened");
  EXPECT_EQ(p.PortOutput0(), 0x06);
  p.Initialize(5);
  EXPECT_EQ(p.PortDirection0(), 0x0F);
  EXPECT_EQ(p.PortInput0(), 0x55);
  p.SignalOutput(eftD0, eb1);
  EXPECT_EQ(log->Texts().back(), "FT_Write (0x00000A5C, 0x{07}, 1, 1) = 0");
}

TEST_F(SyncBitBangTest, BufferWorkedRun) {
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
  const Error empty = Raised([&] { p.BufferPortInput(); });
  EXPECT_EQ(empty.Number(), errBufferEmpty);
  EXPECT_EQ(empty.Source(), "clsFTDISyncBitBang");
  EXPECT_EQ(empty.Description(), "Read buffer empty");
}

// End to end over the loop: the k-th input shows the pins just before the
// client's k-th byte; without the leading byte the first byte's sample is lost.
TEST_F(SyncBitBangTest, BufferInputsAlignWithOutputs) {
  for (const bool leading : {true, false}) {
    SCOPED_TRACE(leading);
    clsFTDISyncBitBang& p = Open();
    if (leading) p.BufferInitialize(2, 3);
    std::vector<uint8_t> under = {0x0F};  // the pins before the run
    for (uint8_t v = 0; v < 12; ++v) {
      p.BufferPortOutput(v);
      under.push_back(v);
    }
    p.BufferTransfer();
    if (!leading) under.erase(under.begin());
    ASSERT_EQ(p.BufferInputCount(), static_cast<int32_t>(under.size()) - 1);
    for (size_t k = 0; k + 1 < under.size(); ++k) EXPECT_EQ(p.BufferPortInput(), under[k] * 0x11);
  }
}

TEST_F(SyncBitBangTest, BufferGrowsByTheIncrement) {
  const struct {
    int32_t initial, increment, added, size;
  } cases[] = {{1024, 1024, 1024, 1025}, {1024, 1024, 1025, 2049}, {1, 1, 5, 6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.added);
    clsFTDISyncBitBang& p = Open();
    p.BufferInitialize(c.initial, c.increment);
    for (int32_t i = 0; i < c.added; ++i) p.BufferPortOutput(static_cast<uint8_t>(i + 1));
    EXPECT_EQ(Inspect().Fields(), (Fields{c.size, c.added + 1, 0}));
    EXPECT_EQ(Inspect().Elements(), c.size);
    EXPECT_EQ(Inspect().At(0), 0x0F);
    EXPECT_EQ(Inspect().At(c.added), static_cast<uint8_t>(c.added));
  }
  port.emplace();  // no leading byte on a new object
  port->BufferPortOutput(0xAB);
  EXPECT_EQ(Inspect().Fields(), (Fields{1024, 1, 0}));
  EXPECT_EQ(Inspect().At(0), 0xAB);
}

// Refused arguments leave a composed run exactly as it was.
TEST_F(SyncBitBangTest, BufferRefusalsKeepTheRun) {
  clsFTDISyncBitBang& p = Open();
  p.BufferInitialize(4, 2);
  p.BufferPortOutput(0x11);
  const struct {
    std::function<void()> action;
    int32_t number;
  } cases[] = {
      {[&] { p.BufferInitialize(0, 1); }, errArgumentInvalid},
      {[&] { p.BufferInitialize(1, 0); }, errArgumentInvalid},
      {[&] { p.BufferInitialize(INT32_MAX, 1); }, kErrOverflow},
      {[&] { p.BufferSignalOutput(static_cast<eFTDIChannel>(256), eb1); }, kErrOverflow},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Raised(c.action).Number(), c.number);
    EXPECT_EQ(Inspect().Fields(), (Fields{5, 2, 0}));
    EXPECT_EQ(Inspect().At(1), 0x11);
  }
  EXPECT_EQ(Raised(cases[0].action).Description(), "Invalid parameter");
  port.emplace();
  EXPECT_EQ(Raised([&] { port->BufferSignalOutput(eftD0, eb1); }).Description(),
            "Write buffer not initialized");
}

// Each failing step of a transfer of 0F 01 03, and what it leaves behind.
TEST_F(SyncBitBangTest, BufferTransferFailures) {
  const struct {
    Call call;
    FaultKind kind;
    int32_t number;
    uint8_t output;
    std::vector<uint8_t> array;  // empty: undefined
  } cases[] = {
      {Call::kPurge, FaultKind::kStatus, kErrDriverStatus, 0x0F, {0x0F, 0x01, 0x03}},
      {Call::kWrite, FaultKind::kStatus, kErrDriverStatus, 0x0F, {0x0F, 0x01, 0x03}},
      {Call::kWrite, FaultKind::kShortWrite, kErrTransmissionIncomplete, 0x0F, {0x0F, 0x01, 0x03}},
      {Call::kRead, FaultKind::kStatus, kErrDriverStatus, 0x03, {}},
      {Call::kRead, FaultKind::kShortRead, errReadError, 0x03, {0xFF, 0x01, 0x03}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    clsFTDISyncBitBang& p = Open();
    p.BufferInitialize();
    p.BufferPortOutput(0x01);
    p.BufferPortOutput(0x03);
    FailNext(c.call, c.kind);
    EXPECT_EQ(Raised([&] { p.BufferTransfer(); }).Number(), c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
    EXPECT_EQ(p.PortInput0(), 0x00);
    EXPECT_EQ(Inspect().Fields(), (Fields{1025, 3, 0}));
    for (size_t i = 0; i < c.array.size(); ++i) EXPECT_EQ(Inspect().At(i), c.array[i]);
  }
  port->Terminate();
  EXPECT_EQ(Raised([&] { port->BufferTransfer(); }).Description(), "Device not opened");
  EXPECT_EQ(Inspect().Fields(), (Fields{1025, 3, 0}));
}

// Transfers of nothing still move the read position; the count stays at 0.
TEST_F(SyncBitBangTest, BufferEmptyTransfers) {
  clsFTDISyncBitBang& p = Open();
  p.BufferTransfer();
  p.BufferTransfer();
  EXPECT_TRUE(log->lines.empty());
  EXPECT_EQ(Inspect().Fields(), (Fields{0, 0, 2}));
  EXPECT_EQ(p.BufferInputCount(), 0);
  EXPECT_EQ(Raised([&] { p.BufferPortInput(); }).Number(), errBufferEmpty);
  p.BufferInitialize();  // the leading byte alone: its sample is dropped
  p.BufferTransfer();
  EXPECT_EQ(p.BufferInputCount(), 0);
  EXPECT_EQ(p.PortInput0(), 0xFF);
  p.BufferPortOutput(0x00);  // Signal 0 still consumes its sample
  EXPECT_EQ(Raised([&] { p.BufferSignalInput(eFTDIChannel{}); }).Number(), kErrDivisionByZero);
  EXPECT_EQ(p.BufferInputCount(), 0);
}

}  // namespace
}  // namespace testing
}  // namespace brevant
