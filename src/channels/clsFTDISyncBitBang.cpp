#include "brevant/clsFTDISyncBitBang.h"

#include <algorithm>

#include "brevant/Error.h"
#include "channels/ChannelLife.h"
#include "gateway/PortSignal.h"

namespace brevant {

namespace {

constexpr const char* kSource = "clsFTDISyncBitBang";
constexpr uint8_t kSyncBitBangMode = 4;
// A buffer run is one write and one read, so the read time-out must cover the
// whole run; these are longer than the stream channels' for that reason.
constexpr int32_t kBitBangTimeout = 2000;  // ms, read and write

[[noreturn]] void Raise(errFTDISyncBitBang number, const char* description) {
  throw Error(number, kSource, description);
}

// A sum that no longer fits 32 bits overflows, as the automation runtime reports it.
int32_t Sum(int32_t a, int32_t b) {
  const int64_t sum = int64_t{a} + b;
  if (sum > INT32_MAX) throw Error::Generic(kErrOverflow, kSource);
  return static_cast<int32_t>(sum);
}

}  // namespace

clsFTDISyncBitBang::clsFTDISyncBitBang() : Gateway(std::make_unique<clsFTD2xx>()) {}

// The gateway's own release closes a device that is still open.
clsFTDISyncBitBang::~clsFTDISyncBitBang() = default;

void clsFTDISyncBitBang::Initialize(int16_t DeviceNumber) {
  Gateway->FTOpen(DeviceNumber);
  Gateway->FTSetTimeouts(kBitBangTimeout, kBitBangTimeout);
  Gateway->FTSetLatencyTimer(kStartLatency);
}

void clsFTDISyncBitBang::SetBaudRate(int32_t BaudRate) {
  WriteBaudRate(BaudRate);
}

void clsFTDISyncBitBang::SyncDirection() {
  WriteDirection();
}

void clsFTDISyncBitBang::SyncValue() {
  WriteValue();
  ReadValue();
}

void clsFTDISyncBitBang::PortDirection(uint8_t Value) {
  Direction = Value;
  WriteDirection();
}

void clsFTDISyncBitBang::PortOutput(uint8_t Value) {
  Output = Value;
  WriteValue();
}

uint8_t clsFTDISyncBitBang::PortInput() {
  ReadValue();
  return Input;
}

void clsFTDISyncBitBang::PortDirection0(uint8_t Value) {
  Direction = Value;
}
uint8_t clsFTDISyncBitBang::PortDirection0() const {
  return Direction;
}
uint8_t clsFTDISyncBitBang::PortInput0() const {
  return Input;
}
void clsFTDISyncBitBang::PortOutput0(uint8_t Value) {
  Output = Value;
}
uint8_t clsFTDISyncBitBang::PortOutput0() const {
  return Output;
}

// Each signal member works on its port member's shadow byte, never on a value
// read back from the chip.
void clsFTDISyncBitBang::SignalDirection(eFTDIChannel Signal, eBit Value) {
  PortDirection(WithSignal(PortDirection0(), Signal, Value, kSource));
}
void clsFTDISyncBitBang::SignalOutput(eFTDIChannel Signal, eBit Value) {
  PortOutput(WithSignal(PortOutput0(), Signal, Value, kSource));
}
eBit clsFTDISyncBitBang::SignalInput(eFTDIChannel Signal) {
  return SignalOf(PortInput(), Signal, kSource);
}
eBit clsFTDISyncBitBang::SignalDirection0(eFTDIChannel Signal) const {
  return SignalOf(PortDirection0(), Signal, kSource);
}
void clsFTDISyncBitBang::SignalDirection0(eFTDIChannel Signal, eBit Value) {
  PortDirection0(WithSignal(PortDirection0(), Signal, Value, kSource));
}
eBit clsFTDISyncBitBang::SignalInput0(eFTDIChannel Signal) const {
  return SignalOf(PortInput0(), Signal, kSource);
}
eBit clsFTDISyncBitBang::SignalOutput0(eFTDIChannel Signal) const {
  return SignalOf(PortOutput0(), Signal, kSource);
}
void clsFTDISyncBitBang::SignalOutput0(eFTDIChannel Signal, eBit Value) {
  PortOutput0(WithSignal(PortOutput0(), Signal, Value, kSource));
}

void clsFTDISyncBitBang::BufferInitialize(int32_t InitialSize, int32_t SizeIncrement) {
  if (InitialSize < 1) Raise(errArgumentInvalid, "Invalid parameter");
  if (SizeIncrement < 1) Raise(errArgumentInvalid, "Invalid parameter");
  // The new array is made before anything changes, so a size that overflows
  // or cannot be had leaves the old run intact.
  ByteArray fresh(0, Sum(InitialSize, 1));
  Buffer = std::move(fresh);
  BufferSize = InitialSize + 1;
  this->SizeIncrement = SizeIncrement;
  ReadPosition = 0;
  // The leading byte: the run starts from what the pins already hold.
  Buffer[0] = Output;
  WriteCount = 1;
}

void clsFTDISyncBitBang::BufferPortOutput(uint8_t Value) {
  // No check that the buffer was initialized: on a new object the first byte
  // allocates one increment and goes to element 0, with no leading byte.
  if (WriteCount == BufferSize) {
    const int32_t grown = Sum(BufferSize, SizeIncrement);
    Buffer.RedimPreserve(0, grown);
    BufferSize = grown;
  }
  Buffer[WriteCount] = Value;
  ++WriteCount;
}

void clsFTDISyncBitBang::BufferSignalOutput(eFTDIChannel Signal, eBit Value) {
  if (WriteCount == 0) Raise(errBufferNotInit, "Write buffer not initialized");
  // Each call is one step in time, built on the step before it.
  BufferPortOutput(WithSignal(Buffer[WriteCount - 1], Signal, Value, kSource));
}

void clsFTDISyncBitBang::BufferTransfer() {
  TransferBuffer();
  // Skips the sample taken before the leading byte. An empty buffer still
  // moves the read position, which BufferInputCount hides.
  ReadPosition = Sum(ReadPosition, 1);
}

// An empty buffer sent repeatedly leaves the read position ahead of the write
// count; a count below 0 would mean nothing to a client looping while the count
// is positive, so it reads 0 then.
int32_t clsFTDISyncBitBang::BufferInputCount() const {
  return std::max(WriteCount - ReadPosition, 0);
}

uint8_t clsFTDISyncBitBang::BufferPortInput() {
  if (ReadPosition >= WriteCount) Raise(errBufferEmpty, "Read buffer empty");
  return Buffer[ReadPosition++];
}

eBit clsFTDISyncBitBang::BufferSignalInput(eFTDIChannel Signal) {
  return SignalOf(BufferPortInput(), Signal, kSource);
}

void clsFTDISyncBitBang::Terminate() {
  EndChannel(*Gateway);
}

void clsFTDISyncBitBang::SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite) {
  Gateway->FTSetTimeouts(TimeoutRead, TimeoutWrite);
}

std::shared_ptr<icLog> clsFTDISyncBitBang::Log() const {
  return Gateway->Log();
}
void clsFTDISyncBitBang::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

void clsFTDISyncBitBang::WriteDirection() {
  Gateway->FTSetBitMode(Direction, kSyncBitBangMode);
}

void clsFTDISyncBitBang::WriteBaudRate(int32_t BaudRate) {
  Gateway->FTSetBaudRate(BaudRate);
}

void clsFTDISyncBitBang::WriteValue() {
  ByteArray value{Output};
  Gateway->FTWrite(value, 1);
}

void clsFTDISyncBitBang::ReadValue() {
  Input = Gateway->FTGetBitMode();
}

void clsFTDISyncBitBang::TransferBuffer() {
  if (WriteCount <= 0) return;
  const int32_t count = WriteCount;
  // Only the receive queue: it still holds the samples of single-byte writes.
  Gateway->FTPurge(true, false);
  Gateway->FTWrite(Buffer, count);
  Output = Buffer[count - 1];
  int32_t read = 0;
  // The samples replace the sequence in the same array.
  Gateway->FTRead(Buffer, count, read);
  if (read != count) Raise(errReadError, "FTDI read error (timeout)");
  ReadPosition = 0;
  Input = Buffer[count - 1];
}

}  // namespace brevant
