// `brevant gpio`: sets and reads single pins by name. On an MPSSE channel the
// port model's GPIOL0-3 and GPIOH0-3; with --bitbang the pins D0-D7 of a
// synchronous bit-bang channel. A pin that is set becomes an output.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class GpioCommand {
 public:
  explicit GpioCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  DeviceChoice device_;
  bool read_ = false;
  bool bitbang_ = false;
  std::vector<std::string> settings_;
};

}  // namespace brevant::tool
