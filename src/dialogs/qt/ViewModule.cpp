// The one function this view exports when it is built as a module: the core
// loads the module when a dialog is first shown and asks it for windows here.
#include "dialogs/DialogWindows.h"
#include "dialogs/qt/QtDialogFactory.h"

extern "C" __attribute__((visibility("default"))) brevant::DialogWindow* brevant_make_dialog_window(
    const brevant::DialogDesign& design, brevant::DialogEvents& events) {
  return brevant::MakeQtDialogWindow(design, events).release();
}
