// A log sink for tests: keeps every entry, and can be told to throw.
#pragma once

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "brevant/icLog.h"

namespace brevant::testing {

struct LogLine {
  int32_t level;
  std::string text;
  friend bool operator==(const LogLine&, const LogLine&) = default;
  friend void PrintTo(const LogLine& l, std::ostream* os) { *os << l.level << " " << l.text; }
};

class RecordingLog : public icLog {
 public:
  void LogEntry(int32_t Level, const std::string& Entry) override {
    lines.push_back({Level, Entry});
    if (throwOnLevel == Level) throw std::runtime_error("sink failed: " + Entry);
  }

  // Only the texts, in order.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const LogLine& line : lines) texts.push_back(line.text);
    return texts;
  }

  std::vector<LogLine> lines;
  int32_t throwOnLevel = 0;  // 0: never throw
};

}  // namespace brevant::testing
