// A progress bar on stderr for long transfers, drawn only when stderr is a
// terminal so that logs and pipes get no carriage returns.
#pragma once

#include <cstdint>

namespace brevant::tool {

class Progress {
 public:
  explicit Progress(uint64_t total);
  // Clears the bar, so that what follows starts on a clean line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Advance(uint64_t done);

 private:
  uint64_t total_;
  bool shown_;
  // The widest line drawn, in characters: clearing blanks all of them.
  int drawn_ = 0;
};

}  // namespace brevant::tool
