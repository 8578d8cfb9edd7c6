// A serial NOR flash on an MPSSE channel's SPI pins (SK, DO, DI, CS), in SPI
// mode 0. Every flash command is one transaction here, so that the whole SPI
// conversation sits in one class; each goes to the chip as one batch, one
// write and at most one read.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "FlashGeometry.h"
#include "brevant/ByteArray.h"
#include "brevant/MpsseBatch.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant::tool {

class SerialFlash {
 public:
  static constexpr uint32_t kPageBytes = 256;
  static constexpr uint32_t kSectorBytes = 4096;
  // The channel's transfers take lengths up to 0xFFFF bytes.
  static constexpr uint32_t kMaxReadBytes = 0xFFFF;

  // Sets SCK to the fastest rate not above `hz` that the part makes and
  // deselects the flash; `mpsse` is open and stays the caller's.
  SerialFlash(clsFTDIMPSSE& mpsse, double hz);

  double ClockHz() const { return clockHz_; }
  // The most bytes one Read should ask for: a piece that the clock shifts in a
  // small part of the channel's read time-out.
  uint32_t ReadPiece() const;

  // Learns size, erase and addressing from the SFDP table, else from the JEDEC
  // ID, and keeps them for the commands below. `device` names the channel in
  // messages.
  const FlashGeometry& Identify(const std::string& device);

  // Bytes from `address` on, in pieces of ReadPiece bytes: one transaction,
  // one driver write and one read, each.
  void Read(uint64_t address, std::span<uint8_t> into);
  // Erases the 4 KiB sector holding `address` and waits until it is done.
  void EraseSector(uint64_t address);
  // Programs `data` (at most one page, not crossing it) and waits until done.
  void ProgramPage(uint64_t address, std::span<const uint8_t> data);
  // Polls the status register until the busy bit clears; a ToolError if it
  // never does. A busy flash answers nothing but its status.
  void WaitWhileBusy();

 private:
  // Manufacturer, memory type and capacity bytes, in that order from bit 16 down.
  uint32_t JedecId();
  // CS low, `out` sent, `inLength` bytes read, CS high; returns what was read.
  ByteArray Transaction(const ByteArray& out, int32_t inLength = 0);
  // The command byte and the address in as many bytes as the flash takes, then
  // room for `payload` bytes.
  ByteArray Command(uint8_t threeByte, uint8_t fourByte, uint64_t address,
                    size_t payload = 0) const;
  void WriteEnable();

  clsFTDIMPSSE& mpsse_;
  MpsseBatch batch_;
  double clockHz_;
  FlashGeometry geometry_;
};

}  // namespace brevant::tool
