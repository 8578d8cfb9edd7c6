// The class factory of one creatable class.
#pragma once

#include <windows.h>

#include "brevant/brevant.h"

namespace brevant::com {

// A new factory for the class with `class_id`, as interface `iid`.
HRESULT MakeClassFactory(const brevant_guid& class_id, REFIID iid, void** out);

}  // namespace brevant::com
