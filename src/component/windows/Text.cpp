#include "component/windows/Text.h"

#include "platform/win32/WideText.h"

namespace brevant::com {

// The core's conversion, which the dialogs use too.
std::wstring Wide(const char* text) {
  return text ? WideText(text) : std::wstring();
}

std::string Utf8(const wchar_t* text, int length) {
  if (!text || length <= 0) return {};
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string narrow(size, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, length, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

std::string Utf8(BSTR text) {
  return Utf8(text, static_cast<int>(SysStringLen(text)));
}

BSTR NewBstr(const char* text) {
  const std::wstring wide = Wide(text);
  return wide.empty() ? nullptr : SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

std::wstring GuidText(const GUID& id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

}  // namespace brevant::com
