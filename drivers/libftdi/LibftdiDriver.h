// The driver functions on libftdi1 and libusb, for machines without the vendor's
// library. Each channel of a multi-channel part is a device of its own, named,
// numbered and located as the vendor driver does it:
// - serial numbers end in the channel letter, descriptions in " A", " B", ...;
// - a location ID is the USB bus and then each port of the path as hexadecimal
//   digits (bus 2, ports 1.4: 0x214), plus the channel's number (A 0, B 1, ...)
//   so that the channels of one part have consecutive locations;
// - the list is in the order of the locations.
// It lists the vendor's product ids for these parts and those named in
// BREVANT_USB_IDS ("VVVV:PPPP,..."), for boards with ids of their own.
//
// libftdi opens the channel and makes the control requests; data moves through
// libusb's bulk transfers directly, so that a transfer that runs into its
// time-out still hands over what it carried, and a write that times out says
// how much went. FT_Read keeps reading until it has the count or the read
// time-out has passed, then returns kOk with what it has; bytes the queue status
// saw wait in the handle's receive buffer. Each handle has its own lock: a read
// waiting on one channel never holds up another.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "driver/Ftd2xx.h"
#include "libftdi/UsbIds.h"

struct ftdi_context;
struct libusb_device;

namespace brevant {

class LibftdiDriver : public Ftd2xx {
 public:
  // Throws DriverUnavailable when BREVANT_USB_IDS holds something that is not
  // a list of ids.
  LibftdiDriver();
  ~LibftdiDriver() override;
  LibftdiDriver(const LibftdiDriver&) = delete;
  LibftdiDriver& operator=(const LibftdiDriver&) = delete;

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
  // One channel of the last scan.
  struct Entry {
    libusb_device* usb = nullptr;  // holds a reference while the entry lives
    int channel = 0;
    int channels = 1;
    std::string serialNumber;
    std::string description;
    uint32_t locationId = 0;
    uint32_t usbId = 0;
    uint32_t type = ft::kTypeUnknown;
    FtStatus strings = 0;  // kOk, or why the strings could not be read
  };
  // An open channel; its address is the handle.
  struct Device {
    std::mutex mutex;  // held by every call on the handle
    bool closed = false;
    ftdi_context* ftdi = nullptr;
    Entry entry;
    uint32_t readTimeoutMs = 0;
    uint32_t writeTimeoutMs = 0;
    uint8_t latencyMs = 16;
    std::vector<uint8_t> received;  // read from the chip, not yet by the client
    std::vector<uint8_t> packets;   // one bulk transfer's raw packets
  };

  FtStatus Scan();
  // True while a handle of this driver has the entry's channel open.
  bool InUse(const Entry& entry) const;
  void ForgetScan();
  // Runs `call` on the handle's device under its own lock.
  template <class Call>
  FtStatus OnDevice(FtHandle handle, Call call);
  // One bulk IN transfer into the device's receive buffer, for about `wanted`
  // bytes, waiting at least `waitMs` and never less than the latency timer
  // needs to answer.
  static FtStatus Fill(Device& device, uint32_t wanted, int waitMs);
  static void Release(Device& device);

  const std::vector<UsbId> ids_;
  std::mutex mutex_;  // the scan and the table of handles
  ftdi_context* lister_;
  std::vector<Entry> entries_;
  std::map<FtHandle, std::shared_ptr<Device>> open_;
};

}  // namespace brevant
