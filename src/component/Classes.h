// The public classes in the order of the library's class table, one binding
// each (see the *Binding.cpp files beside this one). Where a dispatch id's low
// half is not fixed, it counts from 1 in slot order, one per member name, which
// is also how the fixed ones of the 245 FIFO channel run.
#pragma once

#include <span>
#include <string_view>

#include "component/Binding.h"

namespace brevant::component {

const ClassBinding& clsFTDIMPSSEBinding();
const ClassBinding& clsFTDIMPSSEPortIOBinding();
const ClassBinding& clsFTDISyncBitBangBinding();
const ClassBinding& ProcessBinding();
const ClassBinding& icLogBinding();
const ClassBinding& clsFTDIOptoBinding();
const ClassBinding& clsFTDI245FIFOBinding();
const ClassBinding& clsDeviceListBinding();
const ClassBinding& I2cBusBinding();

std::span<const ClassBinding* const> AllClasses();
// Null for a name or identifier that no public class has.
const ClassBinding* FindClass(std::string_view name);
const ClassBinding* FindClass(const brevant_guid& classId);

// Makes an object with the creation function, for a public class only.
template <class C>
std::shared_ptr<void> Create() {
  return std::make_shared<C>();
}

}  // namespace brevant::component
