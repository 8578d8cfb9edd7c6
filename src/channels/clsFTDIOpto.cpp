#include "brevant/clsFTDIOpto.h"

#include "channels/ChannelLife.h"

namespace brevant {

namespace {

// Opto mode is bit mode 0x10; the mask 0xEC stays the same whether the mode is
// switched on or reset to 0.
constexpr uint8_t kOptoMask = 0xEC;
constexpr uint8_t kOptoMode = 0x10;
constexpr uint8_t kResetMode = 0x00;

}  // namespace

clsFTDIOpto::clsFTDIOpto() : Gateway(std::make_unique<clsFTD2xx>()) {}

// The gateway's own release closes a device that is still open.
clsFTDIOpto::~clsFTDIOpto() = default;

void clsFTDIOpto::Initialize(int16_t DeviceNumber) {
  StartChannel(*Gateway, DeviceNumber, kOptoMask, kOptoMode);
}

void clsFTDIOpto::SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite) {
  Gateway->FTSetTimeouts(TimeoutRead, TimeoutWrite);
}

void clsFTDIOpto::Reset(bool Value) {
  Gateway->FTSetBitMode(kOptoMask, Value ? kOptoMode : kResetMode);
}

void clsFTDIOpto::PurgeQueueTx() { Gateway->FTPurge(false, true); }
void clsFTDIOpto::PurgeQueueRx() { Gateway->FTPurge(true, false); }
void clsFTDIOpto::PurgeQueues() { Gateway->FTPurge(true, true); }

void clsFTDIOpto::DataWrite(ByteArray& Buffer, int32_t Length) { Gateway->FTWrite(Buffer, Length); }

void clsFTDIOpto::DataRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead) {
  Gateway->FTRead(Buffer, Length, BytesRead);
}

void clsFTDIOpto::Terminate() { EndChannel(*Gateway); }

std::shared_ptr<icLog> clsFTDIOpto::Log() const { return Gateway->Log(); }
void clsFTDIOpto::Log(std::shared_ptr<icLog> Value) { Gateway->Log(std::move(Value)); }

}  // namespace brevant
