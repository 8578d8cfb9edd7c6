// A trace drawn as a picture: one row per signal, time running left to right
// over an axis, and, if asked, the SPI bytes on DO and DI in rows of their own.
#pragma once

#include <QImage>
#include <cstdint>
#include <string>
#include <vector>

#include "VcdTrace.h"

namespace brevant::wave {

struct PictureOptions {
  int64_t from = 0;  // in the trace's time units
  int64_t to = 0;
  // Signals by name ("SK") or scope and name ("BV22H001A.SK"), in the order
  // drawn; empty: every signal that changes between `from` and `to`.
  std::vector<std::string> signals;
  bool spi = false;
  int width = 1200;
};

// Throws VcdError when a named signal is not in the trace or nothing is left
// to draw.
QImage DrawWaves(const VcdTrace& trace, const PictureOptions& options);

}  // namespace brevant::wave
