#include "brevant/EepromImage.h"

#include <algorithm>
#include <array>
#include <utility>

#include "driver/Ftd2xx.h"

namespace brevant {

namespace {

constexpr char kSource[] = "EepromImage";

// Byte addresses common to every layout.
constexpr size_t kVendorAt = 0x02;
constexpr size_t kProductAt = 0x04;
constexpr size_t kConfigAt = 0x08;    // USB configuration attributes
constexpr size_t kMaxPowerAt = 0x09;  // in units of 2 mA
constexpr size_t kFlagsAt = 0x0A;
constexpr size_t kStringsAt = 0x0E;  // offset and length of each of the three strings
constexpr uint8_t kSelfPowered = 0x40;
constexpr uint8_t kRemoteWakeup = 0x20;
constexpr uint8_t kUseSerial = 0x08;
constexpr uint8_t kStringDescriptor = 3;
constexpr int32_t kMaxPowerMa = 500;
constexpr uint8_t kMaxCbusCode = 0x0F;  // one nibble each

// Where strings go when the base has none: after the fixed fields of a 93C46,
// in the upper half of the larger chips.
constexpr size_t kSmallChipStrings = 0x1A;
constexpr size_t kLargeChipStrings = 0xA0;

// The channel bytes: a type code in the low bits and the driver bit, one byte
// per channel from address 0. The FT4232H has no type codes and keeps two
// channels' driver bits in one byte (bits 3 and 7).
struct Layout {
  int channels;
  uint8_t typeMask;  // 0: UART only
  uint8_t vcpBit;
  size_t cbusAt;
  size_t cbusCount;
};

const Layout& LayoutOf(EepromPart part) {
  static constexpr std::array<Layout, 5> kLayouts = {{
      {1, 0x00, 0x08, 0x14, 5},   // FT232R
      {2, 0x07, 0x08, 0, 0},      // FT2232D
      {1, 0x0F, 0x10, 0x18, 10},  // FT232H
      {2, 0x07, 0x08, 0, 0},      // FT2232H
      {4, 0x00, 0x08, 0, 0},      // FT4232H
  }};
  return kLayouts[static_cast<size_t>(part)];
}

// The codes of the type bits; the FT232H's FT1284 (8) has no name here.
struct TypeCode {
  ChannelType type;
  uint8_t code;
  std::string_view name;
};
constexpr std::array<TypeCode, 4> kTypeCodes = {{{ChannelType::kUart, 0x00, "uart"},
                                                 {ChannelType::kFifo245, 0x01, "fifo245"},
                                                 {ChannelType::kOpto, 0x02, "opto"},
                                                 {ChannelType::kCpuFifo, 0x04, "cpufifo"}}};

[[noreturn]] void Refuse(std::string_view field, const std::string& why) {
  throw Error(kErrEepromField, kSource, "Invalid EEPROM field " + std::string(field) + ": " + why);
}

std::string ChannelField(size_t channel, std::string_view what) {
  return "channels[" + std::to_string(channel) + "]." + std::string(what);
}

// The driver bit of `channel` in the channel bytes: its byte and mask.
std::pair<size_t, uint8_t> VcpBit(const Layout& layout, size_t channel) {
  if (layout.channels == 4) return {channel / 2, channel % 2 ? 0x80 : 0x08};
  return {channel, layout.vcpBit};
}

class Bytes {
 public:
  explicit Bytes(std::span<const uint16_t> words) {
    for (uint16_t word : words) {
      bytes_.push_back(static_cast<uint8_t>(word));
      bytes_.push_back(static_cast<uint8_t>(word >> 8));
    }
  }
  uint8_t& operator[](size_t at) { return bytes_[at]; }
  uint16_t Get16(size_t at) const {
    return static_cast<uint16_t>(bytes_[at] | bytes_[at + 1] << 8);
  }
  void Put16(size_t at, uint16_t value) {
    bytes_[at] = static_cast<uint8_t>(value);
    bytes_[at + 1] = static_cast<uint8_t>(value >> 8);
  }
  size_t Size() const { return bytes_.size(); }
  std::vector<uint16_t> Words() const {
    std::vector<uint16_t> words(bytes_.size() / 2);
    for (size_t i = 0; i < words.size(); ++i) words[i] = Get16(2 * i);
    return words;
  }

 private:
  std::vector<uint8_t> bytes_;
};

// The byte address a string pointer names: the chip ignores the address bits
// it lacks, so a 93C46 reads 0x9A as 0x1A.
size_t StringOffset(uint8_t pointer, size_t chipBytes) {
  return pointer & (std::min<size_t>(chipBytes, 256) - 1);
}

// A string descriptor's text; characters beyond 8 bits become '?'. Empty when
// the descriptor does not fit in `end`.
std::string ReadString(Bytes& bytes, size_t at, size_t length, size_t end) {
  std::string text;
  if (length < 2 || at + length > end) return text;
  for (size_t i = at + 2; i + 1 < at + length; i += 2) {
    const uint16_t unit = bytes.Get16(i);
    text.push_back(unit < 0x100 ? static_cast<char>(unit) : '?');
  }
  return text;
}

void CheckText(std::string_view field, const std::string& text) {
  for (char c : text) {
    if (c < 0x20 || c > 0x7E) Refuse(field, "only printable ASCII characters fit");
  }
}

}  // namespace

size_t EepromCheckedWords(size_t words) {
  return words <= 64 ? 64 : 128;
}

uint16_t EepromChecksum(std::span<const uint16_t> words, size_t checked) {
  uint16_t sum = 0xAAAA;
  for (size_t i = 0; i + 1 < checked; ++i) {
    sum ^= words[i];
    sum = static_cast<uint16_t>(sum << 1 | sum >> 15);
  }
  return sum;
}

EepromPart EepromPartOfType(int32_t deviceType) {
  switch (static_cast<uint32_t>(deviceType)) {
    case ft::kTypeFT232R:
      return EepromPart::kFT232R;
    case ft::kTypeFT2232D:
      return EepromPart::kFT2232D;
    case ft::kTypeFT232H:
      return EepromPart::kFT232H;
    case ft::kTypeFT2232H:
      return EepromPart::kFT2232H;
    case ft::kTypeFT4232H:
      return EepromPart::kFT4232H;
    default:
      Refuse("part", "no known EEPROM layout for device type " + std::to_string(deviceType));
  }
}

std::string_view ChannelTypeName(ChannelType type) {
  for (const TypeCode& c : kTypeCodes) {
    if (c.type == type) return c.name;
  }
  return "unknown";
}

ChannelType ChannelTypeNamed(std::string_view name) {
  for (const TypeCode& c : kTypeCodes) {
    if (c.name == name) return c.type;
  }
  return ChannelType::kUnknown;
}

EepromImage EepromImage::Decode(EepromPart part, std::span<const uint16_t> words) {
  if (words.size() != 64 && words.size() < 128) Refuse("words", "not a whole chip");
  const Layout& layout = LayoutOf(part);
  Bytes bytes(words);
  const size_t checked = EepromCheckedWords(words.size());
  EepromImage image;
  image.vendorId = bytes.Get16(kVendorAt);
  image.productId = bytes.Get16(kProductAt);
  image.selfPowered = bytes[kConfigAt] & kSelfPowered;
  image.remoteWakeup = bytes[kConfigAt] & kRemoteWakeup;
  image.maxPowerMa = bytes[kMaxPowerAt] * 2;
  for (int c = 0; c < layout.channels; ++c) {
    Channel channel;
    const auto [at, vcp] = VcpBit(layout, static_cast<size_t>(c));
    channel.vcp = bytes[at] & vcp;
    const uint8_t code = bytes[static_cast<size_t>(c)] & layout.typeMask;
    const auto found = std::find_if(kTypeCodes.begin(), kTypeCodes.end(),
                                    [code](const TypeCode& t) { return t.code == code; });
    channel.type = found == kTypeCodes.end() ? ChannelType::kUnknown : found->type;
    image.channels.push_back(channel);
  }
  for (size_t i = 0; i < layout.cbusCount; ++i) {
    const uint8_t pair = bytes[layout.cbusAt + i / 2];
    image.cbus.push_back(i % 2 ? pair >> 4 : pair & 0x0F);
  }
  // The checksum word ends the strings' room.
  const size_t end = checked * 2 - 2;
  size_t stringsEnd = 0;
  std::string* texts[] = {&image.manufacturer, &image.product, &image.serialNumber};
  for (size_t i = 0; i < 3; ++i) {
    const size_t at = StringOffset(bytes[kStringsAt + 2 * i], bytes.Size());
    const size_t length = bytes[kStringsAt + 2 * i + 1];
    *texts[i] = ReadString(bytes, at, length, end);
    if (!texts[i]->empty() || length == 2) stringsEnd = std::max(stringsEnd, at + length);
  }
  if (stringsEnd > 0) {
    for (size_t i = stringsEnd; i < end; ++i) image.user.push_back(bytes[i]);
  }
  image.checksumValid = words[checked - 1] == EepromChecksum(words, checked);
  return image;
}

std::vector<uint16_t> EepromImage::Encode(EepromPart part, std::span<const uint16_t> base) const {
  if (base.size() != 64 && base.size() < 128) Refuse("words", "not a whole chip");
  const Layout& layout = LayoutOf(part);
  // An erased chip's 0xFF bytes would switch on every option this class does
  // not model; such a chip starts from zeros instead.
  const bool erased =
      std::all_of(base.begin(), base.end(), [](uint16_t word) { return word == 0xFFFF; });
  Bytes bytes(erased ? std::vector<uint16_t>(base.size(), 0)
                     : std::vector<uint16_t>(base.begin(), base.end()));
  const size_t checked = EepromCheckedWords(base.size());
  const size_t end = checked * 2 - 2;

  // Every field is checked before the first byte changes.
  if (vendorId == 0 || vendorId == 0xFFFF) Refuse("vendorId", "0x0000 and 0xFFFF are not ids");
  if (productId == 0 || productId == 0xFFFF) Refuse("productId", "0x0000 and 0xFFFF are not ids");
  if (maxPowerMa < 0 || maxPowerMa > kMaxPowerMa || maxPowerMa % 2 != 0)
    Refuse("maxPowerMa", std::to_string(maxPowerMa) + " is not an even number from 0 to 500");
  CheckText("manufacturer", manufacturer);
  CheckText("product", product);
  CheckText("serialNumber", serialNumber);
  if (channels.size() != static_cast<size_t>(layout.channels))
    Refuse("channels", "the part has " + std::to_string(layout.channels));
  for (size_t c = 0; c < channels.size(); ++c) {
    const ChannelType type = channels[c].type;
    const bool uartOnly = layout.typeMask == 0;
    if (type == ChannelType::kUnknown || (uartOnly && type != ChannelType::kUart))
      Refuse(ChannelField(c, "type"), uartOnly ? "this part's channels are UARTs" : "unknown");
  }
  if (cbus.size() != layout.cbusCount)
    Refuse("cbus", "the part has " + std::to_string(layout.cbusCount) + " CBUS pins");
  for (size_t i = 0; i < cbus.size(); ++i) {
    if (cbus[i] > kMaxCbusCode) Refuse("cbus[" + std::to_string(i) + "]", "codes run from 0 to 15");
  }
  const size_t pointer = StringOffset(bytes[kStringsAt], bytes.Size());
  const size_t start = pointer >= kSmallChipStrings && pointer < end
                           ? pointer
                           : (checked == 64 ? kSmallChipStrings : kLargeChipStrings);
  const size_t needed =
      6 + 2 * (manufacturer.size() + product.size() + serialNumber.size()) + user.size();
  if (start + needed > end) {
    Refuse("strings", std::to_string(needed) + " bytes of strings and user area, room for " +
                          std::to_string(end - start));
  }

  bytes.Put16(kVendorAt, vendorId);
  bytes.Put16(kProductAt, productId);
  bytes[kConfigAt] = static_cast<uint8_t>(0x80 | (selfPowered ? kSelfPowered : 0) |
                                          (remoteWakeup ? kRemoteWakeup : 0));
  bytes[kMaxPowerAt] = static_cast<uint8_t>(maxPowerMa / 2);
  bytes[kFlagsAt] = static_cast<uint8_t>((bytes[kFlagsAt] & ~kUseSerial) |
                                         (serialNumber.empty() ? 0 : kUseSerial));
  for (size_t c = 0; c < channels.size(); ++c) {
    if (layout.typeMask != 0) {
      const auto code = std::find_if(kTypeCodes.begin(), kTypeCodes.end(), [&](const TypeCode& t) {
                          return t.type == channels[c].type;
                        })->code;
      bytes[c] = static_cast<uint8_t>((bytes[c] & ~layout.typeMask) | code);
    }
    const auto [at, vcp] = VcpBit(layout, c);
    bytes[at] = static_cast<uint8_t>(channels[c].vcp ? bytes[at] | vcp : bytes[at] & ~vcp);
  }
  for (size_t i = 0; i < cbus.size(); ++i) {
    uint8_t& pair = bytes[layout.cbusAt + i / 2];
    pair = static_cast<uint8_t>(i % 2 ? (pair & 0x0F) | cbus[i] << 4 : (pair & 0xF0) | cbus[i]);
  }
  // The strings one after the other; a 93C46 ignores bit 7 of their offsets,
  // which the vendor's tools set.
  size_t at = start;
  const std::string* texts[] = {&manufacturer, &product, &serialNumber};
  for (size_t i = 0; i < 3; ++i) {
    const size_t length = 2 + 2 * texts[i]->size();
    bytes[kStringsAt + 2 * i] = static_cast<uint8_t>(checked == 64 ? at | 0x80 : at);
    bytes[kStringsAt + 2 * i + 1] = static_cast<uint8_t>(length);
    bytes[at] = static_cast<uint8_t>(length);
    bytes[at + 1] = kStringDescriptor;
    for (size_t k = 0; k < texts[i]->size(); ++k)
      bytes.Put16(at + 2 + 2 * k, static_cast<uint8_t>((*texts[i])[k]));
    at += length;
  }
  for (size_t i = at; i < end; ++i) {
    bytes[i] = i - at < user.size() ? user[i - at] : 0;
  }
  std::vector<uint16_t> words = bytes.Words();
  words[checked - 1] = EepromChecksum(words, checked);
  return words;
}

}  // namespace brevant
