#include "virtual/mpsse/JtagChain.h"

namespace brevant::virt {

void JtagChain::Sense(uint16_t levels, int64_t /*nowUs*/) {
  using namespace mpsse_pin;
  const bool clock = levels & kClock;
  if (clock == clock_) return;
  clock_ = clock;
  if (!clock) {
    for (JtagTap& tap : taps_) tap.Fall();
    return;
  }
  // All TAPs sample at once: each sees what its neighbour drove before the edge.
  // A floating TDO reads high, as the pull-ups hold it.
  const bool tms = levels & kSelect;
  bool tdi = levels & kDataOut;
  for (JtagTap& tap : taps_) {
    const bool next = !tap.Driving() || tap.Tdo();
    tap.Rise(tms, tdi);
    tdi = next;
  }
}

}  // namespace brevant::virt
