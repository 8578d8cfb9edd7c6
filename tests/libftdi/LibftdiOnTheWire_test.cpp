// The libftdi backend where a chip is stricter than a kind emulation: bit-bang
// and second-channel baud rates, parts without a serial number, writes that
// time out, resets, a lock per handle, odd ids and latency values. The USB
// layer holds transfers and answers requests as the parts do. Reads that time
// out part-way are the driver contract's (tests/conformance).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "libftdi/LibftdiDriver.h"
#include "virtual-usb/UsbBench.h"

namespace brevant::testing {
namespace {

using virt::PartKind;

constexpr uint8_t kModeFifo = 0x00;
constexpr uint8_t kModeSyncBitBang = 0x04;
constexpr uint8_t kModeMpsse = 0x02;

// A bench of `parts`, on USB, with the backend over it.
struct OnUsb {
  explicit OnUsb(std::shared_ptr<virt::Bench> b) : bench(std::move(b)), usb(bench) {}

  FtHandle Open(int index) {
    uint32_t count = 0;
    EXPECT_EQ(driver->FT_ListDevices(&count, nullptr, ft::kListNumberOnly), ft::kOk);
    FtHandle handle = nullptr;
    EXPECT_EQ(driver->FT_Open(index, &handle), ft::kOk) << index;
    return handle;
  }

  std::shared_ptr<virt::Bench> bench;
  virt::UsbBench usb;
  std::unique_ptr<LibftdiDriver> driver = std::make_unique<LibftdiDriver>();
};

std::shared_ptr<virt::Bench> BenchOf(PartKind kind, const std::string& serial) {
  auto bench = std::make_shared<virt::Bench>();
  bench->AddPart(kind, serial, 0x11);
  return bench;
}

// The vendor's driver hands the rate to the chip as it is, in every mode, and
// to the channel it was asked for.
TEST(LibftdiOnTheWire, BaudRateReachesTheChannelAsAsked) {
  const struct {
    PartKind kind;
    int channel;  // the device set, after the others were opened and set
    uint8_t mode;
    uint32_t rate;
  } kCases[] = {
      {PartKind::kFT2232H, 0, kModeSyncBitBang, 9600},
      {PartKind::kFT2232H, 1, kModeFifo, 115200},
      {PartKind::kFT2232D, 0, kModeSyncBitBang, 38400},
      {PartKind::kFT2232D, 1, kModeFifo, 57600},
      {PartKind::kFT4232H, 3, kModeSyncBitBang, 1000000},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.channel);
    OnUsb on(BenchOf(c.kind, "BAUD"));
    std::vector<FtHandle> handles;
    for (int d = 0; d < on.bench->DeviceCount(); ++d) {
      handles.push_back(on.Open(d));
      ASSERT_EQ(on.driver->FT_SetBaudRate(handles.back(), 300 + 100 * d), ft::kOk);
    }
    // Opening a channel leaves its neighbours' rates alone.
    for (int d = 0; d < on.bench->DeviceCount(); ++d) {
      EXPECT_NEAR(on.bench->Device(d).Settings().baudRate, 300 + 100 * d, 9) << d;
    }
    FtHandle h = handles[static_cast<size_t>(c.channel)];
    ASSERT_EQ(on.driver->FT_SetBitMode(h, 0xFF, c.mode), ft::kOk);
    ASSERT_EQ(on.driver->FT_SetBaudRate(h, c.rate), ft::kOk);
    // The chip gets the nearest divisor it has.
    for (int d = 0; d < on.bench->DeviceCount(); ++d) {
      const double asked = d == c.channel ? c.rate : 300 + 100 * d;
      EXPECT_NEAR(on.bench->Device(d).Settings().baudRate, asked, asked * 0.03) << d;
    }
    for (FtHandle each : handles) on.driver->FT_Close(each);
  }
}

TEST(LibftdiOnTheWire, PartWithoutASerialNumberIsListedWithItsName) {
  OnUsb on(BenchOf(PartKind::kFT2232H, ""));
  uint32_t count = 0;
  ASSERT_EQ(on.driver->FT_ListDevices(&count, nullptr, ft::kListNumberOnly), ft::kOk);
  ASSERT_EQ(count, 2u);
  for (uintptr_t index : {0, 1}) {
    char serial[ft::kTextBufferSize] = "x", description[ft::kTextBufferSize] = "";
    EXPECT_EQ(on.driver->FT_ListDevices(reinterpret_cast<void*>(index), serial,
                                        ft::kListByIndex | ft::kOpenBySerialNumber),
              ft::kOk);
    EXPECT_STREQ(serial, "");
    EXPECT_EQ(on.driver->FT_ListDevices(reinterpret_cast<void*>(index), description,
                                        ft::kListByIndex | ft::kOpenByDescription),
              ft::kOk);
    EXPECT_STREQ(description, index == 0 ? "Dual RS232-HS A" : "Dual RS232-HS B");
  }
}

// An MPSSE waiting for a level that never comes (0x89: GPIOL1 low, which the
// board pulls up) takes no more bytes once its buffer is full: the write times
// out with status OK and the count that went.
TEST(LibftdiOnTheWire, WriteThatTimesOutCountsWhatWent) {
  OnUsb on(virt::MakeDefaultBench());
  FtHandle h = on.Open(3);
  ASSERT_EQ(on.driver->FT_SetBitMode(h, 0, kModeMpsse), ft::kOk);
  ASSERT_EQ(on.driver->FT_SetTimeouts(h, 100, 100), ft::kOk);
  std::vector<uint8_t> bytes(8192, 0x85);  // loopback off, over and over
  bytes[0] = 0x89;
  uint32_t written = 0;
  EXPECT_EQ(on.driver->FT_Write(h, bytes.data(), 8192, &written), ft::kOk);
  EXPECT_EQ(written, 2048u);  // the FT4232H's buffer
  EXPECT_EQ(on.driver->FT_Purge(h, ft::kPurgeTx), ft::kOk);
  EXPECT_EQ(on.driver->FT_Close(h), ft::kOk);
}

// A port reset puts the part back to power-up; a cycle is not libusb's to do.
TEST(LibftdiOnTheWire, ResetPortStartsThePartAfreshAndCycleIsRefused) {
  OnUsb on(virt::MakeDefaultBench());
  FtHandle h = on.Open(0);
  ASSERT_EQ(on.driver->FT_SetBitMode(h, 0x0B, kModeMpsse), ft::kOk);
  ASSERT_EQ(on.driver->FT_SetLatencyTimer(h, 2), ft::kOk);
  EXPECT_EQ(on.driver->FT_ResetPort(h), ft::kOk);
  EXPECT_EQ(on.bench->Device(0).Settings().mode, kModeFifo);
  uint8_t latency = 0;
  EXPECT_EQ(on.driver->FT_GetLatencyTimer(h, &latency), ft::kOk);
  EXPECT_EQ(latency, 16);
  EXPECT_EQ(on.driver->FT_CyclePort(h), ft::kNotSupported);
  EXPECT_EQ(on.driver->FT_SetLatencyTimer(h, 0), ft::kInvalidParameter);
  EXPECT_EQ(on.driver->FT_Close(h), ft::kOk);
}

// A read waiting on one channel must not hold up calls on another.
TEST(LibftdiOnTheWire, EachHandleHasItsOwnLock) {
  OnUsb on(virt::MakeDefaultBench());
  FtHandle waiting = on.Open(3), busy = on.Open(4);
  ASSERT_EQ(on.driver->FT_SetTimeouts(waiting, 1500, 0), ft::kOk);
  std::atomic<bool> readDone = false;
  std::thread reader([&] {
    uint8_t byte = 0;
    uint32_t read = 0;
    on.driver->FT_Read(waiting, &byte, 1, &read);
    readDone = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  uint8_t latency = 0;
  for (int i = 0; i < 5; ++i) ASSERT_EQ(on.driver->FT_GetLatencyTimer(busy, &latency), ft::kOk);
  EXPECT_FALSE(readDone);
  reader.join();
  on.driver->FT_Close(waiting);
  on.driver->FT_Close(busy);
}

// Boards with ids of their own are listed once the user names them.
TEST(LibftdiOnTheWire, ListsTheUsersIds) {
  auto bench = std::make_shared<virt::Bench>();
  bench->AddDevice({"OWN1", "Own board", 0x11, ft::kTypeFT232H, 0x04038A98});
  virt::UsbBench usb(bench);
  for (const char* ids : {"", "0403:8a98", "1234:5678, 0403:8A98"}) {
    SCOPED_TRACE(ids);
    setenv("BREVANT_USB_IDS", ids, 1);
    LibftdiDriver driver;
    uint32_t count = 0;
    ASSERT_EQ(driver.FT_ListDevices(&count, nullptr, ft::kListNumberOnly), ft::kOk);
    EXPECT_EQ(count, *ids ? 1u : 0u);
  }
  setenv("BREVANT_USB_IDS", "0403", 1);
  EXPECT_THROW(LibftdiDriver(), DriverUnavailable);
  unsetenv("BREVANT_USB_IDS");
}

}  // namespace
}  // namespace brevant::testing
