// Virtual time of a bench, in microseconds. Nothing sleeps: a read that would wait
// moves the clock forward instead, so a 500 ms time-out costs no real time.
#pragma once

#include <cstdint>

namespace brevant::virt {

class VirtualClock {
 public:
  int64_t Now() const { return now_us_; }
  void Advance(int64_t us) { now_us_ += us; }
  // Never moves backwards.
  void AdvanceTo(int64_t us) {
    if (us > now_us_) now_us_ = us;
  }

 private:
  int64_t now_us_ = 0;
};

}  // namespace brevant::virt
