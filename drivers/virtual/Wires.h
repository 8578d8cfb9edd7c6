// What is wired to a port of up to 16 pins outside the chip: loops from one pin
// to another, and levels that something on the board drives onto a pin. The
// synchronous bit-bang and MPSSE engines read their pins through it.
#pragma once

#include <cstdint>
#include <vector>

namespace brevant::virt {

class Wires {
 public:
  // Pin `to` follows pin `from` while `from` is an output.
  void Loop(int from, int to);
  // Something on the board holds `pin` at `level` (a switch, another chip).
  void Drive(int pin, bool level);
  // The board lets go of `pin` again.
  void Release(int pin);
  // An LED from `pin` to ground: lit while the chip drives the pin high.
  void Led(int pin);

  // The levels on the pins: an output reads what the chip drives on it; an
  // input reads its loop source if that is an output, else a board level,
  // else high, as the chip's pull-ups hold it.
  uint16_t Levels(uint16_t driven, uint16_t outputs) const;
  // The pins whose LEDs are lit; a pull-up is too weak to light one.
  uint16_t LitLeds(uint16_t driven, uint16_t outputs) const {
    return static_cast<uint16_t>(leds_ & driven & outputs);
  }

 private:
  struct LoopWire {
    int from;
    int to;
  };
  std::vector<LoopWire> loops_;
  uint16_t boardDriven_ = 0;  // pins the board holds
  uint16_t boardLevels_ = 0;  // and at which level
  uint16_t leds_ = 0;
};

}  // namespace brevant::virt
