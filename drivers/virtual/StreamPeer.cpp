#include "virtual/StreamPeer.h"

#include "virtual/Channel.h"

namespace brevant::virt {

StreamPeer::StreamPeer()
    : responder_([](std::span<const uint8_t> bytes) {
        return std::vector<uint8_t>(bytes.begin(), bytes.end());
      }) {}

void StreamPeer::Receive(std::span<const uint8_t> bytes, Channel& channel) {
  constexpr size_t kKept = size_t{1} << 20;
  received_.insert(received_.end(), bytes.begin(), bytes.end());
  // Dropping a whole 1 MiB at once keeps the cost per byte constant.
  if (received_.size() > 2 * kKept) {
    received_.erase(received_.begin(), received_.end() - static_cast<ptrdiff_t>(kKept));
  }
  if (!responder_) return;
  const std::vector<uint8_t> answer = responder_(bytes);
  if (!answer.empty()) channel.Deliver(answer);
}

}  // namespace brevant::virt
