#include "virtual/ChipEeprom.h"

#include <algorithm>
#include <stdexcept>

namespace brevant::virt {

namespace {

constexpr uint16_t kVendor = 0x0403;
// Byte addresses of the layout's fields.
constexpr size_t kVendorAt = 0x02;
constexpr size_t kProductAt = 0x04;
constexpr size_t kReleaseAt = 0x06;
constexpr size_t kConfigAt = 0x08;    // bus powered, remote wake-up off
constexpr size_t kMaxPowerAt = 0x09;  // in units of 2 mA
constexpr size_t kFlagsAt = 0x0A;     // bit 3: the serial number is used
constexpr size_t kStringsAt = 0x0E;   // offset and length of each string, three pairs
constexpr size_t kChipTypeAt = 0x18;  // 0x46, 0x56 or 0x66
// Where the strings begin: after the fixed fields on a 128-byte chip, in the
// upper half on the larger ones. Their offsets are kept with bit 7 set, which
// the 128-byte chip ignores.
constexpr size_t kSmallChipStrings = 0x1A;
constexpr size_t kLargeChipStrings = 0x9A;

}  // namespace

ChipEeprom::ChipEeprom(size_t words, const Identity& identity) : words_(words, 0) {
  const size_t bytes = words * 2;
  std::vector<uint8_t> image(bytes, 0);
  const auto put16 = [&image](size_t at, unsigned value) {
    image[at] = static_cast<uint8_t>(value);
    image[at + 1] = static_cast<uint8_t>(value >> 8);
  };
  put16(kVendorAt, kVendor);
  put16(kProductAt, identity.product);
  put16(kReleaseAt, identity.release);
  image[kConfigAt] = 0x80;
  image[kMaxPowerAt] = 50;
  image[kFlagsAt] = identity.serialNumber.empty() ? 0x00 : 0x08;
  image[kChipTypeAt] = words == 64 ? 0x46 : words == 128 ? 0x56 : 0x66;
  size_t at = words == 64 ? kSmallChipStrings : kLargeChipStrings;
  size_t pointer = kStringsAt;
  for (const std::string* text :
       {&identity.manufacturer, &identity.description, &identity.serialNumber}) {
    const size_t length = 2 + 2 * text->size();
    image[pointer++] = static_cast<uint8_t>(at | 0x80);
    image[pointer++] = static_cast<uint8_t>(length);
    image[at] = static_cast<uint8_t>(length);
    image[at + 1] = 3;  // a string descriptor
    for (size_t i = 0; i < text->size(); ++i)
      put16(at + 2 + 2 * i, static_cast<uint8_t>((*text)[i]));
    at += length;
  }
  for (size_t i = 0; i < words; ++i)
    words_[i] = static_cast<uint16_t>(image[2 * i] | image[2 * i + 1] << 8);
  const size_t checked = words == 64 ? 64 : 128;
  words_[checked - 1] = Checksum(words_, checked);
}

void ChipEeprom::WriteWord(unsigned address, uint16_t value) {
  uint16_t& word = words_[address % words_.size()];
  changed_ = changed_ || word != value;
  word = value;
}

void ChipEeprom::Erase() {
  changed_ =
      changed_ || std::any_of(words_.begin(), words_.end(), [](uint16_t w) { return w != 0xFFFF; });
  std::fill(words_.begin(), words_.end(), 0xFFFF);
}

std::vector<uint8_t> ChipEeprom::Bytes() const {
  std::vector<uint8_t> bytes;
  for (uint16_t word : words_) {
    bytes.push_back(static_cast<uint8_t>(word));
    bytes.push_back(static_cast<uint8_t>(word >> 8));
  }
  return bytes;
}

void ChipEeprom::Load(const std::vector<uint8_t>& bytes) {
  if (bytes.size() != words_.size() * 2)
    throw std::invalid_argument("EEPROM image of the wrong size");
  for (size_t i = 0; i < words_.size(); ++i)
    words_[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
}

bool ChipEeprom::TakeChanged() {
  const bool changed = changed_;
  changed_ = false;
  return changed;
}

uint16_t ChipEeprom::Checksum(const std::vector<uint16_t>& words, size_t count) {
  uint16_t sum = 0xAAAA;
  for (size_t i = 0; i + 1 < count; ++i) {
    sum ^= words[i];
    sum = static_cast<uint16_t>(sum << 1 | sum >> 15);
  }
  return sum;
}

}  // namespace brevant::virt
