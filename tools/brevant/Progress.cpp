#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace brevant::tool {

namespace {

constexpr int kWidth = 40;

}  // namespace

Progress::Progress(uint64_t total) : total_(total), shown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (drawn_ > 0) std::fprintf(stderr, "\r%*s\r", drawn_, "");
}

void Progress::Advance(uint64_t done) {
  if (!shown_ || total_ == 0) return;
  const int filled = static_cast<int>(done * kWidth / total_);
  const int length =
      std::fprintf(stderr, "\r[%s%s] %3d%%  %llu of %llu bytes", std::string(filled, '#').c_str(),
                   std::string(kWidth - filled, '.').c_str(), static_cast<int>(done * 100 / total_),
                   static_cast<unsigned long long>(done), static_cast<unsigned long long>(total_));
  // Less the carriage return; the widest line is the one to blank.
  drawn_ = std::max(drawn_, length - 1);
  std::fflush(stderr);
}

}  // namespace brevant::tool
