// Arbitrary command streams for the virtual MPSSE engine, through the driver's
// own calls on a fresh one-part bench in MPSSE mode. The first byte picks the
// part (high-speed FT2232H or full-speed FT2232D, which differ in clock
// commands and packet size) and whether an SPI flash sits on the pins, which
// sends every shifted bit through the pin-level path. The rest is split at
// 0xAA 0x55 into writes, each followed by draining the receive queue.
//
// A byte transfer may ask for 65536 bytes; with the flash that is half a million
// bits clocked one by one, all through the same code, and one such command costs
// more than thousands of short inputs. So the byte transfers of one input move
// at most 64 bytes in all with the flash (still more than a packet of the
// full-speed part), 2048 without (four packets of the high-speed part).
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"
#include "virtual/mpsse/MpsseBench.h"
#include "virtual/mpsse/SpiFlash.h"

namespace {

constexpr size_t kFlashByteBudget = 64;
constexpr size_t kByteBudget = 2048;

// Walks the stream command by command as the chip does and cuts the length
// fields of byte transfers to what is left of `budget` (at least one byte, the
// shortest a command can ask for); a command may run on past a write's end.
void CapByteCounts(std::vector<uint8_t>& stream, size_t budget) {
  size_t i = 0;
  while (i < stream.size()) {
    const uint8_t opcode = stream[i];
    const bool shift = opcode < 0x80 && (opcode & 0x70) != 0;
    if (shift && (opcode & 0x42) != 0) {
      i += opcode & 0x50 ? 3 : 2;  // bit or TMS command: count, data when it writes
    } else if (shift) {
      if (i + 2 >= stream.size()) return;
      const size_t asked = (stream[i + 1] | stream[i + 2] << 8) + 1u;
      const size_t count = std::max<size_t>(std::min(asked, budget), 1);
      budget -= std::min(count, budget);
      stream[i + 1] = static_cast<uint8_t>(count - 1);
      stream[i + 2] = static_cast<uint8_t>((count - 1) >> 8);
      i += 3 + (opcode & 0x10 ? count : 0);
    } else {
      i += opcode == 0x80 || opcode == 0x82 || opcode == 0x86 ? 3 : 1;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const bool fullSpeed = data[0] & 1;
  const bool flash = data[0] & 2;
  // The writes, joined into one stream for capping, and where each ends.
  std::vector<uint8_t> stream;
  std::vector<size_t> ends;
  for (size_t i = 1; i < size; ++i) {
    if (i + 1 < size && data[i] == 0xAA && data[i + 1] == 0x55) {
      ends.push_back(stream.size());
      ++i;
    } else {
      stream.push_back(data[i]);
    }
  }
  ends.push_back(stream.size());
  CapByteCounts(stream, flash ? kFlashByteBudget : kByteBudget);

  using namespace brevant::virt;
  auto bench = std::make_shared<Bench>();
  bench->AddPart(fullSpeed ? PartKind::kFT2232D : PartKind::kFT2232H, "FUZZ", 0x0100);
  if (flash) {
    MpsseOf(bench->Device(0))
        .Attach(std::make_shared<SpiFlash>(std::array<uint8_t, 3>{0xEF, 0x40, 0x16}, 4u << 20));
  }
  VirtualDriver driver(bench);
  brevant::FtHandle handle{};
  if (driver.FT_Open(0, &handle) != 0 || driver.FT_SetBitMode(handle, 0, 2) != 0) __builtin_trap();
  std::vector<uint8_t> answer;
  size_t start = 0;
  for (const size_t end : ends) {
    uint32_t written = 0, queued = 0, read = 0;
    driver.FT_Write(handle, stream.data() + start, static_cast<uint32_t>(end - start), &written);
    driver.FT_GetQueueStatus(handle, &queued);
    answer.resize(queued);
    driver.FT_Read(handle, answer.data(), queued, &read);
    start = end;
  }
  driver.FT_Close(handle);
  return 0;
}
