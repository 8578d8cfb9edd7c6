// The registry entries of the server: the type library, the eight classes
// with their ProgIDs, and every interface identifier, earlier versions included.
#pragma once

#include <windows.h>

namespace brevant::com {

HRESULT RegisterServer();
HRESULT UnregisterServer();

}  // namespace brevant::com
