// The one error type of Brevant.
//
// Every failure reaches a client as a brevant::Error carrying a Number, a Source
// and a Description, exactly as an automation client would see them:
//
//   try {
//     fifo.DataWrite(data, 4);
//   } catch (const brevant::Error& e) {
//     if (e.Number() == brevant::kErrDeviceNotOpened) ...
//   }
//
// Library numbers are 0x80040000 plus a per-class offset (see errors.md in docs/).
// Three generic errors keep their small numbers: 6, 9 and 11.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "brevant/Export.h"

namespace brevant {

// The object-error base that every library number is an offset from.
inline constexpr int32_t kObjectErrorBase = static_cast<int32_t>(0x80040000);

// Numbers raised by the driver gateway, whichever class the client called.
inline constexpr int32_t kErrDriverStatus = kObjectErrorBase + 6101;
inline constexpr int32_t kErrDeviceNotOpened = kObjectErrorBase + 6102;
inline constexpr int32_t kErrNotSet = kObjectErrorBase + 6103;
inline constexpr int32_t kErrTransmissionIncomplete = kObjectErrorBase + 6104;

// Generic errors: a value too big for its type, an array without the element,
// a division by zero.
inline constexpr int32_t kErrOverflow = 6;
inline constexpr int32_t kErrSubscriptOutOfRange = 9;
inline constexpr int32_t kErrDivisionByZero = 11;

class BREVANT_EXPORT Error : public std::runtime_error {
 public:
  Error(int32_t number, std::string source, std::string description);

  int32_t Number() const { return number_; }
  const std::string& Source() const { return source_; }
  const std::string& Description() const { return description_; }
  // The library ships no help file; both stay empty so that a re-raise keeps them.
  const std::string& HelpFile() const { return help_file_; }
  int32_t HelpContext() const { return 0; }

  // A generic error raised inside class `className`, with its fixed text.
  // Its Source is "Brevant.<className>", as the original runtime names it.
  static Error Generic(int32_t number, const std::string& className);

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
  std::string help_file_;
};

}  // namespace brevant
