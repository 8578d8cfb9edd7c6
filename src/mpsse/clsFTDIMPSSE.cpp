#include "brevant/clsFTDIMPSSE.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "brevant/Error.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "channels/ChannelLife.h"
#include "gateway/clsFTD2xx.h"
#include "mpsse/MpsseCommands.h"

namespace brevant {

namespace {

constexpr char kSource[] = "clsFTDIMPSSE";
constexpr uint8_t kMpsseMask = 0x00;
constexpr uint8_t kMpsseMode = 0x02;

// The chip's 12 MHz base halved: clock = 6 MHz / (divisor + 1).
constexpr double kBaseClock = 6000000.0;

// Zeros behind the `filled` bytes that a read put into the array from element 0.
void ClearBehind(ByteArray& Data, int32_t filled) {
  const std::span<uint8_t> bytes = Data.FromElementZero();
  std::fill(bytes.begin() + std::clamp<int64_t>(filled, 0, std::ssize(bytes)), bytes.end(), 0);
}

// A whole command as the driver takes it; a reading one ends in send immediate.
ByteArray Command(mpsse::Bytes&& bytes, bool flush) {
  if (flush) bytes.push_back(mpsse::kSendImmediate);
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
  if (got != count) mpsse::RejectShortRead();
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
    mpsse::RejectShortRead();
  }
}

void clsFTDIMPSSE::SetClockDivisor(int32_t Divisor) {
  mpsse::Bytes bytes;
  mpsse::AppendClockDivisor(bytes, Divisor);
  ClockDivisor = Divisor;
  ByteArray command = Command(std::move(bytes), false);
  Send(command);
}

int32_t clsFTDIMPSSE::ClockDivisorFromFrequency(double Frequency) const {
  if (!(Frequency > 0.0)) mpsse::RejectParameter("Invalid parameter");
  const double quotient = kBaseClock / std::min(Frequency, kBaseClock);
  const double divisor = RoundHalfEven(quotient) - 1.0;
  if (divisor > std::numeric_limits<int32_t>::max()) {
    throw Error::Generic(kErrOverflow, kSource);
  }
  return std::min(static_cast<int32_t>(divisor), mpsse::kDivisorMask);
}

double clsFTDIMPSSE::ClockDivisorToFrequency(int32_t Divisor) const {
  if (Divisor < 0) mpsse::RejectParameter("Invalid parameter");
  return kBaseClock / (std::min(Divisor, mpsse::kDivisorMask) + 1.0);
}

void clsFTDIMPSSE::SetPort(bool high, uint8_t Value, uint8_t Direction) {
  mpsse::Bytes bytes;
  mpsse::AppendSetPort(bytes, high, Value, Direction);
  ByteArray command = Command(std::move(bytes), false);
  Send(command);
}

void clsFTDIMPSSE::SetPortLow(uint8_t Value, uint8_t Direction) {
  SetPort(false, Value, Direction);
}

void clsFTDIMPSSE::SetPortHigh(uint8_t Value, uint8_t Direction) {
  SetPort(true, Value, Direction);
}

uint8_t clsFTDIMPSSE::ReadPort(bool high) {
  mpsse::Bytes bytes;
  mpsse::AppendReadPort(bytes, high);
  ByteArray command = Command(std::move(bytes), false);
  Send(command);
  ByteArray answer(0, 1);
  Receive(answer, 1);
  return answer[0];
}

uint8_t clsFTDIMPSSE::ReadPortLow() {
  return ReadPort(false);
}

uint8_t clsFTDIMPSSE::ReadPortHigh() {
  return ReadPort(true);
}

void clsFTDIMPSSE::DataBytesOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                                eFTMPSSEClockPolarity ClockPolarity) {
  mpsse::Bytes bytes;
  if (!mpsse::AppendDataOut(bytes, Data, DataLength, BitOrder, ClockPolarity)) return;
  ByteArray command = Command(std::move(bytes), false);
  Send(command);
}

void clsFTDIMPSSE::DataBytesIn(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                               eFTMPSSEClockPolarity ClockPolarity) {
  mpsse::Bytes bytes;
  if (!mpsse::AppendDataIn(bytes, DataLength, BitOrder, ClockPolarity)) return;
  ByteArray command = Command(std::move(bytes), true);
  SendAndReadInto(command, Data, DataLength);
}

void clsFTDIMPSSE::DataBytesInOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                                  eFTMPSSEClockPolarity ClockPolarityOut,
                                  eFTMPSSEClockPolarity ClockPolarityIn) {
  mpsse::Bytes bytes;
  if (!mpsse::AppendDataInOut(bytes, Data, DataLength, BitOrder, ClockPolarityOut,
                              ClockPolarityIn)) {
    return;
  }
  ByteArray command = Command(std::move(bytes), true);
  SendAndReadInto(command, Data, DataLength);
}

void clsFTDIMPSSE::HardwareLoopback(bool Enable) {
  mpsse::Bytes bytes;
  mpsse::AppendLoopback(bytes, Enable);
  ByteArray command = Command(std::move(bytes), false);
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
  mpsse::Bytes bytes;
  if (!mpsse::AppendTmsOut(bytes, DataIn, DataLength, ClockPolarity)) return;
  ByteArray command = Command(std::move(bytes), false);
  Send(command);
}

void clsFTDIMPSSE::TMSBitsInOut(uint8_t DataIn, uint8_t& DataOut, uint8_t DataLength,
                                eFTMPSSEClockPolarity ClockPolarityOut,
                                eFTMPSSEClockPolarity ClockPolarityIn) {
  mpsse::Bytes bytes;
  if (!mpsse::AppendTmsInOut(bytes, DataIn, DataLength, ClockPolarityOut, ClockPolarityIn)) return;
  ByteArray command = Command(std::move(bytes), true);
  Send(command);
  ByteArray answer(0, 1);
  Receive(answer, 1);
  DataOut = mpsse::TmsBitsRead(answer[0], DataLength);
}

std::shared_ptr<icLog> clsFTDIMPSSE::Log() const {
  return Gateway->Log();
}

void clsFTDIMPSSE::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

}  // namespace brevant
