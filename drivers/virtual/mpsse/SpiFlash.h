// A serial NOR flash on the SPI pins: SK clock, DO into the flash, DI out of it,
// CS active low. It samples on the rising edge and shifts out on the falling one,
// so SPI modes 0 and 3 both work.
//
// Commands: 0x9F JEDEC ID, 0x03 read, 0x06 write enable, 0x04 write disable,
// 0x05 read status (bit 0 BUSY, bit 1 WEL), 0x02 page program, 0x20 sector erase,
// and 0x5A read SFDP on a chip built with that table. Parts above 16 MiB also
// know the 4-byte commands 0x13 read, 0x12 program and 0x21 erase, and 0xB7 /
// 0xE9 to enter and leave 4-byte mode, in which 0x03, 0x02 and 0x20 take four
// address bytes too; a 3-byte address reaches only the first 16 MiB. Smaller
// parts ignore all five, as a chip ignores an opcode it does not know.
//
// Program and erase need WEL, start when CS goes high, clear WEL, and keep the
// chip busy for a while of virtual time; a busy chip answers only 0x05. Memory
// is kept by 4 KiB sector and only where it differs from erased (0xFF).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

class SpiFlash : public PinDevice {
 public:
  static constexpr uint32_t kSectorBytes = 4096;
  static constexpr uint32_t kPageBytes = 256;
  static constexpr int64_t kProgramUs = 700;
  static constexpr int64_t kEraseUs = 45000;
  // What a 3-byte address reaches.
  static constexpr uint32_t k3ByteSpan = 1u << 24;

  using Sector = std::array<uint8_t, kSectorBytes>;

  // `jedecId`: manufacturer, memory type, capacity code. `sizeBytes`: a power of
  // two from 4 KiB on; addresses wrap at it. `sfdp`: the chip describes itself
  // in a JESD216 table read with 0x5A.
  SpiFlash(std::array<uint8_t, 3> jedecId, uint32_t sizeBytes, bool sfdp = false);

  void Sense(uint16_t levels, int64_t nowUs) override;
  uint16_t DrivenPins() const override { return selected_ ? mpsse_pin::kDataIn : 0; }
  uint16_t DrivenLevels() const override { return dataOut_ ? mpsse_pin::kDataIn : 0; }
  bool TakesBytes(uint16_t levels) const override;
  uint8_t ExchangeByte(uint8_t in, int64_t nowUs) override;

  // The memory, for tests and bench set-up; Load writes without erasing first.
  uint8_t Peek(uint32_t address) const;
  void Load(uint32_t address, std::span<const uint8_t> bytes);
  uint8_t Status(int64_t nowUs) const;
  // How long a page program and a sector erase keep the chip busy, in virtual
  // time; kProgramUs and kEraseUs unless set. Tools that wait in real time
  // between status reads (flashrom sleeps 10 ms per poll during an erase) get
  // through a large write quickly with both at 0.
  void SetBusyTimes(int64_t programUs, int64_t eraseUs) {
    programUs_ = programUs;
    eraseUs_ = eraseUs;
  }
  // Sectors that hold anything but 0xFF.
  size_t UsedSectors() const { return sectors_.size(); }
  uint32_t SizeBytes() const { return sizeBytes_; }
  // Sector `number`'s bytes, or null while it is erased.
  const Sector* SectorAt(uint32_t number) const;

  // From now on, remembers which sectors change (by program, erase or Load) until
  // TakeChanges hands them over. Off by default, so a flash nobody keeps costs
  // nothing.
  void TrackChanges() { tracking_ = true; }
  std::set<uint32_t> TakeChanges() { return std::exchange(changed_, {}); }

 private:
  void Select();
  void Deselect(int64_t nowUs);
  // A whole byte came in; sets the byte to shift out next.
  void Take(uint8_t byte, int64_t nowUs);
  // The command byte: what it does and how many address bytes follow.
  void Decode(uint8_t opcode);
  void Program(uint32_t address, uint8_t byte);
  void EraseSector(uint32_t address);

  const std::array<uint8_t, 3> jedecId_;
  const uint32_t sizeBytes_;
  const std::vector<uint8_t> sfdp_;     // empty on a chip without the table
  std::map<uint32_t, Sector> sectors_;  // by sector number
  bool tracking_ = false;
  std::set<uint32_t> changed_;

  int64_t programUs_ = kProgramUs;
  int64_t eraseUs_ = kEraseUs;
  bool writeEnabled_ = false;
  bool fourByteMode_ = false;
  int64_t busyUntilUs_ = 0;

  bool selected_ = false;
  bool clock_ = false;
  bool dataOut_ = true;
  uint8_t inByte_ = 0;
  int inBits_ = 0;
  uint8_t outByte_ = 0xFF;
  size_t index_ = 0;    // bytes taken since CS fell
  uint8_t opcode_ = 0;  // 4-byte commands as their 3-byte twins; 0 for one ignored
  size_t addressBytes_ = 0;
  uint32_t addressMask_ = 0;
  uint32_t address_ = 0;
  std::vector<uint8_t> page_;  // data of a page program, in order
};

}  // namespace brevant::virt
