// INTEGRATION POINT: the dialogs are built on another branch. Once clsDeviceList
// has DialogSelectDevice and DialogSelectModule, each body here becomes the one
// call `return list.DialogSelectDevice(Prompt, Instruction);` (and likewise for
// the module), and nothing else of the surface changes.
#include "component/Dialogs.h"

#include "component/Edge.h"

namespace brevant::component {

namespace {

[[noreturn]] void NotInThisBuild(const char* member) {
  Fail(BREVANT_E_NOTIMPL,
       std::string(member) + " is not available: this build has no selection dialogs");
}

}  // namespace

int16_t DialogSelectDevice(clsDeviceList&, const std::string&, const std::string&) {
  NotInThisBuild("DialogSelectDevice");
}

Array<int16_t> DialogSelectModule(clsDeviceList&, int32_t, const std::string&, const std::string&) {
  NotInThisBuild("DialogSelectModule");
}

}  // namespace brevant::component
