#include "brevant/StreamChannel.h"

#include "channels/ChannelLife.h"

namespace brevant {

StreamChannel::StreamChannel() : Gateway(std::make_unique<clsFTD2xx>()) {}

// The gateway's own release closes a device that is still open.
StreamChannel::~StreamChannel() = default;

void StreamChannel::Start(int16_t DeviceNumber, uint8_t mask, uint8_t mode) {
  StartChannel(*Gateway, DeviceNumber, mask, mode);
}

void StreamChannel::SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite) {
  Gateway->FTSetTimeouts(TimeoutRead, TimeoutWrite);
}

void StreamChannel::PurgeQueueTx() {
  Gateway->FTPurge(false, true);
}
void StreamChannel::PurgeQueueRx() {
  Gateway->FTPurge(true, false);
}
void StreamChannel::PurgeQueues() {
  Gateway->FTPurge(true, true);
}

void StreamChannel::DataWrite(ByteArray& Buffer, int32_t Length) {
  Gateway->FTWrite(Buffer, Length);
}

void StreamChannel::DataRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead) {
  Gateway->FTRead(Buffer, Length, BytesRead);
}

void StreamChannel::Terminate() {
  EndChannel(*Gateway);
}

std::shared_ptr<icLog> StreamChannel::Log() const {
  return Gateway->Log();
}
void StreamChannel::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

}  // namespace brevant
