// `brevant select device|module`: lets a person pick a device, or the channels of
// one module, in the library's selection dialog and prints the device numbers,
// for scripts that then open them.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "brevant/icLog.h"

namespace brevant::tool {

class SelectCommand {
 public:
  explicit SelectCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  std::string what_;
  int32_t channels_ = 2;
  std::string prompt_;
  std::string instruction_ = "Double-click a row, or select it and press OK.";
};

}  // namespace brevant::tool
