// The way to one SPI flash: its MPSSE channel opened, the flash identified.
// A write that failed half-way reopens it from scratch, since after a lost
// write or read neither the chip's command stream nor the flash's own command
// can be trusted to be where they were.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "SerialFlash.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/icLog.h"
#include "brevant/tDeviceInfo.h"

namespace brevant::tool {

class FlashLink {
 public:
  // Opens `device` and identifies its flash, with SCK at most `hz`.
  FlashLink(int16_t device, double hz, std::shared_ptr<icLog> log);
  // Closes the channel if it is still open; errors there change nothing.
  ~FlashLink();
  FlashLink(const FlashLink&) = delete;
  FlashLink& operator=(const FlashLink&) = delete;

  SerialFlash& Flash() { return *flash_; }
  const FlashGeometry& Geometry() const { return geometry_; }
  int16_t Device() const { return device_; }
  // Closes the channel (ignoring errors), finds the same device in the driver's
  // list again (by serial number, description and location, as plugging may
  // have moved it) and opens and identifies it; a ToolError if the device or its
  // flash is no longer the one it was.
  void Reopen();
  // Closes the channel; errors are raised.
  void Close();

 private:
  void Open();
  // Where the device is in the driver's list now; a ToolError if nowhere.
  int16_t Find() const;

  int16_t device_;
  double hz_;
  std::shared_ptr<icLog> log_;
  std::unique_ptr<clsFTDIMPSSE> mpsse_;
  std::unique_ptr<SerialFlash> flash_;
  FlashGeometry geometry_;
  // The device as the driver's list showed it before it was opened.
  std::optional<tDeviceInfo> identity_;
};

}  // namespace brevant::tool
