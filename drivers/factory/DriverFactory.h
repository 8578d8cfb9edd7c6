// The one place that names the driver backends.
#pragma once

#include <memory>
#include <string_view>

#include "driver/Ftd2xx.h"

namespace brevant {

// Makes the backend for a choice such as "virtual" or "virtual:BENCH.json";
// empty means the default. Throws DriverUnavailable naming the choice when it
// is unknown, and the backend's own when it cannot start.
std::shared_ptr<Ftd2xx> MakeDriver(std::string_view choice);

}  // namespace brevant
