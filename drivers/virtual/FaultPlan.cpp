#include "virtual/FaultPlan.h"

namespace brevant::virt {

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
