// The configuration EEPROM of each part kind on the bench, read word by word
// through the gateway, decoded, changed, encoded and programmed back. The
// checksums are checked against a sum computed here, not the library's.
#include "brevant/EepromImage.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "gateway/clsFTD2xx.h"
#include "support/BenchTest.h"

namespace brevant::testing {
namespace {

// The chip's rule written out on a wider sum: start from 0xAAAA, and for each
// word before the checksum xor it in and rotate the 16 bits left by one.
uint16_t IndependentChecksum(const std::vector<uint16_t>& words, size_t checked) {
  uint32_t sum = 0xAAAA;
  for (size_t i = 0; i < checked - 1; ++i) {
    sum = (sum ^ words[i]) << 1;
    sum = (sum & 0xFFFF) | (sum >> 16);
  }
  return static_cast<uint16_t>(sum);
}

struct PartCase {
  const char* name;
  virt::PartKind kind;
  EepromPart part;
  size_t words;
  uint16_t product;
  const char* description;
  size_t channels;
  size_t cbus;
  ChannelType changedType;  // what channel A becomes
  // Word 0 after the round trip: channel A's type code with its driver bit
  // clear, the last channel's driver bit set (none on a one-channel part).
  uint16_t word0Mask, word0;
  size_t cbusWord;  // CBUS0 to CBUS3, four bits each from the low end
  friend void PrintTo(const PartCase& c, std::ostream* os) { *os << c.name; }
};

const PartCase kParts[] = {
    {"FT232R", virt::PartKind::kFT232R, EepromPart::kFT232R, 64, 0x6001, "FT232R USB UART", 1, 5,
     ChannelType::kUart, 0x0008, 0x0000, 10},
    {"FT2232D", virt::PartKind::kFT2232D, EepromPart::kFT2232D, 64, 0x6010, "Dual RS232", 2, 0,
     ChannelType::kFifo245, 0x080F, 0x0801, 0},
    {"FT232H", virt::PartKind::kFT232H, EepromPart::kFT232H, 128, 0x6014, "Single RS232-HS", 1, 10,
     ChannelType::kCpuFifo, 0x001F, 0x0004, 12},
    {"FT2232H", virt::PartKind::kFT2232H, EepromPart::kFT2232H, 128, 0x6010, "Dual RS232-HS", 2, 0,
     ChannelType::kOpto, 0x080F, 0x0802, 0},
    // Two channels' driver bits to a byte: A bit 3, B bit 7, C bit 11, D bit 15.
    {"FT4232H", virt::PartKind::kFT4232H, EepromPart::kFT4232H, 128, 0x6011, "Quad RS232-HS", 4, 0,
     ChannelType::kUart, 0x8888, 0x8000, 0},
};

class EepromImageTest : public BenchTest, public ::testing::WithParamInterface<PartCase> {
 protected:
  EepromImageTest() {
    bench = std::make_shared<virt::Bench>();
    bench->AddPart(GetParam().kind, "EE1", 0x11);
  }
  void SetUp() override {
    BenchTest::SetUp();
    gw = std::make_unique<clsFTD2xx>();
    gw->FTOpen(static_cast<int16_t>(GetParam().channels - 1));
  }
  std::vector<uint16_t> ReadAll() {
    std::vector<uint16_t> words;
    for (size_t i = 0; i < GetParam().words; ++i)
      words.push_back(gw->FTReadEE(static_cast<uint8_t>(i)));
    return words;
  }

  // Where the bench's factory strings start, and their bytes: two per
  // descriptor and two per character of "FTDI", the description and "EE1".
  size_t Start() const { return GetParam().words == 64 ? 0x1A : 0x9A; }
  size_t FactoryStrings() const {
    return 2 * 3 + 2 * (4 + std::string(GetParam().description).size() + 3);
  }

  std::unique_ptr<clsFTD2xx> gw;
};

TEST_P(EepromImageTest, FactoryImageDecodes) {
  const EepromImage image = EepromImage::Decode(GetParam().part, ReadAll());
  const size_t checked = GetParam().words == 64 ? 64 : 128;
  EXPECT_TRUE(image.checksumValid);
  EXPECT_EQ(image.productId, GetParam().product);
  EXPECT_EQ(image.product, GetParam().description);
  EXPECT_EQ(image.serialNumber, "EE1");
  EXPECT_EQ(image.channels.size(), GetParam().channels);
  EXPECT_EQ(image.cbus.size(), GetParam().cbus);
  // The user area runs from the end of the strings to the checksum.
  EXPECT_EQ(image.user.size(), checked * 2 - 2 - Start() - FactoryStrings());
}

// Every modelled field changed, programmed, read back on another channel's
// handle where the part has one, and found again with a good checksum.
TEST_P(EepromImageTest, RoundTripThroughTheChip) {
  const std::vector<uint16_t> before = ReadAll();
  EepromImage image = EepromImage::Decode(GetParam().part, before);
  image.productId = 0xB1E5;
  image.manufacturer = "Brevant Labs";
  image.product = "Rig";
  image.serialNumber = "R-0042";
  image.selfPowered = true;
  image.remoteWakeup = true;
  image.maxPowerMa = 498;
  image.channels.front() = {GetParam().changedType, false};
  image.channels.back().vcp = image.channels.size() > 1;
  for (size_t i = 0; i < image.cbus.size(); ++i) image.cbus[i] = static_cast<uint8_t>(15 - i);
  // The new strings take 48 bytes; the user area fills the rest exactly.
  image.user.assign(image.user.size() + FactoryStrings() - 48, 0);
  image.user.front() = 0x81;
  image.user.back() = 0x7E;
  const std::vector<uint16_t> words = image.Encode(GetParam().part, before);
  for (size_t i = 0; i < words.size(); ++i) gw->FTWriteEE(static_cast<uint8_t>(i), words[i]);
  gw->FTClose();
  gw->FTOpen(0);
  const std::vector<uint16_t> after = ReadAll();
  EXPECT_EQ(after, words);
  const size_t checked = GetParam().words == 64 ? 64 : 128;
  EXPECT_EQ(after[checked - 1], IndependentChecksum(after, checked));
  // Bytes 8 and 9: bus powered (always set), self powered, remote wake-up; 249 * 2 mA.
  EXPECT_EQ(after[4], 0xF9E0);
  EXPECT_EQ(after[2], 0xB1E5);
  EXPECT_EQ(after[0] & GetParam().word0Mask, GetParam().word0);
  if (GetParam().cbusWord != 0) {
    EXPECT_EQ(after[GetParam().cbusWord], 0xCDEF);
  }
  const EepromImage again = EepromImage::Decode(GetParam().part, after);
  EXPECT_TRUE(again.checksumValid);
  EXPECT_EQ(again.manufacturer, "Brevant Labs");
  EXPECT_EQ(again.serialNumber, "R-0042");
  EXPECT_TRUE(again.selfPowered && again.remoteWakeup && again.maxPowerMa == 498);
  EXPECT_EQ(again.channels.front().type, GetParam().changedType);
  EXPECT_FALSE(again.channels.front().vcp);
  EXPECT_EQ(again.cbus, image.cbus);
  EXPECT_EQ(again.user, image.user);
}

INSTANTIATE_TEST_SUITE_P(EachPart, EepromImageTest, ::testing::ValuesIn(kParts),
                         [](const auto& info) { return info.param.name; });

// Refusals name the field and come before anything is encoded.
TEST(EepromImageRefusal, BadFieldsNamed) {
  std::vector<uint16_t> blank(128, 0xFFFF);
  EepromImage good;
  good.productId = 0x6010;
  good.channels.resize(2);
  // Encoded onto an erased chip, the options not modelled (word 5: bytes 0x0A
  // and 0x0B) are off, not 0xFF.
  ASSERT_EQ(good.Encode(EepromPart::kFT2232H, blank)[5], 0x0000);
  const struct {
    const char* field;
    EepromPart part;
    void (*spoil)(EepromImage&);
  } kCases[] = {
      {"vendorId", EepromPart::kFT2232H, [](EepromImage& i) { i.vendorId = 0; }},
      {"productId", EepromPart::kFT2232H, [](EepromImage& i) { i.productId = 0xFFFF; }},
      {"maxPowerMa", EepromPart::kFT2232H, [](EepromImage& i) { i.maxPowerMa = 502; }},
      {"maxPowerMa", EepromPart::kFT2232H, [](EepromImage& i) { i.maxPowerMa = 99; }},
      {"maxPowerMa", EepromPart::kFT2232H, [](EepromImage& i) { i.maxPowerMa = -2; }},
      {"manufacturer", EepromPart::kFT2232H,
       [](EepromImage& i) { i.manufacturer = "caf\xc3\xa9"; }},
      {"serialNumber", EepromPart::kFT2232H, [](EepromImage& i) { i.serialNumber = "A\tB"; }},
      {"channels", EepromPart::kFT4232H, [](EepromImage&) {}},
      {"channels[1].type", EepromPart::kFT2232H,
       [](EepromImage& i) { i.channels[1].type = ChannelType::kUnknown; }},
      {"channels[0].type", EepromPart::kFT4232H,
       [](EepromImage& i) {
         i.channels.resize(4);
         i.channels[0].type = ChannelType::kOpto;
       }},
      {"cbus", EepromPart::kFT232R, [](EepromImage& i) { i.channels.resize(1); }},
      {"cbus[4]", EepromPart::kFT232R,
       [](EepromImage& i) {
         i.channels.resize(1);
         i.cbus = {0, 1, 2, 3, 16};
       }},
      {"strings", EepromPart::kFT2232H,
       [](EepromImage& i) {
         i.product = std::string(60, 'x');
         i.user.resize(100);
       }},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.field);
    EepromImage image = good;
    c.spoil(image);
    try {
      image.Encode(c.part, blank);
      ADD_FAILURE() << "accepted";
    } catch (const Error& e) {
      EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80040000) + 6700);
      EXPECT_EQ(e.Description().rfind(std::string("Invalid EEPROM field ") + c.field + ":", 0), 0u)
          << e.Description();
    }
  }
}

}  // namespace
}  // namespace brevant::testing
