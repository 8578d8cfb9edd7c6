// One device of a scan, as clsDeviceList::ScanDevices delivers it.
#pragma once

#include <cstdint>
#include <string>

namespace brevant {

struct tDeviceInfo {
  // The driver's index at the time of the scan: the number for Initialize.
  int16_t Device = 0;
  // True when reading the device from the driver's list failed; the three fields
  // below then carry nothing.
  bool Error = false;
  std::string SerialNumber;
  std::string Description;
  int32_t LocationID = 0;

  friend bool operator==(const tDeviceInfo&, const tDeviceInfo&) = default;
};

}  // namespace brevant
