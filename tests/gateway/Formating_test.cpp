// The text procedures behind every log line and error box. TextSubstitute's one-
// pass shortcut must give what the pass-by-pass definition gives.
#include "gateway/Formating.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "brevant/Error.h"
#include "brevant/ErrorBox.h"
#include "gateway/FtStatus.h"

namespace brevant {
namespace {

TEST(TextSubstitute, FillsPassByPass) {
  EXPECT_EQ(TextSubstitute("%1-%2", "A", "B"), "A-B");
  EXPECT_EQ(TextSubstitute("%1-%2"), "%1-%2");
  EXPECT_EQ(TextSubstitute("%1 %1", "A"), "A A");
  EXPECT_EQ(TextSubstitute("%2", "A"), "%2") << "placeholder without value";
  EXPECT_EQ(TextSubstitute("x", "A", "B"), "x") << "unused value vanishes";
  EXPECT_EQ(TextSubstitute("%1 %2 %3", "<%3>", "b", "c"), "<c> b c") << "made a later placeholder";
  EXPECT_EQ(TextSubstitute("%10", "A"), "A0") << "%10 is %1 then 0";
  EXPECT_EQ(TextSubstitute("%%1", "2x", "B"), "Bx") << "percent before a placeholder";
  EXPECT_EQ(TextSubstitute("%12", "%", "B"), "B") << "value ending in percent meets a digit";
  EXPECT_EQ(TextSubstitute("%2", "A", "%1"), "%1") << "earlier pass never sees later values";
  EXPECT_EQ(TextSubstitute("100% %0 %", "A"), "100% %0 %") << "percent not before a digit";
  EXPECT_EQ(TextSubstitute("[%1]", ""), "[]");
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

TEST(HexText, PadsButNeverCuts) {
  EXPECT_EQ(HexText(255, 2), "FF");
  EXPECT_EQ(HexText(5, 8), "00000005");
  EXPECT_EQ(HexText(0, 1), "0");
  EXPECT_EQ(HexText(0, 0), "0");
  EXPECT_EQ(HexText(4660, 2), "1234");
  EXPECT_EQ(HexText(-1, 2), "FFFFFFFF");
  EXPECT_EQ(HexText(INT_MIN, 8), "80000000");
  EXPECT_EQ(HexText(0xABC, -3), "ABC");
  EXPECT_EQ(HexText(1, 12), "000000000001");
  EXPECT_EQ(HexText64(0xA3C, 8), "00000A3C");
  EXPECT_EQ(HexText64(0x100000A3CULL, 8), "100000A3C");
}

// The ends of the table and the numbers beyond them on both sides.
TEST(FtStatusText, KnowsEighteenAndNamesTheRest) {
  const std::pair<int32_t, const char*> cases[] = {{INT_MIN, "Unknown FT error (-2147483648)"},
                                                   {-1, "Unknown FT error (-1)"},
                                                   {0, "Unknown FT error (0)"},
                                                   {1, "Invalid FT handle"},
                                                   {18, "Other FT error"},
                                                   {19, "Unknown FT error (19)"}};
  for (const auto& [status, text] : cases) EXPECT_EQ(FtStatusText(status), text) << status;
}

TEST(ErrorText, NumberPartAndDescriptionOnlyWhenPresent) {
  EXPECT_EQ(ErrorText(kErrDeviceNotOpened, "Device not opened"), "ERROR !6102: Device not opened");
  EXPECT_EQ(ErrorText(9, "x"), "ERROR 9: x");
  EXPECT_EQ(ErrorText(0, "x"), "ERROR: x");
  EXPECT_EQ(ErrorText(5, ""), "ERROR 5");
  EXPECT_EQ(ErrorText(0, ""), "ERROR");
  // Any bit shared with the base counts, and the offset must not wrap.
  EXPECT_EQ(ErrorText(INT_MIN, ""), "ERROR !-262144");
  EXPECT_EQ(ErrorText(0x40000, ""), "ERROR !2147483648");
  EXPECT_EQ(ErrorText(0x3FFFF, ""), "ERROR 262143");
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
