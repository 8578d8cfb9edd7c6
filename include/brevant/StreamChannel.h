// What the 245 FIFO and opto channels share: a byte stream over one chip channel,
// with nothing added to it. Not used on its own; see clsFTDI245FIFO and
// clsFTDIOpto.
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/ByteArray.h"
#include "brevant/Export.h"
#include "brevant/icLog.h"

namespace brevant {

class clsFTD2xx;

class BREVANT_EXPORT StreamChannel {
 public:
  StreamChannel(const StreamChannel&) = delete;
  StreamChannel& operator=(const StreamChannel&) = delete;

  // Driver time-outs in milliseconds, until the next Initialize.
  void SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite);
  void PurgeQueueTx();
  void PurgeQueueRx();
  // Both queues in one driver call.
  void PurgeQueues();
  // Writes Length bytes from element 0; fewer taken by the driver is an error.
  void DataWrite(ByteArray& Buffer, int32_t Length);
  // Reads up to Length bytes into element 0 on; BytesRead tells how many came.
  // A short read, even of nothing, is no error.
  void DataRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead);
  // Closes the device if it is open; does nothing otherwise.
  void Terminate();

  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

 protected:
  StreamChannel();
  // Closes a device that is still open; every error on the way is ignored.
  ~StreamChannel();

  // Opens the device and puts it in the channel's bit mode, then time-outs
  // 500/500 ms and latency 1 ms. A failure after the open leaves it open.
  void Start(int16_t DeviceNumber, uint8_t mask, uint8_t mode);

  std::unique_ptr<clsFTD2xx> Gateway;
};

}  // namespace brevant
