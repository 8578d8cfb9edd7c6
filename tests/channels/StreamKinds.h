// What tells the two stream channels apart in a test.
#pragma once

#include <cstdint>

#include "brevant/clsFTDI245FIFO.h"
#include "brevant/clsFTDIOpto.h"

namespace brevant::testing {

template <class C>
struct StreamKind;

template <>
struct StreamKind<clsFTDI245FIFO> {
  static constexpr const char* kName = "Fifo245";
  static constexpr uint8_t kMask = 0x00;
  static constexpr uint8_t kMode = 0x00;
  static constexpr const char* kBitMode = "0x00, 0x00";  // mask and mode as logged
};

template <>
struct StreamKind<clsFTDIOpto> {
  static constexpr const char* kName = "Opto";
  static constexpr uint8_t kMask = 0xEC;
  static constexpr uint8_t kMode = 0x10;
  static constexpr const char* kBitMode = "0xEC, 0x10";
};

}  // namespace brevant::testing
