// The four entry points of an in-process server, carried to Linux: the registry
// is a JSON file, and a class factory is an object with one member,
// brevant_factory_create.
#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "component/Classes.h"
#include "component/Guid.h"

using namespace brevant;
using namespace brevant::component;

namespace {

// Factories answer no dispatch call; they are counted as live objects, so that
// the library stays loaded while a client holds one.
const ClassBinding& FactoryBinding() {
  static const ClassBinding binding =
      MakeClass(Identity("ClassFactory", "IClassFactory", kIClassFactory, kIClassFactory, 0, 0), {},
                {}, nullptr);
  return binding;
}

std::filesystem::path RegistryPath() {
  if (const char* path = std::getenv("BREVANT_REGISTRY"); path && *path) return path;
  std::filesystem::path data;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) {
    data = xdg;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    data = std::filesystem::path(home) / ".local" / "share";
  } else {
    Fail(BREVANT_E_UNEXPECTED, "Neither BREVANT_REGISTRY, XDG_DATA_HOME nor HOME is set");
  }
  return data / "brevant" / "registry.json";
}

std::string Text(const brevant_guid& id) {
  char text[39];
  brevant_guid_format(&id, text);
  return text;
}

// This library's own file, wherever it was loaded from.
std::string LibraryFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&DllRegisterServer), &info) && info.dli_fname) {
    return std::filesystem::absolute(info.dli_fname).string();
  }
  return "";
}

nlohmann::json Registration() {
  const brevant_library_info& library = *brevant_library();
  nlohmann::json classes = nlohmann::json::array();
  for (const ClassBinding* binding : AllClasses()) {
    const brevant_class_info& info = binding->info;
    nlohmann::json interfaces = nlohmann::json::array();
    interfaces.push_back(
        {{"name", info.interface_name},
         {"iid", Text(info.iid)},
         {"version", std::to_string(info.major) + "." + std::to_string(info.minor)}});
    for (const brevant_alias_info& alias : binding->aliases) {
      interfaces.push_back(
          {{"name", alias.name},
           {"iid", Text(alias.iid)},
           {"version", std::to_string(alias.major) + "." + std::to_string(alias.minor)},
           {"alias_of", info.interface_name}});
    }
    classes.push_back({{"name", info.name},
                       {"clsid", Text(info.class_id)},
                       {"creatable", info.creatable != 0},
                       {"interfaces", interfaces}});
  }
  // The registration data keeps the neutral locale.
  return {{"library",
           {{"name", library.name},
            {"libid", Text(library.id)},
            {"version", std::to_string(library.major) + "." + std::to_string(library.minor)},
            {"description", library.description},
            {"locale", 0},
            {"help_file", library.help_file},
            {"help_context", library.help_context},
            {"file", LibraryFile()}}},
          {"classes", classes}};
}

}  // namespace

extern "C" {

BREVANT_API int32_t DllRegisterServer(void) {
  return Guarded([] {
    const std::filesystem::path path = RegistryPath();
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    std::ofstream file(path);
    file << Registration().dump(2) << '\n';
    if (!file.flush())
      Fail(BREVANT_E_UNEXPECTED, "Cannot write the registry file " + path.string());
  });
}

BREVANT_API int32_t DllUnregisterServer(void) {
  return Guarded([] {
    const std::filesystem::path path = RegistryPath();
    std::error_code error;
    // A library that is not registered has nothing to remove.
    if (!std::filesystem::remove(path, error) && error) {
      Fail(BREVANT_E_UNEXPECTED, "Cannot remove the registry file " + path.string());
    }
  });
}

BREVANT_API int32_t DllGetClassObject(const brevant_guid* class_id, const brevant_guid* iid,
                                      brevant_object* out) {
  return Guarded([&] {
    if (!class_id || !iid || !out) Fail(BREVANT_E_POINTER, "No identifier or place given");
    const ClassBinding* binding = FindClass(*class_id);
    if (!binding || !binding->create) {
      Fail(BREVANT_E_CLASSNOTAVAILABLE, "No creatable class has the identifier " + Text(*class_id));
    }
    if (!SameGuid(*iid, kIClassFactory) && !SameGuid(*iid, kIUnknown)) {
      Fail(BREVANT_E_NOINTERFACE, "A class factory has no interface " + Text(*iid));
    }
    // The factory points at the class's binding, which lives as long as the library.
    *out = Objects::Add(FactoryBinding(),
                        std::shared_ptr<void>(const_cast<ClassBinding*>(binding), [](void*) {}));
  });
}

BREVANT_API int32_t DllCanUnloadNow(void) {
  return Objects::Count() == 0 ? 0 : BREVANT_S_FALSE;
}

BREVANT_API int32_t brevant_factory_create(brevant_object factory, brevant_object* out) {
  return Guarded([&] {
    if (!out) Fail(BREVANT_E_POINTER, "No place for the object given");
    const LiveObject live = Objects::Find(factory);
    if (live.binding != &FactoryBinding()) {
      Fail(BREVANT_E_NOINTERFACE, "Object " + std::to_string(factory) + " is no class factory");
    }
    const auto& binding = *static_cast<const ClassBinding*>(live.self.get());
    *out = Objects::Add(binding, binding.create());
  });
}
}
