// `brevant fifo`: byte streams over a 245 FIFO channel. Sends a file (or stdin),
// receives into a file (or stdout), or both at once, as for a loop or an echo;
// byte counts and rates go to stderr so that stdout carries data alone.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class FifoCommand {
 public:
  explicit FifoCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  DeviceChoice device_;
  std::string send_;
  std::string receive_;
  int32_t count_ = 0;
  int32_t timeoutMs_ = 500;
};

}  // namespace brevant::tool
