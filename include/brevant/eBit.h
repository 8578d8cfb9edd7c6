// The level of one signal. Only bit 0 of a level written counts.
#pragma once

#include <cstdint>

namespace brevant {

enum eBit : int32_t {
  eb0 = 0,
  eb1 = 1,
};

}  // namespace brevant
