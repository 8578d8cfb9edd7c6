// `brevant eeprom`: a part's configuration EEPROM. `read` decodes it (ids,
// strings, power, each channel's type and driver, CBUS functions, user area,
// whether the checksum holds), as text or JSON; `write FILE.json` takes such a
// JSON file, or only the fields to change, shows what would change and asks
// before it programs, then reads back to verify; `erase` blanks the chip so
// that the part starts with its factory defaults.
#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <memory>
#include <string>

#include "DeviceChoice.h"
#include "brevant/icLog.h"

namespace brevant::tool {

class EepromCommand {
 public:
  explicit EepromCommand(CLI::App& app);

  bool Chosen() const { return command_->parsed(); }
  // Questions are asked on `out` and answered from `in`.
  void Run(const std::shared_ptr<icLog>& log, std::istream& in, std::ostream& out) const;

 private:
  CLI::App* command_;
  DeviceChoice device_;
  CLI::App* read_;
  CLI::App* write_;
  CLI::App* erase_;
  bool json_ = false;
  bool yes_ = false;
  std::string file_;
};

}  // namespace brevant::tool
