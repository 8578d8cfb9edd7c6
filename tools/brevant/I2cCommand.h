// `brevant i2c`: an I2C bus on an MPSSE channel (SCL on ADBUS0, SDA on ADBUS1
// and ADBUS2 joined): scan it for targets, read bytes (after writing a register
// number or a memory address, with a repeated start between), write bytes.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class I2cCommand {
 public:
  explicit I2cCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  DeviceChoice device_;
  double frequency_ = 100e3;
  CLI::App* scan_;
  CLI::App* read_;
  CLI::App* write_;
  std::vector<std::string> words_;
};

}  // namespace brevant::tool
