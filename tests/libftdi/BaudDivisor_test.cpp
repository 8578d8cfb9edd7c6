// The set-baud-rate request's divisor for rates whose codes the chips' users
// know by heart, the channel in the index, and the USB ids the backend lists.
#include "libftdi/BaudDivisor.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "libftdi/UsbIds.h"

namespace brevant {
namespace {

TEST(BaudDivisor, EncodesTheNearestDivisorOrRefuses) {
  const struct {
    uint32_t rate;
    bool highSpeed;
    int channel;
    int value;  // -1: refused
    uint16_t index;
  } kCases[] = {
      {9600, false, 0, 0x4138, 0x0000},     // 312.5
      {115200, false, 0, 0x001A, 0x0000},   // 26
      {3000000, false, 0, 0x0000, 0x0000},  // divisor 1 has a code of its own
      {2000000, false, 0, 0x0001, 0x0000},  // and so has 1.5
      {9600, false, 2, 0x4138, 0x0002},     // a two-channel full-speed part's B
      {183, false, 0, 0xFFFF, 0x0001},      // the largest divisor, 0x3FFF.875
      {100, false, 0, -1, 0},
      {4000000, false, 0, -1, 0},
      {12000000, true, 1, 0x0000, 0x0201},  // the 12 MHz clock: bit 17
      {921600, true, 2, 0x000D, 0x0202},
      {9600, true, 1, 0x04E2, 0x0201},  // 1250
      {500, true, 0, 0x1770, 0x0000},   // 6000 on the 3 MHz clock
      {0, true, 0, -1, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.rate);
    const auto divisor = DivisorFor(c.rate, c.highSpeed);
    ASSERT_EQ(divisor.has_value(), c.value >= 0);
    if (!divisor) continue;
    EXPECT_EQ(divisor->Value(), c.value);
    EXPECT_EQ(divisor->Index(c.channel), c.index);
  }
}

TEST(UsbIds, VendorsIdsThenTheUsersOrAClearRefusal) {
  EXPECT_EQ(UsbIdsToList("").size(), 5u);
  EXPECT_EQ(UsbIdsToList("1234:abcd, 0403:6048").back(), 0x04036048u);
  EXPECT_EQ(UsbIdsToList("1234:abcd,0403:6048")[5], 0x1234ABCDu);
  for (const char* bad : {"1234", "123:4567", "12345:6789", "wxyz:0001", "0403:6010:1"}) {
    EXPECT_THROW(UsbIdsToList(bad), std::invalid_argument) << bad;
  }
}

}  // namespace
}  // namespace brevant
