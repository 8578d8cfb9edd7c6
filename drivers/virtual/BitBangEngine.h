// The synchronous bit-bang engine of a channel (bit mode 4).
//
// The mask of the set-bit-mode call makes pins outputs (1) or inputs. Each byte
// the host writes drives the output pins and answers with one sample of all
// eight pins, taken just before the byte is driven, so the samples run one byte
// behind the output. Pins read through the channel's board wiring: a loop from
// an output, a level the board holds, or the pull-up.
//
// The chip clocks one byte per tick of a clock at 16 times the baud rate, and
// the samples reach the host in packets at that pace, so a long run can outlast
// the read time-out and the rest comes later. The pins themselves take a whole
// write at once: FT_GetBitMode right after a write shows its last byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "virtual/ChannelEngine.h"
#include "virtual/PinRecorder.h"
#include "virtual/Wires.h"

namespace brevant::virt {

class BitBangEngine : public ChannelEngine {
 public:
  // `board` is the wiring of the channel that owns this engine; samples reach
  // the host in packets of `packetBytes` (510 on high-speed parts, 62 on
  // full-speed ones).
  BitBangEngine(const Wires& board, size_t packetBytes)
      : board_(board), packetBytes_(packetBytes) {}

  void Start(uint8_t mask) override { mask_ = mask; }
  int64_t BusyUntilUs() const override { return readyUs_; }
  void Receive(std::span<const uint8_t> bytes, Channel& channel) override;
  uint8_t Pins() const override;

  // Shows the pins to `recorder` as each byte drives them, starting with the
  // levels at virtual time `nowUs`; null stops recording. A change of the
  // directions alone shows with the next byte.
  void RecordTo(std::shared_ptr<PinRecorder> recorder, int64_t nowUs);

 private:
  const Wires& board_;
  const size_t packetBytes_;
  uint8_t mask_ = 0;
  uint8_t latch_ = 0;    // the last byte written: what the outputs drive
  int64_t readyUs_ = 0;  // when the chip has clocked out everything so far
  std::shared_ptr<PinRecorder> recorder_;
};

}  // namespace brevant::virt
