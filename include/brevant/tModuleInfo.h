// One module: the channels A, B, ... of one multi-channel part, or a one-channel
// part whose serial number ends in A, as clsDeviceList::DiscernModules finds them.
#pragma once

#include <cstdint>
#include <string>

#include "brevant/Array.h"
#include "brevant/tDeviceInfo.h"

namespace brevant {

struct tModuleInfo {
  // Number of channels, 1 or more.
  int32_t DeviceCount = 0;
  // The channels from element 0 (channel A) to DeviceCount - 1, copies of the
  // scan's records.
  Array<tDeviceInfo> DeviceInfos;
  // The channels' serial number without its channel letter.
  std::string SerialNumber;
  // The channels' description without the " A"/" B" suffix; empty when the
  // channels disagree.
  std::string Description;

  friend bool operator==(const tModuleInfo&, const tModuleInfo&) = default;
};

}  // namespace brevant
