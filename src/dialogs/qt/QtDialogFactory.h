// The Qt Widgets view of the selection dialogs, as the core sees it: one factory,
// no Qt header. A client without a QApplication gets one made for the life of
// the window.
#pragma once

#include <memory>

#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"

namespace brevant {

std::unique_ptr<DialogWindow> MakeQtDialogWindow(const DialogDesign& design, DialogEvents& events);

}  // namespace brevant
