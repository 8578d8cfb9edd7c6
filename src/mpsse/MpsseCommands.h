// The bytes of every MPSSE command the library sends, with the argument checks
// that come before them. The channel sends each command on its own; a batch
// queues many in one buffer. Both build them here, so that they cannot differ.
//
// Each Append... checks its arguments first (errParameter with Source
// "clsFTDIMPSSE", or error 9 for a payload the array does not hold), then appends
// the command without its send-immediate byte, leaving room for one. The transfer
// builders append nothing and return false for a length of 0.
#pragma once

#include <cstdint>
#include <vector>

#include "brevant/ByteArray.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant::mpsse {

using Bytes = std::vector<uint8_t>;

inline constexpr uint8_t kSendImmediate = 0x87;
// The largest clock divisor; the class's arithmetic caps at it too.
inline constexpr int32_t kDivisorMask = 0xFFFF;

// errParameter with Source "clsFTDIMPSSE" and `message`.
[[noreturn]] void RejectParameter(const char* message);
// errReadError with Source "clsFTDIMPSSE": an answer came back shorter than its
// commands ask for, which means the read time-out ran out.
[[noreturn]] void RejectShortRead();

// The parts with the 30 MHz clock base and the high-speed commands (0x8A-0x8F
// and the rest) by the driver's device type; any other takes the 6 MHz rule.
bool HighSpeed(int32_t type);

void AppendClockDivisor(Bytes& out, int32_t Divisor);
// The fastest SCK not above Hz that a part makes, and the divisor giving it.
struct Clock {
  int32_t divisor;
  double hz;
};
// Appends what sets that clock. A high-speed part runs from 30 MHz with
// divide-by-5 off (0x8A), or from 6 MHz with it on (0x8B) for a rate only that
// reaches; the full-speed part has the 6 MHz rule alone and knows neither
// command, so it gets the divisor only. Hz below the slowest rate, zero,
// negative or NaN raises errParameter first.
Clock AppendFrequency(Bytes& out, double Hz, bool highSpeed);
// `high` picks the high port (ACBUS) over the low one (ADBUS).
void AppendSetPort(Bytes& out, bool high, uint8_t Value, uint8_t Direction);
void AppendReadPort(Bytes& out, bool high);
void AppendLoopback(Bytes& out, bool Enable);
// Three-phase clocking (0x8C on, 0x8D off): data held for half a period after
// the clock edge that moves it. High-speed parts only.
void AppendThreePhase(Bytes& out, bool Enable);
// Drive-zero (0x9E): the masked pins (ADBUS in bits 0-7, ACBUS in 8-15) drive
// a 0 and float for a 1. FT232H only.
void AppendDriveZero(Bytes& out, uint16_t Pins);

bool AppendDataOut(Bytes& out, const ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity);
bool AppendDataIn(Bytes& out, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                  eFTMPSSEClockPolarity ClockPolarity);
bool AppendDataInOut(Bytes& out, const ByteArray& Data, int32_t DataLength,
                     eFTMPSSEBitOrder BitOrder, eFTMPSSEClockPolarity ClockPolarityOut,
                     eFTMPSSEClockPolarity ClockPolarityIn);
// 1 to 8 bits of one byte (0x12 and 0x22 with the order and edge bits); a
// count above 8 raises "Invalid data length".
bool AppendBitsOut(Bytes& out, uint8_t Data, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity);
bool AppendBitsIn(Bytes& out, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                  eFTMPSSEClockPolarity ClockPolarity);
bool AppendTmsOut(Bytes& out, uint8_t DataIn, uint8_t DataLength,
                  eFTMPSSEClockPolarity ClockPolarity);
bool AppendTmsInOut(Bytes& out, uint8_t DataIn, uint8_t DataLength,
                    eFTMPSSEClockPolarity ClockPolarityOut, eFTMPSSEClockPolarity ClockPolarityIn);

// The chip shifts TDO into a TMS answer from the top: the n bits read, first in bit 0.
inline uint8_t TmsBitsRead(uint8_t answer, uint8_t DataLength) {
  return static_cast<uint8_t>(answer >> (8 - DataLength));
}

}  // namespace brevant::mpsse
