#include "virtual/Wires.h"

#include <stdexcept>

namespace brevant::virt {

namespace {

constexpr int kPins = 16;

uint16_t Bit(int pin) {
  if (pin < 0 || pin >= kPins) throw std::out_of_range("a port has pins 0 to 15");
  return static_cast<uint16_t>(1u << pin);
}

}  // namespace

void Wires::Loop(int from, int to) {
  Bit(from);
  Bit(to);
  loops_.push_back({from, to});
}

void Wires::Drive(int pin, bool level) {
  const uint16_t bit = Bit(pin);
  boardDriven_ |= bit;
  boardLevels_ = static_cast<uint16_t>(level ? boardLevels_ | bit : boardLevels_ & ~bit);
}

void Wires::Led(int pin) {
  leds_ |= Bit(pin);
}

void Wires::Release(int pin) {
  boardDriven_ &= static_cast<uint16_t>(~Bit(pin));
}

uint16_t Wires::Levels(uint16_t driven, uint16_t outputs) const {
  const uint16_t inputs = static_cast<uint16_t>(~outputs);
  // Undriven inputs read high; held ones read the board's level.
  const uint16_t held = static_cast<uint16_t>((boardLevels_ | ~boardDriven_) & inputs);
  uint16_t levels = static_cast<uint16_t>((driven & outputs) | held);
  for (const LoopWire& wire : loops_) {
    const uint16_t from = Bit(wire.from);
    const uint16_t to = Bit(wire.to);
    if (!(outputs & from) || (outputs & to)) continue;
    levels = static_cast<uint16_t>((driven & from) ? levels | to : levels & ~to);
  }
  return levels;
}

}  // namespace brevant::virt
