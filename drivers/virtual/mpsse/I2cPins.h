// An I2C bus on a channel's MPSSE pins and the targets on it: SCL on ADBUS0,
// SDA on ADBUS1 (the chip's data out) and ADBUS2 (data in), which the board
// joins. Both lines have pull-ups, so a line that nothing pulls low reads high;
// the targets only ever pull SDA low or let it go.
//
// The bus follows the lines as a target's interface does: a falling SDA while
// SCL is high is a start, a rising one a stop; bits are taken on the rising
// edge of SCL, and a target changes SDA only while SCL is low (after the
// falling edge). It acknowledges its address and each byte written in the
// ninth clock, and after a byte it sent reads the controller's acknowledge;
// without one it lets go of the bus until the next start.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "virtual/Wires.h"
#include "virtual/mpsse/I2cTarget.h"
#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

class I2cPins : public PinDevice {
 public:
  // Joins ADBUS1 to ADBUS2 on `board`, as an I2C board does.
  explicit I2cPins(Wires& board);

  // Puts `target` on the bus; throws std::invalid_argument for an address
  // outside 0x08-0x77 or one already taken.
  void Add(std::shared_ptr<I2cTarget> target);
  const std::vector<std::shared_ptr<I2cTarget>>& Targets() const { return targets_; }
  // The target at `address`, or null.
  I2cTarget* At(uint8_t address) const;

  void Sense(uint16_t levels, int64_t nowUs) override;
  uint16_t DrivenPins() const override { return pullingLow_ ? kSda : 0; }
  uint16_t DrivenLevels() const override { return 0; }

 private:
  static constexpr uint16_t kSda = mpsse_pin::kDataOut | mpsse_pin::kDataIn;
  enum class Phase { kIdle, kAddress, kWrite, kRead };

  void Rise(bool sda);
  void Fall(int64_t nowUs);
  // Ends the transfer in progress, if a target had it.
  void EndTransfer(bool stop, int64_t nowUs);

  std::vector<std::shared_ptr<I2cTarget>> targets_;
  bool scl_ = true;
  bool sda_ = true;
  Phase phase_ = Phase::kIdle;
  I2cTarget* target_ = nullptr;  // the one addressed, until the transfer ends
  int clocks_ = 0;               // of the current nine
  uint8_t shift_ = 0;            // bits taken so far, or the byte being sent
  bool read_ = false;            // the address asked to read
  bool acknowledged_ = false;    // this byte's acknowledge
  bool pullingLow_ = false;
};

}  // namespace brevant::virt
