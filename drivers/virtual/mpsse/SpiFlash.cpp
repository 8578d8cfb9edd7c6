#include "virtual/mpsse/SpiFlash.h"

#include <algorithm>

namespace brevant::virt {

namespace {

using namespace mpsse_pin;

constexpr uint8_t kBusy = 0x01;
constexpr uint8_t kWel = 0x02;

constexpr uint8_t kProgramPage = 0x02;
constexpr uint8_t kRead = 0x03;
constexpr uint8_t kWriteDisable = 0x04;
constexpr uint8_t kReadStatus = 0x05;
constexpr uint8_t kWriteEnable = 0x06;
constexpr uint8_t kEraseSector = 0x20;
constexpr uint8_t kJedecId = 0x9F;

}  // namespace

SpiFlash::SpiFlash(std::array<uint8_t, 3> jedecId, uint32_t sizeBytes)
    : jedecId_(jedecId), sizeBytes_(sizeBytes) {}

void SpiFlash::Sense(uint16_t levels, int64_t nowUs) {
  const bool select = !(levels & kSelect);
  const bool clock = levels & kClock;
  if (select != selected_) {
    select ? Select() : Deselect(nowUs);
  } else if (selected_ && clock != clock_) {
    if (clock) {
      inByte_ = static_cast<uint8_t>(inByte_ << 1 | ((levels & kDataOut) ? 1 : 0));
      if (++inBits_ == 8) {
        inBits_ = 0;
        Take(inByte_, nowUs);
      }
    } else {
      dataOut_ = outByte_ >> (7 - inBits_) & 1;
    }
  }
  clock_ = clock;
}

void SpiFlash::Select() {
  selected_ = true;
  inBits_ = 0;
  index_ = 0;
  outByte_ = 0xFF;
  dataOut_ = true;
  page_.clear();
}

void SpiFlash::Deselect(int64_t nowUs) {
  selected_ = false;
  // Commands that change the memory act when CS rises, and only after whole bytes.
  if (inBits_ != 0 || index_ == 0 || nowUs < busyUntilUs_) return;
  if (opcode_ == kWriteEnable || opcode_ == kWriteDisable) {
    writeEnabled_ = opcode_ == kWriteEnable;
    return;
  }
  const bool changes =
      (opcode_ == kProgramPage && !page_.empty()) || (opcode_ == kEraseSector && index_ >= 4);
  if (!changes || !writeEnabled_) return;
  if (opcode_ == kProgramPage) {
    // Data past the page's end wraps to its start; the last 256 bytes sent count.
    const uint32_t page = address_ & ~(kPageBytes - 1);
    const size_t skip = page_.size() > kPageBytes ? page_.size() - kPageBytes : 0;
    for (size_t i = skip; i < page_.size(); ++i) {
      Program(page | ((address_ + i) & (kPageBytes - 1)), page_[i]);
    }
    busyUntilUs_ = nowUs + kProgramUs;
  } else {
    EraseSector(address_);
    busyUntilUs_ = nowUs + kEraseUs;
  }
  writeEnabled_ = false;
}

void SpiFlash::Take(uint8_t byte, int64_t nowUs) {
  const size_t index = index_++;
  if (index == 0) {
    // A busy chip listens to nothing but its status.
    opcode_ = nowUs < busyUntilUs_ && byte != kReadStatus ? 0 : byte;
    address_ = 0;
  }
  if (index >= 1 && index <= 3) address_ = (address_ << 8 | byte) & (sizeBytes_ - 1);
  switch (opcode_) {
    case kJedecId:
      outByte_ = index < 3 ? jedecId_[index] : 0xFF;
      return;
    case kReadStatus:
      outByte_ = Status(nowUs);
      return;
    case kRead:
      if (index < 3) break;
      outByte_ = Peek(address_);
      address_ = (address_ + 1) & (sizeBytes_ - 1);
      return;
    case kProgramPage:
      if (index >= 4) page_.push_back(byte);
      break;
    default:
      break;
  }
  outByte_ = 0xFF;
}

uint8_t SpiFlash::Status(int64_t nowUs) const {
  return static_cast<uint8_t>((nowUs < busyUntilUs_ ? kBusy : 0) | (writeEnabled_ ? kWel : 0));
}

uint8_t SpiFlash::Peek(uint32_t address) const {
  address &= sizeBytes_ - 1;
  const auto found = sectors_.find(address / kSectorBytes);
  return found == sectors_.end() ? 0xFF : found->second[address % kSectorBytes];
}

void SpiFlash::Load(uint32_t address, std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) {
    address &= sizeBytes_ - 1;
    auto [sector, added] = sectors_.try_emplace(address / kSectorBytes);
    if (added) sector->second.fill(0xFF);
    sector->second[address % kSectorBytes] = byte;
    ++address;
  }
}

void SpiFlash::Program(uint32_t address, uint8_t byte) {
  // Programming only clears bits; erasing is what sets them again.
  const uint8_t value = Peek(address) & byte;
  if (value != Peek(address)) Load(address, {&value, 1});
}

void SpiFlash::EraseSector(uint32_t address) {
  sectors_.erase(address / kSectorBytes);
}

}  // namespace brevant::virt
