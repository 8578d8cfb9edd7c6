// A failure of the command line itself (bad file, address out of range), as
// opposed to a brevant::Error raised by the library. Printed as "brevant: what".
#pragma once

#include <stdexcept>
#include <string>

namespace brevant::tool {

enum class ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kMismatch = 3 };

class ToolError : public std::runtime_error {
 public:
  explicit ToolError(const std::string& what, ExitStatus status = ExitStatus::kFailed)
      : std::runtime_error(what), status_(status) {}
  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace brevant::tool
