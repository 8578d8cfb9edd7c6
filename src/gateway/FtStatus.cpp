#include "gateway/FtStatus.h"

#include <array>
#include <string_view>

#include "gateway/Formating.h"

namespace brevant {

namespace {

// Indexed by status; 0 has no text because it is no failure.
constexpr std::array<std::string_view, 19> kTexts = {
    "",
    "Invalid FT handle",
    "FT device handle not found",
    "FT device not opened",
    "FT I/O error",
    "Insufficient FT resources",
    "Invalid FT parameter",
    "Invalid FT baud rate",
    "FT device not opened for erase",
    "FT device not opened for write",
    "Failed to write FT device",
    "FT EEPROM read failed",
    "FT EEPROM write failed",
    "FT EEPROM erase failed",
    "FT EEPROM not present",
    "FT EEPROM not programmed",
    "Invalid FT arguments",
    "FT not supported",
    "Other FT error",
};

}  // namespace

std::string FtStatusText(int32_t status) {
  if (status >= 1 && status < static_cast<int32_t>(kTexts.size())) {
    return std::string(kTexts[status]);
  }
  return TextSubstitute("Unknown FT error (%1)", status);
}

}  // namespace brevant
