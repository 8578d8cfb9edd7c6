// Which driver the library talks to.
//
// Channel objects and device lists take the process's driver when they are
// created. Unless a program chooses, the first object picks one from the
// environment variable BREVANT_DRIVER, else the default:
//
//   BREVANT_DRIVER=virtual        the built-in virtual bench (no hardware)
//   BREVANT_DRIVER=virtual:lab.json   a virtual bench read from a bench file
//
//   brevant::UseDriver("virtual");  // the same, from code
//
// Objects that already exist keep the driver they were created with.
#pragma once

#include <string_view>

#include "brevant/Export.h"

namespace brevant {

// Selects the driver for objects created from now on. Throws brevant::Error
// (Source "Brevant") naming the choice when it is unknown or cannot be loaded.
BREVANT_EXPORT void UseDriver(std::string_view choice);

}  // namespace brevant
