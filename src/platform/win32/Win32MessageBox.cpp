#include "platform/win32/Win32MessageBox.h"

#include "brevant/ErrorBox.h"
#include "platform/win32/WideText.h"

namespace brevant {

void ShowWin32MessageBox(HWND owner, const std::string& text, const std::string& title, int flags) {
  const std::wstring caption = WideText(title.empty() ? kDefaultBoxTitle : title);
  MessageBoxW(owner, WideText(text).c_str(), caption.c_str(), static_cast<UINT>(flags));
}

}  // namespace brevant
