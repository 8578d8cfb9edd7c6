#include "mpsse/MpsseCommands.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "brevant/Error.h"
#include "driver/Ftd2xx.h"

namespace brevant::mpsse {

namespace {

constexpr char kSource[] = "clsFTDIMPSSE";

// One command moves at most 65535 bytes: its length field 0xFFFF (65536) is never sent.
constexpr int32_t kLengthMask = 0xFFFF;
// Bit and TMS commands carry one data byte: 1 to 8 bits, sent as the count less one.
constexpr int32_t kBitLengthMask = 0x07;

constexpr uint8_t kSetLow = 0x80;
constexpr uint8_t kReadLow = 0x81;
constexpr uint8_t kSetHigh = 0x82;
constexpr uint8_t kReadHigh = 0x83;
constexpr uint8_t kLoopbackOn = 0x84;
constexpr uint8_t kLoopbackOff = 0x85;
constexpr uint8_t kSetDivisor = 0x86;
constexpr uint8_t kDivideBy5Off = 0x8A;
constexpr uint8_t kDivideBy5On = 0x8B;
constexpr uint8_t kThreePhaseOn = 0x8C;
constexpr uint8_t kThreePhaseOff = 0x8D;
constexpr uint8_t kDriveZero = 0x9E;
// SCK with divisor 0: the high-speed parts' 60 MHz over two edges, and that
// over 5 again, which is also where they start and all the full-speed part has.
constexpr double kFastBase = 30e6;
constexpr double kSlowBase = 6e6;
// Transfer commands; the bit order adds 8, writing on -ve adds 1, reading on -ve 4.
constexpr uint8_t kBytesOut = 0x10;
constexpr uint8_t kBytesIn = 0x20;
constexpr uint8_t kBytesInOut = 0x30;
constexpr uint8_t kBitsOut = 0x12;
constexpr uint8_t kBitsIn = 0x22;
constexpr uint8_t kTmsOut = 0x4A;
constexpr uint8_t kTmsInOut = 0x6A;

// "Valid" means that masking leaves the value unchanged, which also refuses
// every negative number.
void RequireMasked(int32_t value, int32_t mask, const char* message) {
  if ((value & mask) != value) RejectParameter(message);
}

void CheckBitOrder(eFTMPSSEBitOrder BitOrder) {
  RequireMasked(BitOrder, 1, "Invalid bit order parameter");
}

void CheckPolarity(eFTMPSSEClockPolarity ClockPolarity) {
  RequireMasked(ClockPolarity, 1, "Invalid clock polarity parameter");
}

// The order of the checks decides which message a client sees first.
bool CheckTransfer(int32_t DataLength) {
  if (DataLength == 0) return false;
  RequireMasked(DataLength, kLengthMask, "Invalid data length");
  return true;
}

bool CheckBits(uint8_t DataLength) {
  if (DataLength == 0) return false;
  RequireMasked(DataLength - 1, kBitLengthMask, "Invalid data length");
  return true;
}

// The smallest divisor whose rate is not above Hz, or -1 when even the largest
// is too fast. The quotient is corrected by one either way, as rounding may
// leave it one off.
int32_t DivisorFor(double base, double Hz) {
  const double least = std::ceil(base / Hz) - 1.0;
  if (least > kDivisorMask + 1.0) return -1;
  auto divisor = static_cast<int32_t>(std::max(least, 0.0));
  if (base / (divisor + 1.0) > Hz) ++divisor;
  if (divisor > 0 && base / divisor <= Hz) --divisor;
  return divisor > kDivisorMask ? -1 : divisor;
}

uint8_t Low(int32_t value) {
  return static_cast<uint8_t>(value & 0xFF);
}
uint8_t High(int32_t value) {
  return static_cast<uint8_t>((value >> 8) & 0xFF);
}

// The payload from element 0 of Data; error 9 before anything is queued when
// the array does not hold it.
std::span<const uint8_t> Payload(const ByteArray& Data, int32_t DataLength) {
  const std::span<const uint8_t> from = Data.FromElementZero();
  if (from.size() < static_cast<size_t>(DataLength)) {
    throw Error::Generic(kErrSubscriptOutOfRange, kSource);
  }
  return from.first(static_cast<size_t>(DataLength));
}

// Command byte and the length less one, low byte first, then the payload; room
// is made for all of it and a send-immediate byte at once, so the payload is
// copied once.
void AppendTransfer(Bytes& out, uint8_t code, int32_t DataLength,
                    std::span<const uint8_t> payload) {
  out.reserve(out.size() + payload.size() + 4);
  out.insert(out.end(), {code, Low(DataLength - 1), High(DataLength - 1)});
  out.insert(out.end(), payload.begin(), payload.end());
}

}  // namespace

void RejectParameter(const char* message) {
  throw Error(static_cast<int32_t>(errFTDIMPSSE::errParameter), kSource, message);
}

void RejectShortRead() {
  throw Error(static_cast<int32_t>(errFTDIMPSSE::errReadError), kSource,
              "FTDI read error (timeout)");
}

bool HighSpeed(int32_t type) {
  return type == ft::kTypeFT2232H || type == ft::kTypeFT4232H || type == ft::kTypeFT232H;
}

void AppendClockDivisor(Bytes& out, int32_t Divisor) {
  RequireMasked(Divisor, kDivisorMask, "Invalid parameter");
  out.insert(out.end(), {kSetDivisor, Low(Divisor), High(Divisor)});
}

Clock AppendFrequency(Bytes& out, double Hz, bool highSpeed) {
  // NaN fails this comparison too.
  if (!(Hz > 0.0)) RejectParameter("Invalid parameter");
  int32_t divisor = highSpeed ? DivisorFor(kFastBase, Hz) : -1;
  const bool fast = divisor >= 0;
  if (!fast) divisor = DivisorFor(kSlowBase, Hz);
  if (divisor < 0) RejectParameter("Invalid parameter");
  if (highSpeed) out.push_back(fast ? kDivideBy5Off : kDivideBy5On);
  AppendClockDivisor(out, divisor);
  return {divisor, (fast ? kFastBase : kSlowBase) / (divisor + 1.0)};
}

void AppendSetPort(Bytes& out, bool high, uint8_t Value, uint8_t Direction) {
  out.insert(out.end(), {high ? kSetHigh : kSetLow, Value, Direction});
}

void AppendReadPort(Bytes& out, bool high) {
  out.push_back(high ? kReadHigh : kReadLow);
}

void AppendLoopback(Bytes& out, bool Enable) {
  out.push_back(Enable ? kLoopbackOn : kLoopbackOff);
}

void AppendThreePhase(Bytes& out, bool Enable) {
  out.push_back(Enable ? kThreePhaseOn : kThreePhaseOff);
}

void AppendDriveZero(Bytes& out, uint16_t Pins) {
  out.insert(out.end(), {kDriveZero, Low(Pins), High(Pins)});
}

bool AppendDataOut(Bytes& out, const ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (!CheckTransfer(DataLength)) return false;
  const auto code = static_cast<uint8_t>(kBytesOut | (BitOrder * 8) | ClockPolarity);
  AppendTransfer(out, code, DataLength, Payload(Data, DataLength));
  return true;
}

bool AppendDataIn(Bytes& out, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                  eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (!CheckTransfer(DataLength)) return false;
  const auto code = static_cast<uint8_t>(kBytesIn | (BitOrder * 8) | (ClockPolarity * 4));
  AppendTransfer(out, code, DataLength, {});
  return true;
}

bool AppendDataInOut(Bytes& out, const ByteArray& Data, int32_t DataLength,
                     eFTMPSSEBitOrder BitOrder, eFTMPSSEClockPolarity ClockPolarityOut,
                     eFTMPSSEClockPolarity ClockPolarityIn) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarityOut);
  CheckPolarity(ClockPolarityIn);
  if (!CheckTransfer(DataLength)) return false;
  const auto code =
      static_cast<uint8_t>(kBytesInOut | (BitOrder * 8) | ClockPolarityOut | (ClockPolarityIn * 4));
  AppendTransfer(out, code, DataLength, Payload(Data, DataLength));
  return true;
}

bool AppendBitsOut(Bytes& out, uint8_t Data, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (!CheckBits(BitCount)) return false;
  out.insert(out.end(), {static_cast<uint8_t>(kBitsOut | (BitOrder * 8) | ClockPolarity),
                         static_cast<uint8_t>(BitCount - 1), Data});
  return true;
}

bool AppendBitsIn(Bytes& out, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                  eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (!CheckBits(BitCount)) return false;
  out.insert(out.end(), {static_cast<uint8_t>(kBitsIn | (BitOrder * 8) | (ClockPolarity * 4)),
                         static_cast<uint8_t>(BitCount - 1)});
  return true;
}

bool AppendTmsOut(Bytes& out, uint8_t DataIn, uint8_t DataLength,
                  eFTMPSSEClockPolarity ClockPolarity) {
  CheckPolarity(ClockPolarity);
  if (!CheckBits(DataLength)) return false;
  out.insert(out.end(), {static_cast<uint8_t>(kTmsOut | ClockPolarity),
                         static_cast<uint8_t>(DataLength - 1), DataIn});
  return true;
}

bool AppendTmsInOut(Bytes& out, uint8_t DataIn, uint8_t DataLength,
                    eFTMPSSEClockPolarity ClockPolarityOut, eFTMPSSEClockPolarity ClockPolarityIn) {
  CheckPolarity(ClockPolarityOut);
  CheckPolarity(ClockPolarityIn);
  if (!CheckBits(DataLength)) return false;
  out.insert(out.end(), {static_cast<uint8_t>(kTmsInOut | ClockPolarityOut | (ClockPolarityIn * 4)),
                         static_cast<uint8_t>(DataLength - 1), DataIn});
  return true;
}

}  // namespace brevant::mpsse
