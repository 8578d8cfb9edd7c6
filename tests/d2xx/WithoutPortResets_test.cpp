// A vendor library without FT_ResetPort and FT_CyclePort still loads; those two
// calls answer FT_NOT_SUPPORTED and the rest work.
#include <gtest/gtest.h>

#include "d2xx/D2xxDriver.h"

namespace brevant {
namespace {

TEST(D2xxWithoutPortResets, LoadsAndRefusesOnlyThoseTwo) {
  D2xxDriver driver(BREVANT_VIRTUAL_D2XX_WITHOUT_PORT_RESETS);
  FtHandle handle = nullptr;
  ASSERT_EQ(driver.FT_Open(0, &handle), ft::kOk);
  EXPECT_EQ(driver.FT_ResetPort(handle), ft::kNotSupported);
  EXPECT_EQ(driver.FT_CyclePort(handle), ft::kNotSupported);
  EXPECT_EQ(driver.FT_ResetDevice(handle), ft::kOk);
  EXPECT_EQ(driver.FT_Close(handle), ft::kOk);
}

}  // namespace
}  // namespace brevant
