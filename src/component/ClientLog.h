// A client's log sink, given through the C ABI, as the icLog the classes call.
#pragma once

#include "brevant/brevant.h"
#include "brevant/icLog.h"

namespace brevant::component {

class ClientLog : public icLog {
 public:
  explicit ClientLog(const brevant_log_sink& sink) : sink_(sink) {}
  // Tells the client that the library holds the sink no more.
  ~ClientLog() override;
  ClientLog(const ClientLog&) = delete;
  ClientLog& operator=(const ClientLog&) = delete;

  void LogEntry(int32_t Level, const std::string& Entry) override;

 private:
  brevant_log_sink sink_;
};

}  // namespace brevant::component
