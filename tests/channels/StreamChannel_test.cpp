// Both stream channels, 245 FIFO and opto, on the default bench: what each member
// hands the driver, what it logs, and what it leaves behind. Device 0's first
// handle logs as 00000A3C, the next 00000A5C. Failures: FaultSweep_test.
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "channels/StreamKinds.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

// "01 AB" as an array from `lowerBound`.
ByteArray Hex(const std::string& text, int32_t lowerBound = 0) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < text.size(); i += 3) {
    bytes.push_back(static_cast<uint8_t>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
  }
  return ByteArray(bytes, lowerBound);
}

template <class C>
class StreamChannelTest : public BenchTest {
 protected:
  // Device 0 opened with the sink set; the log starts empty.
  C& Open() {
    channel.emplace();
    channel->Log(log);
    channel->Initialize(0);
    log->lines.clear();
    return *channel;
  }
  virt::Channel& Device() { return bench->Device(0); }

  std::optional<C> channel;
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

struct KindNames {
  template <class C>
  static std::string GetName(int) {
    return StreamKind<C>::kName;
  }
};
using StreamKinds = ::testing::Types<clsFTDI245FIFO, clsFTDIOpto>;
TYPED_TEST_SUITE(StreamChannelTest, StreamKinds, KindNames);

// The peer echoes what is written; it is back after the channel's 1 ms latency.
TYPED_TEST(StreamChannelTest, TransfersFromElementZeroWhateverTheLowerBound) {
  TypeParam& channel = this->Open();
  const struct {
    int32_t lowerBound;
    const char* array;  // from the lower bound
    const char* sent;   // elements 0 to 2
  } cases[] = {{0, "01 AB 00", "01 AB 00"}, {-2, "F0 F1 01 02 03", "01 02 03"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lowerBound);
    this->log->lines.clear();
    const size_t before = this->Device().Peer().Received().size();
    ByteArray sent = Hex(c.array, c.lowerBound), into(c.lowerBound, 3 - c.lowerBound);
    for (int32_t i = c.lowerBound; i < 3; ++i) into[i] = 0xEE;
    ByteArray expected = into;
    for (int32_t i = 0; i < 3; ++i) expected[i] = sent[i];
    int32_t bytesRead = -1;
    channel.DataWrite(sent, 3);
    const int64_t start = this->bench->Clock().Now();
    channel.DataRead(into, 3, bytesRead);
    EXPECT_NEAR(this->bench->Clock().Now() - start, 1000, 100);
    EXPECT_EQ(bytesRead, 3);
    EXPECT_EQ(into, expected);
    const std::string args = std::string("0x{") + c.sent + "}, 3, 3) = 0";
    EXPECT_EQ(this->log->Texts(), (std::vector<std::string>{"FT_Write (0x00000A3C, " + args,
                                                            "FT_Read (0x00000A3C, " + args}));
    EXPECT_EQ(ByteArray(std::span(this->Device().Peer().Received()).subspan(before)), Hex(c.sent));
  }
}

// The length goes to the gateway unchanged, which refuses it before the driver.
TYPED_TEST(StreamChannelTest, LengthPastTheArrayIsRefused) {
  TypeParam& channel = this->Open();
  ByteArray array = Hex("01 02 03");
  int32_t bytesRead = 0;
  for (const Error& e : {Raised([&] { channel.DataWrite(array, 4); }),
                         Raised([&] { channel.DataRead(array, 4, bytesRead); })}) {
    EXPECT_EQ(e.Number(), 9);
    EXPECT_EQ(e.Description(), "Subscript out of range");
  }
  EXPECT_TRUE(this->log->lines.empty());  // every driver call would have left its line
  EXPECT_TRUE(this->Device().Peer().Received().empty());
}

TYPED_TEST(StreamChannelTest, SetsUpClosesOnlyWhatIsOpenAndReopensAfresh) {
  using Kind = StreamKind<TypeParam>;
  {
    TypeParam channel;
    channel.Log(this->log);
    channel.Terminate();
    channel.Initialize(0);
    const virt::ChannelSettings& s = this->Device().Settings();
    EXPECT_EQ(std::make_tuple(s.mask, s.mode, s.readTimeoutMs, s.writeTimeoutMs, s.latencyMs),
              std::make_tuple(Kind::kMask, Kind::kMode, 500u, 500u, uint8_t{1}));
    channel.SetTimeOuts(20, 20);
    channel.Terminate();
    channel.Terminate();
    channel.Initialize(0);
    EXPECT_EQ(s.readTimeoutMs, 500u);
  }  // released while open
  // The sink outlives Terminate; the second open gets the driver's next handle.
  const std::string bitMode = std::string(Kind::kBitMode) + ") = 0";
  EXPECT_EQ(
      this->log->Texts(),
      (std::vector<std::string>{
          "FT_Open (0, 0x00000A3C) = 0", "FT_SetBitMode (0x00000A3C, " + bitMode,
          "FT_SetTimeouts (0x00000A3C, 500, 500) = 0", "FT_SetLatencyTimer (0x00000A3C, 1) = 0",
          "FT_SetTimeouts (0x00000A3C, 20, 20) = 0", "FT_Close (0x00000A3C) = 0",
          "FT_Open (0, 0x00000A5C) = 0", "FT_SetBitMode (0x00000A5C, " + bitMode,
          "FT_SetTimeouts (0x00000A5C, 500, 500) = 0", "FT_SetLatencyTimer (0x00000A5C, 1) = 0",
          "FT_Close (0x00000A5C) = 0"}));
  EXPECT_FALSE(this->Device().IsOpen());
  TypeParam again;
  EXPECT_NO_THROW(again.Initialize(0));
}

using Fifo245Test = StreamChannelTest<clsFTDI245FIFO>;

TEST_F(Fifo245Test, QueueSizesComeFromTheirOwnDriverCalls) {
  clsFTDI245FIFO& fifo = Open();
  ByteArray data{1, 2, 3};
  fifo.DataWrite(data, 3);
  bench->Clock().Advance(1000);  // the echo's latency period
  log->lines.clear();
  EXPECT_EQ(fifo.QueueRx(), 3);
  // The transmit amount is the answer; the receive amount only reaches the log.
  EXPECT_EQ(fifo.QueueTx(), 0);
  EXPECT_EQ(log->Texts(), (std::vector<std::string>{"FT_GetQueueStatus (0x00000A3C, 3) = 0",
                                                    "FT_GetStatus (0x00000A3C, 3, 0, 0) = 0"}));
}

}  // namespace
}  // namespace brevant::testing
