#include "Number.h"

#include <CLI/CLI.hpp>
#include <charconv>

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

}  // namespace brevant::tool
