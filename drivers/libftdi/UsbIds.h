// Which USB devices the libftdi backend lists: the vendor's own ids for these
// parts, and ids a user names for boards that carry their own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brevant {

// vendor << 16 | product
using UsbId = uint32_t;

// The vendor's ids (0403:6001, 6010, 6011, 6014, 6015) and those listed in
// `extra` as "VVVV:PPPP" in hexadecimal, separated by commas or spaces. Throws
// std::invalid_argument naming the entry that is not such a pair.
std::vector<UsbId> UsbIdsToList(const std::string& extra);

}  // namespace brevant
