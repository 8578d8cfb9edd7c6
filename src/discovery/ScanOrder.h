// The order of a scan: readable devices first by ascending location, compared as
// signed 32-bit numbers; failed devices behind them. Equal keys keep the
// driver's order, which is what exchanging neighbours pass after pass gives.
#pragma once

#include <span>

#include "brevant/tDeviceInfo.h"

namespace brevant {

// True when `a` must stand before `b`.
bool ScanOrderBefore(const tDeviceInfo& a, const tDeviceInfo& b);

// Sorts stably in O(n log n) by ScanOrderBefore.
void SortScan(std::span<tDeviceInfo> records);

}  // namespace brevant
