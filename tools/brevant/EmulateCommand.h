// `brevant emulate`: the virtual bench's parts as USB devices, for programs
// that reach chips through libusb. The work is done by brevant-emulate, a
// program of its own (it needs umockdev, which the library must not); this
// command finds it and hands over.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace brevant::tool {

class EmulateCommand {
 public:
  explicit EmulateCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  // Replaces this process with the emulator. `driver`, `state` and `vcd` are
  // the global --driver/--bench, --state and --vcd choices. Throws ToolError when the
  // emulator cannot be started.
  [[noreturn]] void Run(const std::string& driver, const std::string& state,
                        const std::string& vcd) const;

 private:
  CLI::App* command_;
  std::vector<std::string> program_;
};

}  // namespace brevant::tool
