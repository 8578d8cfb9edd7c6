#include "brevant/MpsseBatch.h"

#include <algorithm>
#include <string>

#include "gateway/Formating.h"
#include "gateway/clsFTD2xx.h"
#include "mpsse/MpsseCommands.h"

namespace brevant {

namespace {

constexpr char kSource[] = "MpsseBatch";

// The chip answers a command it does not know with 0xFA and that command; 0xAA
// and 0xAB are never valid, which makes them safe probes.
constexpr uint8_t kBadCommand = 0xFA;
constexpr uint8_t kMarker = 0xAA;
constexpr uint8_t kSecondProbe = 0xAB;

// Buffer sizes by device type. Anything else gets the smallest, which is safe
// on every part.
size_t FifoOfType(int32_t type) {
  switch (type) {
    case ft::kTypeFT2232H:
      return 4096;
    case ft::kTypeFT4232H:
      return 2048;
    case ft::kTypeFT232H:
      return 1024;
    case ft::kTypeFT2232D:
    default:
      return 384;
  }
}

// The chip's answers no longer line up with the commands sent.
Error OutOfStep() {
  return Error(kErrBadCommand, kSource, "MPSSE engine out of step");
}

}  // namespace

struct MpsseBatch::Reply::State {
  std::vector<uint8_t> bytes;              // while reads are pending
  ByteArray data{std::vector<uint8_t>{}};  // once none are
  size_t bits = 0;                         // filled so far
  int pending = 0;                         // reads queued and not yet answered
  bool queued = false;

  void Expect() {
    if (pending++ == 0) bytes = data.TakeElements();
  }
  void Answered() {
    if (--pending == 0) data = ByteArray(std::move(bytes));
  }
  // Takes a whole answer as it is, when it is all this reply waits for.
  bool Adopt(ByteArray& answer) {
    if (pending != 1 || !bytes.empty()) return false;
    bits = static_cast<size_t>(answer.Count()) * 8;
    data = std::move(answer);
    pending = 0;
    return true;
  }

  // `count` bits of `value`, bit 0 first, behind those already there.
  void AppendBits(unsigned value, int count) {
    for (int b = 0; b < count; ++b, ++bits) {
      if (bits % 8 == 0) bytes.push_back(0);
      bytes.back() |= static_cast<uint8_t>((value >> b & 1) << (bits % 8));
    }
  }
  void AppendBytes(std::span<const uint8_t> from) {
    if (bits % 8 == 0) {
      bytes.insert(bytes.end(), from.begin(), from.end());
      bits += from.size() * 8;
    } else {
      for (const uint8_t byte : from) AppendBits(byte, 8);
    }
  }
};

MpsseBatch::Reply::Reply() : state_(std::make_shared<State>()) {}

bool MpsseBatch::Reply::Ready() const {
  return state_->queued && state_->pending == 0;
}

const ByteArray& MpsseBatch::Reply::Data() const {
  if (!Ready()) throw Error(kErrBatchNotRun, kSource, "Batch read not run yet");
  return state_->data;
}

uint8_t MpsseBatch::Reply::Byte() const {
  return Data()[0];
}

MpsseBatch::MpsseBatch(clsFTDIMPSSE& channel) : channel_(channel), gateway_(*channel.Gateway) {}

MpsseBatch::~MpsseBatch() = default;

int32_t MpsseBatch::DeviceType() {
  if (!type_) {
    int32_t type = 0, id = 0;
    std::string serialNumber, description;
    gateway_.FTGetDeviceInfo(type, id, serialNumber, description);
    type_ = type;
  }
  return *type_;
}

bool MpsseBatch::Queue(std::vector<uint8_t>&& command, Slot slot) {
  if (failure_) return false;
  try {
    if (limit_ == 0) limit_ = FifoOfType(DeviceType());
    // The whole write must fit the chip's command buffer, a byte kept free for
    // send immediate. Answers may be longer than its answer buffer: once that is
    // full the chip pauses the command that fills it until the host reads, and
    // the commands behind it wait in the command buffer, which holds them all, so
    // the write still ends and the read drains the rest. (flashrom reads 64 KiB
    // of SPI flash per round trip this way.)
    if (!commands_.empty() && commands_.size() + command.size() + 1 > limit_) Flush();
  } catch (const Error& e) {
    failure_ = e;
    return false;
  }
  if (slot.count > 0) {
    slot.offset = answerBytes_;
    slot.command = commands_.size();
    slot.afterRead = lastReadEnd_;
    lastReadEnd_ = commands_.size() + command.size();
    answerBytes_ += slot.count;
    slots_.push_back(std::move(slot));
  }
  // A command that starts a write is that write, without a copy.
  if (commands_.empty()) {
    commands_ = std::move(command);
  } else {
    commands_.insert(commands_.end(), command.begin(), command.end());
  }
  return true;
}

MpsseBatch::Reply MpsseBatch::QueueRead(std::vector<uint8_t>&& command, bool built, Reply into,
                                        size_t answer, uint8_t bits) {
  into.state_->queued = true;
  if (!built) return into;
  // Counted even when the command is dropped, so that its reply never turns ready.
  into.state_->Expect();
  Queue(std::move(command), {.into = into.state_, .count = answer, .bits = bits});
  return into;
}

void MpsseBatch::SetClockDivisor(int32_t Divisor) {
  mpsse::Bytes command;
  mpsse::AppendClockDivisor(command, Divisor);
  channel_.ClockDivisor = Divisor;
  Queue(std::move(command), {});
}

double MpsseBatch::SetFrequency(double Hz) {
  // What is wrong whatever the part raises before the driver is asked its type.
  if (!(Hz > 0.0)) mpsse::RejectParameter("Invalid parameter");
  mpsse::Bytes command;
  const mpsse::Clock clock = mpsse::AppendFrequency(command, Hz, mpsse::HighSpeed(DeviceType()));
  channel_.ClockDivisor = clock.divisor;
  Queue(std::move(command), {});
  return clock.hz;
}

void MpsseBatch::SetPortLow(uint8_t Value, uint8_t Direction) {
  mpsse::Bytes command;
  mpsse::AppendSetPort(command, false, Value, Direction);
  Queue(std::move(command), {});
}

void MpsseBatch::SetPortHigh(uint8_t Value, uint8_t Direction) {
  mpsse::Bytes command;
  mpsse::AppendSetPort(command, true, Value, Direction);
  Queue(std::move(command), {});
}

MpsseBatch::Reply MpsseBatch::ReadPortLow(Reply into) {
  mpsse::Bytes command;
  mpsse::AppendReadPort(command, false);
  return QueueRead(std::move(command), true, std::move(into), 1);
}

MpsseBatch::Reply MpsseBatch::ReadPortHigh(Reply into) {
  mpsse::Bytes command;
  mpsse::AppendReadPort(command, true);
  return QueueRead(std::move(command), true, std::move(into), 1);
}

void MpsseBatch::DataBytesOut(const ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                              eFTMPSSEClockPolarity ClockPolarity) {
  mpsse::Bytes command;
  if (mpsse::AppendDataOut(command, Data, DataLength, BitOrder, ClockPolarity)) {
    Queue(std::move(command), {});
  }
}

MpsseBatch::Reply MpsseBatch::DataBytesIn(int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                                          eFTMPSSEClockPolarity ClockPolarity, Reply into) {
  mpsse::Bytes command;
  const bool built = mpsse::AppendDataIn(command, DataLength, BitOrder, ClockPolarity);
  return QueueRead(std::move(command), built, std::move(into), static_cast<size_t>(DataLength));
}

MpsseBatch::Reply MpsseBatch::DataBytesInOut(const ByteArray& Data, int32_t DataLength,
                                             eFTMPSSEBitOrder BitOrder,
                                             eFTMPSSEClockPolarity ClockPolarityOut,
                                             eFTMPSSEClockPolarity ClockPolarityIn, Reply into) {
  mpsse::Bytes command;
  const bool built = mpsse::AppendDataInOut(command, Data, DataLength, BitOrder, ClockPolarityOut,
                                            ClockPolarityIn);
  return QueueRead(std::move(command), built, std::move(into), static_cast<size_t>(DataLength));
}

void MpsseBatch::HardwareLoopback(bool Enable) {
  mpsse::Bytes command;
  mpsse::AppendLoopback(command, Enable);
  Queue(std::move(command), {});
}

void MpsseBatch::DataBitsOut(uint8_t Data, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                             eFTMPSSEClockPolarity ClockPolarity) {
  mpsse::Bytes command;
  if (mpsse::AppendBitsOut(command, Data, BitCount, BitOrder, ClockPolarity)) {
    Queue(std::move(command), {});
  }
}

MpsseBatch::Reply MpsseBatch::DataBitsIn(uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                                         eFTMPSSEClockPolarity ClockPolarity, Reply into) {
  mpsse::Bytes command;
  const bool built = mpsse::AppendBitsIn(command, BitCount, BitOrder, ClockPolarity);
  return QueueRead(std::move(command), built, std::move(into), 1);
}

void MpsseBatch::ThreePhaseClocking(bool Enable) {
  if (!mpsse::HighSpeed(DeviceType())) mpsse::RejectParameter("Invalid parameter");
  mpsse::Bytes command;
  mpsse::AppendThreePhase(command, Enable);
  Queue(std::move(command), {});
}

void MpsseBatch::DriveZero(uint16_t Pins) {
  if (DeviceType() != ft::kTypeFT232H) mpsse::RejectParameter("Invalid parameter");
  mpsse::Bytes command;
  mpsse::AppendDriveZero(command, Pins);
  Queue(std::move(command), {});
}

void MpsseBatch::TMSBitsOut(uint8_t DataIn, uint8_t DataLength,
                            eFTMPSSEClockPolarity ClockPolarity) {
  mpsse::Bytes command;
  if (mpsse::AppendTmsOut(command, DataIn, DataLength, ClockPolarity)) {
    Queue(std::move(command), {});
  }
}

MpsseBatch::Reply MpsseBatch::TMSBitsInOut(uint8_t DataIn, uint8_t DataLength,
                                           eFTMPSSEClockPolarity ClockPolarityOut,
                                           eFTMPSSEClockPolarity ClockPolarityIn, Reply into) {
  mpsse::Bytes command;
  const bool built =
      mpsse::AppendTmsInOut(command, DataIn, DataLength, ClockPolarityOut, ClockPolarityIn);
  return QueueRead(std::move(command), built, std::move(into), 1, DataLength);
}

void MpsseBatch::CheckCommands() {
  if (Queue({kMarker}, {.count = 2})) markers_ = true;
}

void MpsseBatch::Run() {
  if (failure_) {
    const Error kept = *failure_;
    failure_.reset();
    throw kept;
  }
  Flush();
}

void MpsseBatch::Flush() {
  if (commands_.empty()) return;
  // The batch starts afresh whatever happens below.
  const std::vector<Slot> slots = std::move(slots_);
  const auto answerBytes = static_cast<int32_t>(answerBytes_);
  const bool markers = markers_;
  if (answerBytes > 0) commands_.push_back(mpsse::kSendImmediate);
  ByteArray command(std::move(commands_));
  commands_ = {};
  slots_ = {};
  answerBytes_ = 0;
  lastReadEnd_ = 0;
  markers_ = false;

  ByteArray answer;
  std::optional<Error> bad;
  try {
    gateway_.FTWrite(command, command.Count());
    if (answerBytes > 0) {
      answer.Redim(0, answerBytes);
      int32_t got = 0;
      gateway_.FTRead(answer, answerBytes, got);
      if (markers) bad = BadCommand(slots, answer, got, command);
      if (!bad && got != answerBytes) mpsse::RejectShortRead();
    }
  } catch (const Error&) {
    Purge();
    throw;
  }
  if (bad) {
    Purge();
    Resynchronise();
    throw *bad;
  }
  Fill(slots, answer);
}

void MpsseBatch::Fill(const std::vector<Slot>& slots, ByteArray& answer) {
  // One read of whole bytes takes the answer as it came.
  if (slots.size() == 1 && slots[0].into && slots[0].bits == 0 && slots[0].into->Adopt(answer)) {
    return;
  }
  const std::span<const uint8_t> bytes = answer.FromElementZero();
  for (const Slot& slot : slots) {
    if (!slot.into) continue;
    if (slot.bits > 0) {
      slot.into->AppendBits(mpsse::TmsBitsRead(bytes[slot.offset], slot.bits), slot.bits);
    } else {
      slot.into->AppendBytes(bytes.subspan(slot.offset, slot.count));
    }
    slot.into->Answered();
  }
}

std::optional<Error> MpsseBatch::BadCommand(const std::vector<Slot>& slots, const ByteArray& answer,
                                            int32_t got, const ByteArray& command) {
  const std::span<const uint8_t> bytes = answer.FromElementZero().first(static_cast<size_t>(got));
  auto at = [&](size_t offset, uint8_t value) {
    return offset < bytes.size() && bytes[offset] == value;
  };
  const bool inStep = std::all_of(slots.begin(), slots.end(), [&](const Slot& slot) {
    return slot.into || (at(slot.offset, kBadCommand) && at(slot.offset + 1, kMarker));
  });
  if (inStep) return std::nullopt;
  // Commands between two reads answer nothing, so a refusal among them shows
  // where the later read's answer should begin.
  const std::span<const uint8_t> sent = command.FromElementZero();
  for (const Slot& slot : slots) {
    if (!at(slot.offset, kBadCommand) || slot.offset + 1 >= bytes.size()) continue;
    const uint8_t refused = bytes[slot.offset + 1];
    if (!slot.into && refused == kMarker) continue;
    const auto from = sent.begin() + static_cast<ptrdiff_t>(slot.afterRead);
    const auto found =
        std::find(from, sent.begin() + static_cast<ptrdiff_t>(slot.command), refused);
    if (found == sent.begin() + static_cast<ptrdiff_t>(slot.command)) continue;
    return Error(kErrBadCommand, kSource,
                 TextSubstitute("MPSSE bad command 0x%1 at byte %2 of the batch",
                                HexText(refused, 2), found - sent.begin()));
  }
  return OutOfStep();
}

void MpsseBatch::Purge() {
  try {
    gateway_.FTPurge(true, true);
  } catch (const Error&) {
    // The failure being reported matters more than this one.
  }
}

void MpsseBatch::Resynchronise() {
  ByteArray probes{kMarker, kSecondProbe, mpsse::kSendImmediate};
  gateway_.FTWrite(probes, probes.Count());
  ByteArray echo(0, 4);
  int32_t got = 0;
  gateway_.FTRead(echo, 4, got);
  if (got != 4 || echo != ByteArray{kBadCommand, kMarker, kBadCommand, kSecondProbe}) {
    throw OutOfStep();
  }
}

}  // namespace brevant
