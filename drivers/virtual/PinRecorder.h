// The pin changes of one channel in virtual time, as a Value Change Dump shows
// them: an engine calls Record whenever its pins may have moved, and Recording
// writes what all recorders hold as one file.
//
// Changes are kept packed (the time since the one before, then the 16 levels),
// about four bytes each, so a long transfer stays affordable in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brevant::virt {

class PinRecorder {
 public:
  // `scope` names the channel (its part's serial number and channel letter);
  // `pins[n]` names the signal of pin bit n, empty for a pin not shown.
  PinRecorder(std::string scope, std::vector<std::string> pins);

  // From `atNs` on the pins stand at `levels`; nothing is kept when they did not
  // move. A change at or before the time of the one before it is kept 1 ns after
  // that one: commands that cost the engine no time (port writes) still happen
  // in order, and a start condition made of three port writes stays visible.
  void Record(int64_t atNs, uint16_t levels);

  const std::string& Scope() const { return scope_; }
  const std::vector<std::string>& Pins() const { return pins_; }
  // Changes kept, the first (the levels when recording began) included.
  size_t Changes() const { return changes_; }
  int64_t LastNs() const { return lastNs_; }

  // Walks the changes in order.
  class Reader {
   public:
    explicit Reader(const PinRecorder& recorder) : data_(recorder.packed_) {}
    // The next change; false after the last.
    bool Next(int64_t& atNs, uint16_t& levels);

   private:
    const std::vector<uint8_t>& data_;
    size_t at_ = 0;
    int64_t ns_ = 0;
  };

 private:
  std::string scope_;
  std::vector<std::string> pins_;
  std::vector<uint8_t> packed_;
  size_t changes_ = 0;
  int64_t lastNs_ = 0;
  uint16_t last_ = 0;
};

}  // namespace brevant::virt
