// Something on the board that the chip clocks through its pins: an SPI flash, a
// JTAG chain. The MPSSE engine shows it every change of the pins and reads back
// the pins it drives.
#pragma once

#include <cstdint>

namespace brevant::virt {

// The serial pins of an MPSSE port (ADBUS0-3), as bits of a pin mask.
namespace mpsse_pin {
inline constexpr uint16_t kClock = 0x01;    // SK / TCK
inline constexpr uint16_t kDataOut = 0x02;  // DO / TDI
inline constexpr uint16_t kDataIn = 0x04;   // DI / TDO
inline constexpr uint16_t kSelect = 0x08;   // CS / TMS
}  // namespace mpsse_pin

class PinDevice {
 public:
  virtual ~PinDevice() = default;
  // The pins now stand at `levels` (bits 0-15: ADBUS0-7, ACBUS0-7), at virtual
  // time `nowUs`. Called on every change; a device finds its edges itself.
  virtual void Sense(uint16_t levels, int64_t nowUs) = 0;
  // The pins the device drives now.
  virtual uint16_t DrivenPins() const = 0;
  // The levels it drives them to.
  virtual uint16_t DrivenLevels() const = 0;

  // A device that understands whole bytes may take a byte command's bytes at
  // once instead of every edge (MSB first, written on the falling edge, read on
  // the rising one), when it says so for the pins at `levels`.
  virtual bool TakesBytes(uint16_t /*levels*/) const { return false; }
  // One byte in on DO, at the time of its eighth sampling edge; returns the
  // byte it put out on DI meanwhile, and ends as eight clocks would leave it.
  virtual uint8_t ExchangeByte(uint8_t /*in*/, int64_t /*nowUs*/) { return 0xFF; }
};

}  // namespace brevant::virt
