// The MPSSE channel and its port model against the default bench's peripherals:
// the SPI flash on device 0, and the loops and LEDs on device 2. The JTAG chain
// is scanned through a batch in MpsseBatch_test; loopback in every order and pair
// of edges is the engine's (MpsseEngine_test) behind the channel's opcodes.
#include <optional>
#include <vector>

#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "support/BenchTest.h"
#include "virtual/mpsse/MpsseBench.h"
#include "virtual/mpsse/SpiFlash.h"

namespace brevant::testing {
namespace {

class MpsseBenchTest : public BenchTest {
 protected:
  // The device opened at 6 MHz, with CS high and its pins driven.
  void Open(int16_t device) {
    mpsse.emplace();
    mpsse->Initialize(device);
    mpsse->SetClockDivisor(0);
    pins = mpsse->MPSSEPortIO();
    pins->MPSSEPortOutput(eftTMSCS);
  }

  // One SPI mode 0 transaction: CS low, bytes out on the falling edge and in on
  // the rising one, CS high. Returns what came in.
  ByteArray Spi(std::vector<uint8_t> bytes) {
    ByteArray data{std::span<const uint8_t>(bytes)};
    pins->MPSSESignalOutput(eftTMSCS, eb0);
    mpsse->DataBytesInOut(data, data.Count(), embMSBfirst, emcNegEdge, emcPosEdge);
    pins->MPSSESignalOutput(eftTMSCS, eb1);
    return data;
  }

  virt::SpiFlash& Flash() { return *virt::MpsseOf(bench->Device(0)).Attached<virt::SpiFlash>(); }

  std::optional<clsFTDIMPSSE> mpsse;
  std::shared_ptr<clsFTDIMPSSEPortIO> pins;
};

std::vector<uint8_t> Pattern(size_t count, uint8_t seed) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 13);
  return bytes;
}

TEST_F(MpsseBenchTest, ProgramsAPageAndReadsItBack) {
  Open(0);
  EXPECT_EQ(Spi({0x9F, 0, 0, 0}), (ByteArray{0xFF, 0xEF, 0x40, 0x16}));
  const std::vector<uint8_t> page = Pattern(256, 0x31);
  std::vector<uint8_t> program{0x02, 0x00, 0x34, 0x00};
  program.insert(program.end(), page.begin(), page.end());
  Spi({0x06});
  EXPECT_EQ(Spi({0x05, 0})[1] & 0x02, 0x02);  // write enabled
  Spi(program);
  int polls = 0;
  while (Spi({0x05, 0})[1] & 0x01) ASSERT_LT(++polls, 1000);
  EXPECT_GT(polls, 0);
  std::vector<uint8_t> read(260, 0);
  read[0] = 0x03;
  read[2] = 0x34;
  const ByteArray back = Spi(read);
  EXPECT_TRUE(std::equal(page.begin(), page.end(), back.Elements().begin() + 4));
  EXPECT_EQ(Flash().Peek(0x3400), page[0]);
}

// Device 2's board: GPIOL1 drives GPIOL2, GPIOH0 drives GPIOH1, LEDs on GPIOL0
// (pin 4) and GPIOH3 (pin 11).
TEST_F(MpsseBenchTest, PortModelSeesTheBoardWiring) {
  Open(2);
  pins->GPIOLPortDirection(eftGPIOL0 | eftGPIOL1);
  pins->GPIOHPortDirection(eftGPIOH0 | eftGPIOH3);
  for (const eBit level : {eb1, eb0}) {
    pins->GPIOLSignalOutput(eftGPIOL1, level);
    pins->GPIOHSignalOutput(eftGPIOH0, level);
    EXPECT_EQ(pins->GPIOLSignalInput(eftGPIOL2), level);
    EXPECT_EQ(pins->GPIOHSignalInput(eftGPIOH1), level);
  }
  pins->GPIOLSignalOutput(eftGPIOL0, eb1);
  pins->GPIOHSignalOutput(eftGPIOH3, eb1);
  EXPECT_EQ(virt::MpsseOf(bench->Device(2)).LitLeds(), 0x0810);
}

}  // namespace
}  // namespace brevant::testing
