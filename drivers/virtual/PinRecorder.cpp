#include "virtual/PinRecorder.h"

namespace brevant::virt {

PinRecorder::PinRecorder(std::string scope, std::vector<std::string> pins)
    : scope_(std::move(scope)), pins_(std::move(pins)) {}

void PinRecorder::Record(int64_t atNs, uint16_t levels) {
  if (changes_ > 0) {
    if (levels == last_) return;
    if (atNs <= lastNs_) atNs = lastNs_ + 1;
  }
  // Seven bits of the delay a byte, low first, the top bit saying more follow.
  auto delay = static_cast<uint64_t>(changes_ > 0 ? atNs - lastNs_ : atNs);
  while (delay >= 0x80) {
    packed_.push_back(static_cast<uint8_t>(delay | 0x80));
    delay >>= 7;
  }
  packed_.push_back(static_cast<uint8_t>(delay));
  packed_.push_back(static_cast<uint8_t>(levels));
  packed_.push_back(static_cast<uint8_t>(levels >> 8));
  lastNs_ = atNs;
  last_ = levels;
  ++changes_;
}

bool PinRecorder::Reader::Next(int64_t& atNs, uint16_t& levels) {
  if (at_ >= data_.size()) return false;
  uint64_t delay = 0;
  for (int shift = 0;; shift += 7) {
    const uint8_t byte = data_[at_++];
    delay |= uint64_t{byte & 0x7Fu} << shift;
    if (!(byte & 0x80)) break;
  }
  ns_ += static_cast<int64_t>(delay);
  atNs = ns_;
  levels = static_cast<uint16_t>(data_[at_] | data_[at_ + 1] << 8);
  at_ += 2;
  return true;
}

}  // namespace brevant::virt
