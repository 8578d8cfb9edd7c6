// A device on an I2C bus of the bench, as its bus sees it: addressed after a
// start, then taking or giving bytes one at a time until a stop or a repeated
// start ends the transfer.
#pragma once

#include <cstdint>

namespace brevant::virt {

class I2cTarget {
 public:
  explicit I2cTarget(uint8_t address) : address_(address) {}
  virtual ~I2cTarget() = default;

  // Its 7-bit address.
  uint8_t Address() const { return address_; }
  // Called when its address came with the read bit (`read`) or the write bit;
  // false leaves the address unacknowledged (a device busy with a write cycle).
  virtual bool Begin(bool read, int64_t nowUs) = 0;
  // A byte the controller wrote; false refuses it.
  virtual bool Take(uint8_t byte, int64_t nowUs) = 0;
  // The next byte to send to the controller.
  virtual uint8_t Give() = 0;
  // The transfer ended with a stop (`stop`) or a repeated start.
  virtual void End(bool stop, int64_t nowUs) = 0;

 private:
  uint8_t address_;
};

}  // namespace brevant::virt
