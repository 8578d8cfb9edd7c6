// The bench's bit-bang engine straight through the driver: one sample per byte
// taken before the byte is driven, pins read through the board, and samples
// paced by the baud rate.
#include <gtest/gtest.h>

#include <vector>

#include "support/BenchTest.h"

namespace brevant::testing {
namespace {

class BitBangEngineTest : public BenchTest {
 protected:
  // Opens `device` in bit mode 4 with `mask` and an empty receive queue; with
  // no time-outs a read waits for everything.
  FtHandle Open(int device, uint8_t mask) {
    FtHandle handle = nullptr;
    EXPECT_EQ(driver->FT_Open(device, &handle), ft::kOk);
    EXPECT_EQ(driver->FT_SetBitMode(handle, mask, 4), ft::kOk);
    EXPECT_EQ(driver->FT_Purge(handle, ft::kPurgeRx), ft::kOk);
    return handle;
  }
  void Write(FtHandle handle, const std::vector<uint8_t>& bytes) {
    uint32_t written = 0;
    EXPECT_EQ(driver->FT_Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &written),
              ft::kOk);
  }
  std::vector<uint8_t> Read(FtHandle handle, uint32_t count) {
    std::vector<uint8_t> bytes(count);
    uint32_t read = 0;
    EXPECT_EQ(driver->FT_Read(handle, bytes.data(), count, &read), ft::kOk);
    bytes.resize(read);
    return bytes;
  }
  uint8_t Pins(FtHandle handle) {
    uint8_t pins = 0;
    EXPECT_EQ(driver->FT_GetBitMode(handle, &pins), ft::kOk);
    return pins;
  }
};

TEST_F(BitBangEngineTest, SamplesRunOneByteBehindThePins) {
  const struct {
    int device;
    uint8_t mask;
    std::vector<uint8_t> out, samples;
    uint8_t pins;
  } cases[] = {
      // D4-D7 follow D0-D3.
      {5, 0x0F, {0x05, 0x0A, 0x03}, {0x00, 0x55, 0xAA}, 0x33},
      // The board holds D4-D7 at 0101 (from D4); undriven inputs read high.
      {6, 0x00, {0x12, 0x34}, {0xAF, 0xAF}, 0xAF},
      {6, 0x0F, {0x12, 0x34}, {0xAF, 0xA2}, 0xA4},
      // Outputs drive whatever the board holds.
      {6, 0xF0, {0x00}, {0xFF}, 0x0F},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.device);
    const FtHandle handle = Open(c.device, c.mask);
    Write(handle, c.out);
    EXPECT_EQ(Read(handle, static_cast<uint32_t>(c.out.size())), c.samples);
    EXPECT_EQ(Pins(handle), c.pins);
    Write(handle, {0xFF});  // leave the latch as the next case expects it
    driver->FT_Close(handle);
  }
}

// 300 baud clocks 4800 bytes a second, and samples come in packets of 510:
// the first is complete after 106 ms and reaches the host after the 16 ms
// latency, the whole run after 432.7 ms.
TEST_F(BitBangEngineTest, ASlowRunArrivesAfterTheTimeOut) {
  const FtHandle handle = Open(5, 0x0F);
  driver->FT_SetBaudRate(handle, 300);
  driver->FT_SetTimeouts(handle, 150, 150);
  Write(handle, std::vector<uint8_t>(2000, 0x00));
  const int64_t start = bench->Clock().Now();
  EXPECT_EQ(Read(handle, 2000).size(), 510u);
  EXPECT_EQ(bench->Clock().Now() - start, 150000 + 50);
  driver->FT_SetTimeouts(handle, 0, 0);
  EXPECT_EQ(Read(handle, 2000).size(), 1490u);
  EXPECT_GT(bench->Clock().Now() - start, 432000);
}

}  // namespace
}  // namespace brevant::testing
