// Numbers typed by a user: decimal, or hexadecimal with 0x, as flash addresses
// and lengths usually are.
#pragma once

#include <cstdint>
#include <string>

namespace brevant::tool {

// The value of `text`; a usage error naming `what` unless all of it is a number
// from 0 to 0xFFFFFFFF.
uint32_t ParseNumber(const std::string& text, const std::string& what);

}  // namespace brevant::tool
