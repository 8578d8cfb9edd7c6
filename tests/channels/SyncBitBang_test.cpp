// The bit-bang port and its signals on the default bench: device 5 loops D0-D3
// back to D4-D7, device 6's board holds D4-D7 at 0, 1, 0, 1. The first handle
// logs as 00000A3C. The buffer: SyncBitBangBuffer_test.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "brevant/clsFTDISyncBitBang.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;

class SyncBitBangTest : public BenchTest {
 protected:
  // Opens `device` with the sink set and the log emptied; 0x0F out on D0-D3.
  clsFTDISyncBitBang& Open(int16_t device = 5) {
    port.emplace();
    port->Log(log);
    port->Initialize(device);
    port->PortDirection(0x0F);
    port->PortOutput(0x0F);
    log->lines.clear();
    return *port;
  }
  int Calls(Call call) const { return bench->Faults().Calls(call); }

  std::optional<clsFTDISyncBitBang> port;
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

TEST_F(SyncBitBangTest, InitializeSetsNoBitModeAndTheFirstDirectionCallDoes) {
  port.emplace();
  port->Log(log);
  port->Initialize(5);
  port->SyncDirection();
  EXPECT_EQ(log->Texts(), (std::vector<std::string>{
                              "FT_Open (5, 0x00000A3C) = 0",
                              "FT_SetTimeouts (0x00000A3C, 2000, 2000) = 0",
                              "FT_SetLatencyTimer (0x00000A3C, 1) = 0",
                              "FT_SetBitMode (0x00000A3C, 0x00, 0x04) = 0",
                          }));
}

TEST_F(SyncBitBangTest, PortMembersDriveAndReadThePins) {
  clsFTDISyncBitBang& p = Open();
  p.PortOutput(0x05);
  EXPECT_EQ(p.PortInput(), 0x55);  // D4-D7 follow D0-D3
  p.PortDirection0(0x03);
  p.PortOutput0(0x02);
  p.SyncDirection();
  p.SyncValue();
  EXPECT_EQ(p.PortInput0(), 0xEE);  // D2, D3 now inputs: they and their loops read high
  EXPECT_EQ(log->Texts(), (std::vector<std::string>{
                              "FT_Write (0x00000A3C, 0x{05}, 1, 1) = 0",
                              "FT_GetBitMode(0x00000A3C, 0x55) = 0",
                              "FT_SetBitMode (0x00000A3C, 0x03, 0x04) = 0",
                              "FT_Write (0x00000A3C, 0x{02}, 1, 1) = 0",
                              "FT_GetBitMode(0x00000A3C, 0xEE) = 0",
                          }));
}

// Signal writes on the output shadow, starting from 0x0F; only bit 0 of Value
// counts and Signal is not checked.
TEST_F(SyncBitBangTest, SignalOutputFormula) {
  const struct {
    int32_t signal, value, output, number;
  } cases[] = {
      {eftD1, 2, 0x0D, 0},         {eftD4, 3, 0x1F, 0}, {0, 1, 0x0F, 0},
      {256, 0, 0x0F, 0},           {0x30, 1, 0x3F, 0},  {256, 1, 0x0F, kErrOverflow},
      {-1, 1, 0x0F, kErrOverflow},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.signal << "," << c.value);
    clsFTDISyncBitBang& p = Open();
    const int writes = Calls(Call::kWrite);
    const auto signal = static_cast<eFTDIChannel>(c.signal);
    EXPECT_EQ(Raised([&] { p.SignalOutput(signal, static_cast<eBit>(c.value)); }).Number(),
              c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
    EXPECT_EQ(Calls(Call::kWrite) - writes, c.number ? 0 : 1);
    // The shadow form computes the same on a closed object.
    p.Terminate();
    p.PortOutput0(0x0F);
    EXPECT_EQ(Raised([&] { p.SignalOutput0(signal, static_cast<eBit>(c.value)); }).Number(),
              c.number);
    EXPECT_EQ(p.PortOutput0(), c.output);
  }
}

// Device 6 with every pin an input reads 0xAF; Signal 0 divides by zero.
TEST_F(SyncBitBangTest, SignalReads) {
  clsFTDISyncBitBang& p = Open(6);
  p.PortDirection(0x00);
  const std::vector<std::pair<std::string, std::function<eBit(eFTDIChannel)>>> reads = {
      {"SignalInput", [&](eFTDIChannel s) { return p.SignalInput(s); }},
      {"SignalInput0", [&](eFTDIChannel s) { return p.SignalInput0(s); }},
  };
  for (const auto& [name, read] : reads) {
    SCOPED_TRACE(name);
    EXPECT_EQ(read(eftD4), eb0);
    EXPECT_EQ(read(eftD5), eb1);
    EXPECT_EQ(read(eftD0), eb1);
    EXPECT_EQ(Raised([&] { read(static_cast<eFTDIChannel>(0)); }).Number(), kErrDivisionByZero);
  }
  EXPECT_EQ(p.SignalOutput0(eftD3), eb1);
  EXPECT_EQ(p.SignalDirection0(eftD3), eb0);
  EXPECT_EQ(Raised([&] { p.SignalDirection0(static_cast<eFTDIChannel>(0)); }).Source(),
            "Brevant.clsFTDISyncBitBang");
}

// A failing driver call leaves the new value in the shadow; the Sync members
// send it later. A failing read leaves the input shadow alone.
TEST_F(SyncBitBangTest, WritesStoreBeforeTheySend) {
  clsFTDISyncBitBang& p = Open();
  p.PortInput();
  bench->Faults().Add({.call = Call::kSetBitMode, .nth = Calls(Call::kSetBitMode) + 1});
  bench->Faults().Add({.call = Call::kWrite, .nth = Calls(Call::kWrite) + 1});
  bench->Faults().Add({.call = Call::kGetBitMode, .nth = Calls(Call::kGetBitMode) + 1});
  EXPECT_EQ(Raised([&] { p.SignalDirection(eftD3, eb0); }).Number(), kErrDriverStatus);
  EXPECT_EQ(Raised([&] { p.SignalOutput(eftD0, eb0); }).Number(), kErrDriverStatus);
  EXPECT_EQ(Raised([&] { p.PortInput(); }).Number(), kErrDriverStatus);
  EXPECT_EQ(p.PortDirection0(), 0x07);
  EXPECT_EQ(p.PortOutput0(), 0x0E);
  EXPECT_EQ(p.PortInput0(), 0xFF);
  p.SyncDirection();
  p.SyncValue();
  EXPECT_EQ(bench->Device(5).Settings().mask, 0x07);
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

}  // namespace
}  // namespace brevant::testing
