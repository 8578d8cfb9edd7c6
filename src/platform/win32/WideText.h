// The library's texts are UTF-8; the window system's wide calls take UTF-16.
#pragma once

#include <string>

namespace brevant {

std::wstring WideText(const std::string& text);

}  // namespace brevant
