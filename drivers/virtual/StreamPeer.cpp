#include "virtual/StreamPeer.h"

#include "virtual/Channel.h"

namespace brevant::virt {

StreamPeer::StreamPeer()
    : responder_([](std::span<const uint8_t> bytes) {
        return std::vector<uint8_t>(bytes.begin(), bytes.end());
      }) {}

void StreamPeer::Receive(std::span<const uint8_t> bytes, Channel& channel) {
  received_.insert(received_.end(), bytes.begin(), bytes.end());
  if (!responder_) return;
  const std::vector<uint8_t> answer = responder_(bytes);
  if (!answer.empty()) channel.Deliver(answer);
}

}  // namespace brevant::virt
