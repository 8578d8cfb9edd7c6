// The four entry points of the in-process server. They only consult the
// registration data; nothing of the library runs when the DLL loads, and the
// native view is put in place when a client first asks for a class.
#include <olectl.h>
#include <windows.h>

#include <string>

#include "brevant/brevant.h"
#include "component/Objects.h"
#include "component/windows/ClassFactory.h"
#include "component/windows/ComObject.h"
#include "component/windows/Errors.h"
#include "component/windows/Module.h"
#include "component/windows/Registry.h"
#include "dialogs/win32/Win32View.h"

using namespace brevant::com;

STDAPI DllRegisterServer() {
  return RegisterServer();
}

STDAPI DllUnregisterServer() {
  return UnregisterServer();
}

STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, LPVOID* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (const std::string problem = ComObject::SlotLimitProblem(); !problem.empty()) {
    return Raise(IID_IClassFactory, nullptr, CLASS_E_CLASSNOTAVAILABLE, "Brevant", problem);
  }
  for (int32_t c = 0; c < brevant_class_count(); ++c) {
    const brevant_class_info& info = *brevant_class_at(c);
    if (!IsEqualGUID(class_id, *reinterpret_cast<const GUID*>(&info.class_id))) continue;
    // Classes that cannot be created are registered all the same, but have no factory.
    if (!info.creatable) return CLASS_E_CLASSNOTAVAILABLE;
    brevant::InstallWin32View();
    return MakeClassFactory(info.class_id, iid, out);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
  return ServerInUse() || brevant::component::Objects::Count() > 0 ? S_FALSE : S_OK;
}
