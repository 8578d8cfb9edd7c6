#include "virtual/BitBangEngine.h"

#include <algorithm>
#include <vector>

#include "virtual/Channel.h"

namespace brevant::virt {

namespace {

// The bit-bang clock runs at 16 times the baud rate, one byte a tick.
constexpr int64_t kTicksPerBaud = 16;
constexpr int64_t kUsPerSecond = 1000000;
constexpr int64_t kNsPerSecond = 1000000000;
constexpr int64_t kNsPerUs = 1000;

}  // namespace

uint8_t BitBangEngine::Pins() const {
  return static_cast<uint8_t>(board_.Levels(latch_, mask_));
}

void BitBangEngine::RecordTo(std::shared_ptr<PinRecorder> recorder, int64_t nowUs) {
  recorder_ = std::move(recorder);
  if (recorder_) recorder_->Record(std::max(readyUs_, nowUs) * kNsPerUs, Pins());
}

void BitBangEngine::Receive(std::span<const uint8_t> bytes, Channel& channel) {
  // Bytes written while an earlier run is still being clocked wait for it.
  const int64_t start = std::max(readyUs_, channel.Now());
  const int64_t tickRate = kTicksPerBaud * std::max<int64_t>(channel.Settings().baudRate, 1);
  std::vector<uint8_t> samples;
  samples.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    samples.push_back(Pins());
    latch_ = bytes[i];
    if (recorder_) {
      recorder_->Record(start * kNsPerUs + static_cast<int64_t>(i) * kNsPerSecond / tickRate, Pins());
    }
  }

  const auto doneAt = [&](size_t count) {
    return start + static_cast<int64_t>(count) * kUsPerSecond / tickRate;
  };
  for (size_t first = 0; first < samples.size(); first += packetBytes_) {
    const size_t end = std::min(samples.size(), first + packetBytes_);
    channel.Deliver(std::span(samples).subspan(first, end - first), doneAt(end) - channel.Now());
  }
  readyUs_ = doneAt(samples.size());
}

}  // namespace brevant::virt
