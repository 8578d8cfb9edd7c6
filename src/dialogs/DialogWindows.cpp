#include "dialogs/DialogWindows.h"

#include <mutex>

#ifdef BREVANT_QT
#include "dialogs/qt/QtDialogFactory.h"
#elif defined(_WIN32)
#include "dialogs/win32/Win32DialogFactory.h"
#endif

namespace brevant {

namespace {

std::unique_ptr<DialogWindow> BuiltInWindow(const DialogDesign& design, DialogEvents& events) {
#ifdef BREVANT_QT
  return MakeQtDialogWindow(design, events);
#elif defined(_WIN32)
  return MakeWin32DialogWindow(design, events);
#else
  (void)design;
  (void)events;
  throw Error(kErrDialogsNotBuilt, "clsDeviceList",
              "The selection dialogs are not built into this library (built without Qt)");
#endif
}

std::mutex factory_mutex;
DialogWindowFactory factory = BuiltInWindow;

}  // namespace

DialogWindowFactory SetDialogWindowFactory(DialogWindowFactory next) {
  std::lock_guard lock(factory_mutex);
  DialogWindowFactory previous = std::move(factory);
  factory = next ? std::move(next) : DialogWindowFactory(BuiltInWindow);
  return previous;
}

std::unique_ptr<DialogWindow> MakeDialogWindow(const DialogDesign& design, DialogEvents& events) {
  DialogWindowFactory make;
  {
    std::lock_guard lock(factory_mutex);
    make = factory;
  }
  return make(design, events);
}

}  // namespace brevant
