// The -d option of the commands that open a device: the device by its number,
// as `brevant list` shows it, or by what stays the same when devices are
// plugged in elsewhere: serial=BV22H001A, description=..., location=0x231
// (decimal too). Numbers move with plugging; these do not.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "brevant/icLog.h"

namespace brevant::tool {

class DeviceChoice {
 public:
  // Adds the required -d,--device option to `command`.
  explicit DeviceChoice(CLI::App& command);

  // The device number that -d names now. A number is checked against the
  // driver's count; the other forms scan the driver's list and must fit exactly
  // one readable device. Otherwise a ToolError with the usage status that says
  // why: the valid numbers, or the candidates as `brevant list` shows them.
  int16_t Resolve(const std::shared_ptr<icLog>& log) const;

 private:
  std::string text_;
};

}  // namespace brevant::tool
