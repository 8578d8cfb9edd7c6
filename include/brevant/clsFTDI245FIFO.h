// A chip channel in 245 FIFO mode: plain byte streams, nothing added.
//
//   brevant::clsFTDI245FIFO fifo;
//   fifo.Initialize(0);                    // open device 0, FIFO mode, 500 ms time-outs
//   brevant::ByteArray out{'h', 'i'};
//   fifo.DataWrite(out, out.Count());
//   brevant::ByteArray in(0, 2);
//   int32_t got = 0;
//   fifo.DataRead(in, 2, got);             // a short read is no error: check `got`
//   fifo.Terminate();
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
enum errFTDI245FIFO : int32_t {
  _errFTDI245FIFO = static_cast<int32_t>(0x80041964),
};

class BREVANT_EXPORT clsFTDI245FIFO : public StreamChannel {
 public:
  // Opens the device by the driver's index: bit mode 0, time-outs 500/500 ms,
  // latency 1 ms. A failure after the open leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // Bytes waiting in the driver's transmit and receive queues.
  int32_t QueueTx();
  int32_t QueueRx();
};

}  // namespace brevant
