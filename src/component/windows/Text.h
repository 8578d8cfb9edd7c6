// UTF-8 inside the library, UTF-16 (BSTR) at the COM boundary.
#pragma once

#include <windows.h>

#include <string>

namespace brevant::com {

std::wstring Wide(const char* text);
std::string Utf8(const wchar_t* text, int length);
std::string Utf8(BSTR text);
// A new BSTR; null for an empty text, as automation allows.
BSTR NewBstr(const char* text);
std::wstring GuidText(const GUID& id);

}  // namespace brevant::com
