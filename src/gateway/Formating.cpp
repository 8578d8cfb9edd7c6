#include "gateway/Formating.h"

#include <vector>

#include "brevant/Error.h"

namespace brevant {

namespace {

// The passes one after the other, as the templates are defined.
std::string SubstituteInPasses(std::string_view Template,
                               std::initializer_list<TextValue> values) {
  std::string text(Template);
  int index = 0;
  for (const TextValue& value : values) {
    const std::string placeholder = "%" + std::to_string(++index);
    std::string next;
    size_t from = 0;
    for (size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, from)) {
      next.append(text, from, at - from);
      next.append(value.View());
      from = at + placeholder.size();
    }
    next.append(text, from);
    text = std::move(next);
  }
  return text;
}

// When no value holds a "%", no template has "%%" and there are at most nine
// values, no pass can make a placeholder for a later one, and one left-to-right
// pass gives the same text. Log lines always qualify, so a 64 KiB data dump is
// copied once instead of once per pass.
bool OnePassIsExact(std::string_view Template, std::initializer_list<TextValue> values) {
  if (values.size() > 9 || Template.find("%%") != std::string_view::npos) return false;
  for (const TextValue& value : values) {
    if (value.View().find('%') != std::string_view::npos) return false;
  }
  return true;
}

}  // namespace

std::string TextSubstitute(std::string_view Template, std::initializer_list<TextValue> values) {
  if (!OnePassIsExact(Template, values)) return SubstituteInPasses(Template, values);

  std::vector<std::string_view> views;
  views.reserve(values.size());
  size_t size = Template.size();
  for (const TextValue& value : values) {
    views.push_back(value.View());
    size += views.back().size();
  }
  std::string text;
  text.reserve(size);
  size_t from = 0;
  for (size_t at = Template.find('%'); at != std::string_view::npos;
       at = Template.find('%', at + 1)) {
    if (at + 1 >= Template.size()) break;
    const size_t digit = static_cast<unsigned char>(Template[at + 1]) - '1';
    if (digit >= views.size()) continue;
    text.append(Template.substr(from, at - from));
    text.append(views[digit]);
    from = at + 2;
  }
  text.append(Template.substr(from));
  return text;
}

std::string HexText64(uint64_t Value, int16_t Width) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char digits[16];
  int count = 0;
  do {
    digits[count++] = kDigits[Value & 0xF];
    Value >>= 4;
  } while (Value != 0);
  std::string text;
  if (Width > count) text.assign(Width - count, '0');
  while (count > 0) text.push_back(digits[--count]);
  return text;
}

std::string HexText(int32_t Value, int16_t Width) {
  return HexText64(static_cast<uint32_t>(Value), Width);
}

std::string ErrorText(int32_t Number, std::string_view Description) {
  std::string text = "ERROR";
  if (Number != 0) {
    text += ' ';
    if ((Number & kObjectErrorBase) == 0) {
      text += std::to_string(Number);
    } else {
      text += '!';
      text += std::to_string(static_cast<int64_t>(Number) - kObjectErrorBase);
    }
  }
  if (!Description.empty()) {
    text += ": ";
    text += Description;
  }
  return text;
}

}  // namespace brevant
