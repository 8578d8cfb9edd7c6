#include "component/Classes.h"

#include <array>

#include "component/Guid.h"

namespace brevant::component {

std::span<const ClassBinding* const> AllClasses() {
  static const std::array<const ClassBinding*, 9> classes{&clsFTDIMPSSEBinding(),
                                                          &clsFTDIMPSSEPortIOBinding(),
                                                          &clsFTDISyncBitBangBinding(),
                                                          &ProcessBinding(),
                                                          &icLogBinding(),
                                                          &clsFTDIOptoBinding(),
                                                          &clsFTDI245FIFOBinding(),
                                                          &clsDeviceListBinding(),
                                                          &I2cBusBinding()};
  return classes;
}

const ClassBinding* FindClass(std::string_view name) {
  for (const ClassBinding* binding : AllClasses()) {
    if (binding->info.name == name) return binding;
  }
  return nullptr;
}

const ClassBinding* FindClass(const brevant_guid& classId) {
  for (const ClassBinding* binding : AllClasses()) {
    if (SameGuid(binding->info.class_id, classId)) return binding;
  }
  return nullptr;
}

const ClassBinding& BindingNamed(std::string_view name) {
  return *FindClass(name);
}

}  // namespace brevant::component
