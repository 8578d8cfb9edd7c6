#include "brevant/clsFTDIMPSSEPortIO.h"

#include "brevant/clsFTDIMPSSE.h"
#include "gateway/PortSignal.h"

namespace brevant {

namespace {

// The source of the signal members' own errors.
constexpr char kSource[] = "clsFTDIMPSSEPortIO";
// TCK/SK, TDI/DO and TMS/CS drive, TDO/DI listens; nothing changes that.
constexpr uint8_t kMPSSEDirection = 0x0B;
// Each group has four pins; only these bits of a shadow byte reach the chip.
constexpr uint8_t kGroupBits = 0x0F;

}  // namespace

// A model whose channel has ended sees no device, as a closed channel does.
clsFTDIMPSSE& clsFTDIMPSSEPortIO::Attached() const {
  if (!Channel) throw Error(kErrDeviceNotOpened, "clsFTD2xx", "Device not opened");
  return *Channel;
}

void clsFTDIMPSSEPortIO::SyncOutputLow() {
  Attached().SetPortLow(
      static_cast<uint8_t>(((GPIOLOutput & kGroupBits) << 4) | (MPSSEOutput & kGroupBits)),
      static_cast<uint8_t>(((GPIOLDirection & kGroupBits) << 4) | kMPSSEDirection));
}

void clsFTDIMPSSEPortIO::SyncOutputHigh() {
  Attached().SetPortHigh(GPIOHOutput & kGroupBits, GPIOHDirection & kGroupBits);
}

void clsFTDIMPSSEPortIO::SyncInputLow() {
  const uint8_t port = Attached().ReadPortLow();
  GPIOLInput = port >> 4;
  MPSSEInput = port & kGroupBits;
}

void clsFTDIMPSSEPortIO::SyncInputHigh() {
  GPIOHInput = Attached().ReadPortHigh() & kGroupBits;
}

void clsFTDIMPSSEPortIO::Syncronize() {
  SyncOutputLow();
  SyncOutputHigh();
  SyncInputLow();
  SyncInputHigh();
}

void clsFTDIMPSSEPortIO::SyncMPSSEGPIOL() {
  SyncOutputLow();
  SyncInputLow();
}

void clsFTDIMPSSEPortIO::SyncGPIOH() {
  SyncOutputHigh();
  SyncInputHigh();
}

void clsFTDIMPSSEPortIO::MPSSEPortOutput(uint8_t Value) {
  MPSSEOutput = Value;
  SyncOutputLow();
}

uint8_t clsFTDIMPSSEPortIO::MPSSEPortInput() {
  SyncInputLow();
  return MPSSEInput;
}

void clsFTDIMPSSEPortIO::GPIOLPortDirection(uint8_t Value) {
  GPIOLDirection = Value;
  SyncOutputLow();
}

void clsFTDIMPSSEPortIO::GPIOLPortOutput(uint8_t Value) {
  GPIOLOutput = Value;
  SyncOutputLow();
}

uint8_t clsFTDIMPSSEPortIO::GPIOLPortInput() {
  SyncInputLow();
  return GPIOLInput;
}

void clsFTDIMPSSEPortIO::GPIOHPortDirection(uint8_t Value) {
  GPIOHDirection = Value;
  SyncOutputHigh();
}

void clsFTDIMPSSEPortIO::GPIOHPortOutput(uint8_t Value) {
  GPIOHOutput = Value;
  SyncOutputHigh();
}

uint8_t clsFTDIMPSSEPortIO::GPIOHPortInput() {
  SyncInputHigh();
  return GPIOHInput;
}

uint8_t clsFTDIMPSSEPortIO::MPSSEPortDirection0() const {
  return kMPSSEDirection;
}

void clsFTDIMPSSEPortIO::MPSSEPortOutput0(uint8_t Value) {
  MPSSEOutput = Value & kGroupBits;
}

void clsFTDIMPSSEPortIO::GPIOLPortDirection0(uint8_t Value) {
  GPIOLDirection = Value & kGroupBits;
}

void clsFTDIMPSSEPortIO::GPIOLPortOutput0(uint8_t Value) {
  GPIOLOutput = Value & kGroupBits;
}

void clsFTDIMPSSEPortIO::GPIOHPortDirection0(uint8_t Value) {
  GPIOHDirection = Value & kGroupBits;
}

void clsFTDIMPSSEPortIO::GPIOHPortOutput0(uint8_t Value) {
  GPIOHOutput = Value & kGroupBits;
}

// Signal writes take the other signals from the shadow, never from the chip.
void clsFTDIMPSSEPortIO::MPSSESignalOutput(eFTDIMPSSE Signal, eBit Value) {
  MPSSEPortOutput(WithSignal(MPSSEPortOutput0(), Signal, Value, kSource));
}

eBit clsFTDIMPSSEPortIO::MPSSESignalInput(eFTDIMPSSE Signal) {
  return SignalOf(MPSSEPortInput(), Signal, kSource);
}

void clsFTDIMPSSEPortIO::GPIOLSignalDirection(eFTDIGPIOL Signal, eBit Value) {
  GPIOLPortDirection(WithSignal(GPIOLPortDirection0(), Signal, Value, kSource));
}

void clsFTDIMPSSEPortIO::GPIOLSignalOutput(eFTDIGPIOL Signal, eBit Value) {
  GPIOLPortOutput(WithSignal(GPIOLPortOutput0(), Signal, Value, kSource));
}

eBit clsFTDIMPSSEPortIO::GPIOLSignalInput(eFTDIGPIOL Signal) {
  return SignalOf(GPIOLPortInput(), Signal, kSource);
}

void clsFTDIMPSSEPortIO::GPIOHSignalDirection(eFTDIGPIOH Signal, eBit Value) {
  GPIOHPortDirection(WithSignal(GPIOHPortDirection0(), Signal, Value, kSource));
}

void clsFTDIMPSSEPortIO::GPIOHSignalOutput(eFTDIGPIOH Signal, eBit Value) {
  GPIOHPortOutput(WithSignal(GPIOHPortOutput0(), Signal, Value, kSource));
}

eBit clsFTDIMPSSEPortIO::GPIOHSignalInput(eFTDIGPIOH Signal) {
  return SignalOf(GPIOHPortInput(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::MPSSESignalDirection0(eFTDIMPSSE Signal) const {
  return SignalOf(MPSSEPortDirection0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::MPSSESignalInput0(eFTDIMPSSE Signal) const {
  return SignalOf(MPSSEPortInput0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::MPSSESignalOutput0(eFTDIMPSSE Signal) const {
  return SignalOf(MPSSEPortOutput0(), Signal, kSource);
}

void clsFTDIMPSSEPortIO::MPSSESignalOutput0(eFTDIMPSSE Signal, eBit Value) {
  MPSSEPortOutput0(WithSignal(MPSSEPortOutput0(), Signal, Value, kSource));
}

void clsFTDIMPSSEPortIO::GPIOLSignalDirection0(eFTDIGPIOL Signal, eBit Value) {
  GPIOLPortDirection0(WithSignal(GPIOLPortDirection0(), Signal, Value, kSource));
}

eBit clsFTDIMPSSEPortIO::GPIOLSignalDirection0(eFTDIGPIOL Signal) const {
  return SignalOf(GPIOLPortDirection0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::GPIOLSignalInput0(eFTDIGPIOL Signal) const {
  return SignalOf(GPIOLPortInput0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::GPIOLSignalOutput0(eFTDIGPIOL Signal) const {
  return SignalOf(GPIOLPortOutput0(), Signal, kSource);
}

void clsFTDIMPSSEPortIO::GPIOLSignalOutput0(eFTDIGPIOL Signal, eBit Value) {
  GPIOLPortOutput0(WithSignal(GPIOLPortOutput0(), Signal, Value, kSource));
}

void clsFTDIMPSSEPortIO::GPIOHSignalDirection0(eFTDIGPIOH Signal, eBit Value) {
  GPIOHPortDirection0(WithSignal(GPIOHPortDirection0(), Signal, Value, kSource));
}

eBit clsFTDIMPSSEPortIO::GPIOHSignalDirection0(eFTDIGPIOH Signal) const {
  return SignalOf(GPIOHPortDirection0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::GPIOHSignalInput0(eFTDIGPIOH Signal) const {
  return SignalOf(GPIOHPortInput0(), Signal, kSource);
}

eBit clsFTDIMPSSEPortIO::GPIOHSignalOutput0(eFTDIGPIOH Signal) const {
  return SignalOf(GPIOHPortOutput0(), Signal, kSource);
}

void clsFTDIMPSSEPortIO::GPIOHSignalOutput0(eFTDIGPIOH Signal, eBit Value) {
  GPIOHPortOutput0(WithSignal(GPIOHPortOutput0(), Signal, Value, kSource));
}

}  // namespace brevant
