#include "component/windows/Registry.h"

#include <olectl.h>

#include <string>

#include "brevant/brevant.h"
#include "component/windows/ComObject.h"
#include "component/windows/Errors.h"
#include "component/windows/Module.h"
#include "component/windows/Text.h"

namespace brevant::com {

namespace {

// The automation marshaler, which carries calls between apartments with the
// help of the type library.
constexpr wchar_t kOleAutomationMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring Id(const brevant_guid& id) {
  return GuidText(*reinterpret_cast<const GUID*>(&id));
}

std::wstring Version(int32_t major, int32_t minor) {
  return std::to_wstring(major) + L"." + std::to_wstring(minor);
}

// Sets `name` (empty for the default value) under HKEY_CLASSES_ROOT\`key`.
HRESULT Set(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  const LSTATUS status =
      RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name && *name ? name : nullptr, REG_SZ,
                      value.c_str(), static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  return HRESULT_FROM_WIN32(status);
}

HRESULT Remove(const std::wstring& key) {
  const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  return status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(status);
}

std::wstring ProgId(const brevant_class_info& info) {
  return Wide(brevant_library()->name) + L"." + Wide(info.name);
}

// An interface identifier the automation marshaler carries; an earlier
// version's forwards to the current one, whose slots it shares.
HRESULT SetInterface(const std::wstring& iid, const char* name, const std::wstring& forward) {
  const brevant_library_info& library = *brevant_library();
  const std::wstring key = L"Interface\\" + iid;
  HRESULT hr = Set(key, nullptr, Wide(name));
  if (SUCCEEDED(hr)) hr = Set(key + L"\\ProxyStubClsid", nullptr, kOleAutomationMarshaler);
  if (SUCCEEDED(hr)) hr = Set(key + L"\\ProxyStubClsid32", nullptr, kOleAutomationMarshaler);
  if (SUCCEEDED(hr)) hr = Set(key + L"\\TypeLib", nullptr, Id(library.id));
  if (SUCCEEDED(hr)) {
    hr = Set(key + L"\\TypeLib", L"Version", Version(library.major, library.minor));
  }
  if (SUCCEEDED(hr) && !forward.empty()) hr = Set(key + L"\\Forward", nullptr, forward);
  return hr;
}

}  // namespace

HRESULT RegisterServer() {
  if (const std::string problem = ComObject::SlotLimitProblem(); !problem.empty()) {
    return Raise(IID_NULL, nullptr, SELFREG_E_CLASS, "Brevant", problem);
  }
  const brevant_library_info& library = *brevant_library();
  const std::wstring path = ModulePath();
  const std::wstring folder = path.substr(0, path.find_last_of(L"\\/"));
  // The type library, under the neutral locale and the platform of this build.
#ifdef _WIN64
  constexpr wchar_t kPlatform[] = L"\\0\\win64";
#else
  constexpr wchar_t kPlatform[] = L"\\0\\win32";
#endif
  const std::wstring lib =
      L"TypeLib\\" + Id(library.id) + L"\\" + Version(library.major, library.minor);
  HRESULT hr = Set(lib, nullptr, Wide(library.description));
  if (SUCCEEDED(hr)) hr = Set(lib + kPlatform, nullptr, path);
  if (SUCCEEDED(hr)) hr = Set(lib + L"\\FLAGS", nullptr, L"0");
  if (SUCCEEDED(hr)) hr = Set(lib + L"\\HELPDIR", nullptr, folder);
  for (int32_t c = 0; c < brevant_class_count() && SUCCEEDED(hr); ++c) {
    const brevant_class_info& info = *brevant_class_at(c);
    const std::wstring clsid = L"CLSID\\" + Id(info.class_id);
    const std::wstring progid = ProgId(info);
    hr = Set(clsid, nullptr, progid);
    if (SUCCEEDED(hr)) hr = Set(clsid + L"\\InprocServer32", nullptr, path);
    if (SUCCEEDED(hr)) hr = Set(clsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    if (SUCCEEDED(hr)) hr = Set(clsid + L"\\ProgID", nullptr, progid);
    if (SUCCEEDED(hr)) hr = Set(clsid + L"\\TypeLib", nullptr, Id(library.id));
    if (SUCCEEDED(hr)) hr = Set(clsid + L"\\VERSION", nullptr, Version(info.major, info.minor));
    if (SUCCEEDED(hr)) hr = Set(progid, nullptr, progid);
    if (SUCCEEDED(hr)) hr = Set(progid + L"\\CLSID", nullptr, Id(info.class_id));
    if (SUCCEEDED(hr)) hr = SetInterface(Id(info.iid), info.interface_name, {});
    for (int32_t a = 0; a < info.alias_count && SUCCEEDED(hr); ++a) {
      hr = SetInterface(Id(info.aliases[a].iid), info.interface_name, Id(info.iid));
    }
  }
  return FAILED(hr) ? SELFREG_E_CLASS : S_OK;
}

HRESULT UnregisterServer() {
  const brevant_library_info& library = *brevant_library();
  HRESULT hr = Remove(L"TypeLib\\" + Id(library.id));
  for (int32_t c = 0; c < brevant_class_count(); ++c) {
    const brevant_class_info& info = *brevant_class_at(c);
    for (const std::wstring& key :
         {L"CLSID\\" + Id(info.class_id), ProgId(info), L"Interface\\" + Id(info.iid)}) {
      if (const HRESULT removed = Remove(key); FAILED(removed)) hr = removed;
    }
    for (int32_t a = 0; a < info.alias_count; ++a) {
      if (const HRESULT removed = Remove(L"Interface\\" + Id(info.aliases[a].iid));
          FAILED(removed)) {
        hr = removed;
      }
    }
  }
  return FAILED(hr) ? SELFREG_E_CLASS : S_OK;
}

}  // namespace brevant::com
