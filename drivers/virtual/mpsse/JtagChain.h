// A JTAG scan chain on the MPSSE pins: TCK, TMS, TDI into the first TAP, each
// TAP's TDO into the next one's TDI, and the last TDO back to the chip.
#pragma once

#include <cstdint>
#include <vector>

#include "virtual/mpsse/JtagTap.h"
#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

class JtagChain : public PinDevice {
 public:
  // `taps` in chain order, the first on the chip's TDI.
  explicit JtagChain(std::vector<JtagTap> taps) : taps_(std::move(taps)) {}

  void Sense(uint16_t levels, int64_t nowUs) override;
  uint16_t DrivenPins() const override { return taps_.back().Driving() ? mpsse_pin::kDataIn : 0; }
  uint16_t DrivenLevels() const override { return taps_.back().Tdo() ? mpsse_pin::kDataIn : 0; }

  const std::vector<JtagTap>& Taps() const { return taps_; }

 private:
  std::vector<JtagTap> taps_;
  bool clock_ = false;
};

}  // namespace brevant::virt
