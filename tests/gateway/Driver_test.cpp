// Choosing the driver.
#include <gtest/gtest.h>

#include "brevant/Driver.h"
#include "brevant/Error.h"
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

}  // namespace
}  // namespace brevant
