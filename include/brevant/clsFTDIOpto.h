// A chip channel in opto mode (bit mode 0x10): plain byte streams, nothing added.
//
//   brevant::clsFTDIOpto opto;
//   opto.Initialize(1);       // open device 1, opto mode, mask 0xEC
//   opto.Reset(false);        // same mask, mode 0
//   opto.Reset(true);         // back to opto mode
//
// Every failure is a brevant::Error; a driver failure has Source "clsFTD2xx".
// The stream members (SetTimeOuts, purges, DataWrite, DataRead, Terminate, Log)
// are those of StreamChannel.
#pragma once

#include <cstdint>

#include "brevant/Export.h"
#include "brevant/StreamChannel.h"

namespace brevant {

// The class raises no number of its own; this is the base of its range.
enum errFTDIOpto : int32_t {
  _errFTDIOpto = static_cast<int32_t>(0x80041900),
};

class BREVANT_EXPORT clsFTDIOpto : public StreamChannel {
 public:
  // Opens the device by the driver's index: mask 0xEC mode 0x10, time-outs
  // 500/500 ms, latency 1 ms. A failure after the open leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // True repeats the opto bit mode of Initialize, False sets mode 0; mask 0xEC.
  void Reset(bool Value);
};

}  // namespace brevant
