#include "gateway/clsFTD2xx.h"

#include <array>
#include <cstring>

#include "brevant/Error.h"
#include "gateway/Formating.h"
#include "gateway/FtStatus.h"

namespace brevant {

namespace {

constexpr char kSource[] = "clsFTD2xx";
constexpr int32_t kLevelCall = 3;
constexpr int32_t kLevelFailure = 1;

// The driver takes a list index as the value of its first pointer argument.
void* IndexArgument(int32_t DeviceNumber) {
  return reinterpret_cast<void*>(static_cast<intptr_t>(DeviceNumber));
}

int32_t Signed(uint32_t value) {
  return static_cast<int32_t>(value);
}

}  // namespace

std::string FTCutString(std::span<const char> buffer) {
  const void* nul = std::memchr(buffer.data(), '\0', buffer.size());
  const size_t length =
      nul ? static_cast<size_t>(static_cast<const char*>(nul) - buffer.data()) : buffer.size();
  return std::string(buffer.data(), length);
}

clsFTD2xx::clsFTD2xx(std::shared_ptr<Ftd2xx> driver) : driver_(std::move(driver)) {}

clsFTD2xx::~clsFTD2xx() {
  if (!Opened) return;
  try {
    FTClose();
  } catch (...) {
    // A release must not fail; the device is the driver's to reclaim now.
  }
}

void clsFTD2xx::RequireOpened() const {
  if (!Opened) throw Error(kErrDeviceNotOpened, kSource, "Device not opened");
}

void clsFTD2xx::LogCall(const std::string& line) const {
  // The sink may replace itself from inside LogEntry; keep it alive meanwhile.
  const std::shared_ptr<icLog> sink = LogSink;
  sink->LogEntry(kLevelCall, line);
}

void clsFTD2xx::FTCheckStatus(int32_t Status) const {
  if (Status == 0) return;
  std::string text = FtStatusText(Status);
  if (LogSink) {
    const std::shared_ptr<icLog> sink = LogSink;
    sink->LogEntry(kLevelFailure, TextSubstitute("FTD2XX ERROR %1: %2", Status, text));
  }
  throw Error(kErrDriverStatus, kSource, std::move(text));
}

std::string clsFTD2xx::HandleText() const {
  return HexText64(reinterpret_cast<uintptr_t>(Handle), 8);
}

void clsFTD2xx::ForgetSettings() {
  BitModeSet = false;
  TimeoutsSet = false;
  BaudRateSet = false;
}

int32_t clsFTD2xx::FTListNumDevices() {
  uint32_t count = 0;
  const int32_t status = Signed(driver_->FT_ListDevices(&count, nullptr, ft::kListNumberOnly));
  if (LogSink) {
    LogCall(TextSubstitute("FT_ListDevices (%1, vbNullString, 0x%2) = %3", Signed(count),
                           HexText(Signed(ft::kListNumberOnly), 8), status));
  }
  FTCheckStatus(status);
  return Signed(count);
}

std::string clsFTD2xx::ListText(int32_t DeviceNumber, uint32_t flags) {
  std::array<char, ft::kTextBufferSize> buffer{};
  const int32_t status =
      Signed(driver_->FT_ListDevices(IndexArgument(DeviceNumber), buffer.data(), flags));
  std::string text = FTCutString(buffer);
  if (LogSink) {
    LogCall(TextSubstitute("FT_ListDevices (%1, \"%2\", 0x%3) = %4", DeviceNumber, text,
                           HexText(Signed(flags), 8), status));
  }
  FTCheckStatus(status);
  return text;
}

std::string clsFTD2xx::FTListSerialNumber(int32_t DeviceNumber) {
  return ListText(DeviceNumber, ft::kListByIndex | ft::kOpenBySerialNumber);
}

std::string clsFTD2xx::FTListDescription(int32_t DeviceNumber) {
  return ListText(DeviceNumber, ft::kListByIndex | ft::kOpenByDescription);
}

int32_t clsFTD2xx::FTListLocationID(int32_t DeviceNumber) {
  constexpr uint32_t flags = ft::kListByIndex | ft::kOpenByLocation;
  uint32_t location = 0;
  const int32_t status =
      Signed(driver_->FT_ListDevices(IndexArgument(DeviceNumber), &location, flags));
  if (LogSink) {
    LogCall(TextSubstitute("FT_ListDevices (%1, 0x%2, 0x%3) = %4", DeviceNumber,
                           HexText(Signed(location), 8), HexText(Signed(flags), 8), status));
  }
  FTCheckStatus(status);
  return Signed(location);
}

void clsFTD2xx::FTOpen(int16_t DeviceNumber) {
  FtHandle handle = nullptr;
  const int32_t status = Signed(driver_->FT_Open(DeviceNumber, &handle));
  if (LogSink) {
    LogCall(TextSubstitute("FT_Open (%1, 0x%2) = %3", DeviceNumber,
                           HexText64(reinterpret_cast<uintptr_t>(handle), 8), status));
  }
  FTCheckStatus(status);
  ForgetSettings();
  Handle = handle;
  Opened = true;
}

void clsFTD2xx::FTClose() {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_Close(Handle));
  if (LogSink) LogCall(TextSubstitute("FT_Close (0x%1) = %2", HandleText(), status));
  FTCheckStatus(status);
  Opened = false;
  ForgetSettings();
}

void clsFTD2xx::ResetCall(std::string_view Template, FtStatus (Ftd2xx::*call)(FtHandle)) {
  RequireOpened();
  const int32_t status = Signed((*driver_.*call)(Handle));
  if (LogSink) LogCall(TextSubstitute(Template, HandleText(), status));
  FTCheckStatus(status);
  ForgetSettings();
}

void clsFTD2xx::FTResetDevice() {
  ResetCall("FT_ResetDevice (0x%1) = %2", &Ftd2xx::FT_ResetDevice);
}

void clsFTD2xx::FTResetPort() {
  ResetCall("FT_ResetPort (0x%1) = %2", &Ftd2xx::FT_ResetPort);
}

void clsFTD2xx::FTCyclePort() {
  ResetCall("FT_CyclePort (0x%1) = %2", &Ftd2xx::FT_CyclePort);
}

void clsFTD2xx::FTSetTimeouts(int32_t Read, int32_t Write) {
  RequireOpened();
  const int32_t status = Signed(
      driver_->FT_SetTimeouts(Handle, static_cast<uint32_t>(Read), static_cast<uint32_t>(Write)));
  if (LogSink) {
    LogCall(
        TextSubstitute("FT_SetTimeouts (0x%1, %2, %3) = %4", HandleText(), Read, Write, status));
  }
  FTCheckStatus(status);
  TimeoutRead = Read;
  TimeoutWrite = Write;
  TimeoutsSet = true;
}

bool clsFTD2xx::FTTimeoutsSet() const {
  RequireOpened();
  return TimeoutsSet;
}

int32_t clsFTD2xx::FTTimeoutRead() const {
  RequireOpened();
  if (!TimeoutsSet) throw Error(kErrNotSet, kSource, "Time out not set");
  return TimeoutRead;
}

int32_t clsFTD2xx::FTTimeoutWrite() const {
  RequireOpened();
  if (!TimeoutsSet) throw Error(kErrNotSet, kSource, "Time out not set");
  return TimeoutWrite;
}

void clsFTD2xx::FTGetDeviceInfo(int32_t& DeviceType, int32_t& DeviceID, std::string& SerialNumber,
                                std::string& Description) {
  RequireOpened();
  // The driver writes its out values straight into the caller's arguments.
  uint32_t type = static_cast<uint32_t>(DeviceType);
  uint32_t id = static_cast<uint32_t>(DeviceID);
  std::array<char, ft::kTextBufferSize> serial{};
  std::array<char, ft::kTextBufferSize> description{};
  const int32_t status = Signed(
      driver_->FT_GetDeviceInfo(Handle, &type, &id, serial.data(), description.data(), nullptr));
  DeviceType = Signed(type);
  DeviceID = Signed(id);
  SerialNumber = FTCutString(serial);
  Description = FTCutString(description);
  if (LogSink) {
    LogCall(TextSubstitute("FT_GetDeviceInfo (0x%1, %2, 0x%3, %4, %5, %6) = %7", HandleText(),
                           DeviceType, HexText(DeviceID, 8), SerialNumber, Description, "0",
                           status));
  }
  FTCheckStatus(status);
}

int32_t clsFTD2xx::FTTxQueueStatus() {
  RequireOpened();
  uint32_t rx = 0;
  uint32_t tx = 0;
  uint32_t events = 0;
  const int32_t status = Signed(driver_->FT_GetStatus(Handle, &rx, &tx, &events));
  if (LogSink) {
    LogCall(TextSubstitute("FT_GetStatus (0x%1, %2, %3, %4) = %5", HandleText(), Signed(rx),
                           Signed(tx), Signed(events), status));
  }
  FTCheckStatus(status);
  return Signed(tx);
}

int32_t clsFTD2xx::FTRxQueueStatus() {
  RequireOpened();
  uint32_t rx = 0;
  const int32_t status = Signed(driver_->FT_GetQueueStatus(Handle, &rx));
  if (LogSink) {
    LogCall(TextSubstitute("FT_GetQueueStatus (0x%1, %2) = %3", HandleText(), Signed(rx), status));
  }
  FTCheckStatus(status);
  return Signed(rx);
}

void clsFTD2xx::FTPurge(bool Rx, bool Tx) {
  RequireOpened();
  const uint32_t mask = (Rx ? ft::kPurgeRx : 0) | (Tx ? ft::kPurgeTx : 0);
  const int32_t status = Signed(driver_->FT_Purge(Handle, mask));
  if (LogSink) {
    LogCall(TextSubstitute("FT_Purge (0x%1, 0x%2) = %3", HandleText(), HexText(Signed(mask), 1),
                           status));
  }
  FTCheckStatus(status);
}

std::span<uint8_t> clsFTD2xx::TransferBytes(ByteArray& Buffer, int32_t Length) const {
  // Nothing may ever reach past the client's array, so a Length the array can't
  // hold is refused like a missing element 0.
  const std::span<uint8_t> bytes = Buffer.FromElementZero();
  if (bytes.empty() || Length < 0 || static_cast<size_t>(Length) > bytes.size()) {
    throw Error::Generic(kErrSubscriptOutOfRange, kSource);
  }
  return bytes;
}

void clsFTD2xx::FTWrite(ByteArray& Buffer, int32_t Length) {
  RequireOpened();
  const std::span<uint8_t> bytes = TransferBytes(Buffer, Length);
  uint32_t written = 0;
  const int32_t status =
      Signed(driver_->FT_Write(Handle, bytes.data(), static_cast<uint32_t>(Length), &written));
  if (LogSink) {
    LogCall(TextSubstitute("FT_Write (0x%1, 0x{%2}, %3, %4) = %5", HandleText(),
                           TextValue::Dump(bytes.first(static_cast<size_t>(Length))), Length,
                           Signed(written), status));
  }
  FTCheckStatus(status);
  if (written != static_cast<uint32_t>(Length)) {
    throw Error(kErrTransmissionIncomplete, kSource, "FTDI transmission incomplete, data not sent");
  }
}

void clsFTD2xx::FTRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead) {
  RequireOpened();
  const std::span<uint8_t> bytes = TransferBytes(Buffer, Length);
  uint32_t read = static_cast<uint32_t>(BytesRead);
  const int32_t status =
      Signed(driver_->FT_Read(Handle, bytes.data(), static_cast<uint32_t>(Length), &read));
  BytesRead = Signed(read);
  if (LogSink) {
    LogCall(TextSubstitute("FT_Read (0x%1, 0x{%2}, %3, %4) = %5", HandleText(),
                           TextValue::Dump(bytes.first(static_cast<size_t>(Length))), Length,
                           BytesRead, status));
  }
  FTCheckStatus(status);
}

void clsFTD2xx::FTSetBaudRate(int32_t Rate) {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_SetBaudRate(Handle, static_cast<uint32_t>(Rate)));
  if (LogSink)
    LogCall(TextSubstitute("FT_SetBaudRate (0x%1, %2) = %3", HandleText(), Rate, status));
  FTCheckStatus(status);
  BaudRate = Rate;
  BaudRateSet = true;
}

int32_t clsFTD2xx::FTBaudRate() const {
  RequireOpened();
  if (!BaudRateSet) throw Error(kErrNotSet, kSource, "Baud rate not set");
  return BaudRate;
}

uint8_t clsFTD2xx::FTGetLatencyTimer() {
  RequireOpened();
  uint8_t timer = 0;
  const int32_t status = Signed(driver_->FT_GetLatencyTimer(Handle, &timer));
  if (LogSink) {
    LogCall(TextSubstitute("FT_GetLatencyTimer (0x%1, %2) = %3", HandleText(), timer, status));
  }
  FTCheckStatus(status);
  return timer;
}

void clsFTD2xx::FTSetLatencyTimer(uint8_t Value) {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_SetLatencyTimer(Handle, Value));
  if (LogSink) {
    LogCall(TextSubstitute("FT_SetLatencyTimer (0x%1, %2) = %3", HandleText(), Value, status));
  }
  FTCheckStatus(status);
}

uint8_t clsFTD2xx::FTGetBitMode() {
  RequireOpened();
  uint8_t pins = 0;
  const int32_t status = Signed(driver_->FT_GetBitMode(Handle, &pins));
  if (LogSink) {
    LogCall(
        TextSubstitute("FT_GetBitMode(0x%1, 0x%2) = %3", HandleText(), HexText(pins, 2), status));
  }
  FTCheckStatus(status);
  return pins;
}

void clsFTD2xx::FTSetBitMode(uint8_t Mask, uint8_t Mode) {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_SetBitMode(Handle, Mask, Mode));
  if (LogSink) {
    LogCall(TextSubstitute("FT_SetBitMode (0x%1, 0x%2, 0x%3) = %4", HandleText(), HexText(Mask, 2),
                           HexText(Mode, 2), status));
  }
  FTCheckStatus(status);
  BitMode = Mode;
  BitModeSet = true;
}

uint8_t clsFTD2xx::FTBitMode() const {
  RequireOpened();
  if (!BitModeSet) throw Error(kErrNotSet, kSource, "Bit mode not set");
  return BitMode;
}

uint16_t clsFTD2xx::FTReadEE(uint8_t WordOffset) {
  RequireOpened();
  uint16_t value = 0;
  const int32_t status = Signed(driver_->FT_ReadEE(Handle, WordOffset, &value));
  if (LogSink) {
    LogCall(TextSubstitute("FT_ReadEE (0x%1, %2, 0x%3) = %4", HandleText(), WordOffset,
                           HexText(value, 4), status));
  }
  FTCheckStatus(status);
  return value;
}

void clsFTD2xx::FTWriteEE(uint8_t WordOffset, uint16_t Value) {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_WriteEE(Handle, WordOffset, Value));
  if (LogSink) {
    LogCall(TextSubstitute("FT_WriteEE (0x%1, %2, 0x%3) = %4", HandleText(), WordOffset,
                           HexText(Value, 4), status));
  }
  FTCheckStatus(status);
}

void clsFTD2xx::FTEraseEE() {
  RequireOpened();
  const int32_t status = Signed(driver_->FT_EraseEE(Handle));
  if (LogSink) LogCall(TextSubstitute("FT_EraseEE (0x%1) = %2", HandleText(), status));
  FTCheckStatus(status);
}

}  // namespace brevant
