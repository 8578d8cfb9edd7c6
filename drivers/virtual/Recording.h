// The pin-level trace of a bench: one PinRecorder per engine that records, and
// the Value Change Dump (VCD) made of them, which GTKWave, PulseView and
// sigrok-cli's protocol decoders read.
//
//   Recording& recording = bench->Record();         // every channel from now on
//   ... driver calls ...
//   recording.WriteVcd(file, bench->Clock().Now() * 1000);
//
// The file has one scope per recorded channel that did something, named after
// the channel (BV22H001A), with one 1-bit wire per pin under the library's pin
// names, and a time unit of 1 ns.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "virtual/PinRecorder.h"

namespace brevant::virt {

class Recording {
 public:
  std::shared_ptr<PinRecorder> Add(std::string scope, std::vector<std::string> pins);

  // The VCD of every recorder that saw a change after its first levels, ending
  // at `endNs` or just after the last change, whichever is later.
  void WriteVcd(std::ostream& out, int64_t endNs) const;

 private:
  std::vector<std::shared_ptr<PinRecorder>> recorders_;
};

}  // namespace brevant::virt
