// The MPSSE side of a bench: which channels have an MPSSE engine, what the
// default bench wires to them, and how a test reaches an engine.
#pragma once

#include "virtual/Bench.h"
#include "virtual/mpsse/I2cPins.h"
#include "virtual/mpsse/MpsseEngine.h"
#include "virtual/mpsse/SpiFlash.h"

namespace brevant::virt {

// Puts an MPSSE engine behind channel `index` (0 = A) of a part of `kind`, if
// the part has one there: FT232H; FT2232D A; FT2232H and FT4232H A and B.
void InstallMpsse(Channel& channel, PartKind kind, int index);

// The channel's MPSSE engine; throws std::logic_error if it has none.
MpsseEngine& MpsseOf(Channel& channel);

// The SPI flash wired to the channel's MPSSE pins, or null.
SpiFlash* FlashOf(Channel& channel);

// The I2C bus on the channel's MPSSE pins, wired on first use.
I2cPins& I2cOn(Channel& channel);
// The I2C bus wired to the channel's MPSSE pins, or null.
I2cPins* I2cOf(Channel& channel);

// The default bench's peripherals: an SPI flash on device 0, a JTAG chain of two
// TAPs on device 1, GPIO loops and LEDs on device 2, an I2C bus with an EEPROM
// and a temperature sensor on device 4.
void WireDefaultPeripherals(Bench& bench);

}  // namespace brevant::virt
