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

// The 64-bit and the 32-bit DLL can be registered side by side. Windows keeps
// the class and interface keys of 32-bit programs in a view of their own, but
// the type library's key is shared, each DLL under its platform, and so are
// the ProgIDs.
#ifdef _WIN64
constexpr wchar_t kPlatform[] = L"win64";
constexpr wchar_t kOtherPlatform[] = L"win32";
constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
#else
constexpr wchar_t kPlatform[] = L"win32";
constexpr wchar_t kOtherPlatform[] = L"win64";
// Ignored on 32-bit Windows, where there is one view.
constexpr REGSAM kOtherView = KEY_WOW64_64KEY;
#endif

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

bool Exists(const std::wstring& key, REGSAM view) {
  HKEY found = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ | view, &found) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(found);
  return true;
}

// Where the type library's file is registered for each platform.
std::wstring PlatformsKey() {
  const brevant_library_info& library = *brevant_library();
  return L"TypeLib\\" + Id(library.id) + L"\\" + Version(library.major, library.minor) + L"\\0\\";
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
  const std::wstring lib =
      L"TypeLib\\" + Id(library.id) + L"\\" + Version(library.major, library.minor);
  HRESULT hr = Set(lib, nullptr, Wide(library.description));
  if (SUCCEEDED(hr)) hr = Set(PlatformsKey() + kPlatform, nullptr, path);
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
  // The other platform's DLL keeps the type library's key, less this one's entry.
  HRESULT hr = Exists(PlatformsKey() + kOtherPlatform, 0) ? Remove(PlatformsKey() + kPlatform)
                                                          : Remove(L"TypeLib\\" + Id(library.id));
  for (int32_t c = 0; c < brevant_class_count(); ++c) {
    const brevant_class_info& info = *brevant_class_at(c);
    const std::wstring clsid = L"CLSID\\" + Id(info.class_id);
    for (const std::wstring& key : {clsid, L"Interface\\" + Id(info.iid)}) {
      if (const HRESULT removed = Remove(key); FAILED(removed)) hr = removed;
    }
    // A ProgID stays while the other platform's DLL serves the class.
    if (!Exists(clsid, kOtherView)) {
      if (const HRESULT removed = Remove(ProgId(info)); FAILED(removed)) hr = removed;
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
