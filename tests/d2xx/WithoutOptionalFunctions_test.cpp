// A vendor library without FT_ResetPort, FT_CyclePort and the EEPROM functions
// still loads; those calls answer FT_NOT_SUPPORTED and the rest work.
#include <gtest/gtest.h>

#include "d2xx/D2xxDriver.h"

namespace brevant {
namespace {

TEST(D2xxWithoutOptionalFunctions, LoadsAndRefusesOnlyThose) {
  D2xxDriver driver(BREVANT_VIRTUAL_D2XX_WITHOUT_OPTIONAL);
  FtHandle handle = nullptr;
  ASSERT_EQ(driver.FT_Open(0, &handle), ft::kOk);
  EXPECT_EQ(driver.FT_ResetPort(handle), ft::kNotSupported);
  EXPECT_EQ(driver.FT_CyclePort(handle), ft::kNotSupported);
  uint16_t word = 0x1234;
  EXPECT_EQ(driver.FT_ReadEE(handle, 1, &word), ft::kNotSupported);
  EXPECT_EQ(word, 0x1234);
  EXPECT_EQ(driver.FT_WriteEE(handle, 1, 0), ft::kNotSupported);
  EXPECT_EQ(driver.FT_EraseEE(handle), ft::kNotSupported);
  EXPECT_EQ(driver.FT_ResetDevice(handle), ft::kOk);
  EXPECT_EQ(driver.FT_Close(handle), ft::kOk);
}

}  // namespace
}  // namespace brevant
