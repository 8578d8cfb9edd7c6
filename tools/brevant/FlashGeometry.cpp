#include "FlashGeometry.h"

#include <algorithm>
#include <cstdio>

#include "Number.h"
#include "ToolError.h"

namespace brevant::tool {

namespace {

constexpr uint64_t kThreeByteReach = uint64_t{1} << 24;
constexpr uint64_t kSectorBytes = 4096;

// The SFDP header: "SFDP" as a little-endian word, two revision bytes, the
// number of parameter headers less one, the access protocol.
constexpr uint32_t kSfdpSignature = 0x50444653;
constexpr size_t kHeaderBytes = 8;
// A parameter header: ID low byte, two revision bytes, the length in words, a
// 24-bit table pointer, ID high byte. The basic flash parameter table is ID FF00.
constexpr size_t kParameterHeaderBytes = 8;
constexpr uint8_t kBasicIdLow = 0x00;
constexpr uint8_t kBasicIdHigh = 0xFF;

// Fields of the basic table's first two words.
constexpr uint32_t kEraseSizesMask = 0x3;  // bits 1:0; 01 means 4 KiB erase everywhere
constexpr uint32_t kUniform4KiB = 0x1;
constexpr int kEraseOpcodeShift = 8;    // bits 15:8
constexpr int kAddressBytesShift = 17;  // bits 18:17
constexpr uint32_t kThreeOrFour = 0x1;  // 01
constexpr uint32_t kFourOnly = 0x2;     // 10
constexpr uint32_t kDensityIsPower = 0x80000000;

uint32_t Word(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint32_t>(bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 |
                               bytes[at + 3] << 24);
}

}  // namespace

void FlashGeometry::CheckRange(uint64_t address, uint64_t length) const {
  const uint64_t reach = fourByteAddresses ? sizeBytes : std::min(sizeBytes, kThreeByteReach);
  if (address < reach && length <= reach - address) return;
  std::string what = "the flash holds " + std::to_string(sizeBytes) + " bytes";
  if (reach < sizeBytes)
    what += " but takes 3-byte addresses only, which reach " + AddressText(reach);
  throw ToolError(what + "; " + std::to_string(length) + " from " + AddressText(address) +
                  " go beyond it");
}

std::optional<FlashGeometry> GeometryFromSfdp(std::span<const uint8_t> sfdp) {
  if (sfdp.size() < kHeaderBytes || Word(sfdp, 0) != kSfdpSignature) return std::nullopt;
  const size_t headers = size_t{sfdp[6]} + 1;
  for (size_t h = 0; h < headers; ++h) {
    const size_t at = kHeaderBytes + h * kParameterHeaderBytes;
    if (at + kParameterHeaderBytes > sfdp.size()) return std::nullopt;
    if (sfdp[at] != kBasicIdLow || sfdp[at + 7] != kBasicIdHigh) continue;
    const size_t words = sfdp[at + 3];
    const size_t table = Word(sfdp, at + 4) & 0xFFFFFF;
    // The first two words hold all this tool reads; a table that ends before
    // them, or lies beyond what was read, is taken as no table.
    if (words < 2 || table + 8 > sfdp.size()) return std::nullopt;
    const uint32_t first = Word(sfdp, table);
    const uint32_t density = Word(sfdp, table + 4);
    FlashGeometry geometry;
    geometry.source = "SFDP";
    const uint64_t bits = density & kDensityIsPower
                              ? uint64_t{1} << std::min<uint32_t>(density & ~kDensityIsPower, 63)
                              : uint64_t{density} + 1;
    geometry.sizeBytes = bits / 8;
    if ((first & kEraseSizesMask) != kUniform4KiB) {
      throw ToolError("the flash's SFDP table offers no 4 KiB erase, which writing needs");
    }
    geometry.sectorErase = static_cast<uint8_t>(first >> kEraseOpcodeShift);
    const uint32_t addressBytes = first >> kAddressBytesShift & 0x3;
    geometry.fourByteAddresses = addressBytes == kThreeOrFour || addressBytes == kFourOnly;
    if (geometry.sizeBytes < kSectorBytes) return std::nullopt;
    return geometry;
  }
  return std::nullopt;
}

FlashGeometry GeometryFromJedecId(uint32_t id, const std::string& device) {
  char shown[16];
  std::snprintf(shown, sizeof shown, "%02X %02X %02X", id >> 16, (id >> 8) & 0xFF, id & 0xFF);
  if (id == 0 || id == 0xFFFFFF) {
    throw ToolError("no SPI flash answers on device " + device + " (JEDEC ID " + shown + ")",
                    ExitStatus::kMismatch);
  }
  const uint32_t capacity = id & 0xFF;
  if (capacity < 12 || capacity > 31) {
    throw ToolError(std::string("JEDEC ID ") + shown + " gives no size that this tool knows");
  }
  FlashGeometry geometry;
  geometry.jedecId = id;
  geometry.sizeBytes = uint64_t{1} << capacity;
  geometry.fourByteAddresses = geometry.sizeBytes > kThreeByteReach;
  geometry.source = "JEDEC ID";
  return geometry;
}

}  // namespace brevant::tool
