// What the tool needs to know of a serial NOR flash before it reads or writes:
// its size, how it erases 4 KiB, and how it takes addresses. It comes from the
// flash's SFDP table (JESD216) when it has one, else from its JEDEC ID.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace brevant::tool {

struct FlashGeometry {
  uint32_t jedecId = 0;  // manufacturer, memory type and capacity bytes, from bit 16 down
  uint64_t sizeBytes = 0;
  uint8_t sectorErase = 0x20;  // the opcode that erases 4 KiB with a 3-byte address
  // Parts above 16 MiB take their addresses in 4 bytes, through their own read,
  // program and erase opcodes; smaller parts know only 3.
  bool fourByteAddresses = false;
  std::string source;  // "SFDP" or "JEDEC ID", for the messages

  // Throws a ToolError when the flash cannot reach [address, address + length).
  void CheckRange(uint64_t address, uint64_t length) const;
};

// Bytes of an SFDP read from address 0 that hold the header, the first parameter
// headers and the basic table of every part seen so far.
inline constexpr size_t kSfdpBytes = 256;

// The geometry an SFDP table gives, or nothing when `sfdp` (read from address 0)
// holds no valid table with a basic flash parameter table inside it. A table that
// promises no 4 KiB erase is refused with a ToolError, since writes here work by
// 4 KiB sectors.
std::optional<FlashGeometry> GeometryFromSfdp(std::span<const uint8_t> sfdp);

// The geometry from the capacity byte of a JEDEC ID (2 to that power), as the
// common vendors number their parts. `device` names the channel in messages.
FlashGeometry GeometryFromJedecId(uint32_t id, const std::string& device);

}  // namespace brevant::tool
