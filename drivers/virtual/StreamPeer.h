// The device on the far side of a 245 FIFO or opto channel. By default it echoes
// every byte it gets; a test or bench file can script its answers instead, or
// make it send on its own.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "virtual/ChannelEngine.h"

namespace brevant::virt {

class StreamPeer : public ChannelEngine {
 public:
  // Turns what the peer received into what it sends back.
  using Responder = std::function<std::vector<uint8_t>(std::span<const uint8_t>)>;

  // Echo is the default answer.
  StreamPeer();

  void Receive(std::span<const uint8_t> bytes, Channel& channel) override;
  // The bus's pull-ups hold idle pins high.
  uint8_t Pins() const override { return 0xFF; }

  // Replaces the answer; an empty responder makes the peer silent.
  void Respond(Responder responder) { responder_ = std::move(responder); }
  // What the peer received, in order: everything, up to the last 1 to 2 MiB of
  // a longer stream, which would otherwise grow without end (a long-running
  // `brevant emulate`, a benchmark).
  const std::vector<uint8_t>& Received() const { return received_; }

 private:
  Responder responder_;
  std::vector<uint8_t> received_;
};

}  // namespace brevant::virt
