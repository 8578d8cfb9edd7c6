// The start and end that every channel kind shares.
#pragma once

#include <cstdint>

#include "gateway/clsFTD2xx.h"

namespace brevant {

// Time-outs and latency timer that every channel starts with.
inline constexpr int32_t kStartTimeout = 500;  // ms, read and write
inline constexpr uint8_t kStartLatency = 1;    // ms

// FTOpen, FTSetBitMode(mask, mode), FTSetTimeouts(500, 500), FTSetLatencyTimer(1),
// each only if the one before raised nothing. Nothing is undone on a failure:
// a device opened by the first step stays open.
void StartChannel(clsFTD2xx& gateway, int16_t DeviceNumber, uint8_t mask, uint8_t mode);

// FTClose if the gateway is open; nothing otherwise. Nothing is sent first.
void EndChannel(clsFTD2xx& gateway);

}  // namespace brevant
