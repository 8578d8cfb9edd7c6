// The libftdi backend through libftdi1 and libusb on the default bench's parts,
// emulated on USB by umockdev: the list as the vendor's driver shows it, the 245
// FIFO stream with its read time-out, queue and purge, pins, latency, an MPSSE
// loopback and the SPI flash's JEDEC ID.
#include "libftdi/LibftdiDriver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <tuple>

#include "brevant/clsFTDI245FIFO.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "gateway/Driver.h"
#include "gateway/clsFTD2xx.h"
#include "support/Raised.h"
#include "virtual-usb/UsbBench.h"

namespace brevant::testing {
namespace {

class LibftdiTest : public ::testing::Test {
 protected:
  void SetUp() override { SetDriver(driver); }
  void TearDown() override { SetDriver(nullptr); }

  std::shared_ptr<virt::Bench> bench = virt::MakeDefaultBench();
  virt::UsbBench usb{bench};
  // Made once the emulated parts are plugged in.
  std::shared_ptr<LibftdiDriver> driver = std::make_shared<LibftdiDriver>();
};

// Parts on ports 1, 5 and 9 of bus 1; listed by location, as on the bench.
TEST_F(LibftdiTest, ListsEachChannelWithTheVendorsNamesAndLocations) {
  const struct {
    int index;
    const char* serial;
    const char* description;
    int32_t location;
  } kCases[] = {
      {0, "BV22H001A", "Dual RS232-HS A", 0x11},
      {1, "BV22H001B", "Dual RS232-HS B", 0x12},
      {2, "BV23H002", "Single RS232-HS", 0x15},
      {6, "BV42H003D", "Quad RS232-HS D", 0x1C},
  };
  clsFTD2xx gateway(driver);
  ASSERT_EQ(gateway.FTListNumDevices(), 7);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.serial);
    EXPECT_EQ(gateway.FTListSerialNumber(c.index), c.serial);
    EXPECT_EQ(gateway.FTListDescription(c.index), c.description);
    EXPECT_EQ(gateway.FTListLocationID(c.index), c.location);
  }
  // A channel in use has no location and cannot be opened again; its
  // neighbour keeps its own.
  gateway.FTOpen(0);
  EXPECT_EQ(gateway.FTListLocationID(0), 0);
  EXPECT_EQ(gateway.FTListLocationID(1), 0x12);
  const Error e = Raised([&] { clsFTD2xx(driver).FTOpen(0); });
  EXPECT_EQ(e.Number(), kErrDriverStatus);
  EXPECT_NE(e.Description().find("FT device not opened"), std::string::npos) << e.Description();
}

// The bench's peer echoes; a read asking for more waits out the time-out and
// comes back short without an error.
TEST_F(LibftdiTest, FifoStreamsWithTimeOutQueueAndPurge) {
  using std::chrono::steady_clock;
  clsFTDI245FIFO fifo;
  fifo.Initialize(0);
  fifo.SetTimeOuts(100, 100);
  ByteArray out{0x01, 0xAB, 0x00}, in(0, 5);
  const struct {
    int32_t asked;
    int32_t got;
    bool waits;
  } kCases[] = {{3, 3, false}, {5, 3, true}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.asked);
    fifo.DataWrite(out, 3);
    int32_t got = 0;
    const auto start = steady_clock::now();
    fifo.DataRead(in, c.asked, got);
    EXPECT_EQ(got, c.got);
    EXPECT_EQ(in[0], 0x01);
    EXPECT_EQ(in[2], 0x00);
    EXPECT_EQ(steady_clock::now() - start >= std::chrono::milliseconds(100), c.waits);
  }
  fifo.DataWrite(out, 3);
  EXPECT_EQ(fifo.QueueRx(), 3);
  fifo.PurgeQueueRx();
  EXPECT_EQ(fifo.QueueRx(), 0);
  fifo.Terminate();
}

// BV42H003C, a channel of a four-channel part, whose board loops ADBUS0-3
// back to ADBUS4-7.
TEST_F(LibftdiTest, ReadsThePinsAndTheLatencyTimer) {
  clsFTD2xx gateway(driver);
  gateway.FTOpen(5);
  int32_t type = 0, id = 0;
  std::string serial, description;
  gateway.FTGetDeviceInfo(type, id, serial, description);
  EXPECT_EQ(std::tie(type, id, serial, description),
            std::make_tuple(7, 0x04036011, "BV42H003C", "Quad RS232-HS C"));
  gateway.FTSetLatencyTimer(7);
  EXPECT_EQ(gateway.FTGetLatencyTimer(), 7);
  gateway.FTSetBitMode(0x0F, 4);
  ByteArray levels{0x05};
  gateway.FTWrite(levels, 1);
  EXPECT_EQ(gateway.FTGetBitMode(), 0x55);
  gateway.FTClose();
}

// One command each way: the loopback echoes what goes out; the flash on device
// 0 answers its JEDEC ID with CS (ADBUS3) low.
TEST_F(LibftdiTest, MpsseLoopbackAndFlashId) {
  const struct {
    int16_t device;
    bool loopback;
    ByteArray out, in;
  } kCases[] = {
      {2, true, {0x9F, 0x00, 0x5A, 0xFF}, {0x9F, 0x00, 0x5A, 0xFF}},
      {0, false, {0x9F, 0x00, 0x00, 0x00}, {0xFF, 0xEF, 0x40, 0x16}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.device);
    clsFTDIMPSSE mpsse;
    mpsse.Initialize(c.device);
    mpsse.SetClockDivisor(0);
    mpsse.HardwareLoopback(c.loopback);
    std::shared_ptr<clsFTDIMPSSEPortIO> pins = mpsse.MPSSEPortIO();
    pins->MPSSEPortOutput(eftTMSCS);
    pins->MPSSESignalOutput(eftTMSCS, eb0);
    ByteArray data = c.out;
    mpsse.DataBytesInOut(data, data.Count(), embMSBfirst, emcNegEdge, emcPosEdge);
    pins->MPSSESignalOutput(eftTMSCS, eb1);
    EXPECT_EQ(data, c.in);
    mpsse.Terminate();
  }
}

}  // namespace
}  // namespace brevant::testing
