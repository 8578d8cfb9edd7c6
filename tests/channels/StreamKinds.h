// What tells the two stream channels apart in a test, and a helper to catch the
// error a member raises.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "brevant/Error.h"
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

// The error `action` raises; a test failure when it raises none.
template <class F>
Error Raised(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "nothing raised";
  return Error(0, "", "");
}

}  // namespace brevant::testing
