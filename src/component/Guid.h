// Class and interface identifiers: parsed from their text form at compile time,
// so the tables hold the identifiers exactly as they are published.
#pragma once

#include <string_view>

#include "brevant/brevant.h"

namespace brevant::component {

// Parses "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX", braces optional, any case.
// Returns false on anything else.
constexpr bool ParseGuid(std::string_view text, brevant_guid& out) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, 36);
  }
  if (text.size() != 36) return false;
  uint8_t bytes[16] = {};
  int n = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i] != '-') return false;
      continue;
    }
    const char c = text[i];
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (digit < 0) return false;
    bytes[n / 2] = static_cast<uint8_t>(bytes[n / 2] * 16 + digit);
    ++n;
  }
  out.data1 = (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) |
              bytes[3];
  out.data2 = static_cast<uint16_t>((bytes[4] << 8) | bytes[5]);
  out.data3 = static_cast<uint16_t>((bytes[6] << 8) | bytes[7]);
  for (int i = 0; i < 8; ++i) out.data4[i] = bytes[8 + i];
  return true;
}

// An identifier of the tables; a typo there fails the build.
consteval brevant_guid Guid(std::string_view text) {
  brevant_guid id{};
  if (!ParseGuid(text, id)) throw "malformed identifier";
  return id;
}

constexpr bool SameGuid(const brevant_guid& a, const brevant_guid& b) {
  if (a.data1 != b.data1 || a.data2 != b.data2 || a.data3 != b.data3) return false;
  for (int i = 0; i < 8; ++i) {
    if (a.data4[i] != b.data4[i]) return false;
  }
  return true;
}

// The platform's own interfaces that every object or factory answers to.
inline constexpr brevant_guid kIUnknown = Guid("00000000-0000-0000-C000-000000000046");
inline constexpr brevant_guid kIDispatch = Guid("00020400-0000-0000-C000-000000000046");
inline constexpr brevant_guid kIClassFactory = Guid("00000001-0000-0000-C000-000000000046");

}  // namespace brevant::component
