// The default bench's peripherals driven by raw MPSSE commands: the SPI flash of
// device 0 and the two-TAP JTAG chain of device 1.
#include <gtest/gtest.h>

#include "virtual/MpsseTest.h"
#include "virtual/mpsse/JtagChain.h"
#include "virtual/mpsse/SpiFlash.h"

namespace brevant::testing {
namespace {

class MpssePeripheralsTest : public MpsseTest {
 protected:
  // One transaction in SPI mode 0: CS low, `out` written on the falling edge,
  // `in` bytes read on the rising edge, CS high.
  Bytes Spi(const Bytes& out, size_t in) {
    Bytes command = {0x80, 0x00, 0x0B, 0x11, static_cast<uint8_t>(out.size() - 1), 0x00};
    command.insert(command.end(), out.begin(), out.end());
    if (in > 0) command.insert(command.end(), {0x20, static_cast<uint8_t>(in - 1), 0x00});
    command.insert(command.end(), {0x80, 0x08, 0x0B, 0x87});
    return Exchange(command, in);
  }
};

TEST_F(MpssePeripheralsTest, FlashIdentifiesReadsProgramsAndErases) {
  Open(0);
  const struct {
    const char* name;
    Bytes out;
    Bytes in;
    int64_t thenWaitUs = 0;
  } steps[] = {
      {"JedecId", {0x9F}, {0xEF, 0x40, 0x16}},
      {"ErasedReadsFF", {0x03, 0x00, 0x01, 0xFE}, {0xFF, 0xFF}},
      {"ProgramNeedsWel", {0x02, 0x00, 0x01, 0xFE, 0x11}, {}},
      {"StillErased", {0x03, 0x00, 0x01, 0xFE}, {0xFF}},
      {"WriteEnable", {0x06}, {}},
      {"WelSet", {0x05}, {0x02, 0x02}},
      {"ProgramWrapsAtPageEnd", {0x02, 0x00, 0x01, 0xFE, 0x11, 0x22, 0x33, 0x44}, {}},
      {"BusyAndWelCleared", {0x05}, {0x01}},
      {"BusyChipIgnoresRead", {0x9F}, {0xFF, 0xFF, 0xFF}, 1000},
      {"Ready", {0x05}, {0x00}},
      {"PageEnd", {0x03, 0x00, 0x01, 0xFE}, {0x11, 0x22, 0xFF}},
      {"PageStart", {0x03, 0x00, 0x01, 0x00}, {0x33, 0x44, 0xFF}},
      {"WriteEnableAgain", {0x06}, {}},
      {"ProgramOnlyClearsBits", {0x02, 0x00, 0x01, 0x00, 0xF0}, {}, 1000},
      {"Cleared", {0x03, 0x00, 0x01, 0x00}, {0x30}},
      {"WriteEnableToErase", {0x06}, {}},
      {"EraseSector", {0x20, 0x00, 0x01, 0x23}, {}},
      {"EraseBusy", {0x05}, {0x01}, virt::SpiFlash::kEraseUs},
      {"Erased", {0x03, 0x00, 0x01, 0x00}, {0xFF, 0xFF}},
  };
  virt::SpiFlash* flash = Engine(0).Attached<virt::SpiFlash>();
  ASSERT_NE(flash, nullptr);
  for (const auto& step : steps) {
    SCOPED_TRACE(step.name);
    EXPECT_EQ(Spi(step.out, step.in.size()), step.in);
    bench->Clock().Advance(step.thenWaitUs);
  }
  // The erased sector costs no memory again.
  EXPECT_EQ(flash->UsedSectors(), 0u);
}

// TDI -> ARM debug port (IR 4) -> FPGA (IR 6) -> TDO.
TEST_F(MpssePeripheralsTest, JtagChainScansIdcodesAndBypass) {
  Open(1);
  const struct {
    const char* name;
    Bytes command;
    Bytes answer;
  } steps[] = {
      {"ResetThenShiftDr", {0x4B, 0x05, 0x1F, 0x4B, 0x02, 0x01}, {}},
      // Nearest TDO first, each LSB first.
      {"Idcodes", {0x28, 0x07, 0x00}, {0x93, 0xD0, 0x62, 0x03, 0x77, 0x04, 0xA0, 0x4B}},
      {"ToShiftIr", {0x4B, 0x05, 0x0F}, {}},
      // Each IR captures ...01; ones shifted in make both BYPASS.
      {"IrCapture", {0x39, 0x01, 0x00, 0xFF, 0xFF}, {0x41, 0xFC}},
      {"UpdateIrThenShiftDr", {0x4B, 0x01, 0x83, 0x4B, 0x02, 0x01}, {}},
      // Two bypass bits, captured as 0, come before the data.
      {"Bypass", {0x39, 0x01, 0x00, 0xA5, 0x0F}, {0x94, 0x3E}},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.name);
    Bytes command = step.command;
    command.push_back(0x87);
    EXPECT_EQ(Exchange(command, step.answer.size()), step.answer);
  }
  const auto& taps = Engine(1).Attached<virt::JtagChain>()->Taps();
  ASSERT_EQ(taps.size(), 2u);
  EXPECT_EQ(taps[0].Instruction(), 0xFu);
  EXPECT_EQ(taps[1].Instruction(), 0x3Fu);
  EXPECT_EQ(taps[1].State(), virt::TapState::kShiftDr);
}

}  // namespace
}  // namespace brevant::testing
