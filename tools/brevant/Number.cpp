#include "Number.h"

#include <charconv>
#include <cstdio>

namespace brevant::tool {

uint32_t ParseNumber(const std::string& text, const std::string& what) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* first = text.data() + (hex ? 2 : 0);
  const char* last = text.data() + text.size();
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(first, last, value, hex ? 16 : 10);
  if (first == last || error != std::errc{} || end != last) {
    throw CLI::ValidationError(what, "\"" + text + "\" is no number from 0 to 0xFFFFFFFF");
  }
  return value;
}

std::string AddressText(uint64_t address) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%06llX", static_cast<unsigned long long>(address));
  return text;
}

CLI::Validator Within(int64_t low, int64_t high) {
  const std::string range = "from " + std::to_string(low) + " to " + std::to_string(high);
  return CLI::Validator(
      [=](const std::string& text) -> std::string {
        int64_t value = 0;
        const char* last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, value);
        if (text.empty() || error == std::errc::invalid_argument || end != last) {
          return "\"" + text + "\" is no whole number " + range;
        }
        if (error != std::errc{} || value < low || value > high) {
          return text + " is not " + range;
        }
        return {};
      },
      "INT " + range);
}

CLI::Validator Frequency() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        double value = 0;
        const char* last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, value);
        if (text.empty() || error != std::errc{} || end != last || !(value > 0)) {
          return "\"" + text + "\" is no frequency in Hz above 0";
        }
        return {};
      },
      "HZ");
}

}  // namespace brevant::tool
