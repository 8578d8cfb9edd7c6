// The process's driver: which Ftd2xx backend new gateways talk to.
#pragma once

#include <memory>

#include "brevant/Error.h"
#include "driver/Ftd2xx.h"

namespace brevant {

// Raised, with Source kDriverSource, for a driver choice that cannot be served:
// unknown, or its library or bench file fails to load.
inline constexpr int32_t kErrDriverChoice = kObjectErrorBase + 6105;
inline constexpr char kDriverSource[] = "Brevant";

// The driver for a gateway created now. The first call without a driver set
// makes one from BREVANT_DRIVER (empty or unset: the default backend).
std::shared_ptr<Ftd2xx> CurrentDriver();

// Puts `driver` in place for gateways created from now on; those that exist keep
// theirs. Tests use it to run the library against a bench they built.
void SetDriver(std::shared_ptr<Ftd2xx> driver);

}  // namespace brevant
