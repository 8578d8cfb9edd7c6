// The chip's MPSSE command processor, behind a channel in bit mode 2.
//
// It runs the command stream as the chip does: the data-shifting commands by
// their opcode bits, both ports, loopback, the clock divisor, send immediate, and
// the bad-command answer 0xFA <opcode>, after which the next byte is a command
// again. A command split over several writes waits for its missing bytes.
//
// Which commands a part knows, and how wide its high port is, come from its
// MpsseModel. The high-speed parts add: 0x8A/0x8B (divide by 5 off/on),
// 0x8C/0x8D (three-phase clocking on/off: a bit takes 1.5 periods), 0x8E n
// (n + 1 clocks, no data), 0x8F lo hi (8 x (count + 1) clocks), 0x94/0x95 (clock
// until GPIOL1 is high/low), 0x9C/0x9D lo hi (as 0x8F, stopping early when GPIOL1
// is high/low) and 0x96/0x97 (adaptive clocking on/off: each clock waits for
// RTCK on GPIOL3 to follow it); the FT232H also has 0x9E lo hi (drive-zero: a
// masked pin drives only 0 and floats for 1). Every part knows 0x88/0x89 (wait
// until GPIOL1 is high/low). A wait for a level that never comes stalls the
// engine, as the chip hangs: what follows waits until the mode is set again or
// the host-to-chip data is purged.
//
// Peripherals on the pins are clocked bit by bit, except a peripheral that takes
// whole bytes (an SPI flash, selected, in mode 0 or 3), which gets them byte by
// byte with the same timing. With none attached, byte transfers take a fast path
// that never looks at single bits. While a PinRecorder records the pins, every
// transfer takes the bit path, which ends the same way, so that each edge is seen.
//
// Time: every shifted bit costs one clock period of virtual time, so commands run
// back to back from when they arrive. Answers leave the chip when a USB packet is
// full, when send immediate comes, or when the latency timer runs out, whichever
// is first; a slow transfer therefore reaches the host piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "virtual/ChannelEngine.h"
#include "virtual/PinRecorder.h"
#include "virtual/Wires.h"
#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

// What a part's MPSSE has.
struct MpsseModel {
  bool highSpeed = true;       // the 30 MHz clock base and the high-speed commands
  bool driveZero = false;      // 0x9E
  uint16_t highPins = 0xFF00;  // the ACBUS pins the high port drives (bits 8-15)
  size_t packetBytes = 510;    // data bytes in one bulk IN packet
};

class MpsseEngine : public ChannelEngine {
 public:
  MpsseEngine(Wires& board, MpsseModel model);

  void Start(uint8_t mask) override;
  void Purge() override;
  int64_t BusyUntilUs() const override;
  size_t Unprocessed() const override { return partial_.size(); }
  void Receive(std::span<const uint8_t> bytes, Channel& channel) override;
  uint8_t Pins() const override { return static_cast<uint8_t>(Levels()); }

  // Wires `device` onto the pins.
  void Attach(std::shared_ptr<PinDevice> device) { devices_.push_back(std::move(device)); }
  // The first attached device of type `Device`, or null.
  template <class Device>
  Device* Attached() const {
    for (const auto& device : devices_) {
      if (auto* found = dynamic_cast<Device*>(device.get())) return found;
    }
    return nullptr;
  }

  // The library's names of the pins this part has, by pin bit: SK, DO, DI, CS,
  // GPIOL0-3, then GPIOH0-7 as far as the high port goes (empty where it does
  // not).
  std::vector<std::string> PinNames() const;
  // Shows every change of the pins to `recorder` from virtual time `nowUs` on,
  // starting with the levels now; null stops recording.
  void RecordTo(std::shared_ptr<PinRecorder> recorder, int64_t nowUs);

  // The live levels of all 16 pins, as the chip's read commands see them.
  uint16_t Levels() const;
  // The pins whose LEDs are lit.
  uint16_t LitLeds() const { return board_.LitLeds(latch_, outputs_); }
  // The MPSSE clock now, in hertz.
  double ClockHz() const;

 private:
  // Runs the complete commands at the front of `stream`; returns the bytes used.
  size_t RunCommands(std::span<const uint8_t> stream, Channel& channel);
  bool Knows(uint8_t opcode) const;
  // Bytes the command at the front of `stream` takes in all; 0 while its length
  // field has not come yet.
  size_t CommandSize(std::span<const uint8_t> stream) const;
  // False when the command waits for a level that never comes.
  bool Run(std::span<const uint8_t> command, Channel& channel);
  void Shift(std::span<const uint8_t> command, Channel& channel);
  // Clocks `bits` periods with no data (0: without end), stopping once GPIOL1
  // reads `until`, if given. False when an endless one never got there.
  bool Clock(size_t bits, std::optional<bool> until);
  bool Gpiol1() const;
  // Adaptive clocking waits for RTCK to follow SK; false when it never would.
  bool RtckFollows() const;
  // The byte path: every attached device takes whole bytes for this command.
  bool CanShiftBytes(uint8_t opcode) const;
  // A byte transfer with nothing on the pins that could answer bit by bit.
  bool CanShiftFast() const;
  void ShiftFast(uint8_t opcode, std::span<const uint8_t> payload, size_t count,
                 std::vector<uint8_t>& answer);
  // One clock period: the data pins are set, then two edges of SK. Returns DI as
  // sampled on the read edge. `launchOnFirstEdge`: a recording shows the new
  // data at the bit's first edge rather than at its start, as the chip puts it
  // out on the edge the command writes on.
  bool ClockBit(bool readOnFalling, int64_t atTicks, bool launchOnFirstEdge = false);
  void SetLatch(uint16_t pins, bool high);
  // The pins the chip drives now: outputs, less drive-zero pins latched high.
  uint16_t Driven() const;
  // Shows the pins to the devices and, if `shown`, to the recorder.
  void Notify(int64_t atTicks, bool shown = true);
  bool DataIn() const;
  int64_t BitTicks() const;

  // Answers ready from `firstReady` on, one every `step` ticks.
  void Produce(std::span<const uint8_t> bytes, int64_t firstReady, int64_t step, Channel& channel);
  void Flush(int64_t atTicks, Channel& channel);

  Wires& board_;
  const MpsseModel model_;
  std::vector<std::shared_ptr<PinDevice>> devices_;
  std::shared_ptr<PinRecorder> recorder_;  // null while not recording

  uint16_t latch_ = 0;    // what the chip drives on pins that are outputs
  uint16_t outputs_ = 0;  // pin directions, 1 = output
  bool loopback_ = false;
  bool divideBy5_ = true;
  bool threePhase_ = false;
  bool adaptive_ = false;
  uint16_t driveZero_ = 0;
  uint16_t divisor_ = 0;
  bool stalled_ = false;  // waiting for a level that never comes

  std::vector<uint8_t> partial_;  // a command still missing bytes
  int64_t cursor_ = 0;            // when the chip is done with what it got, in ticks
  int64_t latencyTicks_ = 0;
  std::vector<uint8_t> held_;  // answers not yet sent to the host
  int64_t heldSince_ = 0;
};

}  // namespace brevant::virt
