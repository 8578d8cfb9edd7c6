// Puts bytes into a serial NOR flash without losing the bytes around them.
//
// Writes go sector by sector (4 KiB): the sector is read, the new bytes laid on
// it, the sector erased only if some bit must rise, and only pages that differ
// programmed. Between erase and program the sector's other bytes live only in
// this process, so a failure there is repaired at once: the channel is opened
// afresh and the sector written as it should end. If even that fails, the
// sector's old contents go to a recovery file and the message names it with the
// addresses at risk. Sectors that already hold what they should are skipped, so
// running the same write again finishes an interrupted one.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "FlashLink.h"
#include "Progress.h"

namespace brevant::tool {

class FlashWriter {
 public:
  struct Counts {
    int erased = 0;
    int programmed = 0;
  };

  // `input` names the data's file ("-" for stdin): recovery files go beside it.
  // `device` is the -d text, repeated in the command that puts a sector back.
  FlashWriter(FlashLink& link, std::string input, std::string device);

  // Writes `data` at `address` (a range the flash holds). Any failure becomes a
  // ToolError that says how far the write got and what is at risk; the error
  // that stopped it is printed on stderr first.
  Counts Write(uint64_t address, std::span<const uint8_t> data, Progress& progress);

 private:
  // What a sector held and should hold, while it is being written.
  struct Sector {
    uint64_t base = 0;
    std::vector<uint8_t> held;
    std::vector<uint8_t> wanted;
    bool erased = false;  // an erase was sent: bytes outside the range are at risk
  };

  void WriteSector(Sector& sector, Counts& counts);
  // After a failure in `sector`: opens the channel afresh and writes the sector
  // as it should end. Returns why that failed, if it did.
  std::optional<std::string> Repair(const Sector& sector);
  // Saves the sector's old bytes in a new file; its path, unless none could be
  // written.
  std::optional<std::filesystem::path> SaveRecovery(const Sector& sector) const;
  // Throws the ToolError for a write that `cause` stopped in `sector`, after
  // repairing the sector or saving its old bytes.
  [[noreturn]] void Stopped(const std::string& cause, uint64_t address, uint64_t end, uint64_t done,
                            const Sector& sector);

  FlashLink& link_;
  std::string input_;
  std::string device_;
};

}  // namespace brevant::tool
