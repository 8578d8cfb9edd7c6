// The two everyday jobs on an MPSSE batch, each queued as one round trip:
// an SPI transaction and a JTAG scan.
//
//   brevant::MpsseBatch batch(mpsse);
//   auto id = brevant::SpiTransaction(batch, {}, brevant::ByteArray{0x9F}, 3);
//   batch.Run();                                      // id.Data(): the JEDEC ID
//
//   batch.SetPortLow(0x08, 0x0B);                     // TCK low, TMS high
//   auto codes = brevant::JtagScan(batch, brevant::JtagRegister::kData,
//                                  brevant::JtagStart::kTestLogicReset, zeros, 64);
//   batch.Run();                                      // codes.Data(): the IDCODEs
#pragma once

#include <cstdint>

#include "brevant/ByteArray.h"
#include "brevant/Export.h"
#include "brevant/MpsseBatch.h"

namespace brevant {

// How an SPI device sits on the low port: the port's value between transactions
// (chip select high), its directions, and the chip select pin (active low).
// The defaults are the usual wiring: SK, DO and CS outputs, CS on ADBUS3.
struct SpiWiring {
  uint8_t Idle = 0x08;
  uint8_t Direction = 0x0B;
  uint8_t ChipSelect = 0x08;
};

// Chip select down, the bytes of Out from element 0 sent, InLength bytes read,
// chip select up: SPI mode 0, MSB first. The reply holds the bytes read. Out may
// be empty and InLength 0.
BREVANT_EXPORT MpsseBatch::Reply SpiTransaction(MpsseBatch& batch, const SpiWiring& wiring,
                                                const ByteArray& Out, int32_t InLength);

enum class JtagRegister { kInstruction, kData };
// Where the scan starts: Test-Logic-Reset, which the scan first forces with five
// TMS ones whatever state the TAPs are in, or Run-Test/Idle.
enum class JtagStart { kTestLogicReset, kRunTestIdle };

// Shifts BitCount bits (1 up to all that Bits holds; else errParameter,
// "Invalid data length") of Bits, bit 0 of element 0 first, through
// the chosen register of the chain and ends in Run-Test/Idle. The reply holds the
// bits that came out of TDO, packed the same way. TCK must idle low; TDI and TMS
// change on the falling edge, TDO is sampled on the rising one.
BREVANT_EXPORT MpsseBatch::Reply JtagScan(MpsseBatch& batch, JtagRegister Register, JtagStart Start,
                                          const ByteArray& Bits, int32_t BitCount);

}  // namespace brevant
