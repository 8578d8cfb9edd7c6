// Loading the driver library: what a missing library or function says, and the
// driver choices that load it. The driver contract through this backend is in
// tests/conformance; the command-line tests in tests/CMakeLists.txt load the
// virtual D2XX library with a bench file.
#include "d2xx/D2xxDriver.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "brevant/Driver.h"
#include "gateway/Driver.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

// BREVANT_D2XX_LIBRARY names the library for "d2xx" and for the default; a
// named library that fails is an error naming it either way, never a quiet turn
// to libftdi. Only without the variable may the default fall back.
TEST(D2xxDriver, ChoicesLoadTheNamedLibraryOrSayWhatIsMissing) {
  const struct {
    const char* name;
    const char* library;  // nullptr: the variable unset
    const char* text;     // how the error begins; nullptr: none
  } kCases[] = {
      {"Loads", BREVANT_VIRTUAL_D2XX, nullptr},
      {"NoSuchFile", "/nowhere/libftd2xx.so",
       "Cannot load the driver library /nowhere/libftd2xx.so: "},
      {"NotADriver", "libm.so.6", "The driver library libm.so.6 has no function FT_ListDevices"},
      {"Unset", nullptr, nullptr},
  };
  for (const char* choice : {"d2xx", ""}) {
    for (const auto& c : kCases) {
      SCOPED_TRACE(std::string(c.name) + " choice \"" + choice + "\"");
      // Unset, "d2xx" looks for the vendor's library, which this machine may lack.
      if (c.library == nullptr && *choice != '\0') continue;
      if (c.library) {
        setenv("BREVANT_D2XX_LIBRARY", c.library, 1);
      } else {
        unsetenv("BREVANT_D2XX_LIBRARY");
      }
      SetDriver(nullptr);
      const Error e = Raised([&] { UseDriver(choice); });
      if (c.text == nullptr) {
        EXPECT_EQ(e.Number(), 0) << e.Description();
        if (c.library) {
          uint32_t count = 0;
          CurrentDriver()->FT_ListDevices(&count, nullptr, ft::kListNumberOnly);
          EXPECT_EQ(count, 7u);  // the virtual D2XX library's default bench
        }
        continue;
      }
      EXPECT_EQ(e.Number(), kErrDriverChoice);
      EXPECT_EQ(e.Source(), "Brevant");
      EXPECT_EQ(e.Description().rfind(c.text, 0), 0u) << e.Description();
    }
  }
  unsetenv("BREVANT_D2XX_LIBRARY");
  SetDriver(nullptr);
}

}  // namespace
}  // namespace brevant::testing
