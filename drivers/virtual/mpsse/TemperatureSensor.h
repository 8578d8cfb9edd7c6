// A digital temperature sensor on an I2C bus, with the register map of the
// common 12-bit parts: a pointer register (the first byte of a write) picks one
// of four 16-bit registers, sent and taken high byte first:
//   0 temperature (read-only: 0.0625 °C per step in bits 15-4, two's complement)
//   1 configuration (0x60A0 after power-up)
//   2 low limit (75 °C), 3 high limit (80 °C)
// A read repeats the register's two bytes for as long as the controller asks.
// It refuses a pointer above 3, a write to the temperature and a third data
// byte, so that a controller sees where a write went wrong.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "virtual/mpsse/I2cTarget.h"

namespace brevant::virt {

class TemperatureSensor : public I2cTarget {
 public:
  TemperatureSensor(uint8_t address, double celsius);

  // Throws std::invalid_argument outside -128 to 127.9375 °C.
  void SetCelsius(double celsius);
  uint16_t Register(int index) const { return registers_.at(static_cast<std::size_t>(index)); }

  bool Begin(bool read, int64_t nowUs) override;
  bool Take(uint8_t byte, int64_t nowUs) override;
  uint8_t Give() override;
  void End(bool /*stop*/, int64_t /*nowUs*/) override {}

 private:
  std::array<uint16_t, 4> registers_{0, 0x60A0, 0x4B00, 0x5000};
  uint8_t pointer_ = 0;
  int taken_ = 0;  // bytes written in this transfer
  uint8_t high_ = 0;
  int given_ = 0;  // bytes read in this transfer
};

}  // namespace brevant::virt
