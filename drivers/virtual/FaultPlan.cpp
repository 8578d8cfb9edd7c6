#include "virtual/FaultPlan.h"

namespace brevant::virt {

std::string_view CallName(Call call) {
  static constexpr std::array<std::string_view, kCallCount> kNames = {
      "FT_ListDevices",   "FT_Open",         "FT_Close",          "FT_ResetDevice",
      "FT_ResetPort",     "FT_CyclePort",    "FT_SetTimeouts",    "FT_GetDeviceInfo",
      "FT_GetStatus",     "FT_GetQueueStatus", "FT_Purge",        "FT_Write",
      "FT_Read",          "FT_SetBaudRate",  "FT_GetLatencyTimer", "FT_SetLatencyTimer",
      "FT_GetBitMode",    "FT_SetBitMode",
  };
  return kNames[static_cast<int>(call)];
}

void FaultPlan::Clear() {
  faults_.clear();
  calls_.fill(0);
}

std::optional<Fault> FaultPlan::Next(Call call) {
  const int nth = ++calls_[static_cast<int>(call)];
  for (const Fault& fault : faults_) {
    if (fault.call == call && fault.nth == nth) return fault;
  }
  return std::nullopt;
}

}  // namespace brevant::virt
