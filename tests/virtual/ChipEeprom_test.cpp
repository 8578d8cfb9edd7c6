// Each part's configuration EEPROM as a reader of the chips' layout sees it:
// ids, strings through their pointers, a checksum computed here independently,
// addresses beyond a small chip wrapping round; and kept across runs.
#include "virtual/ChipEeprom.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <string>

#include "virtual/Bench.h"

namespace brevant::testing {
namespace {

using virt::PartKind;

uint8_t Byte(const virt::ChipEeprom& eeprom, unsigned at) {
  const uint16_t word = eeprom.ReadWord(at / 2);
  return static_cast<uint8_t>(at % 2 ? word >> 8 : word);
}

// The string whose pointer and length sit at byte `at`; a 128-byte chip ignores
// bit 7 of the pointer.
std::string StringAt(const virt::ChipEeprom& eeprom, unsigned at, unsigned bytes) {
  const unsigned start = Byte(eeprom, at) & (bytes - 1);
  const unsigned length = Byte(eeprom, at + 1);
  EXPECT_EQ(Byte(eeprom, start), length);
  EXPECT_EQ(Byte(eeprom, start + 1), 3);  // a string descriptor
  std::string text;
  for (unsigned i = start + 2; i < start + length; i += 2)
    text += static_cast<char>(Byte(eeprom, i));
  return text;
}

TEST(ChipEeprom, EachPartsLayoutStringsAndChecksum) {
  const struct {
    PartKind kind;
    size_t words;
    uint16_t product, release;
    const char* description;
  } kCases[] = {
      {PartKind::kFT232H, 128, 0x6014, 0x0900, "Single RS232-HS"},
      {PartKind::kFT2232D, 64, 0x6010, 0x0500, "Dual RS232"},
      {PartKind::kFT2232H, 128, 0x6010, 0x0700, "Dual RS232-HS"},
      {PartKind::kFT4232H, 128, 0x6011, 0x0800, "Quad RS232-HS"},
      {PartKind::kFT232R, 64, 0x6001, 0x0600, "FT232R USB UART"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.description);
    virt::Bench bench;
    bench.AddPart(c.kind, "SN42", 0x11);
    const virt::ChipEeprom& eeprom = *bench.Device(0).Eeprom();
    ASSERT_EQ(eeprom.Words(), c.words);
    EXPECT_EQ(eeprom.ReadWord(1), 0x0403);
    EXPECT_EQ(eeprom.ReadWord(2), c.product);
    EXPECT_EQ(eeprom.ReadWord(3), c.release);
    const unsigned bytes = static_cast<unsigned>(c.words * 2);
    EXPECT_EQ(StringAt(eeprom, 0x0E, bytes), "FTDI");
    EXPECT_EQ(StringAt(eeprom, 0x10, bytes), c.description);
    EXPECT_EQ(StringAt(eeprom, 0x12, bytes), "SN42");
    // 0xAAAA, then each word XORed in and the sum rotated left by one.
    const unsigned checked = c.words == 64 ? 64 : 128;
    uint16_t sum = 0xAAAA;
    for (unsigned i = 0; i + 1 < checked; ++i) {
      sum ^= eeprom.ReadWord(i);
      sum = static_cast<uint16_t>((sum << 1) | (sum >> 15));
    }
    EXPECT_EQ(eeprom.ReadWord(checked - 1), sum);
    EXPECT_EQ(eeprom.ReadWord(static_cast<unsigned>(c.words) + 2), c.product);  // wraps round
  }
}

TEST(ChipEeprom, WritesAreKeptInTheStateDirectory) {
  const auto directory =
      std::filesystem::temp_directory_path() / ("eeprom-state-" + std::to_string(getpid()));
  std::filesystem::create_directories(directory);
  for (const bool first : {true, false}) {
    auto bench = virt::MakeDefaultBench();
    bench->KeepMemories(directory.string());
    // Channels A and B share the part's EEPROM.
    virt::ChipEeprom& eeprom = *bench->Device(1).Eeprom();
    if (first) {
      eeprom.WriteWord(0x40, 0xBEEF);
      EXPECT_TRUE(bench->SaveMemories());
    }
    EXPECT_EQ(bench->Device(0).Eeprom()->ReadWord(0x40), 0xBEEF);
  }
  EXPECT_TRUE(std::filesystem::exists(directory / "BV22H001A.eeprom"));
  std::filesystem::resize_file(directory / "BV22H001A.eeprom", 3);
  EXPECT_THROW(virt::MakeDefaultBench()->KeepMemories(directory.string()), virt::StateError);
  std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace brevant::testing
