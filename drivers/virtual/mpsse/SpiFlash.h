// A serial NOR flash on the SPI pins: SK clock, DO into the flash, DI out of it,
// CS active low. It samples on the rising edge and shifts out on the falling one,
// so SPI modes 0 and 3 both work.
//
// Commands: 0x9F JEDEC ID, 0x03 read, 0x06 write enable, 0x04 write disable,
// 0x05 read status (bit 0 BUSY, bit 1 WEL), 0x02 page program, 0x20 sector erase.
// Program and erase need WEL, start when CS goes high, clear WEL, and keep the
// chip busy for a while of virtual time; a busy chip answers only 0x05. Memory
// is kept by 4 KiB sector and only where it differs from erased (0xFF).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

class SpiFlash : public PinDevice {
 public:
  static constexpr uint32_t kSectorBytes = 4096;
  static constexpr uint32_t kPageBytes = 256;
  static constexpr int64_t kProgramUs = 700;
  static constexpr int64_t kEraseUs = 45000;

  // `jedecId`: manufacturer, memory type, capacity code. `sizeBytes`: a power of
  // two; addresses wrap at it.
  SpiFlash(std::array<uint8_t, 3> jedecId, uint32_t sizeBytes);

  void Sense(uint16_t levels, int64_t nowUs) override;
  uint16_t DrivenPins() const override { return selected_ ? mpsse_pin::kDataIn : 0; }
  uint16_t DrivenLevels() const override { return dataOut_ ? mpsse_pin::kDataIn : 0; }

  // The memory, for tests and bench set-up; Load writes without erasing first.
  uint8_t Peek(uint32_t address) const;
  void Load(uint32_t address, std::span<const uint8_t> bytes);
  uint8_t Status(int64_t nowUs) const;
  // Sectors that hold anything but 0xFF.
  size_t UsedSectors() const { return sectors_.size(); }

 private:
  using Sector = std::array<uint8_t, kSectorBytes>;

  void Select();
  void Deselect(int64_t nowUs);
  // A whole byte came in; sets the byte to shift out next.
  void Take(uint8_t byte, int64_t nowUs);
  void Program(uint32_t address, uint8_t byte);
  void EraseSector(uint32_t address);

  const std::array<uint8_t, 3> jedecId_;
  const uint32_t sizeBytes_;
  std::map<uint32_t, Sector> sectors_;  // by sector number

  bool writeEnabled_ = false;
  int64_t busyUntilUs_ = 0;

  bool selected_ = false;
  bool clock_ = false;
  bool dataOut_ = true;
  uint8_t inByte_ = 0;
  int inBits_ = 0;
  uint8_t outByte_ = 0xFF;
  size_t index_ = 0;  // bytes taken since CS fell
  uint8_t opcode_ = 0;
  uint32_t address_ = 0;
  std::vector<uint8_t> page_;  // data of a page program, in order
};

}  // namespace brevant::virt
