// The text procedures behind every log line and error box. TextSubstitute has a
// one-pass shortcut for log lines; every case here must come out as the pass-by-
// pass definition gives it, whichever way the code takes.
#include "gateway/Formating.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "brevant/Error.h"
#include "gateway/FtStatus.h"
#include "gateway/Project.h"

namespace brevant {
namespace {

struct SubstituteCase {
  const char* name;
  const char* text;
  std::vector<std::string> values;
  const char* expected;
};

const SubstituteCase kSubstituteCases[] = {
    {"two values", "%1-%2", {"A", "B"}, "A-B"},
    {"no values", "%1-%2", {}, "%1-%2"},
    {"placeholder twice", "%1 %1", {"A"}, "A A"},
    {"placeholder without value", "%2", {"A"}, "%2"},
    {"unused value vanishes", "x", {"A", "B"}, "x"},
    {"value made a later placeholder", "%1 %2 %3", {"<%3>", "b", "c"}, "<c> b c"},
    {"%10 is %1 then 0", "%10", {"A"}, "A0"},
    {"percent before a placeholder", "%%1", {"2x", "B"}, "Bx"},
    {"value ending in percent meets a digit", "%12", {"%", "B"}, "B"},
    {"earlier pass never sees later values", "%2", {"A", "%1"}, "%1"},
    {"percent not before a digit", "100% %0 %", {"A"}, "100% %0 %"},
    {"empty value", "[%1]", {""}, "[]"},
};

// Up to three values, as the table needs.
std::string Fill(const char* text, const std::vector<std::string>& v) {
  if (v.empty()) return TextSubstitute(text);
  if (v.size() == 1) return TextSubstitute(text, v[0]);
  if (v.size() == 2) return TextSubstitute(text, v[0], v[1]);
  return TextSubstitute(text, v[0], v[1], v[2]);
}

TEST(TextSubstitute, FillsPassByPass) {
  for (const SubstituteCase& c : kSubstituteCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Fill(c.text, c.values), c.expected);
  }
}

TEST(TextSubstitute, GivesNumbersBooleansAndDumpsTheirText) {
  const uint8_t bytes[] = {0x01, 0xAB, 0x00};
  EXPECT_EQ(TextSubstitute("%1 %2 %3 %4", int32_t{-5}, true, false, uint8_t{7}), "-5 True False 7");
  EXPECT_EQ(TextSubstitute("0x{%1}", TextValue::Dump(bytes)), "0x{01 AB 00}");
  EXPECT_EQ(TextSubstitute("0x{%1}", TextValue::Dump({bytes, 1})), "0x{01}");
  EXPECT_EQ(TextSubstitute("0x{%1}", TextValue::Dump({})), "0x{}");
  // A percent in another value sends the dump down the pass-by-pass road.
  EXPECT_EQ(TextSubstitute("{%1} %2", TextValue::Dump(bytes), "%"), "{01 AB 00} %");
}

struct HexCase {
  int32_t value;
  int16_t width;
  const char* expected;
};

const HexCase kHexCases[] = {{255, 2, "FF"},
                             {5, 8, "00000005"},
                             {0, 1, "0"},
                             {0, 0, "0"},
                             {4660, 2, "1234"},
                             {-1, 2, "FFFFFFFF"},
                             {INT_MIN, 8, "80000000"},
                             {0xABC, -3, "ABC"},
                             {1, 12, "000000000001"}};

TEST(HexText, PadsButNeverCuts) {
  for (const HexCase& c : kHexCases) {
    SCOPED_TRACE(std::to_string(c.value) + "/" + std::to_string(c.width));
    EXPECT_EQ(HexText(c.value, c.width), c.expected);
  }
  EXPECT_EQ(HexText64(0xA3C, 8), "00000A3C");
  EXPECT_EQ(HexText64(0x100000A3CULL, 8), "100000A3C");
}

const char* const kStatusTexts[] = {"Unknown FT error (0)",
                                    "Invalid FT handle",
                                    "FT device handle not found",
                                    "FT device not opened",
                                    "FT I/O error",
                                    "Insufficient FT resources",
                                    "Invalid FT parameter",
                                    "Invalid FT baud rate",
                                    "FT device not opened for erase",
                                    "FT device not opened for write",
                                    "Failed to write FT device",
                                    "FT EEPROM read failed",
                                    "FT EEPROM write failed",
                                    "FT EEPROM erase failed",
                                    "FT EEPROM not present",
                                    "FT EEPROM not programmed",
                                    "Invalid FT arguments",
                                    "FT not supported",
                                    "Other FT error",
                                    "Unknown FT error (19)"};

TEST(FtStatusText, KnowsEighteenAndNamesTheRest) {
  for (int32_t status = 0; status < 20; ++status) {
    SCOPED_TRACE(status);
    EXPECT_EQ(FtStatusText(status), kStatusTexts[status]);
  }
  EXPECT_EQ(FtStatusText(-1), "Unknown FT error (-1)");
  EXPECT_EQ(FtStatusText(INT_MIN), "Unknown FT error (-2147483648)");
}

struct ErrorTextCase {
  int32_t number;
  const char* description;
  const char* expected;
};

const ErrorTextCase kErrorTextCases[] = {
    {kErrDeviceNotOpened, "Device not opened", "ERROR !6102: Device not opened"},
    {9, "x", "ERROR 9: x"},
    {0, "x", "ERROR: x"},
    {5, "", "ERROR 5"},
    {0, "", "ERROR"},
    // Any bit shared with the base counts, and the offset must not wrap.
    {INT_MIN, "", "ERROR !-262144"},
    {0x40000, "", "ERROR !2147483648"},
    {0x3FFFF, "", "ERROR 262143"},
};

TEST(ErrorText, NumberPartAndDescriptionOnlyWhenPresent) {
  for (const ErrorTextCase& c : kErrorTextCases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(ErrorText(c.number, c.description), c.expected);
  }
}

// The text, flags 16 and the title go to the presenter; a presenter that fails
// stays inside; the default one gives an empty title the library's name.
TEST(ErrorBox, PassesTextFlagsAndTitle) {
  std::vector<std::string> shown;
  SetMessageBoxPresenter([&](const std::string& text, const std::string& title, int flags) {
    shown.push_back(text + "|" + title + "|" + std::to_string(flags));
    throw std::runtime_error("no display");
  });
  EXPECT_NO_THROW(ErrorBox(Error(kErrDeviceNotOpened, "clsFTD2xx", "Device not opened"),
                           "Error in FTDI Device Selection"));
  ErrorBox(Error::Generic(kErrSubscriptOutOfRange, "frmSelectModule"), "");
  EXPECT_EQ(shown, (std::vector<std::string>{
                       "ERROR !6102: Device not opened|Error in FTDI Device Selection|16",
                       "ERROR 9: Subscript out of range||16"}));
  SetMessageBoxPresenter(nullptr);
  ::testing::internal::CaptureStderr();
  ErrorBox(Error(5, "x", ""), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "[Brevant] ERROR 5\n");
}

}  // namespace
}  // namespace brevant
