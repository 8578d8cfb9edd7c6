// `brevant list`: the devices of a scan and the modules found among them, as two
// aligned tables or as JSON.
#pragma once

#include <ostream>

namespace brevant::tool {

void ListDevices(std::ostream& out, bool asJson);

}  // namespace brevant::tool
