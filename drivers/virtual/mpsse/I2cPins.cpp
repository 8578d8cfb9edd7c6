#include "virtual/mpsse/I2cPins.h"

#include <stdexcept>
#include <string>

namespace brevant::virt {

namespace {

constexpr int kDataOutPin = 1;
constexpr int kDataInPin = 2;

}  // namespace

I2cPins::I2cPins(Wires& board) {
  board.Loop(kDataOutPin, kDataInPin);
}

void I2cPins::Add(std::shared_ptr<I2cTarget> target) {
  const uint8_t address = target->Address();
  // 0x00-0x07 and 0x78-0x7F are reserved for general call, high-speed and
  // 10-bit addressing; no plain target answers there.
  if (address < 0x08 || address > 0x77) {
    throw std::invalid_argument("an I2C target's address is 0x08 to 0x77, not " +
                                std::to_string(address));
  }
  if (At(address) != nullptr) {
    throw std::invalid_argument("two I2C targets at address " + std::to_string(address));
  }
  targets_.push_back(std::move(target));
}

I2cTarget* I2cPins::At(uint8_t address) const {
  for (const auto& target : targets_) {
    if (target->Address() == address) return target.get();
  }
  return nullptr;
}

void I2cPins::Sense(uint16_t levels, int64_t nowUs) {
  const bool scl = levels & mpsse_pin::kClock;
  // ADBUS2 shows the line: the chip only reads it, so nothing there outvotes a
  // target pulling low.
  const bool sda = levels & mpsse_pin::kDataIn;
  if (scl != scl_) {
    scl_ = scl;
    sda_ = sda;
    if (scl) {
      Rise(sda);
    } else {
      Fall(nowUs);
    }
    return;
  }
  if (sda == sda_) return;
  sda_ = sda;
  if (!scl) return;
  // SDA moving while SCL is high: a start when it falls, a stop when it rises.
  EndTransfer(sda, nowUs);
  pullingLow_ = false;
  clocks_ = 0;
  shift_ = 0;
  phase_ = sda ? Phase::kIdle : Phase::kAddress;
}

void I2cPins::Rise(bool sda) {
  if (phase_ == Phase::kIdle) return;
  ++clocks_;
  if (clocks_ <= 8) {
    if (phase_ != Phase::kRead) shift_ = static_cast<uint8_t>(shift_ << 1 | (sda ? 1 : 0));
  } else if (phase_ == Phase::kRead) {
    acknowledged_ = !sda;
  }
}

void I2cPins::Fall(int64_t nowUs) {
  if (phase_ == Phase::kIdle) return;
  if (clocks_ < 8) {
    // A target sending puts its next bit on the line while SCL is low.
    if (phase_ == Phase::kRead && clocks_ > 0) pullingLow_ = !(shift_ >> (7 - clocks_) & 1);
    return;
  }
  if (clocks_ == 8) {
    // The ninth clock: the receiver acknowledges by pulling SDA low.
    switch (phase_) {
      case Phase::kAddress:
        read_ = shift_ & 1;
        target_ = At(static_cast<uint8_t>(shift_ >> 1));
        acknowledged_ = target_ != nullptr && target_->Begin(read_, nowUs);
        if (!acknowledged_) target_ = nullptr;
        pullingLow_ = acknowledged_;
        break;
      case Phase::kWrite:
        acknowledged_ = target_->Take(shift_, nowUs);
        pullingLow_ = acknowledged_;
        break;
      default:
        pullingLow_ = false;  // the controller's turn
        break;
    }
    return;
  }
  clocks_ = 0;
  pullingLow_ = false;
  shift_ = 0;
  if (!acknowledged_) {
    // Without an acknowledge the target waits for the next start or stop.
    phase_ = Phase::kIdle;
    return;
  }
  if (phase_ == Phase::kAddress) phase_ = read_ ? Phase::kRead : Phase::kWrite;
  if (phase_ == Phase::kRead) {
    shift_ = target_->Give();
    pullingLow_ = !(shift_ & 0x80);
  }
}

void I2cPins::EndTransfer(bool stop, int64_t nowUs) {
  if (target_ == nullptr) return;
  target_->End(stop, nowUs);
  target_ = nullptr;
}

}  // namespace brevant::virt
