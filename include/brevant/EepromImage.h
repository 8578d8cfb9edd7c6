// The fields of a part's configuration EEPROM, decoded from its words and
// encoded back into them.
//
//   std::vector<uint16_t> words = ...;  // every word of the chip, as read
//   brevant::EepromImage image = brevant::EepromImage::Decode(EepromPart::kFT2232H, words);
//   image.channels[1].type = brevant::ChannelType::kFifo245;
//   std::vector<uint16_t> programmed = image.Encode(EepromPart::kFT2232H, words);
//
// Encode starts from the words it is given and rewrites only the fields below,
// the strings, the user area and the checksum, so bits this class does not
// model (release, chip type, pin drive, ...) keep their values. It checks every
// field before it changes anything and raises kErrEepromField naming the field.
//
// The checksum covers the words before the last of the area the chip checks:
// all 64 words of a 93C46, the first 128 of the larger chips. The user area is
// what lies between the end of the strings and the checksum.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "brevant/Error.h"
#include "brevant/Export.h"

namespace brevant {

// "Invalid EEPROM field <name>: <why>", Source "EepromImage".
inline constexpr int32_t kErrEepromField = kObjectErrorBase + 6700;

// The parts whose EEPROM layout is known; each has its own channel bytes and
// CBUS pins.
enum class EepromPart { kFT232R, kFT2232D, kFT232H, kFT2232H, kFT4232H };

// What a channel is after power-up. kUnknown is a code this class cannot name;
// Encode refuses it.
enum class ChannelType { kUart, kFifo245, kCpuFifo, kOpto, kUnknown };

struct BREVANT_EXPORT EepromImage {
  struct Channel {
    ChannelType type = ChannelType::kUart;
    bool vcp = true;  // the vendor's virtual COM port driver, else D2XX
  };

  uint16_t vendorId = 0x0403;
  uint16_t productId = 0;
  std::string manufacturer;
  std::string product;
  std::string serialNumber;
  bool selfPowered = false;
  bool remoteWakeup = false;
  int32_t maxPowerMa = 100;       // in steps of 2 mA, at most 500
  std::vector<Channel> channels;  // one per channel of the part, A first
  std::vector<uint8_t> cbus;      // function codes, CBUS0 first; FT232R and FT232H only
  std::vector<uint8_t> user;      // the user area, as many bytes as it has
  bool checksumValid = false;     // as decoded; Encode always writes a good one

  // Any number of words that holds the checked area (64 or at least 128).
  static EepromImage Decode(EepromPart part, std::span<const uint16_t> words);
  std::vector<uint16_t> Encode(EepromPart part, std::span<const uint16_t> base) const;
};

// The checksum the chip expects in word `checked` - 1 of `words`.
BREVANT_EXPORT uint16_t EepromChecksum(std::span<const uint16_t> words, size_t checked);
// The words the chip checks: 64 on a 93C46, else 128.
BREVANT_EXPORT size_t EepromCheckedWords(size_t words);
// The part of a driver device type (FT_GetDeviceInfo); kErrEepromField for a
// type without a known layout.
BREVANT_EXPORT EepromPart EepromPartOfType(int32_t deviceType);
BREVANT_EXPORT std::string_view ChannelTypeName(ChannelType type);
// The type named "uart", "fifo245", "cpufifo" or "opto"; kUnknown otherwise.
BREVANT_EXPORT ChannelType ChannelTypeNamed(std::string_view name);

}  // namespace brevant
