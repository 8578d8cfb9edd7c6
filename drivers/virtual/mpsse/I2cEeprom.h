// A 24C-series serial EEPROM on an I2C bus.
//
// Parts of 128 and 256 bytes take a one-byte memory address, parts of 4 KiB and
// more (powers of two up to 64 KiB) two bytes, high first. A write fills the
// page the address lies in, wrapping at its end, and the chip programs the page
// after the stop; for the write cycle that follows it answers no address. Reads
// go on from the address pointer through the whole memory, wrapping at its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "virtual/KeptImage.h"
#include "virtual/mpsse/I2cTarget.h"

namespace brevant::virt {

class I2cEeprom : public I2cTarget, public KeptImage {
 public:
  // Throws std::invalid_argument for a size or page size the family has not.
  I2cEeprom(uint8_t address, size_t bytes, size_t pageBytes, int64_t writeCycleUs = 5000);

  std::vector<uint8_t>& Memory() { return memory_; }
  std::vector<uint8_t> Bytes() const override { return memory_; }
  void Load(const std::vector<uint8_t>& bytes) override { memory_ = bytes; }
  bool TakeChanged() override { return std::exchange(changed_, false); }

  bool Begin(bool read, int64_t nowUs) override;
  bool Take(uint8_t byte, int64_t nowUs) override;
  uint8_t Give() override;
  void End(bool stop, int64_t nowUs) override;

 private:
  std::vector<uint8_t> memory_;
  size_t pageBytes_;
  int64_t writeCycleUs_;
  int addressBytes_;
  int64_t busyUntilUs_ = 0;
  size_t pointer_ = 0;
  int addressTaken_ = 0;            // address bytes of this write so far
  std::map<size_t, uint8_t> page_;  // written, not yet programmed
  bool changed_ = false;
};

}  // namespace brevant::virt
