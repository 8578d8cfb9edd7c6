#include "brevant/clsFTDIMPSSE.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "brevant/Error.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "channels/ChannelLife.h"
#include "gateway/clsFTD2xx.h"

namespace brevant {

namespace {

constexpr char kSource[] = "clsFTDIMPSSE";
constexpr uint8_t kMpsseMask = 0x00;
constexpr uint8_t kMpsseMode = 0x02;

// The chip's 12 MHz base halved: clock = 6 MHz / (divisor + 1).
constexpr double kBaseClock = 6000000.0;
constexpr int32_t kDivisorMask = 0xFFFF;
// One command moves at most 65535 bytes: its length field 0xFFFF (65536) is never sent.
constexpr int32_t kLengthMask = 0xFFFF;
// TMS commands carry one data byte: 1 to 8 bits, sent as the count less one.
constexpr int32_t kTmsLengthMask = 0x07;

constexpr uint8_t kSetLow = 0x80;
constexpr uint8_t kReadLow = 0x81;
constexpr uint8_t kSetHigh = 0x82;
constexpr uint8_t kReadHigh = 0x83;
constexpr uint8_t kLoopbackOn = 0x84;
constexpr uint8_t kLoopbackOff = 0x85;
constexpr uint8_t kSetDivisor = 0x86;
constexpr uint8_t kSendImmediate = 0x87;
// Transfer commands; the bit order adds 8, writing on -ve adds 1, reading on -ve 4.
constexpr uint8_t kBytesOut = 0x10;
constexpr uint8_t kBytesIn = 0x20;
constexpr uint8_t kBytesInOut = 0x30;
constexpr uint8_t kTmsOut = 0x4A;
constexpr uint8_t kTmsInOut = 0x6A;

[[noreturn]] void RejectShortRead() {
  throw Error(static_cast<int32_t>(errFTDIMPSSE::errReadError), kSource,
              "FTDI read error (timeout)");
}

// Zeros behind the `filled` bytes that a read put into the array from element 0.
void ClearBehind(ByteArray& Data, int32_t filled) {
  const std::span<uint8_t> bytes = Data.FromElementZero();
  std::fill(bytes.begin() + std::clamp<int64_t>(filled, 0, std::ssize(bytes)), bytes.end(), 0);
}

[[noreturn]] void RejectParameter(const char* message) {
  throw Error(static_cast<int32_t>(errFTDIMPSSE::errParameter), kSource, message);
}

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

void CheckDataLength(int32_t DataLength) {
  RequireMasked(DataLength, kLengthMask, "Invalid data length");
}

uint8_t Low(int32_t value) {
  return static_cast<uint8_t>(value & 0xFF);
}
uint8_t High(int32_t value) {
  return static_cast<uint8_t>((value >> 8) & 0xFF);
}

// Command byte, the length less one (low byte first), the payload taken from
// element 0 of Data if `payload`, and the send-immediate byte if `flush`: built in
// one pass, so that the payload is copied once and nothing is cleared first.
ByteArray TransferCommand(uint8_t code, const ByteArray& Data, int32_t DataLength, bool payload,
                          bool flush) {
  std::span<const uint8_t> from;
  if (payload) {
    // The client's array must hold the payload from element 0 on; error 9
    // before anything is sent if it does not.
    from = Data.FromElementZero();
    if (from.size() < static_cast<size_t>(DataLength)) {
      throw Error::Generic(kErrSubscriptOutOfRange, kSource);
    }
    from = from.first(static_cast<size_t>(DataLength));
  }
  std::vector<uint8_t> bytes;
  bytes.reserve(from.size() + 4);
  bytes.insert(bytes.end(), {code, Low(DataLength - 1), High(DataLength - 1)});
  bytes.insert(bytes.end(), from.begin(), from.end());
  if (flush) bytes.push_back(kSendImmediate);
  return ByteArray(std::move(bytes));
}

// Round half to even, whatever rounding mode the client has set.
double RoundHalfEven(double q) {
  const double nearest = std::round(q);
  if (std::fabs(nearest - q) == 0.5) return 2.0 * std::round(q / 2.0);
  return nearest;
}

}  // namespace

clsFTDIMPSSE::clsFTDIMPSSE()
    : Gateway(std::make_unique<clsFTD2xx>()), PortIO(new clsFTDIMPSSEPortIO()) {
  PortIO->AttachChannel(this);
}

// The model refers back to the channel without counting, so that the pair ends
// when the client lets go of the channel instead of keeping each other alive.
// Detaching first makes a model a client still holds refuse to reach us.
clsFTDIMPSSE::~clsFTDIMPSSE() {
  PortIO->AttachChannel(nullptr);
  PortIO.reset();
}

void clsFTDIMPSSE::Initialize(int16_t DeviceNumber) {
  StartChannel(*Gateway, DeviceNumber, kMpsseMask, kMpsseMode);
}

void clsFTDIMPSSE::Send(ByteArray& command) {
  Gateway->FTWrite(command, command.Count());
}

void clsFTDIMPSSE::Receive(ByteArray& into, int32_t count) {
  int32_t got = 0;
  Gateway->FTRead(into, count, got);
  if (got != count) RejectShortRead();
}

void clsFTDIMPSSE::SendAndReadInto(ByteArray& command, ByteArray& Data, int32_t DataLength) {
  // Clearing a long array costs as much as reading into it. Unless a sink is to
  // see the array in the read's log line, an array already of the right shape is
  // cleared only behind what the read filled, which leaves it the same on every
  // path: the bytes that came, then zeros.
  const bool shaped = Data.HasElementZero() && Data.LowerBound() == 0 && Data.Count() == DataLength;
  if (!shaped || Gateway->Log()) Data.Redim(0, DataLength);
  int32_t got = 0;
  try {
    Send(command);
    Gateway->FTRead(Data, DataLength, got);
  } catch (...) {
    ClearBehind(Data, got);
    throw;
  }
  if (got != DataLength) {
    ClearBehind(Data, got);
    RejectShortRead();
  }
}

void clsFTDIMPSSE::SetClockDivisor(int32_t Divisor) {
  RequireMasked(Divisor, kDivisorMask, "Invalid parameter");
  ClockDivisor = Divisor;
  ByteArray command{kSetDivisor, Low(Divisor), High(Divisor)};
  Send(command);
}

int32_t clsFTDIMPSSE::ClockDivisorFromFrequency(double Frequency) const {
  if (!(Frequency > 0.0)) RejectParameter("Invalid parameter");
  const double quotient = kBaseClock / std::min(Frequency, kBaseClock);
  const double divisor = RoundHalfEven(quotient) - 1.0;
  if (divisor > std::numeric_limits<int32_t>::max()) {
    throw Error::Generic(kErrOverflow, kSource);
  }
  return std::min(static_cast<int32_t>(divisor), kDivisorMask);
}

double clsFTDIMPSSE::ClockDivisorToFrequency(int32_t Divisor) const {
  if (Divisor < 0) RejectParameter("Invalid parameter");
  return kBaseClock / (std::min(Divisor, kDivisorMask) + 1.0);
}

void clsFTDIMPSSE::SetPortLow(uint8_t Value, uint8_t Direction) {
  ByteArray command{kSetLow, Value, Direction};
  Send(command);
}

void clsFTDIMPSSE::SetPortHigh(uint8_t Value, uint8_t Direction) {
  ByteArray command{kSetHigh, Value, Direction};
  Send(command);
}

uint8_t clsFTDIMPSSE::ReadPort(uint8_t code) {
  ByteArray command{code};
  Send(command);
  ByteArray answer(0, 1);
  Receive(answer, 1);
  return answer[0];
}

uint8_t clsFTDIMPSSE::ReadPortLow() {
  return ReadPort(kReadLow);
}

uint8_t clsFTDIMPSSE::ReadPortHigh() {
  return ReadPort(kReadHigh);
}

void clsFTDIMPSSE::DataBytesOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                                eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (DataLength == 0) return;
  CheckDataLength(DataLength);
  const auto code = static_cast<uint8_t>(kBytesOut | (BitOrder * 8) | ClockPolarity);
  ByteArray command = TransferCommand(code, Data, DataLength, true, false);
  Send(command);
}

void clsFTDIMPSSE::DataBytesIn(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                               eFTMPSSEClockPolarity ClockPolarity) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarity);
  if (DataLength == 0) return;
  CheckDataLength(DataLength);
  const auto code = static_cast<uint8_t>(kBytesIn | (BitOrder * 8) | (ClockPolarity * 4));
  ByteArray command = TransferCommand(code, Data, DataLength, false, true);
  SendAndReadInto(command, Data, DataLength);
}

void clsFTDIMPSSE::DataBytesInOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                                  eFTMPSSEClockPolarity ClockPolarityOut,
                                  eFTMPSSEClockPolarity ClockPolarityIn) {
  CheckBitOrder(BitOrder);
  CheckPolarity(ClockPolarityOut);
  CheckPolarity(ClockPolarityIn);
  if (DataLength == 0) return;
  CheckDataLength(DataLength);
  const auto code =
      static_cast<uint8_t>(kBytesInOut | (BitOrder * 8) | ClockPolarityOut | (ClockPolarityIn * 4));
  ByteArray command = TransferCommand(code, Data, DataLength, true, true);
  SendAndReadInto(command, Data, DataLength);
}

void clsFTDIMPSSE::HardwareLoopback(bool Enable) {
  ByteArray command{Enable ? kLoopbackOn : kLoopbackOff};
  Send(command);
}

void clsFTDIMPSSE::Terminate() {
  EndChannel(*Gateway);
}

void clsFTDIMPSSE::SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite) {
  Gateway->FTSetTimeouts(TimeoutRead, TimeoutWrite);
}

void clsFTDIMPSSE::TMSBitsOut(uint8_t DataIn, uint8_t DataLength,
                              eFTMPSSEClockPolarity ClockPolarity) {
  CheckPolarity(ClockPolarity);
  if (DataLength == 0) return;
  RequireMasked(DataLength - 1, kTmsLengthMask, "Invalid data length");
  ByteArray command{static_cast<uint8_t>(kTmsOut | ClockPolarity),
                    static_cast<uint8_t>(DataLength - 1), DataIn};
  Send(command);
}

void clsFTDIMPSSE::TMSBitsInOut(uint8_t DataIn, uint8_t& DataOut, uint8_t DataLength,
                                eFTMPSSEClockPolarity ClockPolarityOut,
                                eFTMPSSEClockPolarity ClockPolarityIn) {
  CheckPolarity(ClockPolarityOut);
  CheckPolarity(ClockPolarityIn);
  if (DataLength == 0) return;
  RequireMasked(DataLength - 1, kTmsLengthMask, "Invalid data length");
  ByteArray command{static_cast<uint8_t>(kTmsInOut | ClockPolarityOut | (ClockPolarityIn * 4)),
                    static_cast<uint8_t>(DataLength - 1), DataIn, kSendImmediate};
  Send(command);
  ByteArray answer(0, 1);
  Receive(answer, 1);
  // The chip shifts TDO in from the top, so the first bit read sits at bit 8 - n.
  DataOut = static_cast<uint8_t>(answer[0] >> (8 - DataLength));
}

std::shared_ptr<icLog> clsFTDIMPSSE::Log() const {
  return Gateway->Log();
}

void clsFTDIMPSSE::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

}  // namespace brevant
