// The MPSSE channel: the bytes of every command, argument checks and their order,
// the shape of Data after a transfer, short reads, the clock arithmetic, and what
// survives Terminate. Port model: clsFTDIMPSSEPortIO_test.
#include <cmath>
#include <functional>

#include "gateway/clsFTD2xx.h"
#include "mpsse/MpsseChannelTest.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using Action = std::function<void(clsFTDIMPSSE&)>;
constexpr auto MSB = embMSBfirst;
constexpr auto LSB = emdLSBfirst;
constexpr auto Pos = emcPosEdge;
constexpr auto Neg = emcNegEdge;

eFTMPSSEBitOrder Order(int32_t value) {
  return static_cast<eFTMPSSEBitOrder>(value);
}
eFTMPSSEClockPolarity Edge(int32_t value) {
  return static_cast<eFTMPSSEClockPolarity>(value);
}

TEST_F(MpsseChannelTest, InitializeEntersMpsseModeAndSendsNoCommand) {
  Open();
  channel->Terminate();
  channel->Initialize(0);
  EXPECT_EQ(log->Texts(), (Trace{"FT_Close (0x00000A3C) = 0", "FT_Open (0, 0x00000A5C) = 0",
                                 "FT_SetBitMode (0x00000A5C, 0x00, 0x02) = 0",
                                 "FT_SetTimeouts (0x00000A5C, 500, 500) = 0",
                                 "FT_SetLatencyTimer (0x00000A5C, 1) = 0"}));
  EXPECT_TRUE(recorder->trace.empty());
}

TEST_F(MpsseChannelTest, EachMemberIsOneCommand) {
  const struct {
    const char* name;
    Action action;
    Trace trace;
  } cases[] = {
      {"divisor 0", [](auto& c) { c.SetClockDivisor(0); }, {"86 00 00"}},
      {"divisor 65535", [](auto& c) { c.SetClockDivisor(65535); }, {"86 FF FF"}},
      {"divisor 258", [](auto& c) { c.SetClockDivisor(258); }, {"86 02 01"}},
      {"port low", [](auto& c) { c.SetPortLow(0x12, 0x34); }, {"80 12 34"}},
      {"port high", [](auto& c) { c.SetPortHigh(255, 15); }, {"82 FF 0F"}},
      {"read low", [](auto& c) { EXPECT_EQ(c.ReadPortLow(), 0xA5); }, {"81", "read 1"}},
      {"read high", [](auto& c) { EXPECT_EQ(c.ReadPortHigh(), 0xA5); }, {"83", "read 1"}},
      {"loopback on", [](auto& c) { c.HardwareLoopback(true); }, {"84"}},
      {"loopback off", [](auto& c) { c.HardwareLoopback(false); }, {"85"}},
      {"tms out", [](auto& c) { c.TMSBitsOut(0x03, 2, Pos); }, {"4A 01 03"}},
      {"tms out bit 7", [](auto& c) { c.TMSBitsOut(0x83, 7, Neg); }, {"4B 06 83"}},
      {"tms out 8 bits", [](auto& c) { c.TMSBitsOut(0xFF, 8, Pos); }, {"4A 07 FF"}},
      {"tms in and out",
       [](auto& c) {
         uint8_t out = 0x55;
         c.TMSBitsInOut(0x01, out, 1, Pos, Neg);
         EXPECT_EQ(out, 0x01);  // 0xA5 >> 7
       },
       {"6E 00 01 87", "read 1"}},
  };
  clsFTDIMPSSE& mpsse = Open();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    recorder->trace.clear();
    recorder->answers.clear();
    recorder->Answer({0xA5, 0x01, 0x02});
    c.action(mpsse);
    EXPECT_EQ(recorder->trace, c.trace);
  }
}

TEST_F(MpsseChannelTest, CommandByteOfEveryOrderAndEdge) {
  // Member: 0 bytes out, 1 bytes in, 2 bytes in and out, 3 TMS out, 4 TMS in and out.
  const struct {
    int member;
    eFTMPSSEBitOrder order;
    eFTMPSSEClockPolarity out, in;
    const char* command;
  } cases[] = {
      {0, MSB, Pos, Pos, "10"}, {0, MSB, Neg, Pos, "11"}, {0, LSB, Pos, Pos, "18"},
      {0, LSB, Neg, Pos, "19"}, {1, MSB, Pos, Pos, "20"}, {1, MSB, Pos, Neg, "24"},
      {1, LSB, Pos, Pos, "28"}, {1, LSB, Pos, Neg, "2C"}, {2, MSB, Pos, Pos, "30"},
      {2, MSB, Neg, Pos, "31"}, {2, MSB, Pos, Neg, "34"}, {2, MSB, Neg, Neg, "35"},
      {2, LSB, Pos, Pos, "38"}, {2, LSB, Neg, Pos, "39"}, {2, LSB, Pos, Neg, "3C"},
      {2, LSB, Neg, Neg, "3D"}, {3, MSB, Pos, Pos, "4A"}, {3, MSB, Neg, Pos, "4B"},
      {4, MSB, Pos, Pos, "6A"}, {4, MSB, Neg, Pos, "6B"}, {4, MSB, Pos, Neg, "6E"},
      {4, MSB, Neg, Neg, "6F"},
  };
  clsFTDIMPSSE& mpsse = Open();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    recorder->trace.clear();
    recorder->Answer({0});
    ByteArray data{0};
    uint8_t out = 0;
    switch (c.member) {
      case 0:
        mpsse.DataBytesOut(data, 1, c.order, c.out);
        break;
      case 1:
        mpsse.DataBytesIn(data, 1, c.order, c.in);
        break;
      case 2:
        mpsse.DataBytesInOut(data, 1, c.order, c.out, c.in);
        break;
      case 3:
        mpsse.TMSBitsOut(0, 1, c.out);
        break;
      default:
        mpsse.TMSBitsInOut(0, out, 1, c.out, c.in);
        break;
    }
    EXPECT_EQ(recorder->trace.at(0).substr(0, 2), c.command);
  }
}

TEST_F(MpsseChannelTest, LengthFieldHoldsTheCountLessOne) {
  const struct {
    int32_t length;
    const char* field;
  } cases[] = {{1, "00 00"}, {2, "01 00"}, {256, "FF 00"}, {257, "00 01"}, {65535, "FE FF"}};
  clsFTDIMPSSE& mpsse = Open();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.length);
    recorder->trace.clear();
    ByteArray data(0, c.length);
    mpsse.DataBytesOut(data, c.length, MSB, Pos);
    for (int32_t i = 0; i < 2 * c.length; ++i) recorder->answers.push_back(0);
    mpsse.DataBytesInOut(data, c.length, MSB, Pos, Pos);
    mpsse.DataBytesIn(data, c.length, MSB, Pos);
    // Each payload byte is " XX" in the trace; the payload itself is checked
    // byte by byte in PayloadComesFromElementZeroAndMustBeThere.
    const std::string field = c.field;
    EXPECT_EQ(recorder->trace[0].substr(0, 8), "10 " + field);
    EXPECT_EQ(recorder->trace[0].size(), 8 + 3u * c.length);
    EXPECT_EQ(recorder->trace[1].substr(0, 8), "30 " + field);
    EXPECT_EQ(recorder->trace[1].size(), 11 + 3u * c.length);
    EXPECT_EQ(recorder->trace[3], "20 " + field + " 87");
    EXPECT_EQ(recorder->trace[4], "read " + std::to_string(c.length));
    EXPECT_EQ(data.Count(), c.length);
  }
}

TEST_F(MpsseChannelTest, ArgumentsAreRefusedInOrderBeforeAnyDeviceAccess) {
  ByteArray d{1};
  uint8_t out = 0;
  const struct {
    const char* message;
    Action action;
  } cases[] = {
      {"Invalid bit order parameter",
       [&](auto& c) { c.DataBytesOut(d, 70000, Order(2), Edge(2)); }},
      {"Invalid bit order parameter", [&](auto& c) { c.DataBytesIn(d, 0, Order(-1), Pos); }},
      {"Invalid clock polarity parameter", [&](auto& c) { c.DataBytesOut(d, 0, LSB, Edge(2)); }},
      {"Invalid clock polarity parameter",
       [&](auto& c) { c.DataBytesInOut(d, -1, MSB, Pos, Edge(3)); }},
      {"Invalid data length", [&](auto& c) { c.DataBytesIn(d, 65536, LSB, Neg); }},
      {"Invalid data length", [&](auto& c) { c.DataBytesInOut(d, -1, LSB, Neg, Neg); }},
      {"Invalid clock polarity parameter", [&](auto& c) { c.TMSBitsOut(0, 0, Edge(2)); }},
      {"Invalid clock polarity parameter",
       [&](auto& c) { c.TMSBitsInOut(0, out, 9, Edge(2), Edge(2)); }},
      {"Invalid data length", [&](auto& c) { c.TMSBitsOut(0, 9, Neg); }},
      {"Invalid data length", [&](auto& c) { c.TMSBitsInOut(0, out, 255, Pos, Neg); }},
      {"Invalid parameter", [&](auto& c) { c.SetClockDivisor(65536); }},
      {"Invalid parameter", [&](auto& c) { c.SetClockDivisor(-1); }},
      {"Invalid parameter", [&](auto& c) { c.ClockDivisorFromFrequency(0); }},
      {"Invalid parameter", [&](auto& c) { c.ClockDivisorFromFrequency(-5); }},
      {"Invalid parameter", [&](auto& c) { c.ClockDivisorFromFrequency(NAN); }},
      {"Invalid parameter", [&](auto& c) { c.ClockDivisorToFrequency(-1); }},
  };
  clsFTDIMPSSE& mpsse = Open();
  mpsse.SetClockDivisor(9);
  recorder->trace.clear();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    const Error e = Raised([&] { c.action(mpsse); });
    EXPECT_EQ(e.Number(), Number(errFTDIMPSSE::errParameter));
    EXPECT_EQ(e.Source(), "clsFTDIMPSSE");
    EXPECT_EQ(e.Description(), c.message);
  }
  EXPECT_TRUE(recorder->trace.empty());
  EXPECT_EQ(d, ByteArray{1});
  EXPECT_EQ(mpsse.GetClockDivisor(), 9);
}

TEST_F(MpsseChannelTest, LengthZeroDoesNothingEvenWithNoDevice) {
  ByteArray data(-2, 3);
  data[0] = 7;
  const ByteArray before = data;
  uint8_t out = 0x5A;
  channel->DataBytesOut(data, 0, LSB, Neg);
  channel->DataBytesIn(data, 0, LSB, Neg);
  channel->DataBytesInOut(data, 0, LSB, Neg, Pos);
  channel->TMSBitsOut(1, 0, Neg);
  channel->TMSBitsInOut(1, out, 0, Neg, Neg);
  EXPECT_EQ(data, before);
  EXPECT_EQ(out, 0x5A);
  EXPECT_TRUE(recorder->trace.empty());
}

TEST_F(MpsseChannelTest, PayloadComesFromElementZeroAndMustBeThere) {
  clsFTDIMPSSE& mpsse = Open();
  ByteArray window(-2, 5);  // elements -2..2
  for (int32_t i = -2; i <= 2; ++i) window[i] = static_cast<uint8_t>(0x10 + i);
  const ByteArray before = window;
  mpsse.DataBytesOut(window, 2, MSB, Pos);
  EXPECT_EQ(recorder->trace, Trace{"10 01 00 10 11"});
  EXPECT_EQ(window, before);

  ByteArray unallocated, fromOne(1, 4), tooShort{1, 2};
  for (ByteArray* data : {&unallocated, &fromOne, &tooShort}) {
    const ByteArray kept = *data;
    EXPECT_EQ(Raised([&] { mpsse.DataBytesOut(*data, 3, MSB, Pos); }).Number(), 9);
    EXPECT_EQ(Raised([&] { mpsse.DataBytesInOut(*data, 3, MSB, Pos, Pos); }).Number(), 9);
    EXPECT_EQ(*data, kept);
  }
  EXPECT_EQ(recorder->trace.size(), 1u);
}

TEST_F(MpsseChannelTest, ReadsResizeDataToExactlyTheLength) {
  clsFTDIMPSSE& mpsse = Open();
  ByteArray longer(-2, 10), shorter{9};
  recorder->Answer({1, 2, 3, 4, 5, 6});
  mpsse.DataBytesIn(longer, 3, MSB, Pos);
  mpsse.DataBytesIn(shorter, 3, MSB, Pos);
  EXPECT_EQ(longer, (ByteArray{1, 2, 3}));
  EXPECT_EQ(shorter, (ByteArray{4, 5, 6}));
}

// What is missing raises errReadError; the late bytes are the next read's first.
TEST_F(MpsseChannelTest, ShortReadsRaiseAndTheLateAnswerComesNext) {
  clsFTDIMPSSE& mpsse = Open();
  ByteArray data{0xEE, 0xEE, 0xEE, 0xEE};
  uint8_t out = 0x33;
  const struct {
    Action action;
    std::initializer_list<uint8_t> answer;
  } shortReads[] = {
      {[&](auto& c) { c.DataBytesInOut(data, 3, MSB, Pos, Pos); }, {0xC1}},
      {[&](auto& c) { c.DataBytesIn(data, 3, MSB, Pos); }, {0xC1}},
      {[&](auto& c) { c.ReadPortLow(); }, {}},
      {[&](auto& c) { c.TMSBitsInOut(0, out, 4, Pos, Pos); }, {}},
  };
  for (const auto& r : shortReads) {
    recorder->Answer(r.answer);
    const Error e = Raised([&] { r.action(mpsse); });
    EXPECT_EQ(e.Number(), Number(errFTDIMPSSE::errReadError));
    EXPECT_EQ(e.Description(), "FTDI read error (timeout)");
    EXPECT_EQ(e.Source(), "clsFTDIMPSSE");
  }
  EXPECT_EQ(data, (ByteArray{0xC1, 0, 0}));
  EXPECT_EQ(out, 0x33);

  // The two bytes the last transfer of three missed arrive late.
  recorder->Answer({0xC2, 0xC3});
  EXPECT_EQ(mpsse.ReadPortLow(), 0xC2);
  recorder->Answer({0x42});
  EXPECT_EQ(mpsse.ReadPortHigh(), 0xC3);
}

// An array that already has the right shape ends the same with or without a
// sink, whatever fails: the bytes that came, then zeros.
TEST_F(MpsseChannelTest, ReadIntoAnArrayOfTheRightShapeEndsTheSameWithOrWithoutASink) {
  const struct {
    const char* name;
    std::initializer_list<uint8_t> answer;
    virt::Call failing;  // kOpen: nothing fails
    ByteArray data;
  } cases[] = {
      {"full", {1, 2, 3}, virt::Call::kOpen, {1, 2, 3}},
      {"short", {1}, virt::Call::kOpen, {1, 0, 0}},
      {"write fails", {1, 2, 3}, virt::Call::kWrite, {0, 0, 0}},
      {"read fails", {1, 2, 3}, virt::Call::kRead, {0, 0, 0}},
  };
  clsFTDIMPSSE& mpsse = Open();
  for (const bool sink : {true, false}) {
    mpsse.Log(sink ? log : nullptr);
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.name) + (sink ? " with sink" : ""));
      recorder->answers.clear();
      recorder->Answer(c.answer);
      bench->Faults().Add({.call = c.failing, .nth = bench->Faults().Calls(c.failing) + 1});
      ByteArray data{0xEE, 0xEE, 0xEE};
      Raised([&] { mpsse.DataBytesInOut(data, 3, MSB, Pos, Pos); });
      EXPECT_EQ(data, c.data);
    }
  }
}

TEST_F(MpsseChannelTest, TmsReadShiftsTheFirstBitDownToBitZero) {
  const struct {
    uint8_t length, answer, out;
  } cases[] = {{1, 0x80, 0x01}, {3, 0xA0, 0x05}, {7, 0xFE, 0x7F}, {8, 0xA5, 0xA5}};
  clsFTDIMPSSE& mpsse = Open();
  for (const auto& c : cases) {
    recorder->Answer({c.answer});
    uint8_t out = 0;
    mpsse.TMSBitsInOut(0, out, c.length, Pos, Pos);
    EXPECT_EQ(out, c.out) << int(c.length);
  }
}

TEST_F(MpsseChannelTest, ClockDivisorArithmetic) {
  const struct {
    double frequency;
    int32_t divisor;
  } from[] = {{1e7, 0},       {6e6, 0},   {4e6, 1},
              {3e6, 1},       {2.4e6, 1}, {1.5e6, 3},
              {6e6 / 3.5, 3}, {1e6, 5},   {91.552734375, 65535},
              {91.5, 65535},  {1, 65535}, {0.003, 65535}};
  for (const auto& c : from) {
    EXPECT_EQ(channel->ClockDivisorFromFrequency(c.frequency), c.divisor) << c.frequency;
  }
  for (double tiny : {0.002, 1e-300}) {
    const Error e = Raised([&] { channel->ClockDivisorFromFrequency(tiny); });
    EXPECT_EQ(e.Number(), kErrOverflow);
    EXPECT_EQ(e.Source(), "Brevant.clsFTDIMPSSE");
  }
  const struct {
    int32_t divisor;
    double frequency;
  } to[] = {{0, 6e6}, {1, 3e6}, {5, 1e6}, {65535, 91.552734375}, {65536, 91.552734375}};
  for (const auto& c : to) {
    EXPECT_DOUBLE_EQ(channel->ClockDivisorToFrequency(c.divisor), c.frequency) << c.divisor;
  }
}

TEST_F(MpsseChannelTest, DivisorAndSinkSurviveTerminateButTheDeviceDoesNot) {
  EXPECT_EQ(channel->GetClockDivisor(), 0);
  const Error e = Raised([&] { channel->SetClockDivisor(300); });
  EXPECT_EQ(e.Description(), "Device not opened");
  EXPECT_EQ(channel->GetClockDivisor(), 300);
  channel->Terminate();
  Open().Terminate();
  channel->Terminate();
  EXPECT_EQ(Raised([&] { channel->SetPortLow(0, 0); }).Number(), kErrDeviceNotOpened);
  EXPECT_EQ(Raised([&] { channel->ReadPortHigh(); }).Number(), kErrDeviceNotOpened);
  EXPECT_EQ(log->Texts(), Trace{"FT_Close (0x00000A3C) = 0"});
  EXPECT_EQ(channel->Log(), log);
  channel->Initialize(0);
  EXPECT_EQ(channel->GetClockDivisor(), 300);
}

// The channel owns its port model; a model kept past the channel's end refuses
// the device and keeps its shadow.
TEST_F(MpsseChannelTest, PortModelOutlivesItsChannelSafely) {
  Open();
  const auto pins = channel->MPSSEPortIO();
  EXPECT_EQ(pins, channel->MPSSEPortIO());
  pins->GPIOHPortOutput0(0x05);
  channel.reset();
  EXPECT_FALSE(bench->Device(0).IsOpen());
  EXPECT_EQ(log->Texts(), Trace{"FT_Close (0x00000A3C) = 0"});
  const Error e = Raised([&] { pins->SyncGPIOH(); });
  EXPECT_EQ(e.Number(), kErrDeviceNotOpened);
  EXPECT_EQ(e.Source(), "clsFTD2xx");
  EXPECT_EQ(e.Description(), "Device not opened");
  EXPECT_EQ(pins->GPIOHPortOutput0(), 0x05);
}

}  // namespace
}  // namespace brevant::testing
