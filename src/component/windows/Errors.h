// The library's failures as COM clients read them: an HRESULT, the thread's
// error object (for early-bound callers) and EXCEPINFO (for IDispatch callers).
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace brevant::com {

// The HRESULT of an error number: the generic errors (6, 9, 11) become the
// automation codes that clients show as those small numbers again.
HRESULT ResultOf(int32_t number);

// Publishes the last error of this thread (brevant_error_*) as the error
// object and, if `info` is given, into it. Returns the HRESULT for a vtable
// caller, or DISP_E_EXCEPTION when `info` is given.
HRESULT Raise(const IID& iid, EXCEPINFO* info);

// Publishes an error of the COM layer itself, with its own text.
HRESULT Raise(const IID& iid, EXCEPINFO* info, HRESULT result, const char* source,
              const std::string& description);

}  // namespace brevant::com
