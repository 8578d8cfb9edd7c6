#include "brevant/ConfigEeprom.h"

#include <algorithm>
#include <string>

#include "gateway/Formating.h"
#include "gateway/clsFTD2xx.h"

namespace brevant {

namespace {

constexpr char kSource[] = "ConfigEeprom";
constexpr size_t kSmallChip = 64;
constexpr size_t kMediumChip = 128;
constexpr size_t kLargeChip = 256;

std::string Hex4(uint16_t value) {
  return "0x" + HexText(value, 4);
}

}  // namespace

ConfigEeprom::ConfigEeprom() : Gateway(std::make_unique<clsFTD2xx>()) {}

ConfigEeprom::~ConfigEeprom() = default;

std::shared_ptr<icLog> ConfigEeprom::Log() const {
  return Gateway->Log();
}

void ConfigEeprom::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

void ConfigEeprom::Open(int16_t DeviceNumber) {
  Gateway->FTOpen(DeviceNumber);
  try {
    int32_t type = 0, id = 0;
    std::string serial, description;
    Gateway->FTGetDeviceInfo(type, id, serial, description);
    part_ = EepromPartOfType(type);
  } catch (...) {
    Gateway->FTClose();
    throw;
  }
}

void ConfigEeprom::Close() {
  Gateway->FTClose();
}

std::vector<uint16_t> ConfigEeprom::Read() {
  // The high-speed parts need at least a 93C56; a smaller chip repeats itself
  // beyond its size, since it ignores the address bits it lacks.
  const bool highSpeed = part_ == EepromPart::kFT232H || part_ == EepromPart::kFT2232H ||
                         part_ == EepromPart::kFT4232H;
  const size_t least = highSpeed ? kMediumChip : kSmallChip;
  const size_t most = part_ == EepromPart::kFT232R ? kSmallChip : kLargeChip;
  std::vector<uint16_t> words;
  for (size_t i = 0; i < most; ++i) words.push_back(Gateway->FTReadEE(static_cast<uint8_t>(i)));
  size_t size = most;
  while (size > least && std::equal(words.begin(), words.begin() + static_cast<ptrdiff_t>(size / 2),
                                    words.begin() + static_cast<ptrdiff_t>(size / 2),
                                    words.begin() + static_cast<ptrdiff_t>(size))) {
    size /= 2;
  }
  words.resize(size);
  return words;
}

int32_t ConfigEeprom::Program(const std::vector<uint16_t>& words) {
  const std::vector<uint16_t> old = Read();
  if (words.size() != old.size()) {
    throw Error(kErrEepromField, kSource,
                "Invalid EEPROM field words: " + std::to_string(words.size()) +
                    " words for a chip of " + std::to_string(old.size()));
  }
  const size_t checksum = EepromCheckedWords(words.size()) - 1;
  std::vector<size_t> order;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i != checksum && words[i] != old[i]) order.push_back(i);
  }
  if (words[checksum] != old[checksum]) order.push_back(checksum);
  for (size_t n = 0; n < order.size(); ++n) {
    try {
      Gateway->FTWriteEE(static_cast<uint8_t>(order[n]), words[order[n]]);
    } catch (const Error& e) {
      throw Error(kErrEepromIncomplete, kSource,
                  "EEPROM programming stopped at word " + std::to_string(order[n]) + " of " +
                      std::to_string(words.size()) + ": " + e.Description() + "; " +
                      std::to_string(n) + " of " + std::to_string(order.size()) +
                      " changed words written, the checksum word not, so the part starts "
                      "with its factory defaults until it is programmed again");
    }
  }
  const std::vector<uint16_t> now = Read();
  for (size_t i = 0; i < words.size(); ++i) {
    if (now.size() != words.size() || now[i] != words[i]) {
      throw Error(kErrEepromVerify, kSource,
                  "EEPROM verify failed: word " + std::to_string(i) + " reads " +
                      Hex4(i < now.size() ? now[i] : 0) + ", " + Hex4(words[i]) + " was written");
    }
  }
  return static_cast<int32_t>(order.size());
}

void ConfigEeprom::Erase() {
  Gateway->FTEraseEE();
  const std::vector<uint16_t> now = Read();
  for (size_t i = 0; i < now.size(); ++i) {
    if (now[i] != 0xFFFF) {
      throw Error(kErrEepromVerify, kSource,
                  "EEPROM verify failed: word " + std::to_string(i) + " reads " + Hex4(now[i]) +
                      " after the erase");
    }
  }
}

}  // namespace brevant
