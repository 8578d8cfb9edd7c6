// Blinks four pins and watches them come back, in synchronous bit-bang mode.
//
// On the built-in virtual bench, device 5 has D0-D3 wired back to D4-D7, and
// device 6 has D4-D7 held by its board. Run with BREVANT_DRIVER to use another
// driver; then pick devices that are wired alike.
#include <cstdio>

#include "brevant/Error.h"
#include "brevant/clsFTDISyncBitBang.h"

namespace {

void Blink() {
  std::printf("Device 5: D0-D3 outputs, blinking one pin after the other.\n");
  brevant::clsFTDISyncBitBang port;
  port.Initialize(5);
  port.PortDirection(0x0F);
  for (int pin = 0; pin < 4; ++pin) {
    port.PortOutput(static_cast<uint8_t>(1 << pin));
    std::printf("  wrote 0x%02X, pins read 0x%02X\n", port.PortOutput0(), port.PortInput());
  }

  std::printf("\nOne buffer run: set D0-D3 one by one, then clear them again.\n");
  port.BufferInitialize();
  for (int step = 0; step < 8; ++step) {
    port.BufferSignalOutput(static_cast<brevant::eFTDIChannel>(1 << (step % 4)),
                            step < 4 ? brevant::eb1 : brevant::eb0);
  }
  port.BufferTransfer();
  std::printf("  %d samples, the k-th showing the pins just before step k:\n ",
              port.BufferInputCount());
  while (port.BufferInputCount() > 0) std::printf(" %02X", port.BufferPortInput());
  std::printf("\n  D0 toggled six times, D4 read back as:");
  port.BufferInitialize();
  for (int step = 0; step < 6; ++step) {
    port.BufferSignalOutput(brevant::eftD0, step % 2 ? brevant::eb0 : brevant::eb1);
  }
  port.BufferTransfer();
  while (port.BufferInputCount() > 0) std::printf(" %d", port.BufferSignalInput(brevant::eftD4));
  std::printf("\n");
  port.Terminate();
}

void Listen() {
  std::printf("\nDevice 6: all pins inputs.\n");
  brevant::clsFTDISyncBitBang port;
  port.Initialize(6);
  port.PortDirection(0x00);
  std::printf("  pins read 0x%02X:", port.PortInput());
  for (int pin = 0; pin < 8; ++pin) {
    std::printf(" D%d=%d", pin, port.SignalInput0(static_cast<brevant::eFTDIChannel>(1 << pin)));
  }
  std::printf("\n");
}

}  // namespace

int main() {
  try {
    Blink();
    Listen();
  } catch (const brevant::Error& e) {
    std::printf("failed: %s (%s)\n", e.what(), e.Source().c_str());
    return 1;
  }
  return 0;
}
