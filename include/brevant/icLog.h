// The log sink: the one interface a client implements.
//
// Each driver call the library makes arrives as one LogEntry, synchronously, on the
// thread of the client's own call: Level 3 for the call itself, Level 1 right after
// it when the call failed. The text has no time stamp and no line end.
//
//   struct Printer : brevant::icLog {
//     void LogEntry(int32_t level, const std::string& entry) override {
//       std::printf("%d %s\n", level, entry.c_str());
//     }
//   };
//   fifo.Log(std::make_shared<Printer>());
//
// A sink must not throw: an exception ends the library's call where it stands and
// takes the place of whatever was going on.
#pragma once

#include <cstdint>
#include <string>

#include "brevant/Export.h"

namespace brevant {

class BREVANT_EXPORT icLog {
 public:
  virtual ~icLog();
  // The base does nothing with an entry.
  virtual void LogEntry(int32_t Level, const std::string& Entry);
};

}  // namespace brevant
