// `brevant wave FILE.vcd --png OUT.png`: a recorded pin trace drawn as a
// picture. The drawing is done by brevant-wave, a program of its own (it needs
// Qt's painting, which the command line does without); this command checks the
// words and hands over.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace brevant::tool {

class WaveCommand {
 public:
  explicit WaveCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  // Replaces this process with brevant-wave. Throws ToolError when it cannot
  // be started.
  [[noreturn]] void Run() const;

 private:
  CLI::App* command_;
  std::string vcd_;
  std::string png_;
  std::string from_;
  std::string to_;
  std::string signals_;
  bool spi_ = false;
  int width_ = 1200;
};

}  // namespace brevant::tool
