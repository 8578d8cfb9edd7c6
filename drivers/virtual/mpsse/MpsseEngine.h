// The chip's MPSSE command processor, behind a channel in bit mode 2.
//
// It runs the command stream as the chip does: the data-shifting commands by
// their opcode bits, both ports, loopback, the clock divisor, send immediate, and
// the bad-command answer 0xFA <opcode>. A command split over several writes waits
// for its missing bytes. Peripherals on the pins are clocked bit by bit; with none
// attached, byte transfers take a fast path that never looks at single bits.
//
// Time: every shifted bit costs one clock period of virtual time, so commands run
// back to back from when they arrive. Answers leave the chip when a USB packet is
// full, when send immediate comes, or when the latency timer runs out, whichever
// is first; a slow transfer therefore reaches the host piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "virtual/ChannelEngine.h"
#include "virtual/Wires.h"
#include "virtual/mpsse/PinDevice.h"

namespace brevant::virt {

class MpsseEngine : public ChannelEngine {
 public:
  // `highSpeed`: a part with the 30 MHz clock base, which knows 0x8A and 0x8B.
  // `packetBytes`: data bytes in one bulk IN packet.
  MpsseEngine(Wires& board, bool highSpeed, size_t packetBytes);

  void Start(uint8_t mask) override;
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

  // The live levels of all 16 pins, as the chip's read commands see them.
  uint16_t Levels() const;
  // The pins whose LEDs are lit.
  uint16_t LitLeds() const { return board_.LitLeds(latch_, outputs_); }
  // The MPSSE clock now, in hertz.
  double ClockHz() const;

 private:
  // Runs the complete commands at the front of `stream`; returns the bytes used.
  size_t RunCommands(std::span<const uint8_t> stream, Channel& channel);
  void Run(std::span<const uint8_t> command, Channel& channel);
  void Shift(std::span<const uint8_t> command, Channel& channel);
  // A byte transfer with nothing on the pins that could answer bit by bit.
  bool CanShiftFast() const;
  void ShiftFast(uint8_t opcode, std::span<const uint8_t> payload, size_t count,
                 std::vector<uint8_t>& answer);
  // One clock period: the data pins are set, then two edges of SK. Returns DI as
  // sampled on the read edge.
  bool ClockBit(bool readOnFalling, int64_t atTicks);
  void SetLatch(uint16_t pins, bool high);
  void Notify(int64_t atTicks);
  bool DataIn() const;
  int64_t BitTicks() const;

  // Answers ready from `firstReady` on, one every `step` ticks.
  void Produce(std::span<const uint8_t> bytes, int64_t firstReady, int64_t step, Channel& channel);
  void Flush(int64_t atTicks, Channel& channel);

  Wires& board_;
  const bool highSpeed_;
  const size_t packetBytes_;
  std::vector<std::shared_ptr<PinDevice>> devices_;

  uint16_t latch_ = 0;    // what the chip drives on pins that are outputs
  uint16_t outputs_ = 0;  // pin directions, 1 = output
  bool loopback_ = false;
  bool divideBy5_ = true;
  uint16_t divisor_ = 0;

  std::vector<uint8_t> partial_;  // a command still missing bytes
  int64_t cursor_ = 0;            // when the chip is done with what it got, in ticks
  int64_t latencyTicks_ = 0;
  std::vector<uint8_t> held_;  // answers not yet sent to the host
  int64_t heldSince_ = 0;
};

}  // namespace brevant::virt
