// Where the selection dialogs get their windows from.
//
// The library's own view is Qt Widgets when it is built in, native controls on
// Windows; without either every dialog raises errDialogsNotBuilt. Tests put a fake window system in
// place.
#pragma once

#include <functional>
#include <memory>

#include "brevant/Error.h"
#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"

namespace brevant {

// Raised (Source "clsDeviceList") when a dialog is asked for in a library built
// without a window system, or where there is no display to show it on.
inline constexpr int32_t kErrDialogsNotBuilt = kObjectErrorBase + 6903;

// Makes the window of one form; `events` outlives the window.
using DialogWindowFactory =
    std::function<std::unique_ptr<DialogWindow>(const DialogDesign& design, DialogEvents& events)>;

// Installs a factory and returns the one it replaces; an empty one restores the
// library's own.
DialogWindowFactory SetDialogWindowFactory(DialogWindowFactory factory);

std::unique_ptr<DialogWindow> MakeDialogWindow(const DialogDesign& design, DialogEvents& events);

}  // namespace brevant
