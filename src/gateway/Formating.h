// The library's text procedures: filling log templates, hexadecimal text, and the
// one-line form of an error.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace brevant {

// The data part of the FT_Write and FT_Read lines: two upper-case hex digits a
// byte, one blank between, none at the end; empty for no bytes.
std::string FTBufferText(std::span<const uint8_t> bytes);

// One value for TextSubstitute: a string as it is, a number in decimal, a Boolean
// as True or False, or a byte dump as FTBufferText gives it. Strings and bytes are
// borrowed, not copied, for the length of the call.
class TextValue {
 public:
  // A dump is written straight into the finished text, so a 64 KiB write costs
  // one allocation and one pass however long its line.
  static TextValue Dump(std::span<const uint8_t> bytes) { return TextValue(bytes); }

  TextValue(std::string_view text) : view_(text) {}
  TextValue(const std::string& text) : view_(text) {}
  TextValue(const char* text) : view_(text) {}
  TextValue(bool value) : view_(value ? "True" : "False") {}
  template <std::integral T>
  requires(!std::same_as<T, bool>) TextValue(T value)
      : owned_(std::to_string(value)), owns_(true) {}
  TextValue(TextValue&&) = default;
  TextValue(const TextValue&) = delete;
  TextValue& operator=(const TextValue&) = delete;

  // The text; a dump is made on first use.
  std::string_view View() const;
  size_t Size() const;
  // Writes the Size() characters of the text to `out`.
  void WriteTo(char* out) const;
  bool HoldsPercent() const;

 private:
  explicit TextValue(std::span<const uint8_t> bytes) : dump_(bytes), isDump_(true) {}

  std::string_view view_;
  mutable std::string owned_;
  mutable bool owns_ = false;
  std::span<const uint8_t> dump_;
  bool isDump_ = false;
};

// Replaces every "%1" of `Template` by the first value, then every "%2" by the
// second, and so on, each pass working on the result of the one before. A
// placeholder without a value stays; there is no escape for "%".
std::string TextSubstitute(std::string_view Template, std::initializer_list<TextValue> values);

template <typename... Values>
std::string TextSubstitute(std::string_view Template, Values&&... values) {
  return TextSubstitute(Template, {TextValue(std::forward<Values>(values))...});
}

// Upper-case hexadecimal of `Value` (negatives as 32-bit two's complement), with
// leading zeros up to `Width`; a longer text is never cut.
std::string HexText(int32_t Value, int16_t Width);
// The same for a value wider than 32 bits, such as a 64-bit driver handle.
std::string HexText64(uint64_t Value, int16_t Width);

// "ERROR", then " " and the number part, then ": " and the description, each only
// when present. Library numbers show as "!" and their offset: ERROR !6102: ...
std::string ErrorText(int32_t Number, std::string_view Description);

}  // namespace brevant
