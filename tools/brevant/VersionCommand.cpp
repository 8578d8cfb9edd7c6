#include "VersionCommand.h"

#include <cstdio>
#include <cstdlib>

#include "brevant/Process.h"

namespace brevant::tool {

VersionCommand::VersionCommand(CLI::App& app)
    : command_(app.add_subcommand("version", "show the library version and the driver")) {}

std::string VersionCommand::Text(const std::string& driver) const {
  const Process process;
  // The version text's own form: minor in two digits, revision in four.
  char version[48];
  std::snprintf(version, sizeof version, "Brevant %d.%02d.%04d\n", process.Major(), process.Minor(),
                process.Revision());
  // The library does not name its driver; the choice is the one made here or in
  // the environment, as the library takes it.
  const char* environment = std::getenv("BREVANT_DRIVER");
  if (!driver.empty()) return version + ("Driver: " + driver);
  if (environment != nullptr && *environment != '\0') {
    return version + ("Driver: " + std::string(environment) + " (from BREVANT_DRIVER)");
  }
  return version + std::string("Driver: default (no --driver, BREVANT_DRIVER unset)");
}

}  // namespace brevant::tool
