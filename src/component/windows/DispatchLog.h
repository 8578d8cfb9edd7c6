// A client's log sink, any automation object with LogEntry at dispatch id 0
// (a script's class as well as a compiled icLog), as the library's icLog.
#pragma once

#include <windows.h>

#include "brevant/brevant.h"

namespace brevant::com {

// A new library reference to a sink that calls `client`; the client object is
// held until the library lets the sink go.
HRESULT MakeDispatchLog(IUnknown* client, brevant_object* out);

}  // namespace brevant::com
