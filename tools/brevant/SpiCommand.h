// `brevant spi`: a serial NOR flash on an MPSSE channel. `jedec` shows its ID
// and size, `read` copies a range to a file, `write` puts a file at an address
// keeping every other byte (see FlashWriter), `erase` sets a range or the whole
// flash to 0xFF the same way, `verify` compares a range with a file.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class SpiCommand {
 public:
  explicit SpiCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  void Run(const std::shared_ptr<icLog>& log) const;

 private:
  void Jedec(const std::shared_ptr<icLog>& log) const;
  void Read(const std::shared_ptr<icLog>& log) const;
  void Write(const std::shared_ptr<icLog>& log) const;
  void Erase(const std::shared_ptr<icLog>& log) const;
  void Verify(const std::shared_ptr<icLog>& log) const;

  CLI::App* command_;
  DeviceChoice device_;
  CLI::App* jedec_;
  CLI::App* read_;
  CLI::App* write_;
  CLI::App* erase_;
  CLI::App* verify_;
  double frequency_ = 30e6;
  std::string address_;
  std::string length_;
  std::string file_;
  std::string output_;
  bool all_ = false;
};

}  // namespace brevant::tool
