// `brevant jtag`: scans the JTAG chain on an MPSSE channel. After a reset every
// TAP holds its IDCODE (or a single 0 bit for BYPASS) in its data register, so
// one long DR shift reads them all, the TAP nearest TDO first.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class JtagCommand {
 public:
  explicit JtagCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  DeviceChoice device_;
  double frequency_ = 30e6;
};

}  // namespace brevant::tool
