// The virtual driver used directly, for what the driver contract
// (tests/conformance) leaves to each backend: text ends, unplugging, read
// time-outs in virtual time, and resets. The default bench has seven devices:
// two-channel part A/B, one-channel part, four-channel A-D.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>

#include "support/BenchTest.h"

namespace brevant::testing {
namespace {

void* Index(int index) {
  return reinterpret_cast<void*>(static_cast<intptr_t>(index));
}

class VirtualDriverTest : public BenchTest {
 protected:
  FtHandle Open(int index) {
    FtHandle handle = nullptr;
    EXPECT_EQ(driver->FT_Open(index, &handle), ft::kOk);
    return handle;
  }
  // The serial up to its NUL. The buffer holds '#' and is a byte longer than the
  // driver's, so that a missing NUL or an overrun shows.
  std::string Serial(int index) {
    std::array<char, ft::kTextBufferSize + 1> text;
    text.fill('#');
    EXPECT_EQ(driver->FT_ListDevices(Index(index), text.data(),
                                     ft::kListByIndex | ft::kOpenBySerialNumber),
              ft::kOk);
    return std::string(text.data(), strnlen(text.data(), text.size()));
  }
  FtStatus Write(FtHandle handle, uint32_t count) {
    const uint8_t bytes[4] = {1, 2, 3, 4};
    uint32_t written = 0;
    return driver->FT_Write(handle, bytes, count, &written);
  }
  uint32_t value = 0;  // out value of calls whose answer a test ignores
};

TEST_F(VirtualDriverTest, TextEndsWithNulOnlyWhenShorterThan64Bytes) {
  for (const size_t length : {63u, 64u, 70u}) {
    SCOPED_TRACE(length);
    std::string serial;
    for (size_t i = 0; i < length; ++i) serial += static_cast<char>('A' + i % 26);
    bench->AddDevice({.serialNumber = serial, .description = ""});
    EXPECT_EQ(Serial(bench->DeviceCount() - 1), length < 64 ? serial : serial.substr(0, 64) + "#");
  }
}

TEST_F(VirtualDriverTest, VanishedDeviceLeavesTheListAndFailsItsHandle) {
  FtHandle handle = Open(0);
  bench->Faults().Add(
      {.call = virt::Call::kWrite, .nth = 1, .kind = virt::FaultKind::kVanish, .device = 0});
  EXPECT_EQ(Write(handle, 1), ft::kIoError);
  EXPECT_EQ(driver->FT_ListDevices(&value, nullptr, ft::kListNumberOnly), ft::kOk);
  EXPECT_EQ(value, 6u);
  EXPECT_EQ(Serial(0), "BV22H001B");
  EXPECT_EQ(driver->FT_GetQueueStatus(handle, &value), ft::kIoError);
  EXPECT_EQ(driver->FT_Close(handle), ft::kOk);
}

TEST_F(VirtualDriverTest, ReadWaitsAtMostItsTimeOutAndReturnsShortWithOk) {
  FtHandle handle = Open(0);
  ASSERT_EQ(driver->FT_SetTimeouts(handle, 30, 30), ft::kOk);
  // Echoes come back after the power-up latency of 16 ms.
  const struct {
    const char* name;
    uint32_t sent, asked, read;
    int64_t waitedUs;
  } cases[] = {{"Nothing", 0, 4, 0, 30000},
               {"TwoOfFour", 2, 4, 2, 30000},
               {"AllWithinTheTimeOut", 4, 4, 4, 16000},
               {"NothingAsked", 0, 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(Write(handle, c.sent), ft::kOk);
    uint8_t buffer[4] = {};
    const int64_t start = bench->Clock().Now();
    EXPECT_EQ(driver->FT_Read(handle, buffer, c.asked, &value), ft::kOk);
    EXPECT_EQ(value, c.read);
    EXPECT_NEAR(bench->Clock().Now() - start, c.waitedUs, 100);
  }
}

TEST_F(VirtualDriverTest, ResetsRestorePowerUpSettingsButKeepTheTimeOuts) {
  FtHandle handle = Open(0);
  ASSERT_EQ(driver->FT_SetTimeouts(handle, 30, 40), ft::kOk);
  for (auto reset : {&Ftd2xx::FT_ResetDevice, &Ftd2xx::FT_ResetPort, &Ftd2xx::FT_CyclePort}) {
    ASSERT_EQ(driver->FT_SetLatencyTimer(handle, 1), ft::kOk);
    ASSERT_EQ(driver->FT_SetBitMode(handle, 0xEC, 0x10), ft::kOk);
    ASSERT_EQ(Write(handle, 2), ft::kOk);
    bench->Clock().Advance(2000);
    EXPECT_EQ(((*driver).*reset)(handle), ft::kOk);
    uint8_t latency = 0;
    EXPECT_EQ(driver->FT_GetLatencyTimer(handle, &latency), ft::kOk);
    EXPECT_EQ(latency, 16);
    const virt::ChannelSettings& s = bench->Device(0).Settings();
    EXPECT_EQ(std::make_tuple(s.mode, s.mask, s.readTimeoutMs, s.writeTimeoutMs),
              std::make_tuple(uint8_t{0}, uint8_t{0}, 30u, 40u));
    EXPECT_EQ(driver->FT_GetQueueStatus(handle, &value), ft::kOk);
    EXPECT_EQ(value, 0u);
  }
}

}  // namespace
}  // namespace brevant::testing
