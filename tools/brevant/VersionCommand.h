// `brevant version`: the library's version as Process reports it, and the
// driver this run uses.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace brevant::tool {

class VersionCommand {
 public:
  explicit VersionCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  // `driver` is the choice made on the command line, empty if none.
  void Run(const std::string& driver) const;

 private:
  CLI::App* command_;
};

}  // namespace brevant::tool
