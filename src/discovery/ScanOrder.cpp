#include "discovery/ScanOrder.h"

#include <algorithm>

namespace brevant {

// A failed record's location is meaningless, so failed records all share one key.
bool ScanOrderBefore(const tDeviceInfo& a, const tDeviceInfo& b) {
  if (a.Error || b.Error) return !a.Error && b.Error;
  return a.LocationID < b.LocationID;
}

void SortScan(std::span<tDeviceInfo> records) {
  std::stable_sort(records.begin(), records.end(), ScanOrderBefore);
}

}  // namespace brevant
