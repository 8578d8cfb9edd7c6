// Reads the JEDEC ID and the first bytes of the SPI flash on channel A of the
// first device, in SPI mode 0 at 1 MHz. On a machine without chips it runs on
// the built-in virtual bench, whose device 0 carries such a flash.
#include <cstdio>

#include "brevant/Error.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"

namespace {

// CS low, `count` bytes of `data` out on the falling clock edge and in on the
// rising one, CS high: one whole flash command.
void Transaction(brevant::clsFTDIMPSSE& mpsse, brevant::ByteArray& data, int32_t count) {
  auto pins = mpsse.MPSSEPortIO();
  pins->MPSSESignalOutput(brevant::eftTMSCS, brevant::eb0);
  mpsse.DataBytesInOut(data, count, brevant::embMSBfirst, brevant::emcNegEdge, brevant::emcPosEdge);
  pins->MPSSESignalOutput(brevant::eftTMSCS, brevant::eb1);
}

}  // namespace

int main() {
  try {
    brevant::clsFTDIMPSSE mpsse;
    mpsse.Initialize(0);
    mpsse.SetClockDivisor(mpsse.ClockDivisorFromFrequency(1e6));
    mpsse.MPSSEPortIO()->MPSSEPortOutput(brevant::eftTMSCS);  // deselect before the first clock

    brevant::ByteArray id{0x9F, 0, 0, 0};
    Transaction(mpsse, id, 4);
    std::printf("JEDEC ID: manufacturer %02X, type %02X, capacity %02X\n", id[1], id[2], id[3]);

    constexpr int32_t kShown = 16;
    brevant::ByteArray read(0, 4 + kShown);
    read[0] = 0x03;  // read from address 0
    Transaction(mpsse, read, 4 + kShown);
    std::printf("First %d bytes:", kShown);
    for (int32_t i = 4; i < 4 + kShown; ++i) std::printf(" %02X", read[i]);
    std::printf("\n");
    mpsse.Terminate();
  } catch (const brevant::Error& e) {
    std::fprintf(stderr, "%s (%s)\n", e.what(), e.Source().c_str());
    return 1;
  }
  return 0;
}
