// Programming a part's EEPROM through the gateway: only changed words are
// written, the checksum word last; a driver failure midway says what was and
// was not written and leaves the old checksum, so the part keeps its defaults.
#include "brevant/ConfigEeprom.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/BenchTest.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;

class ConfigEepromTest : public BenchTest {
 protected:
  void SetUp() override {
    BenchTest::SetUp();
    eeprom = std::make_unique<ConfigEeprom>();
    eeprom->Log(log);
    eeprom->Open(1);  // channel B of the two-channel part
  }
  // The factory image with a new product string and channel A in 245 FIFO mode.
  std::vector<uint16_t> Changed(const std::vector<uint16_t>& words) {
    EepromImage image = EepromImage::Decode(eeprom->Part(), words);
    image.product = "Rig";
    image.channels[0].type = ChannelType::kFifo245;
    return image.Encode(eeprom->Part(), words);
  }
  int Writes() const { return bench->Faults().Calls(Call::kWriteEE); }

  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::unique_ptr<ConfigEeprom> eeprom;
};

TEST_F(ConfigEepromTest, WritesChangedWordsChecksumLast) {
  const std::vector<uint16_t> before = eeprom->Read();
  ASSERT_EQ(before.size(), 128u);
  const std::vector<uint16_t> after = Changed(before);
  int changed = 0;
  for (size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i];
  ASSERT_GT(changed, 2);
  EXPECT_EQ(eeprom->Program(after), changed);
  EXPECT_EQ(Writes(), changed);
  std::string last;
  for (const LogLine& line : log->lines) {
    if (line.text.starts_with("FT_WriteEE")) last = line.text;
  }
  EXPECT_TRUE(last.starts_with("FT_WriteEE (0x00000A3C, 127, ")) << last;
  EXPECT_EQ(eeprom->Read(), after);
  // Nothing left to change: nothing written.
  EXPECT_EQ(eeprom->Program(after), 0);
  EXPECT_EQ(Writes(), changed);
}

TEST_F(ConfigEepromTest, FailureMidwaySaysWhatWasWritten) {
  const std::vector<uint16_t> before = eeprom->Read();
  const std::vector<uint16_t> after = Changed(before);
  bench->Faults().Add({.call = Call::kWriteEE, .nth = 3, .status = ft::kEepromWriteFailed});
  try {
    eeprom->Program(after);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80040000) + 6701);
    EXPECT_EQ(e.Source(), "ConfigEeprom");
    EXPECT_NE(e.Description().find("FT EEPROM write failed; 2 of "), std::string::npos)
        << e.Description();
  }
  const std::vector<uint16_t> now = eeprom->Read();
  EXPECT_EQ(now[127], before[127]);
  EXPECT_FALSE(EepromImage::Decode(eeprom->Part(), now).checksumValid);
}

}  // namespace
}  // namespace brevant::testing
