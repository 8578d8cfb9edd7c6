// Choosing the driver, and the library's version block.
#include <gtest/gtest.h>

#include "brevant/Driver.h"
#include "brevant/Error.h"
#include "brevant/Process.h"
#include "gateway/Driver.h"
#include "support/Raised.h"

namespace brevant {
namespace {

TEST(DriverChoice, KnownChoicesGiveAFreshBench) {
  for (const char* choice : {"", "virtual"}) {
    SCOPED_TRACE(choice);
    UseDriver(choice);
    const auto first = CurrentDriver();
    UseDriver(choice);
    EXPECT_NE(first, CurrentDriver()) << "each choice makes a driver of its own";
  }
  SetDriver(nullptr);
}

TEST(DriverChoice, UnknownChoiceNamesItselfAndKeepsTheDriver) {
  UseDriver("virtual");
  const auto before = CurrentDriver();
  const Error e = testing::Raised([] { UseDriver("usb-magic"); });
  EXPECT_EQ(e.Source(), "Brevant");
  EXPECT_NE(e.Description().find("\"usb-magic\""), std::string::npos) << e.Description();
  EXPECT_EQ(before, CurrentDriver());
  SetDriver(nullptr);
}

TEST(Process, ReportsVersionOneZeroRevisionTen) {
  const Process process;
  EXPECT_EQ(process.Major(), 1);
  EXPECT_EQ(process.Minor(), 0);
  EXPECT_EQ(process.Revision(), 10);
}

}  // namespace
}  // namespace brevant
