// The library's text procedures: filling log templates, hexadecimal text, and the
// one-line form of an error.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace brevant {

// One value for TextSubstitute: a string as it is, a number in decimal, a Boolean
// as True or False. Strings are borrowed, not copied, for the length of the call.
class TextValue {
 public:
  TextValue(std::string_view text) : view_(text) {}
  TextValue(const std::string& text) : view_(text) {}
  TextValue(const char* text) : view_(text) {}
  TextValue(bool value) : view_(value ? "True" : "False") {}
  template <std::integral T>
    requires(!std::same_as<T, bool>)
  TextValue(T value) : owned_(std::to_string(value)), owns_(true) {}
  TextValue(const TextValue&) = delete;
  TextValue& operator=(const TextValue&) = delete;

  std::string_view View() const { return owns_ ? std::string_view(owned_) : view_; }

 private:
  std::string_view view_;
  std::string owned_;
  bool owns_ = false;
};

// Replaces every "%1" of `Template` by the first value, then every "%2" by the
// second, and so on, each pass working on the result of the one before. A
// placeholder without a value stays; there is no escape for "%".
std::string TextSubstitute(std::string_view Template, std::initializer_list<TextValue> values);

template <typename... Values>
std::string TextSubstitute(std::string_view Template, const Values&... values) {
  return TextSubstitute(Template, {TextValue(values)...});
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
