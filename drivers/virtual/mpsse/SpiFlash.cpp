#include "virtual/mpsse/SpiFlash.h"

#include <algorithm>
#include <bit>

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
constexpr uint8_t kProgramPage4 = 0x12;
constexpr uint8_t kRead4 = 0x13;
constexpr uint8_t kEraseSector = 0x20;
constexpr uint8_t kEraseSector4 = 0x21;
constexpr uint8_t kReadSfdp = 0x5A;
constexpr uint8_t kJedecId = 0x9F;
constexpr uint8_t kEnter4Byte = 0xB7;
constexpr uint8_t kExit4Byte = 0xE9;

// JESD216 (SFDP revision 1.0): an 8-byte header, one 8-byte parameter header,
// and the 9-DWORD Basic Flash Parameter Table at 0x80, where real parts tend to
// keep it; 0xFF between them. Every field is a little-endian DWORD. Revision 1.0
// with 9 DWORDs is the form every SFDP reader accepts; the later 16-DWORD table
// describes fast reads this chip does not have.
constexpr uint32_t kBasicTableAt = 0x80;

std::vector<uint8_t> SfdpTable(uint32_t sizeBytes) {
  const uint64_t bits = uint64_t{sizeBytes} * 8;
  const uint32_t headers[] = {
      0x50444653,  // signature "SFDP"
      0xFF000100,  // revision 1.0 (minor, major), NPH 0 (one header), legacy access protocol
      0x09010000,  // basic table: ID LSB 0x00, revision 1.0, 9 DWORDs long
      0xFF000000 | kBasicTableAt,  // its 24-bit address, ID MSB 0xFF
  };
  const uint32_t basic[] = {
      // Unused bits 31:23 and 7:5 read 1; 0x20 erases 4 KiB (bits 15:8, and 01 in
      // bits 1:0); pages of 64 bytes or more (bit 2); no fast reads (bits 22:19,
      // 16). Address bytes (bits 18:17): 00 three only, 01 three or four.
      0xFF8020E5 | (sizeBytes > SpiFlash::k3ByteSpan ? 1u << 17 : 0),
      // Density: bits less one up to 2 Gbit, else 2^N bits with bit 31 set.
      bits <= (uint64_t{1} << 31) ? static_cast<uint32_t>(bits - 1)
                                  : 0x80000000u | static_cast<uint32_t>(std::countr_zero(bits)),
      0x00000000,  // no 1-4-4 or 1-1-4 reads
      0x00000000,  // no 1-2-2 or 1-1-2 reads
      0xFFFFFFEE,  // no 2-2-2 (bit 0) or 4-4-4 (bit 4) reads
      0x0000FFFF,  // 2-2-2 read parameters: none
      0x0000FFFF,  // 4-4-4 read parameters: none
      // Erase types 1-4, each a size as 2^N bytes and an opcode: 4 KiB with 0x20;
      // the other three absent (size 0).
      0xFF00200C,
      0xFF00FF00,
  };
  std::vector<uint8_t> table;
  const auto append = [&table](std::span<const uint32_t> dwords) {
    for (const uint32_t dword : dwords) {
      for (int shift = 0; shift < 32; shift += 8) {
        table.push_back(static_cast<uint8_t>(dword >> shift));
      }
    }
  };
  append(headers);
  table.resize(kBasicTableAt, 0xFF);
  append(basic);
  return table;
}

}  // namespace

SpiFlash::SpiFlash(std::array<uint8_t, 3> jedecId, uint32_t sizeBytes, bool sfdp)
    : jedecId_(jedecId),
      sizeBytes_(sizeBytes),
      sfdp_(sfdp ? SfdpTable(sizeBytes) : std::vector<uint8_t>{}) {}

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

bool SpiFlash::TakesBytes(uint16_t levels) const {
  // Selected, between bytes, and SK where the flash last saw it.
  return selected_ && !(levels & kSelect) && inBits_ == 0 && clock_ == ((levels & kClock) != 0);
}

uint8_t SpiFlash::ExchangeByte(uint8_t in, int64_t nowUs) {
  // Eight clocks shift out the byte set up before they began.
  const uint8_t out = outByte_;
  inByte_ = in;
  Take(in, nowUs);
  // SK idling low ends on a falling edge, which already puts out the next
  // byte's first bit; idling high, the last bit of this one stays.
  dataOut_ = clock_ ? (out & 1) : (outByte_ >> 7 & 1);
  return out;
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
  // Commands that change the chip act when CS rises, and only after whole bytes.
  if (inBits_ != 0 || index_ == 0 || nowUs < busyUntilUs_) return;
  switch (opcode_) {
    case kWriteEnable:
    case kWriteDisable:
      writeEnabled_ = opcode_ == kWriteEnable;
      return;
    case kEnter4Byte:
    case kExit4Byte:
      fourByteMode_ = opcode_ == kEnter4Byte;
      return;
    default:
      break;
  }
  const bool changes = (opcode_ == kProgramPage && !page_.empty()) ||
                       (opcode_ == kEraseSector && index_ > addressBytes_);
  if (!changes || !writeEnabled_) return;
  if (opcode_ == kProgramPage) {
    // Data past the page's end wraps to its start; the last 256 bytes sent count.
    const uint32_t page = address_ & ~(kPageBytes - 1);
    const size_t skip = page_.size() > kPageBytes ? page_.size() - kPageBytes : 0;
    for (size_t i = skip; i < page_.size(); ++i) {
      Program(page | ((address_ + i) & (kPageBytes - 1)), page_[i]);
    }
    busyUntilUs_ = nowUs + programUs_;
  } else {
    EraseSector(address_);
    busyUntilUs_ = nowUs + eraseUs_;
  }
  writeEnabled_ = false;
}

void SpiFlash::Decode(uint8_t opcode) {
  const bool large = sizeBytes_ > k3ByteSpan;
  opcode_ = opcode;
  address_ = 0;
  addressBytes_ = 0;
  switch (opcode) {
    case kRead:
    case kProgramPage:
    case kEraseSector:
      addressBytes_ = fourByteMode_ ? 4 : 3;
      break;
    case kRead4:
    case kProgramPage4:
    case kEraseSector4:
      // Each is its 3-byte twin with four address bytes whatever the mode.
      opcode_ = !large                    ? 0
                : opcode == kRead4        ? kRead
                : opcode == kProgramPage4 ? kProgramPage
                                          : kEraseSector;
      addressBytes_ = 4;
      break;
    case kEnter4Byte:
    case kExit4Byte:
      if (!large) opcode_ = 0;
      break;
    case kReadSfdp:
      if (sfdp_.empty()) opcode_ = 0;
      addressBytes_ = 3;
      break;
    default:
      break;
  }
  // A 3-byte address stays in the first 16 MiB; the SFDP space has 24 bits too.
  addressMask_ = (addressBytes_ == 4 ? sizeBytes_ : std::min(sizeBytes_, k3ByteSpan)) - 1;
  if (opcode_ == kReadSfdp) addressMask_ = k3ByteSpan - 1;
}

void SpiFlash::Take(uint8_t byte, int64_t nowUs) {
  const size_t index = index_++;
  if (index == 0) {
    // A busy chip listens to nothing but its status.
    Decode(nowUs < busyUntilUs_ && byte != kReadStatus ? 0 : byte);
  } else if (index <= addressBytes_) {
    address_ = (address_ << 8 | byte) & addressMask_;
  }
  outByte_ = 0xFF;
  switch (opcode_) {
    case kJedecId:
      if (index < 3) outByte_ = jedecId_[index];
      break;
    case kReadStatus:
      outByte_ = Status(nowUs);
      break;
    case kRead:
      if (index < addressBytes_) break;
      outByte_ = Peek(address_);
      address_ = (address_ + 1) & addressMask_;
      break;
    case kReadSfdp:
      // Data follows one dummy byte; past the table the chip gives 0xFF.
      if (index <= addressBytes_) break;
      if (address_ < sfdp_.size()) outByte_ = sfdp_[address_];
      address_ = (address_ + 1) & addressMask_;
      break;
    case kProgramPage:
      if (index > addressBytes_) page_.push_back(byte);
      break;
    default:
      break;
  }
}

uint8_t SpiFlash::Status(int64_t nowUs) const {
  return static_cast<uint8_t>((nowUs < busyUntilUs_ ? kBusy : 0) | (writeEnabled_ ? kWel : 0));
}

uint8_t SpiFlash::Peek(uint32_t address) const {
  address &= sizeBytes_ - 1;
  const Sector* sector = SectorAt(address / kSectorBytes);
  return sector ? (*sector)[address % kSectorBytes] : 0xFF;
}

const SpiFlash::Sector* SpiFlash::SectorAt(uint32_t number) const {
  const auto found = sectors_.find(number);
  return found == sectors_.end() ? nullptr : &found->second;
}

void SpiFlash::Load(uint32_t address, std::span<const uint8_t> bytes) {
  // A sector at a time: a whole image loads at the speed of copying it.
  while (!bytes.empty()) {
    address &= sizeBytes_ - 1;
    const uint32_t number = address / kSectorBytes;
    const uint32_t offset = address % kSectorBytes;
    const size_t count = std::min<size_t>(bytes.size(), kSectorBytes - offset);
    auto [sector, added] = sectors_.try_emplace(number);
    if (added) sector->second.fill(0xFF);
    std::copy_n(bytes.begin(), count, sector->second.begin() + offset);
    if (tracking_) changed_.insert(number);
    bytes = bytes.subspan(count);
    address += static_cast<uint32_t>(count);
  }
}

void SpiFlash::Program(uint32_t address, uint8_t byte) {
  // Programming only clears bits; erasing is what sets them again.
  const uint8_t value = Peek(address) & byte;
  if (value != Peek(address)) Load(address, {&value, 1});
}

void SpiFlash::EraseSector(uint32_t address) {
  const uint32_t number = address / kSectorBytes;
  if (sectors_.erase(number) > 0 && tracking_) changed_.insert(number);
}

}  // namespace brevant::virt
