// The module (EXE or DLL) that holds Brevant's code, for window classes and
// for finding the DLL's own file.
#pragma once

#include <windows.h>

namespace brevant {

HINSTANCE ThisModule();

}  // namespace brevant
