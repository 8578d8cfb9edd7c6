// The one-bit signals of a Value Change Dump, as brevant-wave draws them.
// Reads what the bench writes and what other tools commonly write: scopes,
// 1-bit wires and regs, $dumpvars, levels 0, 1, x and z; vectors and real
// values are passed over.
#pragma once

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace brevant::wave {

class VcdError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Change {
  int64_t at;  // in the file's time units
  char level;  // '0', '1', or 'x' for unknown and floating
};

struct Signal {
  std::string scope;  // "BV22H001A"
  std::string name;   // "SK"
  std::vector<Change> changes;
  // The level at `at`: the last change at or before it ('x' before the first).
  char LevelAt(int64_t at) const;
};

struct VcdTrace {
  double secondsPerUnit = 1e-9;
  int64_t last = 0;  // the last time stamp
  std::vector<Signal> signals;
};

// Throws VcdError naming the line of the first problem.
VcdTrace ReadVcd(std::istream& in);

}  // namespace brevant::wave
