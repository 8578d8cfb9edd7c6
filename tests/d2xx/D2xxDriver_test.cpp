// Loading the driver library: what a missing library or function says, and the
// driver choices that load it. The client scenarios through this backend run
// from the other tests' files; the command-line tests in tests/CMakeLists.txt
// load the virtual D2XX library with a bench file.
#include "d2xx/D2xxDriver.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "brevant/Driver.h"
#include "gateway/Driver.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

TEST(D2xxDriver, NamesWhatIsMissing) {
  const struct {
    const char* library;
    const char* text;
  } kCases[] = {
      {"/nowhere/libftd2xx.so", "Cannot load the driver library /nowhere/libftd2xx.so: "},
      // A library that loads but is not a driver.
      {"libc.so.6", "The driver library libc.so.6 has no function FT_ListDevices"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.library);
    const Error e = Raised([&] { D2xxDriver driver(c.library); });
    EXPECT_EQ(e.Number(), kErrDriverChoice);
    EXPECT_EQ(e.Source(), "Brevant");
    EXPECT_EQ(e.Description().rfind(c.text, 0), 0u) << e.Description();
  }
}

// BREVANT_D2XX_LIBRARY names the library for "d2xx" and for the default.
TEST(D2xxDriver, ChoicesLoadTheNamedLibrary) {
  for (const char* choice : {"d2xx", ""}) {
    SCOPED_TRACE(choice);
    setenv("BREVANT_D2XX_LIBRARY", BREVANT_VIRTUAL_D2XX, 1);
    UseDriver(choice);
    uint32_t count = 0;
    EXPECT_EQ(CurrentDriver()->FT_ListDevices(&count, nullptr, ft::kListNumberOnly), ft::kOk);
    EXPECT_EQ(count, 7u);
    setenv("BREVANT_D2XX_LIBRARY", "/nowhere/libftd2xx.so", 1);
    EXPECT_EQ(Raised([] { UseDriver("d2xx"); }).Number(), kErrDriverChoice);
  }
  unsetenv("BREVANT_D2XX_LIBRARY");
  SetDriver(nullptr);
}

}  // namespace
}  // namespace brevant::testing
