#include "TraceLog.h"

#include <iostream>

namespace brevant::tool {

void TraceLog::LogEntry(int32_t Level, const std::string& Entry) {
  // Level 1 marks the failure of the call logged just before it.
  std::cerr << (Level == 1 ? "trace! " : "trace: ") << Entry << '\n';
}

std::shared_ptr<icLog> TraceLog::When(bool tracing) {
  if (!tracing) return nullptr;
  return std::make_shared<TraceLog>();
}

}  // namespace brevant::tool
