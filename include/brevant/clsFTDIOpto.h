// A chip channel in opto mode (bit mode 0x10): plain byte streams, nothing added.
//
//   brevant::clsFTDIOpto opto;
//   opto.Initialize(1);       // open device 1, opto mode, mask 0xEC
//   opto.Reset(false);        // same mask, mode 0
//   opto.Reset(true);         // back to opto mode
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
enum errFTDIOpto : int32_t {
  _errFTDIOpto = static_cast<int32_t>(0x80041900),
};

class clsFTDIOpto {
 public:
  clsFTDIOpto();
  // Closes a device that is still open; every error on the way is ignored.
  ~clsFTDIOpto();
  clsFTDIOpto(const clsFTDIOpto&) = delete;
  clsFTDIOpto& operator=(const clsFTDIOpto&) = delete;

  // Opens the device by the driver's index: mask 0xEC mode 0x10, time-outs
  // 500/500 ms, latency 1 ms. A failure after the open leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // Driver time-outs in milliseconds, until the next Initialize.
  void SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite);
  // True repeats the opto bit mode of Initialize, False sets mode 0; mask 0xEC.
  void Reset(bool Value);
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
