// `brevant list`: the devices of a scan and the modules found among them, as two
// aligned tables or as JSON.
#pragma once

#include <memory>
#include <ostream>

#include "brevant/icLog.h"

namespace brevant::tool {

void ListDevices(std::ostream& out, bool asJson, const std::shared_ptr<icLog>& log);

}  // namespace brevant::tool
