// Both stream channels, 245 FIFO and opto, on the default bench: what each member
// hands the driver, what it logs, and what it leaves behind. Device 0 is channel A
// of the two-channel part; its first handle logs as 00000A3C, the next 00000A5C.
// Members failing in the driver, on a closed channel, or Initialize on an open one:
// ChannelFaults_test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "channels/StreamKinds.h"
#include "support/BenchTest.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;

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

// A write that the peer echoes, then a read into an array of 0xEE from
// `lowerBound` up to element `readLength` (at least element 0).
struct Transfer {
  const char* name;
  ByteArray sent;
  int32_t sendLength, lowerBound, readLength, bytesRead;
  int64_t waitedUs;  // virtual time the read took
  const char* writeLine;
  const char* readLine;
};
const Transfer kTransfers[] = {
    {"EchoAfterLatency", Hex("01 AB 00"), 3, 0, 3, 3, 1000,
     "FT_Write (0x00000A3C, 0x{01 AB 00}, 3, 3) = 0",
     "FT_Read (0x00000A3C, 0x{01 AB 00}, 3, 3) = 0"},
    {"NothingToReceive", Hex("55"), 0, 0, 4, 0, 500000, "FT_Write (0x00000A3C, 0x{}, 0, 0) = 0",
     "FT_Read (0x00000A3C, 0x{EE EE EE EE}, 4, 0) = 0"},
    {"PartialArrival", Hex("01 02"), 2, 0, 5, 2, 500000,
     "FT_Write (0x00000A3C, 0x{01 02}, 2, 2) = 0",
     "FT_Read (0x00000A3C, 0x{01 02 EE EE EE}, 5, 2) = 0"},
    {"LowerBoundMinusTwo", Hex("F0 F1 01 02 03", -2), 3, -2, 3, 3, 1000,
     "FT_Write (0x00000A3C, 0x{01 02 03}, 3, 3) = 0",
     "FT_Read (0x00000A3C, 0x{01 02 03}, 3, 3) = 0"},
    // Nothing asked is nothing to wait for, even with an answer on its way.
    {"ReadLengthZero", Hex("07"), 1, 0, 0, 0, 0, "FT_Write (0x00000A3C, 0x{07}, 1, 1) = 0",
     "FT_Read (0x00000A3C, 0x{}, 0, 0) = 0"},
};

// Arrays and lengths that the driver must never be handed.
struct Refused {
  const char* name;
  ByteArray array;
  int32_t length;
};
const Refused kRefused[] = {
    {"Unallocated", ByteArray(), 0},
    {"LowerBoundOne", ByteArray(1, 4), 1},
    {"NegativeLength", Hex("01 02 03"), -1},
    {"LengthPastUpperBound", Hex("01 02 03"), 4},
    {"LowerBoundMinusTwoPastUpperBound", ByteArray(-2, 4), 3},
};

TYPED_TEST(StreamChannelTest, TransfersFromElementZeroAndReadsShortWithoutError) {
  TypeParam& channel = this->Open();
  for (const Transfer& t : kTransfers) {
    SCOPED_TRACE(t.name);
    this->log->lines.clear();
    const size_t before = this->Device().Peer().Received().size();
    ByteArray sent = t.sent;
    ByteArray into(t.lowerBound, std::max(t.readLength, 1) - t.lowerBound);
    for (int32_t i = into.LowerBound(); i <= into.UpperBound(); ++i) into[i] = 0xEE;
    ByteArray expected = into;
    for (int32_t i = 0; i < t.bytesRead; ++i) expected[i] = sent[i];
    int32_t bytesRead = -1;
    channel.DataWrite(sent, t.sendLength);
    const int64_t start = this->bench->Clock().Now();
    channel.DataRead(into, t.readLength, bytesRead);
    EXPECT_NEAR(this->bench->Clock().Now() - start, t.waitedUs, 100);
    EXPECT_EQ(bytesRead, t.bytesRead);
    EXPECT_EQ(into, expected);
    EXPECT_EQ(this->log->Texts(), (std::vector<std::string>{t.writeLine, t.readLine}));
    const std::vector<uint8_t>& received = this->Device().Peer().Received();
    const std::span<const uint8_t> fromZero = t.sent.FromElementZero();
    EXPECT_EQ(std::vector<uint8_t>(received.begin() + before, received.end()),
              std::vector<uint8_t>(fromZero.begin(), fromZero.begin() + t.sendLength));
    channel.PurgeQueueRx();
  }
}

TYPED_TEST(StreamChannelTest, RefusesArraysWithoutRoomBeforeTheDriver) {
  TypeParam& channel = this->Open();
  for (const Refused& r : kRefused) {
    SCOPED_TRACE(r.name);
    ByteArray array = r.array;
    int32_t bytesRead = 0;
    for (const Error& e : {Raised([&] { channel.DataWrite(array, r.length); }),
                           Raised([&] { channel.DataRead(array, r.length, bytesRead); })}) {
      EXPECT_EQ(e.Number(), 9);
      EXPECT_EQ(e.Description(), "Subscript out of range");
    }
  }
  // With a sink set, every driver call would have left its line.
  EXPECT_TRUE(this->log->lines.empty());
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
