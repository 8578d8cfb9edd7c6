// The bench's bit-bang engine paces its samples by the baud rate: 300 baud
// clocks 4800 bytes a second and samples come in packets of 510 (62 on a
// full-speed part), so the first
// packet is complete after 106 ms and reaches the host 16 ms (the latency) later,
// the whole run of 2000 after 432.7 ms. What one read misses, a later one gets.
// Samples and wiring are tested through the channel: SyncBitBang_test.
#include <gtest/gtest.h>

#include <vector>

#include "support/BenchTest.h"

namespace brevant::testing {
namespace {

using BitBangEngineTest = BenchTest;

TEST_F(BitBangEngineTest, ASlowRunArrivesAfterTheReadTimeOut) {
  FtHandle handle = nullptr;
  ASSERT_EQ(driver->FT_Open(5, &handle), ft::kOk);
  driver->FT_SetBitMode(handle, 0x0F, 4);
  driver->FT_SetBaudRate(handle, 300);
  driver->FT_SetTimeouts(handle, 150, 150);
  std::vector<uint8_t> data(2000, 0x03);
  uint32_t count = 0;
  driver->FT_Write(handle, data.data(), 2000, &count);
  const int64_t start = bench->Clock().Now();
  ASSERT_EQ(driver->FT_Read(handle, data.data(), 2000, &count), ft::kOk);
  EXPECT_EQ(count, 510u);
  EXPECT_EQ(bench->Clock().Now() - start, 150000 + 50);  // the time-out and the call
  driver->FT_SetTimeouts(handle, 0, 0);
  ASSERT_EQ(driver->FT_Read(handle, data.data(), 2000, &count), ft::kOk);
  EXPECT_EQ(count, 1490u);
  EXPECT_GT(bench->Clock().Now() - start, 432000);
  EXPECT_EQ(data[1489], 0x33);
}

// A full-speed part's packets carry 62 samples: at 300 baud the first is
// complete after 12.9 ms and with the latency there at 28.9 ms.
TEST_F(BitBangEngineTest, FullSpeedPartsSendSmallerPackets) {
  bench->AddPart(virt::PartKind::kFT2232D, "BV22D004", 0x0300);
  FtHandle handle = nullptr;
  ASSERT_EQ(driver->FT_Open(7, &handle), ft::kOk);
  driver->FT_SetBitMode(handle, 0x0F, 4);
  driver->FT_SetBaudRate(handle, 300);
  driver->FT_SetTimeouts(handle, 40, 40);
  std::vector<uint8_t> data(300, 0x03);
  uint32_t count = 0;
  driver->FT_Write(handle, data.data(), 300, &count);
  ASSERT_EQ(driver->FT_Read(handle, data.data(), 300, &count), ft::kOk);
  EXPECT_EQ(count, 62u);
  driver->FT_SetTimeouts(handle, 0, 0);
  ASSERT_EQ(driver->FT_Read(handle, data.data(), 300, &count), ft::kOk);
  EXPECT_EQ(count, 238u);
}

}  // namespace
}  // namespace brevant::testing
