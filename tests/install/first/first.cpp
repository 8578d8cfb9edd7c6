// The README's first program, as a user builds it against an installed
// Brevant.
#include <cstdio>

#include "brevant/clsFTDI245FIFO.h"

int main() {
  brevant::clsFTDI245FIFO fifo;
  fifo.Initialize(0);  // device 0 of the driver's list
  brevant::ByteArray out{'h', 'i'};
  fifo.DataWrite(out, out.Count());
  brevant::ByteArray in(0, 2);
  int32_t got = 0;
  fifo.DataRead(in, 2, got);  // a short read is no error: check got
  fifo.Terminate();
  std::printf("%d bytes back\n", got);
  return got == 2 ? 0 : 1;
}
