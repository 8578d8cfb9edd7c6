// What sits behind a channel's FIFOs while the channel is in one bit mode: the
// stream peer of 245 FIFO and opto mode, and later the MPSSE and bit-bang engines.
#pragma once

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
  // The level of the channel's pins now, as FT_GetBitMode reads them.
  virtual uint8_t Pins() const = 0;
};

}  // namespace brevant::virt
