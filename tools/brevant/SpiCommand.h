// `brevant spi`: a serial NOR flash on an MPSSE channel. `jedec` shows its ID,
// `read` copies a range to a file, `write` puts a file at an address: sectors
// are erased only where a bit must go from 0 to 1, their other bytes kept, and
// what was written is read back and compared.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "brevant/icLog.h"

namespace brevant::tool {

class SpiCommand {
 public:
  explicit SpiCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  CLI::App* command_;
  CLI::App* jedec_;
  CLI::App* read_;
  CLI::App* write_;
  int16_t device_ = 0;
  std::string address_;
  std::string length_;
  std::string file_;
};

}  // namespace brevant::tool
