// ErrorBox's presenter on Windows: the system's own message box.
#pragma once

#include <windows.h>

#include <string>

namespace brevant {

// Shows the box over `owner` (none: on its own) with the message-box flags
// `flags`, and returns once it is closed. An empty title gives the library's name.
void ShowWin32MessageBox(HWND owner, const std::string& text, const std::string& title, int flags);

}  // namespace brevant
