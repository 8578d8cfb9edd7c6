// A one-dimensional byte array with a lower bound, as automation clients pass them.
//
// It may be unallocated, and its lower bound may be any number (see Array). The
// driver always works from element 0 upward; an array without element 0 is
// refused with error 9 before any device access.
//
//   brevant::ByteArray data{0x01, 0xAB, 0x00};   // elements 0..2
//   brevant::ByteArray window(-2, 8);            // elements -2..5, all zero
#pragma once

#include <cstdint>

#include "brevant/Array.h"

namespace brevant {

using ByteArray = Array<uint8_t>;

}  // namespace brevant
