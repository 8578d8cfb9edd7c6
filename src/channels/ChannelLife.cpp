#include "channels/ChannelLife.h"

namespace brevant {

void StartChannel(clsFTD2xx& gateway, int16_t DeviceNumber, uint8_t mask, uint8_t mode) {
  gateway.FTOpen(DeviceNumber);
  gateway.FTSetBitMode(mask, mode);
  gateway.FTSetTimeouts(kStartTimeout, kStartTimeout);
  gateway.FTSetLatencyTimer(kStartLatency);
}

void EndChannel(clsFTD2xx& gateway) {
  if (gateway.FTOpened()) gateway.FTClose();
}

}  // namespace brevant
