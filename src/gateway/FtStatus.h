// Texts of the driver's statuses.
//
// Each text is both the Description of the raised error and the %2 of the Level 1
// log line. The driver may return a value we don't know; it gets a text too.
#pragma once

#include <cstdint>
#include <string>

namespace brevant {

// "Invalid FT handle" for 1 ... "Other FT error" for 18, "Unknown FT error (n)"
// for anything else, 0 and negatives included.
std::string FtStatusText(int32_t status);

}  // namespace brevant
