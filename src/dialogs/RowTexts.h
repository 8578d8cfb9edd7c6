// The texts of a device's row in the selection lists.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "brevant/tDeviceInfo.h"

namespace brevant {

// "0x" and eight upper-case hexadecimal digits.
std::string LocationText(int32_t LocationID);

// Number, location, serial number and description; a device that could not be
// read shows "Error!" and two empty columns.
std::array<std::string, 4> DeviceRowTexts(const tDeviceInfo& info);

}  // namespace brevant
