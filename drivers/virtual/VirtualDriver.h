// The driver functions on a virtual bench, with the vendor driver's semantics:
// handles, statuses, read time-outs that return short with kOk, queue status,
// purge, bit mode, latency, baud rate. Every call costs a little virtual time and
// may carry a fault the bench's FaultPlan has planned for it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "driver/Ftd2xx.h"
#include "virtual/Bench.h"

namespace brevant::virt {

class VirtualDriver : public Ftd2xx {
 public:
  explicit VirtualDriver(std::shared_ptr<Bench> bench);

  FtStatus FT_ListDevices(void* arg1, void* arg2, uint32_t flags) override;
  FtStatus FT_Open(int index, FtHandle* handle) override;
  FtStatus FT_Close(FtHandle handle) override;
  FtStatus FT_ResetDevice(FtHandle handle) override;
  FtStatus FT_ResetPort(FtHandle handle) override;
  FtStatus FT_CyclePort(FtHandle handle) override;
  FtStatus FT_SetTimeouts(FtHandle handle, uint32_t readTimeout, uint32_t writeTimeout) override;
  FtStatus FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id, char* serialNumber,
                            char* description, void* reserved) override;
  FtStatus FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                        uint32_t* eventStatus) override;
  FtStatus FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) override;
  FtStatus FT_Purge(FtHandle handle, uint32_t mask) override;
  FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                    uint32_t* written) override;
  FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) override;
  FtStatus FT_SetBaudRate(FtHandle handle, uint32_t baudRate) override;
  FtStatus FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) override;
  FtStatus FT_SetLatencyTimer(FtHandle handle, uint8_t timer) override;
  FtStatus FT_GetBitMode(FtHandle handle, uint8_t* pins) override;
  FtStatus FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) override;
  FtStatus FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) override;
  FtStatus FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) override;
  FtStatus FT_EraseEE(FtHandle handle) override;

 private:
  // Counts the call, charges its time, runs a planned vanish, and returns the
  // fault left for the call itself.
  std::optional<Fault> Begin(Call call);
  // The channel behind an open handle, or the status that refuses the call.
  FtStatus Find(FtHandle handle, Channel*& channel) const;
  // Begin, then Find: the status that refuses a call on `handle`, or kOk with its
  // channel and the fault (short write or read) planned for the call.
  FtStatus Enter(Call call, FtHandle handle, Channel*& channel,
                 std::optional<Fault>* fault = nullptr);
  FtStatus Reset(FtHandle handle, Call call);

  std::mutex mutex_;
  std::shared_ptr<Bench> bench_;
  std::map<uintptr_t, std::shared_ptr<Channel>> handles_;
  uintptr_t next_handle_;
};

}  // namespace brevant::virt
