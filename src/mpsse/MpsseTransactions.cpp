#include "brevant/MpsseTransactions.h"

#include "brevant/Error.h"

namespace brevant {

namespace {

constexpr char kSource[] = "MpsseBatch";

// TMS paths, bit 0 first: from Run-Test/Idle through Select-DR(-IR) and Capture
// to Shift; from Exit1 through Update back to Run-Test/Idle.
constexpr uint8_t kToShiftDr = 0x01;  // 1 0 0
constexpr uint8_t kToShiftDrBits = 3;
constexpr uint8_t kToShiftIr = 0x03;  // 1 1 0 0
constexpr uint8_t kToShiftIrBits = 4;
constexpr uint8_t kExitToIdle = 0x01;  // 1 0
constexpr uint8_t kExitToIdleBits = 2;
// Five ones reach Test-Logic-Reset from any state; one zero then goes to idle.
constexpr uint8_t kResetToIdle = 0x1F;
constexpr uint8_t kResetToIdleBits = 6;

// A TMS command holds bit 7 of its byte on TDI while it clocks.
uint8_t TmsWithTdi(bool tdi, bool tms) {
  return static_cast<uint8_t>((tdi ? 0x80 : 0) | (tms ? 1 : 0));
}

}  // namespace

MpsseBatch::Reply SpiTransaction(MpsseBatch& batch, const SpiWiring& wiring, const ByteArray& Out,
                                 int32_t InLength) {
  const auto selected = static_cast<uint8_t>(wiring.Idle & ~wiring.ChipSelect);
  batch.SetPortLow(selected, wiring.Direction);
  batch.DataBytesOut(Out, Out.HasElementZero() ? Out.UpperBound() + 1 : 0, embMSBfirst, emcNegEdge);
  MpsseBatch::Reply reply = batch.DataBytesIn(InLength, embMSBfirst, emcPosEdge);
  batch.SetPortLow(wiring.Idle, wiring.Direction);
  return reply;
}

MpsseBatch::Reply JtagScan(MpsseBatch& batch, JtagRegister Register, JtagStart Start,
                           const ByteArray& Bits, int32_t BitCount) {
  if (BitCount < 1 || static_cast<size_t>(BitCount) > Bits.FromElementZero().size() * 8) {
    throw Error(static_cast<int32_t>(errFTDIMPSSE::errParameter), kSource, "Invalid data length");
  }
  if (Start == JtagStart::kTestLogicReset)
    batch.TMSBitsOut(kResetToIdle, kResetToIdleBits, emcNegEdge);
  if (Register == JtagRegister::kData) {
    batch.TMSBitsOut(kToShiftDr, kToShiftDrBits, emcNegEdge);
  } else {
    batch.TMSBitsOut(kToShiftIr, kToShiftIrBits, emcNegEdge);
  }
  // Whole bytes go as one transfer; the bits left over go one TMS command each,
  // since only a TMS command can raise TMS with the last bit to leave Shift.
  const std::span<const uint8_t> bits = Bits.FromElementZero();
  const int32_t whole = (BitCount - 1) / 8;
  MpsseBatch::Reply reply = batch.DataBytesInOut(Bits, whole, emdLSBfirst, emcNegEdge, emcPosEdge);
  for (int32_t bit = whole * 8; bit < BitCount; ++bit) {
    const bool tdi = bits[static_cast<size_t>(bit / 8)] >> (bit % 8) & 1;
    batch.TMSBitsInOut(TmsWithTdi(tdi, bit == BitCount - 1), 1, emcNegEdge, emcPosEdge, reply);
  }
  batch.TMSBitsOut(kExitToIdle, kExitToIdleBits, emcNegEdge);
  return reply;
}

}  // namespace brevant
