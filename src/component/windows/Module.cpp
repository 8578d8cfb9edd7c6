#include "component/windows/Module.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "component/windows/Text.h"
#include "platform/win32/ThisModule.h"

namespace brevant::com {

namespace {

std::atomic<long> references{0};

}  // namespace

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

ITypeLib* TypeLibrary() {
  // Loaded on first use, not at load time: the DLL runs nothing of its own
  // until a client calls it. Kept for the life of the process.
  static ITypeLib* library = [] {
    ITypeLib* loaded = nullptr;
    if (FAILED(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &loaded))) return loaded = nullptr;
    return loaded;
  }();
  return library;
}

HRESULT TypeInfoOf(const GUID& id, ITypeInfo** out) {
  *out = nullptr;
  ITypeLib* library = TypeLibrary();
  return library ? library->GetTypeInfoOfGuid(id, out) : TYPE_E_CANTLOADLIBRARY;
}

HRESULT RecordInfoOf(const char* name, IRecordInfo** out) {
  *out = nullptr;
  static std::mutex mutex;
  static std::map<std::string, IRecordInfo*> known;  // kept for the life of the process
  std::lock_guard lock(mutex);
  if (IRecordInfo*& info = known[name]; info) {
    info->AddRef();
    *out = info;
    return S_OK;
  }
  ITypeLib* library = TypeLibrary();
  if (!library) return TYPE_E_CANTLOADLIBRARY;
  std::wstring wide = Wide(name);
  ITypeInfo* type = nullptr;
  MEMBERID member = 0;
  USHORT found = 1;
  HRESULT hr = library->FindName(wide.data(), 0, &type, &member, &found);
  if (FAILED(hr) || found == 0) return FAILED(hr) ? hr : TYPE_E_ELEMENTNOTFOUND;
  hr = GetRecordInfoFromTypeInfo(type, out);
  type->Release();
  if (SUCCEEDED(hr)) {
    (*out)->AddRef();
    known[name] = *out;
  }
  return hr;
}

void AddServerReference() {
  ++references;
}
void ReleaseServerReference() {
  --references;
}
bool ServerInUse() {
  return references > 0;
}

}  // namespace brevant::com
