#include "virtual/FaultPlan.h"

namespace brevant::virt {

void FaultPlan::Clear() {
  faults_.clear();
  list_faults_.clear();
  calls_.fill(0);
}

std::optional<Fault> FaultPlan::Next(Call call) {
  const int nth = ++calls_[static_cast<int>(call)];
  for (const Fault& fault : faults_) {
    if (fault.call == call && fault.nth == nth) return fault;
  }
  return std::nullopt;
}

std::optional<FtStatus> FaultPlan::ListFaultFor(int device, uint32_t what) const {
  for (const ListFault& fault : list_faults_) {
    if (fault.device == device && fault.what == what) return fault.status;
  }
  return std::nullopt;
}

}  // namespace brevant::virt
