// Numbers typed by a user: decimal, or hexadecimal with 0x, as flash addresses
// and lengths usually are.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace brevant::tool {

// The value of `text`; a usage error naming `what` unless all of it is a number
// from 0 to 0xFFFFFFFF.
uint32_t ParseNumber(const std::string& text, const std::string& what);

// A flash address as the messages show it: 0x and at least six upper-case
// hexadecimal digits.
std::string AddressText(uint64_t address);

// An option check that accepts whole decimal numbers from `low` to `high` and
// says so in plain words ("--timeout: 0 is not from 1 to 60000"), where CLI11's
// own ranges print their bounds as floating-point numbers.
CLI::Validator Within(int64_t low, int64_t high);

// An option check for a clock rate in hertz, such as 30e6 or 400000: a number
// above 0 ("--frequency: \"fast\" is no frequency in Hz above 0").
CLI::Validator Frequency();

}  // namespace brevant::tool
