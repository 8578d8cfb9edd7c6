// The one place that names the driver backends.
#include <string>

#include "brevant/Error.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/BenchFile.h"
#include "virtual/VirtualDriver.h"

namespace brevant {

namespace {

constexpr char kSource[] = "Brevant";
// Raised for a driver choice that cannot be served.
constexpr int32_t kErrDriverChoice = kObjectErrorBase + 6105;

}  // namespace

// Until the vendor library and libftdi backends exist, the virtual bench is the
// default as well as a choice of its own.
std::shared_ptr<Ftd2xx> MakeDriver(std::string_view choice) {
  if (choice.empty() || choice == "virtual") {
    return std::make_shared<virt::VirtualDriver>(virt::MakeDefaultBench());
  }
  // "virtual:" followed by the path of a bench file.
  constexpr std::string_view kVirtualFile = "virtual:";
  if (choice.starts_with(kVirtualFile)) {
    try {
      return std::make_shared<virt::VirtualDriver>(
          virt::LoadBenchFile(std::string(choice.substr(kVirtualFile.size()))));
    } catch (const virt::BenchFileError& e) {
      throw Error(kErrDriverChoice, kSource, e.what());
    }
  }
  throw Error(kErrDriverChoice, kSource,
              "Unknown driver \"" + std::string(choice) +
                  "\": the choices are virtual and virtual:BENCH.json");
}

}  // namespace brevant
