#include "virtual/mpsse/I2cEeprom.h"

#include <bit>
#include <stdexcept>

namespace brevant::virt {

I2cEeprom::I2cEeprom(uint8_t address, size_t bytes, size_t pageBytes, int64_t writeCycleUs)
    : I2cTarget(address),
      memory_(bytes, 0xFF),
      pageBytes_(pageBytes),
      writeCycleUs_(writeCycleUs),
      addressBytes_(bytes > 256 ? 2 : 1) {
  // 512 B to 2 KiB parts put address bits in the device address; they are left out.
  const bool oneByte = bytes == 128 || bytes == 256;
  const bool twoBytes = std::has_single_bit(bytes) && bytes >= 4096 && bytes <= 65536;
  if (!oneByte && !twoBytes) {
    throw std::invalid_argument("a 24C EEPROM has 128 or 256 bytes, or 4 KiB to 64 KiB");
  }
  if (!std::has_single_bit(pageBytes) || pageBytes > bytes) {
    throw std::invalid_argument("an EEPROM page is a power of two no larger than the memory");
  }
}

bool I2cEeprom::Begin(bool /*read*/, int64_t nowUs) {
  if (nowUs < busyUntilUs_) return false;
  addressTaken_ = 0;
  return true;
}

bool I2cEeprom::Take(uint8_t byte, int64_t /*nowUs*/) {
  if (addressTaken_ < addressBytes_) {
    pointer_ = addressTaken_ == 0 ? byte : (pointer_ << 8 | byte);
    pointer_ &= memory_.size() - 1;
    ++addressTaken_;
    return true;
  }
  page_[pointer_] = byte;
  // The pointer wraps inside the page; bytes past its end overwrite its start.
  pointer_ = (pointer_ & ~(pageBytes_ - 1)) | ((pointer_ + 1) & (pageBytes_ - 1));
  return true;
}

uint8_t I2cEeprom::Give() {
  const uint8_t byte = memory_[pointer_];
  pointer_ = (pointer_ + 1) & (memory_.size() - 1);
  return byte;
}

void I2cEeprom::End(bool stop, int64_t nowUs) {
  // Only a stop starts programming; a repeated start after the address just
  // sets the pointer for a read.
  if (stop && !page_.empty()) {
    for (const auto& [at, byte] : page_) memory_[at] = byte;
    busyUntilUs_ = nowUs + writeCycleUs_;
    changed_ = true;
  }
  page_.clear();
}

}  // namespace brevant::virt
