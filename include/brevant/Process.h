// The library's own version, as its version block holds it (1.00.0010).
#pragma once

#include <cstdint>

#include "brevant/Export.h"

namespace brevant {

class BREVANT_EXPORT Process {
 public:
  int16_t Major() const;
  int16_t Minor() const;
  // The last field of the file version 1.0.0.10.
  int16_t Revision() const;
};

}  // namespace brevant
