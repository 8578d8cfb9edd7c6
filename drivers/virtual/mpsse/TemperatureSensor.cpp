#include "virtual/mpsse/TemperatureSensor.h"

#include <cmath>
#include <stdexcept>

namespace brevant::virt {

TemperatureSensor::TemperatureSensor(uint8_t address, double celsius) : I2cTarget(address) {
  SetCelsius(celsius);
}

void TemperatureSensor::SetCelsius(double celsius) {
  if (!(celsius >= -128.0 && celsius <= 127.9375)) {
    throw std::invalid_argument("the sensor reads -128 to 127.9375 degrees Celsius");
  }
  const auto steps = static_cast<int32_t>(std::lround(celsius * 16.0));
  registers_[0] = static_cast<uint16_t>(static_cast<uint32_t>(steps) << 4);
}

bool TemperatureSensor::Begin(bool /*read*/, int64_t /*nowUs*/) {
  taken_ = 0;
  given_ = 0;
  return true;
}

bool TemperatureSensor::Take(uint8_t byte, int64_t /*nowUs*/) {
  const int index = taken_++;
  if (index == 0) {
    if (byte >= registers_.size()) return false;
    pointer_ = byte;
    return true;
  }
  if (pointer_ == 0 || index > 2) return false;
  if (index == 1) {
    high_ = byte;
  } else {
    registers_[pointer_] = static_cast<uint16_t>(high_ << 8 | byte);
  }
  return true;
}

uint8_t TemperatureSensor::Give() {
  const uint16_t value = registers_[pointer_];
  return static_cast<uint8_t>(given_++ % 2 == 0 ? value >> 8 : value);
}

}  // namespace brevant::virt
