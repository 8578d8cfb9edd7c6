#include "component/ClientLog.h"

namespace brevant::component {

ClientLog::~ClientLog() {
  if (sink_.release) sink_.release(sink_.context);
}

void ClientLog::LogEntry(int32_t Level, const std::string& Entry) {
  if (sink_.log_entry) sink_.log_entry(sink_.context, Level, Entry.c_str());
}

}  // namespace brevant::component
