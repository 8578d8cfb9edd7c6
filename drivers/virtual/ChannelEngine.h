// What sits behind a channel's FIFOs while the channel is in one bit mode: the
// stream peer of 245 FIFO and opto mode, and later the MPSSE and bit-bang engines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace brevant::virt {

class Channel;

class ChannelEngine {
 public:
  virtual ~ChannelEngine() = default;
  // The channel enters this engine's mode with `mask` (pin directions, 1 = out).
  virtual void Start(uint8_t /*mask*/) {}
  // Bytes the host wrote reach the chip; replies go back through
  // channel.Deliver, which queues them for the host's reads.
  virtual void Receive(std::span<const uint8_t> bytes, Channel& channel) = 0;
  // The host purged its data to the chip: drop what has come but not yet run.
  virtual void Purge() {}
  // When, in virtual microseconds, the engine is done with what it was given.
  virtual int64_t BusyUntilUs() const { return 0; }
  // Bytes received and not yet run: a command waiting for its rest, or all that
  // came after a command the chip hangs in.
  virtual size_t Unprocessed() const { return 0; }
  // The level of the channel's pins now, as FT_GetBitMode reads them.
  virtual uint8_t Pins() const = 0;
};

}  // namespace brevant::virt
