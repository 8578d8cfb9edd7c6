// The divisor the chip's set-baud-rate request carries for a rate: a 14-bit
// integer part and a fraction in eighths, coded in the three bits above it, of
// a 3 MHz clock (48 MHz / 16), or on the high-speed parts of a 12 MHz one
// (120 MHz / 10) flagged by bit 17. The request takes its low 16 bits as the
// value and the rest in the index, above the channel number on parts with
// more than one channel.
#pragma once

#include <cstdint>
#include <optional>

namespace brevant {

struct BaudDivisor {
  uint32_t encoded = 0;  // bits 0-13 integer, 14-16 fraction code, 17 the fast clock
  uint32_t actualRate = 0;

  uint16_t Value() const { return static_cast<uint16_t>(encoded); }
  // `channel`: 1 for A, 2 for B, ...; 0 on a one-channel part.
  uint16_t Index(int channel) const {
    const uint32_t high = encoded >> 16;
    return static_cast<uint16_t>(channel == 0 ? high : high << 8 | static_cast<uint32_t>(channel));
  }
};

// The nearest divisor to `rate`, or nothing when the rate is out of the part's
// reach or no divisor comes within 3 % of it.
std::optional<BaudDivisor> DivisorFor(uint32_t rate, bool highSpeedPart);

}  // namespace brevant
