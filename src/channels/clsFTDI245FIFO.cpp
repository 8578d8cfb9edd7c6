#include "brevant/clsFTDI245FIFO.h"

#include "channels/ChannelLife.h"

namespace brevant {

namespace {

// Bit mode 0 hands the channel back to the mode its EEPROM configures: 245 FIFO.
constexpr uint8_t kFifoMask = 0x00;
constexpr uint8_t kFifoMode = 0x00;

}  // namespace

clsFTDI245FIFO::clsFTDI245FIFO() : Gateway(std::make_unique<clsFTD2xx>()) {}

// The gateway's own release closes a device that is still open.
clsFTDI245FIFO::~clsFTDI245FIFO() = default;

void clsFTDI245FIFO::Initialize(int16_t DeviceNumber) {
  StartChannel(*Gateway, DeviceNumber, kFifoMask, kFifoMode);
}

void clsFTDI245FIFO::SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite) {
  Gateway->FTSetTimeouts(TimeoutRead, TimeoutWrite);
}

int32_t clsFTDI245FIFO::QueueTx() { return Gateway->FTTxQueueStatus(); }
int32_t clsFTDI245FIFO::QueueRx() { return Gateway->FTRxQueueStatus(); }

void clsFTDI245FIFO::PurgeQueueTx() { Gateway->FTPurge(false, true); }
void clsFTDI245FIFO::PurgeQueueRx() { Gateway->FTPurge(true, false); }
void clsFTDI245FIFO::PurgeQueues() { Gateway->FTPurge(true, true); }

void clsFTDI245FIFO::DataWrite(ByteArray& Buffer, int32_t Length) {
  Gateway->FTWrite(Buffer, Length);
}

void clsFTDI245FIFO::DataRead(ByteArray& Buffer, int32_t Length, int32_t& BytesRead) {
  Gateway->FTRead(Buffer, Length, BytesRead);
}

void clsFTDI245FIFO::Terminate() { EndChannel(*Gateway); }

std::shared_ptr<icLog> clsFTDI245FIFO::Log() const { return Gateway->Log(); }
void clsFTDI245FIFO::Log(std::shared_ptr<icLog> Value) { Gateway->Log(std::move(Value)); }

}  // namespace brevant
