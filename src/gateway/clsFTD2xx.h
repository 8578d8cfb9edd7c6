// clsFTD2xx: the driver gateway, the only caller of the driver.
//
// Each channel object and each device list owns one. Every driver member runs the
// same steps in the same order: guard, driver call, log line (Level 3), status
// check (Level 1 line and raise), change of state. So a failing call is in the
// log before the caller sees the error, and state changes only after success.
// The gateway owns the open/closed state and the handle; it remembers what was
// set in this open (bit mode, time-outs, baud rate) so that it can be read back.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "brevant/ByteArray.h"
#include "brevant/icLog.h"
#include "driver/Ftd2xx.h"
#include "gateway/Driver.h"

namespace brevant {

class clsFTD2xx {
 public:
  explicit clsFTD2xx(std::shared_ptr<Ftd2xx> driver = CurrentDriver());
  // Closes a device that is still open, with its log line; every error ignored.
  ~clsFTD2xx();
  clsFTD2xx(const clsFTD2xx&) = delete;
  clsFTD2xx& operator=(const clsFTD2xx&) = delete;

  std::shared_ptr<icLog> Log() const { return LogSink; }
  void Log(std::shared_ptr<icLog> sink) { LogSink = std::move(sink); }

  // The driver's list; these need no open device and change no state.
  int32_t FTListNumDevices();
  std::string FTListSerialNumber(int32_t DeviceNumber);
  std::string FTListDescription(int32_t DeviceNumber);
  int32_t FTListLocationID(int32_t DeviceNumber);

  // No guard: the driver's status decides. On success the handle replaces any
  // earlier one, which is left to the driver (see docs/decisions.md).
  void FTOpen(int16_t DeviceNumber);
  bool FTOpened() const { return Opened; }

  // The members below raise "Device not opened" when no device is open.
  void FTClose();
  void FTResetDevice();
  void FTResetPort();
  void FTCyclePort();
  void FTSetTimeouts(int32_t TimeoutRead, int32_t TimeoutWrite);
  bool FTTimeoutsSet() const;
  int32_t FTTimeoutRead() const;
  int32_t FTTimeoutWrite() const;
  // The texts are written even when the driver then fails.
  void FTGetDeviceInfo(int32_t& DeviceType, int32_t& DeviceID, std::string& SerialNumber,
                       std::string& Description);
  int32_t FTTxQueueStatus();
  int32_t FTRxQueueStatus();
  void FTPurge(bool Rx, bool Tx);
  // Both work on Buffer from element 0. Error 9, before the driver is called,
  // when there is no element 0 or Length is negative or beyond the upper bound.
  // FTWrite raises when the driver took fewer than Length bytes; FTRead leaves a
  // short count to its caller.
  void FTWrite(ByteArray& Buffer, int32_t Length);
  void FTRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead);
  void FTSetBaudRate(int32_t BaudRate);
  int32_t FTBaudRate() const;
  uint8_t FTGetLatencyTimer();
  void FTSetLatencyTimer(uint8_t Value);
  // What the driver reads off the pins now; BitMode is not touched.
  uint8_t FTGetBitMode();
  void FTSetBitMode(uint8_t Mask, uint8_t Mode);
  uint8_t FTBitMode() const;
  // The part's configuration EEPROM, one word at a time; any channel's device
  // reaches its part's one EEPROM. Change no state of the gateway.
  uint16_t FTReadEE(uint8_t WordOffset);
  void FTWriteEE(uint8_t WordOffset, uint16_t Value);
  void FTEraseEE();

 private:
  void RequireOpened() const;
  void LogCall(const std::string& line) const;
  void FTCheckStatus(int32_t Status) const;
  std::span<uint8_t> TransferBytes(ByteArray& Buffer, int32_t Length) const;
  std::string ListText(int32_t DeviceNumber, uint32_t flags);
  std::string HandleText() const;
  void ForgetSettings();
  // The three resets: each forgets what was set in this open.
  void ResetCall(std::string_view Template, FtStatus (Ftd2xx::*call)(FtHandle));

  std::shared_ptr<Ftd2xx> driver_;
  bool Opened = false;
  FtHandle Handle = nullptr;
  uint8_t BitMode = 0;
  bool BitModeSet = false;
  int32_t TimeoutRead = 0;
  int32_t TimeoutWrite = 0;
  bool TimeoutsSet = false;
  int32_t BaudRate = 0;
  bool BaudRateSet = false;
  std::shared_ptr<icLog> LogSink;
};

// Cuts a driver text buffer at its first NUL; all of it when there is none.
std::string FTCutString(std::span<const char> buffer);

}  // namespace brevant
