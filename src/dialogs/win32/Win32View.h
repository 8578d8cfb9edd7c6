// The Win32 view of the selection dialogs and ErrorBox's system message box.
#pragma once

namespace brevant {

// Puts the native dialogs and message box in place of the defaults, once; the
// server does so before it makes its first object.
void InstallWin32View();

}  // namespace brevant
