// The driver interface: the 18 functions of the chip vendor's D2XX driver that
// Brevant's classes call, and the three that read and program the configuration
// EEPROM, with the vendor driver's semantics. Only clsFTD2xx calls it.
//
// Backends (the virtual bench, the vendor library, libftdi) implement this class.
// Each function returns a status (ft::kOk or one of the failure codes below) and
// never throws; out values are meaningful only when the status is ft::kOk, unless
// a contract below says otherwise. Handles are opaque and pointer-sized: the core
// never looks inside one, it only hands it back.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace brevant {

using FtHandle = void*;
using FtStatus = uint32_t;

// Thrown by a backend that cannot start: its library is missing or lacks a
// function, its bench file cannot be read. The text says which and why.
class DriverUnavailable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace ft {

// Driver statuses. The texts of each live in FtStatus.cpp.
inline constexpr FtStatus kOk = 0;
inline constexpr FtStatus kInvalidHandle = 1;    // a handle the driver doesn't know
inline constexpr FtStatus kDeviceNotFound = 2;   // no device at that index
inline constexpr FtStatus kDeviceNotOpened = 3;  // open failed, e.g. already in use
inline constexpr FtStatus kIoError = 4;          // USB transfer failed, device gone
inline constexpr FtStatus kInsufficientResources = 5;
inline constexpr FtStatus kInvalidParameter = 6;
inline constexpr FtStatus kInvalidBaudRate = 7;
inline constexpr FtStatus kDeviceNotOpenedForErase = 8;
inline constexpr FtStatus kDeviceNotOpenedForWrite = 9;
inline constexpr FtStatus kFailedToWriteDevice = 10;
inline constexpr FtStatus kEepromReadFailed = 11;
inline constexpr FtStatus kEepromWriteFailed = 12;
inline constexpr FtStatus kEepromEraseFailed = 13;
inline constexpr FtStatus kEepromNotPresent = 14;
inline constexpr FtStatus kEepromNotProgrammed = 15;
inline constexpr FtStatus kInvalidArgs = 16;
inline constexpr FtStatus kNotSupported = 17;
inline constexpr FtStatus kOtherError = 18;

// FT_ListDevices flags.
inline constexpr uint32_t kListNumberOnly = 0x80000000;
inline constexpr uint32_t kListByIndex = 0x40000000;
inline constexpr uint32_t kOpenBySerialNumber = 1;
inline constexpr uint32_t kOpenByDescription = 2;
inline constexpr uint32_t kOpenByLocation = 4;

// FT_Purge mask bits.
inline constexpr uint32_t kPurgeRx = 1;
inline constexpr uint32_t kPurgeTx = 2;

// Device types of FT_GetDeviceInfo, as the vendor driver numbers its chips.
inline constexpr uint32_t kTypeFT232BM = 0;
inline constexpr uint32_t kTypeFT232AM = 1;
inline constexpr uint32_t kTypeUnknown = 3;
inline constexpr uint32_t kTypeFT2232D = 4;  // FT2232C and FT2232D alike
inline constexpr uint32_t kTypeFT232R = 5;
inline constexpr uint32_t kTypeFT2232H = 6;
inline constexpr uint32_t kTypeFT4232H = 7;
inline constexpr uint32_t kTypeFT232H = 8;
inline constexpr uint32_t kTypeFTX = 9;  // the FT-X series

// Size of the text buffers of FT_ListDevices and FT_GetDeviceInfo.
inline constexpr int kTextBufferSize = 64;

// Puts `text` into one of those buffers as the vendor driver does: NUL-ended
// when shorter, cut without a NUL when it fills the buffer.
inline void CopyText(std::string_view text, char* buffer) {
  const size_t length = std::min<size_t>(text.size(), kTextBufferSize);
  std::memcpy(buffer, text.data(), length);
  if (length < kTextBufferSize) buffer[length] = '\0';
}

}  // namespace ft

class Ftd2xx {
 public:
  virtual ~Ftd2xx() = default;

  // Three forms, told by `flags`:
  // - ft::kListNumberOnly: `arg1` points to a uint32_t that receives the number of
  //   devices; `arg2` is null.
  // - ft::kListByIndex | ft::kOpenBySerialNumber or | ft::kOpenByDescription:
  //   `arg1` carries the device index as its pointer value; `arg2` points to
  //   ft::kTextBufferSize bytes that receive 8-bit text, NUL-ended when shorter.
  //   kDeviceNotFound for an index beyond the list.
  // - ft::kListByIndex | ft::kOpenByLocation: `arg1` the index as above; `arg2`
  //   points to a uint32_t location ID. An open device reports location 0.
  // Needs no open device; may touch the bus to read strings.
  virtual FtStatus FT_ListDevices(void* arg1, void* arg2, uint32_t flags) = 0;

  // Opens device `index` of the list and writes its handle. kDeviceNotFound for
  // an index beyond the list, kDeviceNotOpened when it is already open.
  virtual FtStatus FT_Open(int index, FtHandle* handle) = 0;
  // Ends the use of `handle`, whatever state the device is in.
  virtual FtStatus FT_Close(FtHandle handle) = 0;

  // Resets of the chip, the hub port, and a port cycle (re-enumeration). Each
  // returns the chip to its power-up settings.
  virtual FtStatus FT_ResetDevice(FtHandle handle) = 0;
  virtual FtStatus FT_ResetPort(FtHandle handle) = 0;
  virtual FtStatus FT_CyclePort(FtHandle handle) = 0;

  // Bounds FT_Read and FT_Write, in milliseconds; 0 means wait without limit.
  virtual FtStatus FT_SetTimeouts(FtHandle handle, uint32_t readTimeout, uint32_t writeTimeout) = 0;

  // Type, USB ID (vendor << 16 | product), and serial number and description into
  // two buffers of ft::kTextBufferSize bytes. `reserved` is always null.
  virtual FtStatus FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                    char* serialNumber, char* description, void* reserved) = 0;

  // Bytes in the receive and transmit queues, and the event status.
  virtual FtStatus FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                uint32_t* eventStatus) = 0;
  // Bytes waiting in the receive queue.
  virtual FtStatus FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) = 0;
  // Empties the queues named by the mask (ft::kPurgeRx, ft::kPurgeTx); 0 is valid.
  virtual FtStatus FT_Purge(FtHandle handle, uint32_t mask) = 0;

  // Sends `count` bytes from `buffer`. `written` tells how many the driver took,
  // which may be fewer with status kOk when the write time-out ran out.
  virtual FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                            uint32_t* written) = 0;
  // Receives up to `count` bytes into `buffer` from its start. Blocks until
  // `count` bytes have come or the read time-out has passed; on a time-out it
  // returns kOk with `read` below `count`. Bytes past `read` are left untouched.
  virtual FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) = 0;

  virtual FtStatus FT_SetBaudRate(FtHandle handle, uint32_t baudRate) = 0;
  // The chip flushes a partial packet to the host after this many milliseconds.
  virtual FtStatus FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) = 0;
  virtual FtStatus FT_SetLatencyTimer(FtHandle handle, uint8_t timer) = 0;
  // The instantaneous level of the channel's pins, bypassing the receive queue.
  virtual FtStatus FT_GetBitMode(FtHandle handle, uint8_t* pins) = 0;
  // Switches the channel's mode (0 reset, 2 MPSSE, 4 synchronous bit-bang, 0x10
  // opto, ...); `mask` sets pin directions where the mode uses it (1 = output).
  virtual FtStatus FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) = 0;

  // The part's configuration EEPROM, one 16-bit word at a time; any channel's
  // handle reaches the one EEPROM of its part. Word addresses beyond the chip
  // wrap round as the chip ignores the bits it lacks. The chip does not check
  // what is written: a wrong checksum only shows at the next power-up, when the
  // part falls back to its factory defaults. kEepromNotPresent when the part
  // has no EEPROM; `value` is left untouched on any failure.
  virtual FtStatus FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) = 0;
  virtual FtStatus FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) = 0;
  // Sets every word to 0xFFFF, as a blank chip reads. The part then starts with
  // its factory defaults until the EEPROM is programmed again.
  virtual FtStatus FT_EraseEE(FtHandle handle) = 0;
};

}  // namespace brevant
