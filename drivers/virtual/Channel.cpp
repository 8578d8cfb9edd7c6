#include "virtual/Channel.h"

#include <algorithm>
#include <cstring>

namespace brevant::virt {

namespace {

constexpr uint8_t kModeReset = 0x00;  // the EEPROM's interface: 245 FIFO on this bench
constexpr uint8_t kModeOpto = 0x10;
constexpr int64_t kUsPerMs = 1000;

}  // namespace

Channel::Channel(DeviceIdentity identity, VirtualClock& clock)
    : identity_(std::move(identity)), clock_(clock), peer_(std::make_shared<StreamPeer>()) {
  engines_[kModeReset] = peer_;
  engines_[kModeOpto] = peer_;
}

void Channel::SetEngine(uint8_t mode, std::shared_ptr<ChannelEngine> engine) {
  engines_[mode] = std::move(engine);
}

ChannelEngine* Channel::EngineFor(uint8_t mode) const {
  const auto found = engines_.find(mode);
  return found == engines_.end() ? nullptr : found->second.get();
}

ChannelEngine* Channel::CurrentEngine() const {
  return EngineFor(settings_.mode);
}

void Channel::SetBitMode(uint8_t mask, uint8_t mode) {
  settings_.mask = mask;
  settings_.mode = mode;
  if (ChannelEngine* engine = CurrentEngine()) engine->Start(mask);
}

void Channel::HostWrite(std::span<const uint8_t> bytes) {
  // A mode with no engine on this bench swallows what it is sent.
  ChannelEngine* engine = CurrentEngine();
  if (engine == nullptr) return;
  const int64_t start = std::max(clock_.Now(), engine->BusyUntilUs());
  engine->Receive(bytes, *this);
  // The engine works through what it holds at this write's pace until
  // BusyUntilUs; the write is done once what is left fits in the buffer, which
  // for a write behind a long backlog is later than its start.
  const int64_t done = engine->BusyUntilUs();
  if (!bytes.empty() && done > start) {
    const auto left = static_cast<int64_t>(receiveBuffer_);
    clock_.AdvanceTo(done - (done - start) * left / static_cast<int64_t>(bytes.size()));
  }
}

uint32_t Channel::ReceiveRoom() const {
  const ChannelEngine* engine = CurrentEngine();
  const size_t held = engine ? engine->Unprocessed() : 0;
  return held >= receiveBuffer_ ? 0 : receiveBuffer_ - static_cast<uint32_t>(held);
}

void Channel::Deliver(std::span<const uint8_t> bytes, int64_t delayUs) {
  // The chip holds a short answer until its latency timer runs out.
  DeliverAt(clock_.Now() + delayUs + std::max<int64_t>(settings_.latencyMs, 1) * kUsPerMs, bytes);
}

void Channel::DeliverAt(int64_t arrivalUs, std::span<const uint8_t> bytes) {
  for (auto chunk = pending_.rbegin(); chunk != pending_.rend() && chunk->arrivalUs > arrivalUs;
       ++chunk) {
    chunk->arrivalUs = arrivalUs;
  }
  if (!bytes.empty())
    pending_.push_back({arrivalUs, std::vector<uint8_t>(bytes.begin(), bytes.end())});
}

uint32_t Channel::Available() const {
  uint64_t count = 0;
  for (const Pending& chunk : pending_) {
    if (chunk.arrivalUs > clock_.Now()) break;
    count += chunk.bytes.size() - chunk.taken;
  }
  return static_cast<uint32_t>(count);
}

uint32_t Channel::HostRead(std::span<uint8_t> out) {
  // A read of nothing is complete at once; it must not wait for an arrival or
  // the time-out.
  if (out.empty()) return 0;
  // When would the whole request be there? Chunks arrive in queue order.
  uint64_t queued = 0;
  int64_t complete = -1;
  for (const Pending& chunk : pending_) {
    queued += chunk.bytes.size() - chunk.taken;
    if (queued >= out.size()) {
      complete = chunk.arrivalUs;
      break;
    }
  }
  const bool limited = settings_.readTimeoutMs != 0;
  const int64_t deadline = clock_.Now() + int64_t{settings_.readTimeoutMs} * kUsPerMs;
  if (complete >= 0 && (!limited || complete <= deadline)) {
    clock_.AdvanceTo(complete);
  } else if (limited) {
    clock_.AdvanceTo(deadline);
  } else if (!pending_.empty()) {
    // Without a time-out the real driver would wait for ever; the bench gives
    // what will ever come rather than hang the program under test.
    clock_.AdvanceTo(pending_.back().arrivalUs);
  }

  size_t given = 0;
  while (given < out.size() && !pending_.empty() && pending_.front().arrivalUs <= clock_.Now()) {
    Pending& chunk = pending_.front();
    const size_t take = std::min(out.size() - given, chunk.bytes.size() - chunk.taken);
    std::memcpy(out.data() + given, chunk.bytes.data() + chunk.taken, take);
    given += take;
    chunk.taken += take;
    if (chunk.taken == chunk.bytes.size()) pending_.pop_front();
  }
  return static_cast<uint32_t>(given);
}

void Channel::PurgeTransmit() {
  if (ChannelEngine* engine = CurrentEngine()) engine->Purge();
}

void Channel::Reset() {
  const uint32_t readTimeout = settings_.readTimeoutMs;
  const uint32_t writeTimeout = settings_.writeTimeoutMs;
  settings_ = ChannelSettings{};
  settings_.readTimeoutMs = readTimeout;
  settings_.writeTimeoutMs = writeTimeout;
  pending_.clear();
}

uint8_t Channel::Pins() const {
  const ChannelEngine* engine = CurrentEngine();
  return engine ? engine->Pins() : 0;
}

}  // namespace brevant::virt
