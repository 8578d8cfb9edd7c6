// The Win32 view of the selection dialogs, as the core sees it: one factory, no
// window-system type.
#pragma once

#include <memory>

#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"

namespace brevant {

std::unique_ptr<DialogWindow> MakeWin32DialogWindow(const DialogDesign& design,
                                                    DialogEvents& events);

}  // namespace brevant
