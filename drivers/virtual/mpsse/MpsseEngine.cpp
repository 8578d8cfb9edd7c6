#include "virtual/mpsse/MpsseEngine.h"

#include <algorithm>

#include "virtual/Channel.h"

namespace brevant::virt {

namespace {

using namespace mpsse_pin;

// Virtual time inside the engine runs in ticks of twice the 30 MHz base clock,
// so that half a period, and a three-phase bit's one and a half, are whole
// numbers of ticks under either clock rule.
constexpr int64_t kTicksPerUs = 60;

// Opcode bits of the data-shifting commands.
constexpr uint8_t kBitMode = 0x02;
constexpr uint8_t kReadFalling = 0x04;
constexpr uint8_t kLsbFirst = 0x08;
constexpr uint8_t kWriteTdi = 0x10;
constexpr uint8_t kReadTdo = 0x20;
constexpr uint8_t kWriteTms = 0x40;

constexpr uint8_t kBadCommand = 0xFA;

// GPIOL1 (ADBUS5), the pin the wait commands watch; GPIOL3 (ADBUS7) brings
// RTCK back for adaptive clocking.
constexpr uint16_t kGpiol1 = 0x20;
constexpr uint16_t kRtck = 0x80;
constexpr int64_t kNsPerTick = 50;  // over 3: 60 ticks a microsecond
// Clocks an endless clock-until command gives a peripheral to answer.
constexpr size_t kEndlessClocks = size_t{1} << 20;

bool IsShift(uint8_t opcode) {
  return opcode < 0x80 && (opcode & 0x70) != 0;
}

size_t Count16(std::span<const uint8_t> command) {
  return (command[1] | command[2] << 8) + 1u;
}

// The nearest nanosecond.
int64_t Nanoseconds(int64_t ticks) {
  return (ticks * kNsPerTick + 1) / 3;
}

}  // namespace

MpsseEngine::MpsseEngine(Wires& board, MpsseModel model) : board_(board), model_(model) {}

std::vector<std::string> MpsseEngine::PinNames() const {
  std::vector<std::string> names = {"SK", "DO", "DI", "CS", "GPIOL0", "GPIOL1", "GPIOL2", "GPIOL3"};
  for (int pin = 8; pin < 16; ++pin) {
    if (model_.highPins >> pin & 1) {
      names.resize(static_cast<size_t>(pin));
      names.push_back("GPIOH" + std::to_string(pin - 8));
    }
  }
  return names;
}

void MpsseEngine::RecordTo(std::shared_ptr<PinRecorder> recorder, int64_t nowUs) {
  recorder_ = std::move(recorder);
  if (recorder_) recorder_->Record(Nanoseconds(std::max(cursor_, nowUs * kTicksPerUs)), Levels());
}

void MpsseEngine::Start(uint8_t /*mask*/) {
  // Pin directions come from the port commands, not from the bit mode's mask;
  // entering the mode only drops a command left half sent, or a wait.
  Purge();
}

void MpsseEngine::Purge() {
  partial_.clear();
  stalled_ = false;
}

int64_t MpsseEngine::BusyUntilUs() const {
  return (cursor_ + kTicksPerUs - 1) / kTicksPerUs;
}

bool MpsseEngine::Knows(uint8_t opcode) const {
  if (IsShift(opcode)) return true;
  switch (opcode) {
    case 0x80:
    case 0x81:
    case 0x82:
    case 0x83:
    case 0x84:
    case 0x85:
    case 0x86:
    case 0x87:
    case 0x88:
    case 0x89:
      return true;
    case 0x8A:
    case 0x8B:
    case 0x8C:
    case 0x8D:
    case 0x8E:
    case 0x8F:
    case 0x94:
    case 0x95:
    case 0x96:
    case 0x97:
    case 0x9C:
    case 0x9D:
      return model_.highSpeed;
    case 0x9E:
      return model_.driveZero;
    default:
      return false;
  }
}

size_t MpsseEngine::CommandSize(std::span<const uint8_t> stream) const {
  const uint8_t opcode = stream[0];
  // An unknown opcode is one byte: whatever follows is read as a new command.
  if (!Knows(opcode)) return 1;
  if (IsShift(opcode)) {
    // Bit and TMS commands: a bit count and, if they write, one data byte.
    if (opcode & (kBitMode | kWriteTms)) return opcode & (kWriteTdi | kWriteTms) ? 3 : 2;
    if (stream.size() < 3) return 0;
    return 3 + (opcode & kWriteTdi ? Count16(stream) : 0);
  }
  switch (opcode) {
    case 0x8E:
      return 2;
    case 0x80:
    case 0x82:
    case 0x86:
    case 0x8F:
    case 0x9C:
    case 0x9D:
    case 0x9E:
      return 3;
    default:
      return 1;
  }
}

void MpsseEngine::Receive(std::span<const uint8_t> bytes, Channel& channel) {
  cursor_ = std::max(cursor_, channel.Now() * kTicksPerUs);
  latencyTicks_ = std::max<int64_t>(channel.Settings().latencyMs, 1) * 1000 * kTicksPerUs;
  if (partial_.empty()) {
    const size_t used = RunCommands(bytes, channel);
    partial_.assign(bytes.begin() + static_cast<ptrdiff_t>(used), bytes.end());
  } else {
    partial_.insert(partial_.end(), bytes.begin(), bytes.end());
    const size_t used = RunCommands(partial_, channel);
    partial_.erase(partial_.begin(), partial_.begin() + static_cast<ptrdiff_t>(used));
  }
  // What no packet or send immediate took goes when the latency timer runs out.
  if (!held_.empty()) Flush(heldSince_ + latencyTicks_, channel);
}

size_t MpsseEngine::RunCommands(std::span<const uint8_t> stream, Channel& channel) {
  size_t used = 0;
  while (used < stream.size() && !stalled_) {
    const size_t size = CommandSize(stream.subspan(used));
    if (size == 0 || size > stream.size() - used) break;
    if (!Run(stream.subspan(used, size), channel)) {
      // The chip hangs in this command; nothing after it runs.
      stalled_ = true;
      break;
    }
    used += size;
  }
  return used;
}

bool MpsseEngine::Run(std::span<const uint8_t> command, Channel& channel) {
  const uint8_t opcode = command[0];
  if (!Knows(opcode)) {
    const uint8_t bad[] = {kBadCommand, opcode};
    Produce(bad, cursor_, 0, channel);
    return true;
  }
  if (IsShift(opcode)) {
    if (adaptive_ && !RtckFollows()) return false;
    Shift(command, channel);
    return true;
  }
  switch (opcode) {
    case 0x80:
    case 0x82: {
      const int shift = opcode == 0x80 ? 0 : 8;
      const uint16_t keep = static_cast<uint16_t>(0xFF00 >> shift);
      // Pins the part does not have on its high port stay undriven.
      const uint16_t present = opcode == 0x80 ? 0x00FF : model_.highPins;
      latch_ = static_cast<uint16_t>((latch_ & keep) | command[1] << shift);
      outputs_ = static_cast<uint16_t>((outputs_ & keep) | ((command[2] << shift) & present));
      Notify(cursor_);
      return true;
    }
    case 0x81:
    case 0x83: {
      const uint8_t level = static_cast<uint8_t>(Levels() >> (opcode == 0x81 ? 0 : 8));
      Produce({&level, 1}, cursor_, 0, channel);
      return true;
    }
    case 0x84:
    case 0x85:
      loopback_ = opcode == 0x84;
      return true;
    case 0x86:
      divisor_ = static_cast<uint16_t>(command[1] | command[2] << 8);
      return true;
    case 0x87:
      // Also sends what an earlier write left waiting for the latency timer.
      Flush(cursor_, channel);
      return true;
    case 0x88:
    case 0x89:
      return Gpiol1() == (opcode == 0x88);
    case 0x8A:
    case 0x8B:
      divideBy5_ = opcode == 0x8B;
      return true;
    case 0x8C:
    case 0x8D:
      threePhase_ = opcode == 0x8C;
      return true;
    case 0x8E:
      return Clock((command[1] & 7) + 1u, std::nullopt);
    case 0x8F:
      return Clock(8 * Count16(command), std::nullopt);
    case 0x94:
    case 0x95:
      return Clock(0, opcode == 0x94);
    case 0x96:
    case 0x97:
      adaptive_ = opcode == 0x96;
      return true;
    case 0x9C:
    case 0x9D:
      Clock(8 * Count16(command), opcode == 0x9C);
      return true;
    default:  // 0x9E
      driveZero_ = static_cast<uint16_t>(command[1] | command[2] << 8);
      Notify(cursor_);
      return true;
  }
}

bool MpsseEngine::Gpiol1() const {
  return (Levels() & kGpiol1) != 0;
}

bool MpsseEngine::RtckFollows() const {
  const uint16_t low = board_.Levels(static_cast<uint16_t>(latch_ & ~kClock), Driven());
  const uint16_t high = board_.Levels(static_cast<uint16_t>(latch_ | kClock), Driven());
  return !(low & kRtck) && (high & kRtck);
}

bool MpsseEngine::Clock(size_t bits, std::optional<bool> until) {
  if (adaptive_ && !RtckFollows()) return false;
  const bool endless = bits == 0;
  // Without a peripheral nothing can move GPIOL1, and an endless wait hangs at
  // once; with one, after so many clocks that it plainly never will.
  const size_t limit = endless ? (devices_.empty() ? 0 : kEndlessClocks) : bits;
  const int64_t bit = BitTicks();
  for (size_t i = 0; i < limit; ++i) {
    if (until && Gpiol1() == *until) return true;
    ClockBit(false, cursor_);
    cursor_ += bit;
  }
  return !endless || Gpiol1() == *until;
}

void MpsseEngine::Shift(std::span<const uint8_t> command, Channel& channel) {
  const uint8_t opcode = command[0];
  const bool tms = opcode & kWriteTms;
  const bool writes = tms || (opcode & kWriteTdi);
  const bool reads = opcode & kReadTdo;
  const bool lsbFirst = tms || (opcode & kLsbFirst);
  const bool readFalling = opcode & kReadFalling;
  const int64_t start = cursor_;
  const int64_t bit = BitTicks();
  // The chip writes on the edge bit 0 names (set: falling); when that is the
  // bit's first edge (SK idle high and falling, or idle low and rising), the
  // data changes there and not at the end of the bit before, where it is read.
  const bool launchLate = writes && ((latch_ & kClock) != 0) == ((opcode & 0x01) != 0);

  if (!tms && !(opcode & kBitMode)) {
    const size_t count = Count16(command);
    const auto payload = writes ? command.subspan(3) : std::span<const uint8_t>{};
    std::vector<uint8_t> answer(reads ? count : 0);
    if (CanShiftFast()) {
      ShiftFast(opcode, payload, count, answer);
    } else if (CanShiftBytes(opcode)) {
      // Each byte as the bit path gives it: the device sees its eighth sampling
      // edge, the first edge of the last bit when SK idles low, else the second.
      const int64_t edge = (latch_ & kClock) ? 2 * (bit / 2) : bit / 2;
      const uint8_t idle = (latch_ & kDataOut) ? 0xFF : 0x00;
      for (size_t i = 0; i < count; ++i) {
        const int64_t at = start + static_cast<int64_t>(i * 8 + 7) * bit + edge;
        const uint8_t in =
            devices_.front()->ExchangeByte(writes ? payload[i] : idle, at / kTicksPerUs);
        if (reads) answer[i] = in;
      }
      if (writes) SetLatch(kDataOut, payload[count - 1] & 1);
    } else {
      for (size_t i = 0; i < count; ++i) {
        unsigned in = 0;
        for (int b = 0; b < 8; ++b) {
          const int place = lsbFirst ? b : 7 - b;
          if (writes) SetLatch(kDataOut, payload[i] >> place & 1);
          in |= unsigned{ClockBit(readFalling, start + static_cast<int64_t>(i * 8 + b) * bit,
                                  launchLate)}
                << place;
        }
        if (reads) answer[i] = static_cast<uint8_t>(in);
      }
    }
    cursor_ = start + static_cast<int64_t>(count) * 8 * bit;
    if (reads) Produce(answer, start + 8 * bit, 8 * bit, channel);
    return;
  }

  // Bit commands take a count of 1 to 8 bits in the low three bits.
  const int bits = (command[1] & 7) + 1;
  const uint8_t data = writes ? command[2] : 0;
  // A TMS command holds bit 7 of its byte on TDI for all its clocks.
  if (tms) SetLatch(kDataOut, data & 0x80);
  unsigned in = 0;
  for (int b = 0; b < bits; ++b) {
    if (tms) {
      SetLatch(kSelect, data >> b & 1);
    } else if (writes) {
      SetLatch(kDataOut, data >> (lsbFirst ? b : 7 - b) & 1);
    }
    const unsigned sample = ClockBit(readFalling, start + b * bit, launchLate);
    // LSB-first reads (TMS ones too) come in from the top of the byte.
    in = lsbFirst ? (in >> 1) | sample << 7 : (in << 1 | sample) & 0xFF;
  }
  cursor_ = start + bits * bit;
  if (reads) {
    const uint8_t byte = static_cast<uint8_t>(in);
    Produce({&byte, 1}, cursor_, 0, channel);
  }
}

bool MpsseEngine::CanShiftBytes(uint8_t opcode) const {
  // MSB first, written on the falling edge and read on the rising one: SPI
  // modes 0 and 3, the way flash tools clock.
  const bool spiEdges =
      !(opcode & (kLsbFirst | kReadFalling)) && (!(opcode & kWriteTdi) || (opcode & 0x01));
  if (!spiEdges || loopback_ || recorder_ || devices_.size() != 1) return false;
  return devices_.front()->TakesBytes(Levels());
}

bool MpsseEngine::CanShiftFast() const {
  if (!devices_.empty() || recorder_) return false;
  if (loopback_) return true;
  // DI may follow a serial pin through a loop on the board; then only the bit
  // path gets its samples right.
  const uint16_t serial = kClock | kDataOut | kSelect;
  const uint16_t low = board_.Levels(static_cast<uint16_t>(latch_ & ~serial), Driven());
  const uint16_t high = board_.Levels(static_cast<uint16_t>(latch_ | serial), Driven());
  return ((low ^ high) & kDataIn) == 0;
}

void MpsseEngine::ShiftFast(uint8_t opcode, std::span<const uint8_t> payload, size_t count,
                            std::vector<uint8_t>& answer) {
  if (!answer.empty()) {
    // Loopback reads each bit on the edge it was written for, so a byte comes
    // back as it went out, in either bit order.
    if (loopback_ && !payload.empty()) {
      std::copy_n(payload.begin(), count, answer.begin());
    } else {
      std::fill(answer.begin(), answer.end(), DataIn() ? 0xFF : 0x00);
    }
  }
  // DO keeps the last bit shifted out.
  if (!payload.empty()) {
    const uint8_t last = payload[count - 1];
    SetLatch(kDataOut, opcode & kLsbFirst ? last & 0x80 : last & 1);
  }
}

bool MpsseEngine::ClockBit(bool readOnFalling, int64_t atTicks, bool launchOnFirstEdge) {
  Notify(atTicks, !launchOnFirstEdge);
  bool sample = false;
  const int64_t half = BitTicks() / 2;
  for (int edge = 1; edge <= 2; ++edge) {
    // The edge's direction depends on where the client left SK idle.
    const bool rising = !(latch_ & kClock);
    // The chip samples before anything on the board reacts to the edge.
    if (rising != readOnFalling) sample = DataIn();
    latch_ ^= kClock;
    Notify(atTicks + edge * half);
  }
  return sample;
}

void MpsseEngine::SetLatch(uint16_t pins, bool high) {
  latch_ = static_cast<uint16_t>(high ? latch_ | pins : latch_ & ~pins);
}

uint16_t MpsseEngine::Driven() const {
  return static_cast<uint16_t>(outputs_ & ~(driveZero_ & latch_));
}

void MpsseEngine::Notify(int64_t atTicks, bool shown) {
  if (!devices_.empty()) {
    const uint16_t levels = Levels();
    for (const auto& device : devices_) device->Sense(levels, atTicks / kTicksPerUs);
  }
  // After the devices, so that what they drive in answer shows at the same time.
  if (recorder_ && shown) recorder_->Record(Nanoseconds(atTicks), Levels());
}

uint16_t MpsseEngine::Levels() const {
  uint16_t levels = board_.Levels(latch_, Driven());
  for (const auto& device : devices_) {
    const uint16_t pins = static_cast<uint16_t>(device->DrivenPins() & ~Driven());
    levels = static_cast<uint16_t>((levels & ~pins) | (device->DrivenLevels() & pins));
  }
  return levels;
}

bool MpsseEngine::DataIn() const {
  // Loopback joins DO to DI inside the chip, whatever the pins do.
  return loopback_ ? (latch_ & kDataOut) != 0 : (Levels() & kDataIn) != 0;
}

int64_t MpsseEngine::BitTicks() const {
  // Two ticks per base clock period; a three-phase bit takes three halves.
  return (divisor_ + 1) * (divideBy5_ ? 5 : 1) * (threePhase_ ? 3 : 2);
}

double MpsseEngine::ClockHz() const {
  return (divideBy5_ ? 6e6 : 30e6) / (divisor_ + 1.0);
}

void MpsseEngine::Produce(std::span<const uint8_t> bytes, int64_t firstReady, int64_t step,
                          Channel& channel) {
  size_t i = 0;
  while (i < bytes.size()) {
    const int64_t ready = firstReady + static_cast<int64_t>(i) * step;
    if (!held_.empty() && heldSince_ + latencyTicks_ < ready) {
      Flush(heldSince_ + latencyTicks_, channel);
      continue;
    }
    if (held_.empty()) heldSince_ = ready;
    size_t take = std::min(bytes.size() - i, model_.packetBytes - held_.size());
    if (step > 0) {
      // Only what is ready before the latency timer runs out joins this packet.
      take = std::min(take, static_cast<size_t>((heldSince_ + latencyTicks_ - ready) / step) + 1);
    }
    held_.insert(held_.end(), bytes.begin() + static_cast<ptrdiff_t>(i),
                 bytes.begin() + static_cast<ptrdiff_t>(i + take));
    i += take;
    if (held_.size() == model_.packetBytes) {
      Flush(firstReady + static_cast<int64_t>(i - 1) * step, channel);
    }
  }
}

void MpsseEngine::Flush(int64_t atTicks, Channel& channel) {
  channel.DeliverAt((atTicks + kTicksPerUs - 1) / kTicksPerUs, held_);
  held_.clear();
}

}  // namespace brevant::virt
