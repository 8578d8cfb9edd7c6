// The virtual MPSSE engine fed raw command bytes through the driver: the bit rule
// of the shifting commands, length fields, bad commands, split writes, send
// immediate, the clock's virtual time, loopback and the ports.
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "virtual/Bench.h"
#include "virtual/MpsseTest.h"
#include "virtual/mpsse/PinDevice.h"

namespace brevant::testing {
namespace {

using namespace virt::mpsse_pin;

// Watches the serial pins: records DO and TMS at each rising SK edge, and drives
// DI so that a read on the rising edge of clock k sees bit k (mod 16) of kRise and a read
// on the falling edge bit k of kFall.
class Probe : public virt::PinDevice {
 public:
  static constexpr uint16_t kRise = 0x6978;  // bytes 78 69
  static constexpr uint16_t kFall = 0x2DB1;  // bytes B1 2D

  void Sense(uint16_t levels, int64_t) override {
    const bool clock = levels & kClock;
    if (clock == clock_) return;
    clock_ = clock;
    if (clock) {
      dataOut += (levels & kDataOut) ? '1' : '0';
      tms += (levels & kSelect) ? '1' : '0';
      dataIn_ = kFall >> clocks_ % 16 & 1;
    } else {
      dataIn_ = kRise >> ++clocks_ % 16 & 1;
    }
  }
  uint16_t DrivenPins() const override { return kDataIn; }
  uint16_t DrivenLevels() const override { return dataIn_ ? kDataIn : 0; }

  std::string dataOut, tms;

 private:
  bool clock_ = false;
  bool dataIn_ = kRise & 1;
  int clocks_ = 0;
};

class MpsseEngineTest : public MpsseTest {
 protected:
  static constexpr int kPlain = 3;  // FT4232H A: nothing on its pins
  static constexpr int kGpio = 2;   // FT232H with loops and LEDs
};

struct ShiftCase {
  const char* name;
  Bytes command;
  Bytes answer;
  std::string dataOut;  // DO at each rising edge, one character a clock
  std::string tms;      // TMS likewise; empty: not checked
  // The test's name says enough; gtest would otherwise dump the bytes.
  friend void PrintTo(const ShiftCase& c, std::ostream* os) { *os << c.name; }
};

const ShiftCase kShiftCases[] = {
    {"BytesOutMsbPos", {0x10, 0x00, 0x00, 0xC5}, {}, "11000101", ""},
    {"BytesOutLsbPos", {0x18, 0x00, 0x00, 0xC5}, {}, "10100011", ""},
    {"BytesInMsbPos", {0x20, 0x01, 0x00}, {0x1E, 0x96}, std::string(16, '0'), ""},
    {"BytesInMsbNeg", {0x24, 0x01, 0x00}, {0x8D, 0xB4}, std::string(16, '0'), ""},
    {"BytesInLsbPos", {0x28, 0x01, 0x00}, {0x78, 0x69}, std::string(16, '0'), ""},
    {"BytesInLsbNeg", {0x2C, 0x01, 0x00}, {0xB1, 0x2D}, std::string(16, '0'), ""},
    {"BytesInOutNegPos", {0x31, 0x00, 0x00, 0xC5}, {0x1E}, "11000101", ""},
    {"BytesInOutPosNeg", {0x34, 0x00, 0x00, 0xC5}, {0x8D}, "11000101", ""},
    {"BytesInOutLsbNegPos", {0x39, 0x00, 0x00, 0xC5}, {0x78}, "10100011", ""},
    {"BytesInOutLsbPosNeg", {0x3C, 0x00, 0x00, 0xC5}, {0xB1}, "10100011", ""},
    {"BitsOutMsb", {0x12, 0x02, 0xC5}, {}, "110", ""},
    {"BitsOutLsb", {0x1B, 0x02, 0xC5}, {}, "101", ""},
    {"BitsInMsbPos", {0x22, 0x03}, {0x01}, "0000", ""},
    {"BitsInLsbPos", {0x2A, 0x03}, {0x80}, "0000", ""},
    {"BitsInMsbNeg", {0x26, 0x03}, {0x08}, "0000", ""},
    {"BitsInLsbNeg", {0x2E, 0x03}, {0x10}, "0000", ""},
    {"BitsInOutMsbPosNeg", {0x36, 0x02, 0xC5}, {0x04}, "110", ""},
    {"TmsOutHoldsBit7OnTdi", {0x4A, 0x02, 0x83}, {}, "111", "110"},
    {"TmsOutSevenBits", {0x4B, 0x06, 0x03}, {}, "0000000", "1100000"},
    {"TmsInEightBits", {0x6A, 0x07, 0x00}, {0x78}, "00000000", "00000000"},
    {"TmsInFromTheTop", {0x6E, 0x02, 0x80}, {0x20}, "111", "000"},
};

class ShiftRule : public MpsseEngineTest, public ::testing::WithParamInterface<ShiftCase> {};

TEST_P(ShiftRule, ClocksAndReadsAsTheOpcodeBitsSay) {
  const ShiftCase& c = GetParam();
  Open(kPlain);
  auto probe = std::make_shared<Probe>();
  Engine(kPlain).Attach(probe);
  Bytes command = c.command;
  command.push_back(0x87);
  EXPECT_EQ(Exchange(command, c.answer.size()), c.answer);
  EXPECT_EQ(probe->dataOut, c.dataOut);
  if (!c.tms.empty()) {
    EXPECT_EQ(probe->tms, c.tms);
  }
}

INSTANTIATE_TEST_SUITE_P(Opcodes, ShiftRule, ::testing::ValuesIn(kShiftCases),
                         [](const auto& info) { return std::string(info.param.name); });

// The length field holds the count less one; the byte behind the payload must
// be read as the next command, here a bad one.
TEST_F(MpsseEngineTest, LengthFieldCountsOneMoreByte) {
  Open(kPlain);
  for (const size_t count : {1u, 2u, 256u, 257u, 65535u, 65536u}) {
    SCOPED_TRACE(count);
    const size_t field = count - 1;
    Bytes command = {0x84, 0x39, static_cast<uint8_t>(field), static_cast<uint8_t>(field >> 8)};
    Bytes payload(count);
    for (size_t i = 0; i < count; ++i) payload[i] = static_cast<uint8_t>(i * 7 + 1);
    command.insert(command.end(), payload.begin(), payload.end());
    command.insert(command.end(), {0xAB, 0x87});
    payload.insert(payload.end(), {0xFA, 0xAB});
    EXPECT_EQ(Exchange(command, count + 3), payload);
  }
}

// Each part answers FA only to what it lacks; the clocking commands clock as
// many periods as they say, with no data, and the waits on GPIOL1 (which the
// board pulls up) pass or hang. Device 3 is an FT4232H channel, 2 an FT232H,
// 7 an FT2232D.
TEST_F(MpsseEngineTest, EachPartKnowsItsCommandSet) {
  bench->AddPart(virt::PartKind::kFT2232D, "BV22D004", 0x0300);
  auto probe = std::make_shared<Probe>();
  Engine(kPlain).Attach(probe);
  const struct {
    const char* name;
    int device;
    Bytes command, answer;
    size_t clocks;
  } cases[] = {
      {"Resync", kPlain, {0xAA, 0x87}, {0xFA, 0xAA}, 0},
      {"TwoInARow", kPlain, {0xAB, 0x00, 0x87}, {0xFA, 0xAB, 0xFA, 0x00}, 0},
      {"HighOpcode", kPlain, {0xFF, 0x87}, {0xFA, 0xFF}, 0},
      {"HighSpeedSet",
       kPlain,
       {0x8A, 0x8B, 0x8C, 0x8D, 0x96, 0x97, 0x88, 0xAA, 0x87},
       {0xFA, 0xAA},
       0},
      {"ClockBits", kPlain, {0x8E, 0x02, 0x87}, {}, 3},
      {"ClockBytes", kPlain, {0x8F, 0x01, 0x00, 0x87}, {}, 16},
      {"UntilHighIsThere", kPlain, {0x9C, 0x01, 0x00, 0x94, 0x87}, {}, 0},
      {"UntilLowNeverComes", kPlain, {0x9D, 0x00, 0x00, 0x87}, {}, 8},
      {"ThreePhaseClocks", kPlain, {0x8C, 0x8E, 0x07, 0x8D, 0x87}, {}, 8},
      {"DriveZeroOnlyOnFT232H",
       kPlain,
       {0x9E, 0x01, 0x02, 0x87},
       {0xFA, 0x9E, 0xFA, 0x01, 0xFA, 0x02},
       0},
      {"DriveZero", kGpio, {0x9E, 0x20, 0x00, 0x81, 0x87}, {0xFC}, 0},
      {"FullSpeedLacksThem",
       7,
       {0x8A, 0x8C, 0x8E, 0x96, 0x9E, 0x88, 0x87},
       {0xFA, 0x8A, 0xFA, 0x8C, 0xFA, 0x8E, 0xFA, 0x96, 0xFA, 0x9E},
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Open(c.device);
    const size_t before = probe->dataOut.size();
    EXPECT_EQ(Exchange(c.command, c.answer.size() + 1), c.answer);
    EXPECT_EQ(probe->dataOut.size() - before, c.clocks);
    ASSERT_EQ(driver->FT_Close(handle), ft::kOk);
  }
}

// A wait for a level that never comes hangs the chip until the host purges
// what it sent; a new bit mode does the same.
TEST_F(MpsseEngineTest, WaitThatNeverEndsHoldsEverythingUntilPurged) {
  Open(kPlain);
  EXPECT_EQ(Exchange({0x89, 0x81, 0x87}, 1), Bytes{});
  EXPECT_EQ(Exchange({0x81, 0x87}, 1), Bytes{});
  ASSERT_EQ(driver->FT_Purge(handle, ft::kPurgeTx), ft::kOk);
  EXPECT_EQ(Exchange({0x81, 0x87}, 1).size(), 1u);
  EXPECT_EQ(Exchange({0x95, 0x81, 0x87}, 1), Bytes{});
  ASSERT_EQ(driver->FT_SetBitMode(handle, 0, 2), ft::kOk);
  EXPECT_EQ(Exchange({0x81, 0x87}, 1).size(), 1u);
}

// At 6 MHz a byte takes 1.33 us on the wire. Once the chip's 2 KiB buffer is
// full, each write waits that long per byte for room, whether it is larger than
// the buffer or not, and a read behind them gets its answer.
TEST_F(MpsseEngineTest, WritesWaitForRoomInTheChipsBuffer) {
  for (const size_t size : {4096u, 1024u}) {
    SCOPED_TRACE(size);
    Open(kPlain);
    Bytes command{0x11, static_cast<uint8_t>(size - 1), static_cast<uint8_t>((size - 1) >> 8)};
    command.resize(3 + size, 0x55);
    for (int i = 0; i < 10; ++i) Send(command);  // fills the buffer
    const int64_t start = bench->Clock().Now();
    for (int i = 0; i < 100; ++i) Send(command);
    EXPECT_NEAR((bench->Clock().Now() - start) / 100.0, size * 4 / 3.0, size / 100.0);
    EXPECT_EQ(Exchange({0x81, 0x87}, 1).size(), 1u);
    ASSERT_EQ(driver->FT_Close(handle), ft::kOk);
  }
}

TEST_F(MpsseEngineTest, CommandSplitOverWritesRunsWhenComplete) {
  Open(kPlain);
  for (const Bytes& piece : {Bytes{0x84, 0x31}, Bytes{0x02}, Bytes{0x00, 0xDE}}) Send(piece);
  uint32_t queued = 0;
  EXPECT_EQ(driver->FT_GetQueueStatus(handle, &queued), ft::kOk);
  EXPECT_EQ(queued, 0u);
  EXPECT_EQ(Exchange({0xAD, 0xBE, 0x87}, 3), (Bytes{0xDE, 0xAD, 0xBE}));
}

// Without send immediate an answer waits for the latency timer.
TEST_F(MpsseEngineTest, SendImmediateBeatsTheLatencyTimer) {
  Open(kPlain);
  // A later 0x87, even in a write of its own, sends what was waiting with it.
  const struct {
    const char* name;
    uint8_t latencyMs;
    std::vector<Bytes> writes;
    int64_t waitedUs;
  } cases[] = {{"Latency16", 16, {{0x81}}, 16000},
               // Only the USB frames: 175 us for each write and read of data.
               {"Immediate", 16, {{0x81, 0x87}}, 350},
               {"ImmediateLater", 16, {{0x81}, {0x87}}, 525},
               {"Latency1", 1, {{0x81}}, 1000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(driver->FT_SetLatencyTimer(handle, c.latencyMs), ft::kOk);
    const int64_t start = bench->Clock().Now();
    for (const Bytes& bytes : c.writes) Send(bytes);
    EXPECT_EQ(Read(1).size(), 1u);
    EXPECT_NEAR(bench->Clock().Now() - start, c.waitedUs, 200);
  }
}

// A transfer slower than the 500 ms read time-out comes back short; the rest is
// there at the next read.
TEST_F(MpsseEngineTest, SlowClockMakesALongReadComeBackShort) {
  const struct {
    const char* name;
    Bytes clock;
    double hz;
    size_t count, first;
  } cases[] = {
      {"SixMHz", {0x86, 0x00, 0x00}, 6e6, 1000, 1000},
      {"SlowestAtSixMHzRule", {0x86, 0xFF, 0xFF}, 6e6 / 65536, 10, 5},
      {"SlowestAtThirtyMHzRule", {0x8A, 0x86, 0xFF, 0xFF}, 30e6 / 65536, 40, 28},
      {"DivideBy5BackOn", {0x8A, 0x8B, 0x86, 0xFF, 0xFF}, 6e6 / 65536, 10, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Open(kPlain);
    Send(c.clock);
    EXPECT_DOUBLE_EQ(Engine(kPlain).ClockHz(), c.hz);
    const uint8_t field = static_cast<uint8_t>(c.count - 1);
    const int64_t start = bench->Clock().Now();
    EXPECT_EQ(Exchange({0x20, field, static_cast<uint8_t>((c.count - 1) >> 8), 0x87}, c.count),
              Bytes(c.first, 0xFF));
    EXPECT_EQ(Read(c.count - c.first), Bytes(c.count - c.first, 0xFF));
    // All of it took as long as the clock needs for it.
    EXPECT_NEAR(bench->Clock().Now() - start, c.count * 8e6 / c.hz, 1200);
    ASSERT_EQ(driver->FT_Close(handle), ft::kOk);
  }
}

// Inside the chip or by a wire on the board, DO into DI gives back what went
// out, in every bit order and pair of edges.
TEST_F(MpsseEngineTest, LoopbackReturnsWhatWentOut) {
  std::vector<std::pair<Bytes, Bytes>> cases = {
      {{0x33, 0x04, 0xB0}, {0x16}},  // MSB-first bits land at the bottom
      {{0x3B, 0x04, 0x0D}, {0x68}},  // LSB-first ones at the top
      {{0x6A, 0x02, 0x80}, {0xE0}},  // TMS reads see the TDI they hold
      {{0x20, 0x00, 0x00}, {0xFF}},  // and TDI stays there
  };
  for (const uint8_t opcode : {0x30, 0x31, 0x34, 0x35, 0x38, 0x39, 0x3C, 0x3D}) {
    cases.push_back({{opcode, 0x02, 0x00, 0x12, 0xC5, 0x7E}, {0x12, 0xC5, 0x7E}});
  }
  Open(kPlain);
  for (const bool wire : {false, true}) {
    if (wire) {
      Send({0x85});
      bench->Device(kPlain).Board().Loop(1, 2);
    } else {
      Send({0x84});
    }
    for (const auto& [command, answer] : cases) {
      SCOPED_TRACE(::testing::Message() << (wire ? "wire " : "internal ") << int{command[0]});
      Bytes withFlush = command;
      withFlush.push_back(0x87);
      EXPECT_EQ(Exchange(withFlush, answer.size()), answer);
    }
  }
}

// Reads give live pin levels: outputs as driven, inputs as the board holds them
// (loops GPIOL1 -> GPIOL2 and GPIOH0 -> GPIOH1, pull-ups elsewhere).
TEST_F(MpsseEngineTest, PortReadsShowLivePinsAndLedsFollowOutputs) {
  const struct {
    const char* name;
    Bytes set;
    uint8_t low, high;
    uint16_t leds;
  } cases[] = {
      {"InputsReadHigh", {}, 0xFC, 0xFF, 0},
      {"LoopFollowsGpiol1", {0x80, 0x08, 0x2B}, 0x9C, 0xFF, 0},
      {"LedOnGpiol0", {0x80, 0x18, 0x1B}, 0xFC, 0xFF, 0x0010},
      {"LoopFollowsGpioh0", {0x82, 0x00, 0x01}, 0xFC, 0xFC, 0},
      {"LedOnGpioh3", {0x82, 0x09, 0x09}, 0xFC, 0xFF, 0x0800},
      {"ValuesOnInputsAreNotSeen", {0x80, 0xF3, 0x00, 0x82, 0xF6, 0x00}, 0xFF, 0xFF, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Open(kGpio);
    Bytes command = c.set;
    command.insert(command.end(), {0x81, 0x83, 0x87});
    EXPECT_EQ(Exchange(command, 2), (Bytes{c.low, c.high}));
    EXPECT_EQ(Engine(kGpio).LitLeds(), c.leds);
    uint8_t pins = 0;
    EXPECT_EQ(driver->FT_GetBitMode(handle, &pins), ft::kOk);
    EXPECT_EQ(pins, c.low);
    ASSERT_EQ(driver->FT_Close(handle), ft::kOk);
  }
}

}  // namespace
}  // namespace brevant::testing
