// One signal of a port byte, as the pin-level members of the MPSSE port model and
// of synchronous bit-bang set and read it. `Signal` is the signal's bit value (1,
// 2, 4 ... 128); it is not checked, so a value of several bits acts on all of
// them, and errors are raised with the calling class as their source.
#pragma once

#include <cstdint>

#include "brevant/Error.h"
#include "brevant/eBit.h"

namespace brevant {

// `port` with the bits of `Signal` set to bit 0 of `Value`. A result that is no
// byte overflows, before the caller stores anything.
inline uint8_t WithSignal(uint8_t port, int32_t Signal, eBit Value, const char* source) {
  const int32_t bits = ((Value & 1) * Signal) | (port & ~Signal);
  if (bits < 0 || bits > UINT8_MAX) throw Error::Generic(kErrOverflow, source);
  return static_cast<uint8_t>(bits);
}

// The level of `Signal` in `port`: the port divided by the signal's value, so 0
// divides by zero.
inline eBit SignalOf(uint8_t port, int32_t Signal, const char* source) {
  if (Signal == 0) throw Error::Generic(kErrDivisionByZero, source);
  return static_cast<eBit>((port / Signal) & 1);
}

}  // namespace brevant
