#include "libftdi/UsbIds.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace brevant {

namespace {

bool IsHex4(const std::string& text) {
  return text.size() == 4 && std::all_of(text.begin(), text.end(), [](char c) {
           return std::isxdigit(static_cast<unsigned char>(c)) != 0;
         });
}

}  // namespace

std::vector<UsbId> UsbIdsToList(const std::string& extra) {
  std::vector<UsbId> ids = {0x04036001, 0x04036010, 0x04036011, 0x04036014, 0x04036015};
  size_t at = 0;
  while (at < extra.size()) {
    const size_t end = extra.find_first_of(", ", at);
    const std::string entry = extra.substr(at, end == std::string::npos ? end : end - at);
    at = end == std::string::npos ? extra.size() : end + 1;
    if (entry.empty()) continue;
    const size_t colon = entry.find(':');
    if (colon == std::string::npos || !IsHex4(entry.substr(0, colon)) ||
        !IsHex4(entry.substr(colon + 1))) {
      throw std::invalid_argument("\"" + entry + "\" is not a USB id VVVV:PPPP");
    }
    ids.push_back(static_cast<UsbId>(std::stoul(entry.substr(0, colon), nullptr, 16) << 16 |
                                     std::stoul(entry.substr(colon + 1), nullptr, 16)));
  }
  return ids;
}

}  // namespace brevant
