#include "factory/DriverFactory.h"

#include <cstdlib>
#include <string>

#include "d2xx/D2xxDriver.h"
#ifndef _WIN32
#include "libftdi/LibftdiDriver.h"
#endif
#include "virtual/Bench.h"
#include "virtual/BenchFile.h"
#include "virtual/VirtualDriver.h"

namespace brevant {

namespace {

// The vendor's library: the loader's search finds it where the vendor's
// installer puts it; BREVANT_D2XX_LIBRARY names another file.
#ifdef _WIN32
constexpr const char* kVendorLibrary = "FTD2XX.DLL";
#else
constexpr const char* kVendorLibrary = "libftd2xx.so";
#endif

// An environment variable's value, or nullptr when it is unset or empty. A
// set-user-ID program takes neither the code it loads nor a directory to write
// into from whoever runs it.
const char* Setting(const char* name) {
#ifdef _WIN32
  const char* value = std::getenv(name);
#else
  const char* value = secure_getenv(name);
#endif
  return value && *value ? value : nullptr;
}

std::shared_ptr<Ftd2xx> MakeD2xx() {
  const char* path = Setting("BREVANT_D2XX_LIBRARY");
  return std::make_shared<D2xxDriver>(path ? path : kVendorLibrary);
}

// libftdi is a Linux backend; on Windows the vendor's library is the driver.
std::shared_ptr<Ftd2xx> MakeLibftdi() {
#ifdef _WIN32
  throw DriverUnavailable("The libftdi driver is not built on Windows");
#else
  return std::make_shared<LibftdiDriver>();
#endif
}

// BREVANT_BENCH_STATE names a directory where the bench keeps its chips'
// memories, so that consecutive processes see one board; BREVANT_BENCH_VCD a
// file that receives every pin change of its channels.
std::shared_ptr<Ftd2xx> MakeVirtual(std::shared_ptr<virt::Bench> bench) {
  try {
    if (const char* directory = Setting("BREVANT_BENCH_STATE")) bench->KeepMemories(directory);
    if (const char* trace = Setting("BREVANT_BENCH_VCD")) bench->RecordTo(trace);
  } catch (const virt::StateError& e) {
    throw DriverUnavailable(e.what());
  }
  return std::make_shared<virt::VirtualDriver>(std::move(bench));
}

}  // namespace

// The default is the vendor's library where it loads, else libftdi, so that a
// machine without the vendor's installer still reaches its chips. A library
// the user named is never passed over: if it fails, the error says so, rather
// than another driver quietly taking the chips.
std::shared_ptr<Ftd2xx> MakeDriver(std::string_view choice) {
  if (choice.empty()) {
#ifdef _WIN32
    return MakeD2xx();
#else
    if (Setting("BREVANT_D2XX_LIBRARY")) return MakeD2xx();
    try {
      return MakeD2xx();
    } catch (const DriverUnavailable&) {
      return MakeLibftdi();
    }
#endif
  }
  if (choice == "d2xx") return MakeD2xx();
  if (choice == "libftdi") return MakeLibftdi();
  if (choice == "virtual") return MakeVirtual(virt::MakeDefaultBench());
  // "virtual:" followed by the path of a bench file.
  constexpr std::string_view kVirtualFile = "virtual:";
  if (choice.starts_with(kVirtualFile)) {
    std::shared_ptr<virt::Bench> bench;
    try {
      bench = virt::LoadBenchFile(std::string(choice.substr(kVirtualFile.size())));
    } catch (const virt::BenchFileError& e) {
      throw DriverUnavailable(e.what());
    }
    return MakeVirtual(std::move(bench));
  }
  throw DriverUnavailable("Unknown driver \"" + std::string(choice) +
                  "\": the choices are d2xx, libftdi, virtual and virtual:BENCH.json");
}

}  // namespace brevant
