#include "platform/SharedLibrary.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace brevant {

#ifdef _WIN32

SharedLibrary::SharedLibrary(const std::string& path) : handle_(LoadLibraryA(path.c_str())) {
  if (handle_ == nullptr) problem_ = "Windows error " + std::to_string(GetLastError());
}

SharedLibrary::~SharedLibrary() {
  if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* SharedLibrary::Symbol(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

std::string SharedLibrary::FileHolding(const void* address) {
  HMODULE module = nullptr;
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<LPCSTR>(address), &module)) {
    return {};
  }
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(module, path, MAX_PATH);
  return length == 0 || length == MAX_PATH ? std::string() : std::string(path, length);
}

#else

SharedLibrary::SharedLibrary(const std::string& path)
    : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) problem_ = dlerror();
}

SharedLibrary::~SharedLibrary() {
  if (handle_ != nullptr) dlclose(handle_);
}

void* SharedLibrary::Symbol(const char* name) const {
  return dlsym(handle_, name);
}

std::string SharedLibrary::FileHolding(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

#endif

}  // namespace brevant
