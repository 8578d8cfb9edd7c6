// An I2C controller on an MPSSE channel.
//
// SCL is ADBUS0; SDA is ADBUS1 (out) and ADBUS2 (in), joined on the board; both
// lines need pull-ups. The other low pins are left as inputs. Each transaction
// is one batch: one USB write and one read, however many bytes and
// acknowledges it has, unless it outgrows the chip's buffer.
//
//   brevant::clsFTDIMPSSE mpsse;
//   mpsse.Initialize(4);
//   brevant::I2cBus bus(mpsse, 400e3);
//   brevant::ByteArray t = bus.ReadRegister(0x48, 0x00, 2);   // a sensor
//   bus.Write(0x50, brevant::ByteArray{0x00, 0x10, 'h', 'i'});  // an EEPROM page
//
// - The outputs are open drain: the FT232H's drive-zero mode where the part
//   has it, else SDA is switched to an input to let it go high. SCL is always
//   driven (no clock stretching).
// - High-speed parts clock in three phases, so that SDA changes a quarter of
//   a bit after SCL falls; the FT2232D has no three-phase clock and moves SDA
//   on the falling edge itself.
// - Before each transaction the bus is looked at: if SDA is held low (a target
//   left in the middle of a byte), the transaction could not start and nothing
//   was taken; nine clocks and a stop free the bus and the transaction runs
//   again. If SDA is still low, kErrI2cBusStuck.
// - A target that does not acknowledge its address raises kErrI2cNoAnswer; a
//   byte it refuses, kErrI2cRefused naming the byte. The transaction ends with a
//   stop either way.
// - Errors of the channel (a driver failure, a short answer) pass through.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "brevant/ByteArray.h"
#include "brevant/Error.h"
#include "brevant/Export.h"
#include "brevant/MpsseBatch.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant {

// Numbers raised with Source "I2cBus".
// "Invalid I2C address", "Invalid data length", "Invalid frequency".
inline constexpr int32_t kErrI2cParameter = kObjectErrorBase + 6320;
// "No answer from I2C address 0x%1".
inline constexpr int32_t kErrI2cNoAnswer = kObjectErrorBase + 6321;
// "I2C address 0x%1 refused byte %2 of %3 (0x%4)".
inline constexpr int32_t kErrI2cRefused = kObjectErrorBase + 6322;
// "I2C bus stuck: SDA held low".
inline constexpr int32_t kErrI2cBusStuck = kObjectErrorBase + 6323;

class BREVANT_EXPORT I2cBus {
 public:
  // Takes over pins ADBUS0-7 of an initialized channel, which must outlive the
  // bus, and sets SCL to the fastest rate not above Hz (at most 1 MHz). One
  // round trip.
  explicit I2cBus(clsFTDIMPSSE& channel, double Hz = 100e3);

  // The SCL rate the chip makes.
  double Frequency() const { return hz_; }

  // Address (7 bits) with the write bit, then every element of Data (none: a
  // quick write that only asks whether the address answers).
  void Write(uint8_t Address, const ByteArray& Data);
  // Count bytes (1 to 65536) from Address; the last is not acknowledged.
  ByteArray Read(uint8_t Address, int32_t Count);
  // Data written, then a repeated start and Count bytes read.
  ByteArray WriteRead(uint8_t Address, const ByteArray& Data, int32_t Count);
  // The register pointer first, then the data: the usual register map.
  void WriteRegister(uint8_t Address, uint8_t Register, const ByteArray& Data);
  ByteArray ReadRegister(uint8_t Address, uint8_t Register, int32_t Count);

  // True when a target acknowledges Address.
  bool Probe(uint8_t Address);
  // The addresses 0x08-0x77 that answer, in one batch. Like i2cdetect, it reads
  // a byte from 0x30-0x37 and 0x50-0x5F (where EEPROMs sit, which a quick
  // write could confuse) and sends a quick write elsewhere.
  ByteArray Scan();
  // Nine clocks with SDA let go, then a stop: a target stuck in the middle of
  // a byte finishes it, sees no acknowledge and lets go. kErrI2cBusStuck if SDA
  // stays low.
  void Recover();

 private:
  // Start, the write part (if any, or if no read follows), a repeated start and
  // the read part (if InCount > 0), stop. Recovers and runs it again once if the
  // bus was held.
  ByteArray Transfer(uint8_t Address, std::span<const uint8_t> Out, int32_t InCount);
  // The addresses from first to last that acknowledge.
  ByteArray Answering(uint8_t first, uint8_t last);
  // Runs what `queue` puts in the batch, behind a look at the bus; when SDA
  // was held, frees the bus and runs it once more.
  void Guarded(const std::function<void()>& queue);
  // Levels of SCL and SDA; a released SDA is an input, or a floating 1 with
  // drive-zero.
  void Lines(bool scl, bool sda);
  // Each step of a start or stop goes out several times, so that it lasts on a
  // real chip.
  void Hold(bool scl, bool sda);
  void Start();
  void Stop();
  MpsseBatch::Reply Idle();
  void ByteOut(uint8_t byte, MpsseBatch::Reply& acks);
  void ByteIn(bool last, MpsseBatch::Reply& data);

  MpsseBatch batch_;
  bool driveZero_ = false;
  double hz_ = 0;
};

}  // namespace brevant
