#include "brevant/I2cBus.h"

#include <vector>

#include "driver/Ftd2xx.h"
#include "gateway/Formating.h"
#include "mpsse/MpsseCommands.h"

namespace brevant {

namespace {

constexpr char kSource[] = "I2cBus";

constexpr uint8_t kScl = 0x01;
constexpr uint8_t kSdaOut = 0x02;
constexpr uint8_t kSdaIn = 0x04;

constexpr double kFastest = 1e6;
constexpr int32_t kLongest = 65536;
// A three-phase bit takes one and a half periods of the MPSSE clock.
constexpr double kThreePhase = 1.5;
constexpr int kHoldRepeats = 4;

[[noreturn]] void Reject(const char* message) {
  throw Error(kErrI2cParameter, kSource, message);
}

void CheckAddress(uint8_t Address) {
  if (Address > 0x7F) Reject("Invalid I2C address");
}

void CheckLength(size_t length) {
  if (length > static_cast<size_t>(kLongest)) Reject("Invalid data length");
}

// A one-bit read MSB first lands in bit 0; an acknowledge is SDA low.
bool Acknowledged(uint8_t answer) {
  return (answer & 1) == 0;
}

bool ProbedByRead(uint8_t address) {
  return (address >= 0x30 && address <= 0x37) || (address >= 0x50 && address <= 0x5F);
}

std::vector<uint8_t> Joined(uint8_t first, const ByteArray& rest) {
  std::vector<uint8_t> bytes{first};
  bytes.insert(bytes.end(), rest.Elements().begin(), rest.Elements().end());
  return bytes;
}

}  // namespace

I2cBus::I2cBus(clsFTDIMPSSE& channel, double Hz) : batch_(channel) {
  if (!(Hz > 0.0) || Hz > kFastest) Reject("Invalid frequency");
  const int32_t type = batch_.DeviceType();
  const bool threePhase = mpsse::HighSpeed(type);
  driveZero_ = type == ft::kTypeFT232H;
  batch_.HardwareLoopback(false);
  if (threePhase) batch_.ThreePhaseClocking(true);
  const double scale = threePhase ? kThreePhase : 1.0;
  hz_ = batch_.SetFrequency(Hz * scale) / scale;
  if (driveZero_) batch_.DriveZero(kScl | kSdaOut);
  Lines(true, true);
  batch_.Run();
}

void I2cBus::Lines(bool scl, bool sda) {
  const auto value = static_cast<uint8_t>((scl ? kScl : 0) | (sda ? kSdaOut : 0));
  const auto direction = static_cast<uint8_t>(kScl | (driveZero_ || !sda ? kSdaOut : 0));
  batch_.SetPortLow(value, direction);
}

void I2cBus::Hold(bool scl, bool sda) {
  for (int i = 0; i < kHoldRepeats; ++i) Lines(scl, sda);
}

void I2cBus::Start() {
  // SDA let go while SCL is low, so that SCL can rise without a stop; then SDA
  // falls while SCL is high. The same serves as a repeated start.
  Lines(false, true);
  Hold(true, true);
  Hold(true, false);
  Hold(false, false);
}

void I2cBus::Stop() {
  Hold(false, false);
  Hold(true, false);
  Hold(true, true);
}

MpsseBatch::Reply I2cBus::Idle() {
  Lines(true, true);
  return batch_.ReadPortLow();
}

void I2cBus::ByteOut(uint8_t byte, MpsseBatch::Reply& acks) {
  Lines(false, false);
  batch_.DataBytesOut(ByteArray{byte}, 1, embMSBfirst, emcNegEdge);
  Lines(false, true);
  batch_.DataBitsIn(1, embMSBfirst, emcPosEdge, acks);
}

void I2cBus::ByteIn(bool last, MpsseBatch::Reply& data) {
  Lines(false, true);
  batch_.DataBytesIn(1, embMSBfirst, emcPosEdge, data);
  Lines(false, false);
  // Every byte but the last is acknowledged; the last one's missing
  // acknowledge tells the target to let go of SDA.
  batch_.DataBitsOut(last ? 0x80 : 0x00, 1, embMSBfirst, emcNegEdge);
}

void I2cBus::Guarded(const std::function<void()>& queue) {
  for (int attempt = 0;; ++attempt) {
    const MpsseBatch::Reply idle = Idle();
    queue();
    batch_.Run();
    if (idle.Byte() & kSdaIn) return;
    // SDA was low, so no start could happen and no target took anything.
    if (attempt > 0) throw Error(kErrI2cBusStuck, kSource, "I2C bus stuck: SDA held low");
    Recover();
  }
}

ByteArray I2cBus::Transfer(uint8_t Address, std::span<const uint8_t> Out, int32_t InCount) {
  CheckAddress(Address);
  CheckLength(Out.size());
  if (InCount < 0 || InCount > kLongest) Reject("Invalid data length");
  const bool writes = !Out.empty() || InCount == 0;
  MpsseBatch::Reply acks, data;
  Guarded([&] {
    acks = {};
    data = {};
    if (writes) {
      Start();
      ByteOut(static_cast<uint8_t>(Address << 1), acks);
      for (const uint8_t byte : Out) ByteOut(byte, acks);
    }
    if (InCount > 0) {
      Start();
      ByteOut(static_cast<uint8_t>(Address << 1 | 1), acks);
      for (int32_t i = 0; i < InCount; ++i) ByteIn(i == InCount - 1, data);
    }
    Stop();
  });

  const ByteArray& answers = acks.Data();
  const std::string address = HexText(Address, 2);
  auto noAnswer = [&] {
    return Error(kErrI2cNoAnswer, kSource,
                 TextSubstitute("No answer from I2C address 0x%1", address));
  };
  int32_t at = 0;
  if (writes) {
    if (!Acknowledged(answers[at++])) throw noAnswer();
    for (size_t i = 0; i < Out.size(); ++i) {
      if (Acknowledged(answers[at++])) continue;
      throw Error(kErrI2cRefused, kSource,
                  TextSubstitute("I2C address 0x%1 refused byte %2 of %3 (0x%4)", address,
                                 static_cast<int32_t>(i + 1), static_cast<int32_t>(Out.size()),
                                 HexText(Out[i], 2)));
    }
  }
  if (InCount > 0 && !Acknowledged(answers[at])) throw noAnswer();
  return InCount > 0 ? data.Data() : ByteArray();
}

void I2cBus::Write(uint8_t Address, const ByteArray& Data) {
  Transfer(Address, Data.Elements(), 0);
}

ByteArray I2cBus::Read(uint8_t Address, int32_t Count) {
  if (Count < 1) Reject("Invalid data length");
  return Transfer(Address, {}, Count);
}

ByteArray I2cBus::WriteRead(uint8_t Address, const ByteArray& Data, int32_t Count) {
  if (Count < 1) Reject("Invalid data length");
  return Transfer(Address, Data.Elements(), Count);
}

void I2cBus::WriteRegister(uint8_t Address, uint8_t Register, const ByteArray& Data) {
  Transfer(Address, Joined(Register, Data), 0);
}

ByteArray I2cBus::ReadRegister(uint8_t Address, uint8_t Register, int32_t Count) {
  if (Count < 1) Reject("Invalid data length");
  const uint8_t pointer[] = {Register};
  return Transfer(Address, pointer, Count);
}

bool I2cBus::Probe(uint8_t Address) {
  CheckAddress(Address);
  return Answering(Address, Address).Count() == 1;
}

ByteArray I2cBus::Scan() {
  return Answering(0x08, 0x77);
}

ByteArray I2cBus::Answering(uint8_t first, uint8_t last) {
  MpsseBatch::Reply acks, ignored;
  Guarded([&] {
    acks = {};
    for (int address = first; address <= last; ++address) {
      Start();
      if (ProbedByRead(static_cast<uint8_t>(address))) {
        ByteOut(static_cast<uint8_t>(address << 1 | 1), acks);
        ByteIn(true, ignored);
      } else {
        ByteOut(static_cast<uint8_t>(address << 1), acks);
      }
      Stop();
    }
  });
  const ByteArray& answers = acks.Data();
  std::vector<uint8_t> found;
  for (int address = first; address <= last; ++address) {
    if (Acknowledged(answers[address - first])) found.push_back(static_cast<uint8_t>(address));
  }
  return ByteArray(std::move(found));
}

void I2cBus::Recover() {
  MpsseBatch::Reply ignored;
  Lines(false, true);
  batch_.DataBitsIn(8, embMSBfirst, emcPosEdge, ignored);
  batch_.DataBitsIn(1, embMSBfirst, emcPosEdge, ignored);
  Stop();
  const MpsseBatch::Reply idle = Idle();
  batch_.Run();
  if (!(idle.Byte() & kSdaIn)) throw Error(kErrI2cBusStuck, kSource, "I2C bus stuck: SDA held low");
}

}  // namespace brevant
