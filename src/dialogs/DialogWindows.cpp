#include "dialogs/DialogWindows.h"

#include <filesystem>
#include <mutex>

#include "platform/SharedLibrary.h"

namespace brevant {

namespace {

// The view module's file relative to the library's own (the build sets it;
// empty when there is none).
constexpr char kViewModule[] = BREVANT_VIEW_MODULE;

// The view module's exported maker; it returns a window the caller owns.
using ViewMaker = DialogWindow* (*)(const DialogDesign& design, DialogEvents& events);

// The view library is looked for beside the library holding this code, so that
// an installed tree, a build tree and a moved prefix all find their own.
struct ViewModule {
  ViewModule() {
    if (std::string_view(kViewModule).empty()) {
      problem = "this library was built without a view for them";
      return;
    }
    const std::filesystem::path self = SharedLibrary::FileHolding(&kViewModule);
    const std::string path = (self.parent_path() / kViewModule).string();
    library = std::make_unique<SharedLibrary>(path);
    if (!library->Loaded()) {
      problem = library->Problem();
      return;
    }
    make = reinterpret_cast<ViewMaker>(library->Symbol(kViewMakerName));
    if (make == nullptr) problem = path + " has no function " + kViewMakerName;
  }

  std::unique_ptr<SharedLibrary> library;
  ViewMaker make = nullptr;
  std::string problem;
};

std::unique_ptr<DialogWindow> WindowOfViewModule(const DialogDesign& design, DialogEvents& events) {
  // Loaded once, when a dialog is first shown, and never unloaded: the toolkit
  // beneath it keeps state and exit handlers of its own until the process ends.
  static const ViewModule& module = *new ViewModule;
  if (module.make == nullptr) {
    throw Error(kErrDialogsNotBuilt, "clsDeviceList",
                "The selection dialogs cannot be shown: " + module.problem);
  }
  return std::unique_ptr<DialogWindow>(module.make(design, events));
}

std::mutex factory_mutex;

// Made on first use, so that a factory installed by another file's static
// initialiser is not overwritten by this one's.
DialogWindowFactory& Factory() {
  static DialogWindowFactory factory = WindowOfViewModule;
  return factory;
}

}  // namespace

DialogWindowFactory SetDialogWindowFactory(DialogWindowFactory next) {
  std::lock_guard lock(factory_mutex);
  DialogWindowFactory previous = std::move(Factory());
  Factory() = next ? std::move(next) : DialogWindowFactory(WindowOfViewModule);
  return previous;
}

std::unique_ptr<DialogWindow> MakeDialogWindow(const DialogDesign& design, DialogEvents& events) {
  DialogWindowFactory make;
  {
    std::lock_guard lock(factory_mutex);
    make = Factory();
  }
  return make(design, events);
}

}  // namespace brevant
