// `brevant version` and `brevant --version`: the library's version as Process
// reports it, and the driver this run uses.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace brevant::tool {

class VersionCommand {
 public:
  explicit VersionCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  // Two lines, without the last line end. `driver` is the choice made on the
  // command line, empty if none.
  std::string Text(const std::string& driver) const;

 private:
  CLI::App* command_;
};

}  // namespace brevant::tool
