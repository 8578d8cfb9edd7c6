#include "brevant/clsFTDI245FIFO.h"

#include "gateway/clsFTD2xx.h"

namespace brevant {

namespace {

// Bit mode 0 hands the channel back to the mode its EEPROM configures: 245 FIFO.
constexpr uint8_t kFifoMask = 0x00;
constexpr uint8_t kFifoMode = 0x00;

}  // namespace

void clsFTDI245FIFO::Initialize(int16_t DeviceNumber) {
  Start(DeviceNumber, kFifoMask, kFifoMode);
}

int32_t clsFTDI245FIFO::QueueTx() {
  return Gateway->FTTxQueueStatus();
}
int32_t clsFTDI245FIFO::QueueRx() {
  return Gateway->FTRxQueueStatus();
}

}  // namespace brevant
