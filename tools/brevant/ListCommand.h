// `brevant list`: the devices of a scan and the modules found among them, as two
// aligned tables or as JSON.
#pragma once

#include <memory>
#include <ostream>
#include <span>
#include <string>

#include "brevant/icLog.h"
#include "brevant/tDeviceInfo.h"

namespace brevant::tool {

// The devices as an aligned table with headings, one line each.
std::string DeviceTable(std::span<const tDeviceInfo> devices);

void ListDevices(std::ostream& out, bool asJson, const std::shared_ptr<icLog>& log);

}  // namespace brevant::tool
