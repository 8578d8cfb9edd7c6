#include "component/windows/DispatchLog.h"

#include "component/windows/Text.h"

namespace brevant::com {

namespace {

// LogEntry(Level, Entry), late-bound: arguments go in reverse order.
void LogEntry(void* context, int32_t level, const char* entry) {
  auto* client = static_cast<IDispatch*>(context);
  VARIANT args[2];
  V_VT(&args[0]) = VT_BSTR;
  V_BSTR(&args[0]) = SysAllocString(Wide(entry).c_str());
  V_VT(&args[1]) = VT_I4;
  V_I4(&args[1]) = level;
  DISPPARAMS params{args, nullptr, 2, 0};
  // A sink must not fail; if it does anyway, the driver call it reports goes on.
  client->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr,
                 nullptr);
  SysFreeString(V_BSTR(&args[0]));
}

void Release(void* context) {
  static_cast<IDispatch*>(context)->Release();
}

}  // namespace

HRESULT MakeDispatchLog(IUnknown* client, brevant_object* out) {
  IDispatch* dispatch = nullptr;
  if (FAILED(client->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)))) {
    return DISP_E_TYPEMISMATCH;
  }
  const brevant_log_sink sink{LogEntry, Release, dispatch};
  if (brevant_log_create(&sink, out) != 0) {
    dispatch->Release();
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

}  // namespace brevant::com
