// Where the selection dialogs get their windows from.
//
// By default from the view module (the Qt Widgets view, a library of its own so
// that the core needs no toolkit), loaded when a dialog is first shown; on
// Windows the server puts the native view in place. Tests put a fake window
// system in place. Without a view every dialog raises kErrDialogsNotBuilt.
#pragma once

#include <functional>
#include <memory>

#include "brevant/Error.h"
#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"

namespace brevant {

// Raised (Source "clsDeviceList") when a dialog is asked for and there is no
// view to draw it (its module is missing or cannot load), or no display.
inline constexpr int32_t kErrDialogsNotBuilt = kObjectErrorBase + 6903;

// The function a view module exports, returning a window the caller owns:
//   extern "C" DialogWindow* brevant_make_dialog_window(const DialogDesign&, DialogEvents&);
inline constexpr char kViewMakerName[] = "brevant_make_dialog_window";

// Makes the window of one form; `events` outlives the window.
using DialogWindowFactory =
    std::function<std::unique_ptr<DialogWindow>(const DialogDesign& design, DialogEvents& events)>;

// Installs a factory and returns the one it replaces; an empty one restores the
// view module's.
DialogWindowFactory SetDialogWindowFactory(DialogWindowFactory factory);

std::unique_ptr<DialogWindow> MakeDialogWindow(const DialogDesign& design, DialogEvents& events);

}  // namespace brevant
