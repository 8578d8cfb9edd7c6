// A failure of the command line itself (bad file, address out of range), as
// opposed to a brevant::Error raised by the library. Printed as "brevant: what".
#pragma once

#include <stdexcept>

namespace brevant::tool {

class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace brevant::tool
