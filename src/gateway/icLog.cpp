#include "brevant/icLog.h"

namespace brevant {

icLog::~icLog() = default;

void icLog::LogEntry(int32_t /*Level*/, const std::string& /*Entry*/) {}

}  // namespace brevant
