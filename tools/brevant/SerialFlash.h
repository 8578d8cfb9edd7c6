// A serial NOR flash on an MPSSE channel's SPI pins (SK, DO, DI, CS), in SPI
// mode 0. Every flash command is one transaction here, so that the whole SPI
// conversation sits in one class; each goes to the chip as one batch, one
// write and at most one read.
#pragma once

#include <cstdint>
#include <span>

#include "brevant/ByteArray.h"
#include "brevant/MpsseBatch.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant::tool {

class SerialFlash {
 public:
  static constexpr uint32_t kPageBytes = 256;
  static constexpr uint32_t kSectorBytes = 4096;
  // One read transaction carries at most this many data bytes behind its four
  // command bytes, within the chip's 64 KiB per transfer.
  static constexpr uint32_t kMaxReadBytes = 65536 - 4;

  // Sets the clock and deselects the flash; `mpsse` is open and stays the
  // caller's.
  explicit SerialFlash(clsFTDIMPSSE& mpsse);

  // Manufacturer, memory type and capacity bytes, in that order from bit 16 down.
  uint32_t JedecId();
  // Bytes from `address` on; at most kMaxReadBytes.
  void Read(uint32_t address, std::span<uint8_t> into);
  // Erases the 4 KiB sector holding `address` and waits until it is done.
  void EraseSector(uint32_t address);
  // Programs `data` (at most one page, not crossing it) and waits until done.
  void ProgramPage(uint32_t address, std::span<const uint8_t> data);

 private:
  // CS low, `out` sent, `inLength` bytes read, CS high; returns what was read.
  ByteArray Transaction(const ByteArray& out, int32_t inLength = 0);
  void WriteEnable();
  // Polls the status register until the busy bit clears; a ToolError if it
  // never does.
  void WaitWhileBusy();

  clsFTDIMPSSE& mpsse_;
  MpsseBatch batch_;
};

}  // namespace brevant::tool
