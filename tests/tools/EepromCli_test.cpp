// `brevant eeprom` on the built-in bench, its EEPROMs kept in a state folder
// between runs: a bad file and a "no" program nothing, a "yes" programs and
// verifies, erase blanks the chip.
#include <gtest/gtest.h>

#include <string>

#include "tools/ToolRun.h"

namespace brevant::testing {
namespace {

class EepromCli : public ToolFolder {
 protected:
  void SetUp() override {
    ToolFolder::SetUp();
    fs::create_directories(dir_ / "state");
    Put(dir_ / "fifo.json", R"({"product": "Rig", "channels": [{"type": "fifo245"}, {}]})");
    Put(dir_ / "no.txt", "n\n");
  }
  ToolRun Eeprom(const std::string& args) {
    return RunTool(dir_, "--driver virtual --state state --trace eeprom " + args);
  }
  bool Programmed() const { return fs::exists(dir_ / "state" / "BV22H001A.eeprom"); }
};

TEST_F(EepromCli, NothingWrittenUnlessAllIsRightAndAgreed) {
  const struct {
    const char* file;
    const char* args;
    int status;
    const char* err;
  } kCases[] = {
      {R"({"maxPowerMa": 600})", "--yes", 1, "Invalid EEPROM field maxPowerMa: 600"},
      {R"({"channels": [{"type": "uart"}, {"type": "serial"}]})", "--yes", 2,
       "channels[1].type \"serial\" is not uart"},
      {R"({"part": "FT232R"})", "--yes", 2, "part is \"FT232R\", the device is an FT2232H"},
      {R"({"colour": "red"})", "--yes", 2, "colour is no field of the EEPROM"},
      {R"({"product": "x"})", "< no.txt", 1, "brevant: nothing programmed"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.file);
    Put(dir_ / "change.json", c.file);
    const ToolRun run = Eeprom("write -d 0 change.json " + std::string(c.args));
    EXPECT_EQ(run.status, c.status);
    EXPECT_NE(run.err.find(c.err), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("FT_WriteEE"), std::string::npos);
    EXPECT_FALSE(Programmed());
  }
}

TEST_F(EepromCli, WriteVerifiesAndReadShowsItOnTheOtherChannel) {
  const ToolRun write = Eeprom("write -d 1 fifo.json --yes");
  ASSERT_EQ(write.status, 0) << write.err;
  EXPECT_NE(write.out.find("product: \"Dual RS232-HS\" -> \"Rig\""), std::string::npos);
  EXPECT_NE(write.out.find("verified"), std::string::npos);
  const ToolRun read = Eeprom("read -d 0 --json");
  EXPECT_NE(read.out.find("\"checksumValid\": true"), std::string::npos) << read.out;
  EXPECT_NE(read.out.find("\"product\": \"Rig\""), std::string::npos);
  EXPECT_NE(read.out.find("\"type\": \"fifo245\""), std::string::npos);
  ASSERT_EQ(Eeprom("erase -d 0 --yes").status, 0);
  EXPECT_NE(Eeprom("read -d 0").out.find("checksumValid: false"), std::string::npos);
}

}  // namespace
}  // namespace brevant::testing
