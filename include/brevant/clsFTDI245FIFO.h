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
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/ByteArray.h"
#include "brevant/icLog.h"

namespace brevant {

class clsFTD2xx;

// The class raises no number of its own; this is the base of its range.
enum errFTDI245FIFO : int32_t {
  _errFTDI245FIFO = static_cast<int32_t>(0x80041964),
};

class clsFTDI245FIFO {
 public:
  clsFTDI245FIFO();
  // Closes a device that is still open; every error on the way is ignored.
  ~clsFTDI245FIFO();
  clsFTDI245FIFO(const clsFTDI245FIFO&) = delete;
  clsFTDI245FIFO& operator=(const clsFTDI245FIFO&) = delete;

  // Opens the device by the driver's index: bit mode 0, time-outs 500/500 ms,
  // latency 1 ms. A failure after the open leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // Driver time-outs in milliseconds, until the next Initialize.
  void SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite);
  // Bytes waiting in the driver's transmit and receive queues.
  int32_t QueueTx();
  int32_t QueueRx();
  void PurgeQueueTx();
  void PurgeQueueRx();
  // Both queues in one driver call.
  void PurgeQueues();
  // Writes Length bytes from element 0; fewer taken by the driver is an error.
  void DataWrite(ByteArray& Buffer, int32_t Length);
  // Reads up to Length bytes into element 0 on; BytesRead tells how many came.
  void DataRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead);
  // Closes the device if it is open; does nothing otherwise.
  void Terminate();

  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

 private:
  std::unique_ptr<clsFTD2xx> Gateway;
};

}  // namespace brevant
