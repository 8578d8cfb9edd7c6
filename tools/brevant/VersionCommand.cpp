#include "VersionCommand.h"

#include <cstdio>
#include <cstdlib>

#include "brevant/Process.h"

namespace brevant::tool {

VersionCommand::VersionCommand(CLI::App& app)
    : command_(app.add_subcommand("version", "show the library version and the driver")) {}

void VersionCommand::Run(const std::string& driver) const {
  const Process process;
  // The version text's own form: minor in two digits, revision in four.
  std::printf("Brevant %d.%02d.%04d\n", process.Major(), process.Minor(), process.Revision());
  // The library does not name its driver; the choice is the one made here or in
  // the environment, as the library takes it.
  const char* environment = std::getenv("BREVANT_DRIVER");
  if (!driver.empty()) {
    std::printf("Driver: %s\n", driver.c_str());
  } else if (environment != nullptr && *environment != '\0') {
    std::printf("Driver: %s (from BREVANT_DRIVER)\n", environment);
  } else {
    std::printf("Driver: default (no --driver, BREVANT_DRIVER unset)\n");
  }
}

}  // namespace brevant::tool
