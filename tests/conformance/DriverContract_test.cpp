// The driver contract that Brevant's classes rely on, run the same on every
// backend: the virtual driver; the d2xx backend loading the virtual D2XX library
// as it would the vendor's; the libftdi backend on the bench's parts as USB
// devices. Each runs on a fresh default bench: seven devices, two-channel part
// A/B, one-channel part, four-channel part A-D.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "libftdi/LibftdiDriver.h"
#include "support/BenchTest.h"
#include "virtual-usb/UsbBench.h"

namespace brevant::testing {
namespace {

constexpr uint8_t kModeFifo = 0x00;
constexpr uint8_t kModeMpsse = 0x02;
constexpr uint8_t kModeSyncBitBang = 0x04;

// A driver over `bench`, with whatever must stay up while it is used.
struct Backend {
  std::string name;
  std::function<std::shared_ptr<Ftd2xx>(std::shared_ptr<virt::Bench>, std::shared_ptr<void>&)> make;
  uint32_t firstLocation;  // device 0's location ID: the bench's, or its USB port's
  friend void PrintTo(const Backend& b, std::ostream* os) { *os << b.name; }
};

const Backend kBackends[] = {
    {"Virtual",
     [](std::shared_ptr<virt::Bench> bench, std::shared_ptr<void>&) {
       return std::make_shared<virt::VirtualDriver>(bench);
     },
     0x231},
    {"D2xx",
     [](std::shared_ptr<virt::Bench> bench, std::shared_ptr<void>&) { return D2xxOver(bench); },
     0x231},
    {"Libftdi",
     [](std::shared_ptr<virt::Bench> bench, std::shared_ptr<void>& keep) {
       keep = std::make_shared<virt::UsbBench>(bench);
       return std::make_shared<LibftdiDriver>();
     },
     0x11},
};

void* Index(int index) {
  return reinterpret_cast<void*>(static_cast<intptr_t>(index));
}

class DriverContract : public ::testing::TestWithParam<Backend> {
 protected:
  DriverContract() : driver(GetParam().make(bench, keep)) {
    uint32_t count = 0;
    EXPECT_EQ(driver->FT_ListDevices(&count, nullptr, ft::kListNumberOnly), ft::kOk);
    EXPECT_EQ(count, 7u);
  }

  FtHandle Open(int index, uint8_t mode = kModeFifo, uint8_t mask = 0) {
    FtHandle handle = nullptr;
    EXPECT_EQ(driver->FT_Open(index, &handle), ft::kOk) << index;
    EXPECT_EQ(driver->FT_SetBitMode(handle, mask, mode), ft::kOk);
    EXPECT_EQ(driver->FT_SetTimeouts(handle, 50, 50), ft::kOk);
    return handle;
  }
  std::string Text(int index, uint32_t which) {
    std::array<char, ft::kTextBufferSize> text{};
    EXPECT_EQ(driver->FT_ListDevices(Index(index), text.data(), ft::kListByIndex | which), ft::kOk);
    return text.data();
  }
  void Write(FtHandle handle, const std::vector<uint8_t>& bytes) {
    uint32_t written = 0;
    ASSERT_EQ(driver->FT_Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &written),
              ft::kOk);
    ASSERT_EQ(written, bytes.size());
  }
  // Reads `count` into a buffer of 8 bytes of 0xEE; returns the whole buffer.
  std::vector<uint8_t> Read(FtHandle handle, uint32_t count, uint32_t& read) {
    std::vector<uint8_t> buffer(8, 0xEE);
    EXPECT_EQ(driver->FT_Read(handle, buffer.data(), count, &read), ft::kOk);
    return buffer;
  }

  std::shared_ptr<virt::Bench> bench = virt::MakeDefaultBench();
  std::shared_ptr<void> keep;
  std::shared_ptr<Ftd2xx> driver;
  uint32_t value = 0;
};

TEST_P(DriverContract, ListsEachChannelByIndex) {
  const struct {
    int index;
    const char* serial;
    const char* description;
  } kCases[] = {{0, "BV22H001A", "Dual RS232-HS A"},
                {2, "BV23H002", "Single RS232-HS"},
                {6, "BV42H003D", "Quad RS232-HS D"}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.serial);
    EXPECT_EQ(Text(c.index, ft::kOpenBySerialNumber), c.serial);
    EXPECT_EQ(Text(c.index, ft::kOpenByDescription), c.description);
  }
  char text[ft::kTextBufferSize];
  EXPECT_EQ(driver->FT_ListDevices(Index(7), text, ft::kListByIndex | ft::kOpenBySerialNumber),
            ft::kDeviceNotFound);
}

// A channel in use lists no location and cannot be opened again; a closed or
// made-up handle is refused.
TEST_P(DriverContract, OpenCloseAndStaleHandles) {
  EXPECT_EQ(driver->FT_ListDevices(Index(0), &value, ft::kListByIndex | ft::kOpenByLocation),
            ft::kOk);
  EXPECT_EQ(value, GetParam().firstLocation);
  FtHandle handle = Open(0), again = nullptr;
  EXPECT_EQ(driver->FT_Open(0, &again), ft::kDeviceNotOpened);
  EXPECT_EQ(driver->FT_ListDevices(Index(0), &value, ft::kListByIndex | ft::kOpenByLocation),
            ft::kOk);
  EXPECT_EQ(value, 0u);
  uint32_t type = 0, id = 0;
  char serial[ft::kTextBufferSize], description[ft::kTextBufferSize];
  EXPECT_EQ(driver->FT_GetDeviceInfo(handle, &type, &id, serial, description, nullptr), ft::kOk);
  EXPECT_EQ(type, ft::kTypeFT2232H);
  EXPECT_EQ(id, 0x04036010u);
  EXPECT_STREQ(serial, "BV22H001A");
  EXPECT_STREQ(description, "Dual RS232-HS A");
  ASSERT_EQ(driver->FT_Close(handle), ft::kOk);
  EXPECT_EQ(driver->FT_Open(-1, &again), ft::kDeviceNotFound);
  EXPECT_EQ(driver->FT_GetQueueStatus(handle, &value), ft::kInvalidHandle);
  EXPECT_EQ(driver->FT_Close(handle), ft::kInvalidHandle);
  handle = Open(0);
  EXPECT_EQ(driver->FT_Close(handle), ft::kOk);
}

// The peer of a 245 FIFO channel echoes. A read short of its count comes back
// with status OK once its time-out has passed, the buffer's tail untouched.
TEST_P(DriverContract, ShortReadIsOkAndLeavesTheTail) {
  FtHandle handle = Open(0);
  const struct {
    uint32_t sent, asked, read;
  } kCases[] = {{3, 3, 3}, {3, 6, 3}, {0, 4, 0}, {0, 0, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.asked);
    Write(handle, std::vector<uint8_t>(c.sent, 0x5A));
    uint32_t read = 99;
    const std::vector<uint8_t> buffer = Read(handle, c.asked, read);
    EXPECT_EQ(read, c.read);
    for (uint32_t i = 0; i < 8; ++i) EXPECT_EQ(buffer[i], i < c.read ? 0x5A : 0xEE) << i;
  }
  EXPECT_EQ(driver->FT_Close(handle), ft::kOk);
}

// Reading the echo's first byte waits for the echo; the rest is then queued.
TEST_P(DriverContract, OnlyPurgeRxEmptiesWhatCameBack) {
  FtHandle handle = Open(0);
  const struct { uint32_t mask, left; } kCases[] = {{0, 2}, {ft::kPurgeTx, 2}, {ft::kPurgeRx, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.mask);
    uint32_t read = 0;
    Write(handle, {1, 2, 3});
    Read(handle, 1, read);
    ASSERT_EQ(read, 1u);
    EXPECT_EQ(driver->FT_Purge(handle, c.mask), ft::kOk);
    EXPECT_EQ(driver->FT_GetQueueStatus(handle, &value), ft::kOk);
    EXPECT_EQ(value, c.left);
    EXPECT_EQ(driver->FT_Purge(handle, ft::kPurgeRx), ft::kOk);
  }
  EXPECT_EQ(driver->FT_Close(handle), ft::kOk);
}

// Device 5 loops ADBUS0-3 back to ADBUS4-7; the MPSSE answers FA to a bad
// opcode; the latency timer reads back.
TEST_P(DriverContract, BitModesPinsAndLatency) {
  FtHandle pins = Open(5, kModeSyncBitBang, 0x0F);
  Write(pins, {0x05});
  uint8_t levels = 0;
  EXPECT_EQ(driver->FT_GetBitMode(pins, &levels), ft::kOk);
  EXPECT_EQ(levels, 0x55);
  EXPECT_EQ(driver->FT_SetLatencyTimer(pins, 7), ft::kOk);
  uint8_t latency = 0;
  EXPECT_EQ(driver->FT_GetLatencyTimer(pins, &latency), ft::kOk);
  EXPECT_EQ(latency, 7);
  FtHandle mpsse = Open(3, kModeMpsse);
  Write(mpsse, {0xAA, 0x87});
  uint32_t read = 0;
  const std::vector<uint8_t> answer = Read(mpsse, 2, read);
  ASSERT_EQ(read, 2u);
  EXPECT_EQ(answer[0], 0xFA);
  EXPECT_EQ(answer[1], 0xAA);
  EXPECT_EQ(driver->FT_Close(pins), ft::kOk);
  EXPECT_EQ(driver->FT_Close(mpsse), ft::kOk);
}

// The two channels of device 0's part share one EEPROM of 128 words, whose
// word 1 holds the vendor id; addresses wrap round at the chip's size.
TEST_P(DriverContract, EepromWordsAreThePartsAndEraseBlanksThem) {
  FtHandle a = Open(0), b = Open(1);
  uint16_t word = 0;
  EXPECT_EQ(driver->FT_ReadEE(b, 1, &word), ft::kOk);
  EXPECT_EQ(word, 0x0403);
  const struct {
    uint32_t written, read;
    uint16_t value;
  } kCases[] = {{0x40, 0x40, 0x8001}, {0x7F, 0x7F, 0x0180}, {0x80 + 0x41, 0x41, 0xC003}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.written);
    EXPECT_EQ(driver->FT_WriteEE(a, c.written, c.value), ft::kOk);
    EXPECT_EQ(driver->FT_ReadEE(b, c.read, &word), ft::kOk);
    EXPECT_EQ(word, c.value);
  }
  EXPECT_EQ(driver->FT_EraseEE(b), ft::kOk);
  for (uint32_t address : {0u, 1u, 0x7Fu}) {
    EXPECT_EQ(driver->FT_ReadEE(a, address, &word), ft::kOk);
    EXPECT_EQ(word, 0xFFFF) << address;
  }
  EXPECT_EQ(driver->FT_Close(a), ft::kOk);
  EXPECT_EQ(driver->FT_ReadEE(a, 1, &word), ft::kInvalidHandle);
  EXPECT_EQ(driver->FT_Close(b), ft::kOk);
}

INSTANTIATE_TEST_SUITE_P(EveryBackend, DriverContract, ::testing::ValuesIn(kBackends),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace brevant::testing
