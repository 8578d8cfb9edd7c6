// --trace: a log sink that prints each driver call's line on stderr, so that a
// user sees exactly what the library asked of the driver.
#pragma once

#include <memory>

#include "brevant/icLog.h"

namespace brevant::tool {

class TraceLog : public icLog {
 public:
  void LogEntry(int32_t Level, const std::string& Entry) override;

  // The sink to set on every object: a TraceLog when tracing, else none, so that
  // the library builds no log text at all.
  static std::shared_ptr<icLog> When(bool tracing);
};

}  // namespace brevant::tool
