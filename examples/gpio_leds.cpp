// Named pins of an MPSSE channel through its port model: lights two LEDs and
// reads two wire loops back. On the built-in virtual bench device 2 has LEDs on
// GPIOL0 and GPIOH3 and loops GPIOH0 -> GPIOH1 and GPIOL1 -> GPIOL2.
#include <cstdio>

#include "brevant/Error.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"

int main() {
  try {
    brevant::clsFTDIMPSSE mpsse;
    mpsse.Initialize(2);
    // The channel owns its one port model; every call gives the same object.
    auto pins = mpsse.MPSSEPortIO();

    // Stage the directions and levels in the shadow registers (the members
    // ending in 0 never touch the chip), then send both ports at once.
    pins->GPIOLSignalDirection0(brevant::eftGPIOL0, brevant::eb1);  // LED
    pins->GPIOLSignalDirection0(brevant::eftGPIOL1, brevant::eb1);  // loop out
    pins->GPIOHSignalDirection0(brevant::eftGPIOH0, brevant::eb1);  // loop out
    pins->GPIOHSignalDirection0(brevant::eftGPIOH3, brevant::eb1);  // LED
    pins->GPIOLPortOutput0(0x00);
    pins->GPIOHPortOutput0(0x00);
    pins->Syncronize();  // both ports out, then both read back
    std::printf("All outputs low: GPIOL2 reads %d, GPIOH1 reads %d\n",
                pins->GPIOLSignalInput0(brevant::eftGPIOL2),
                pins->GPIOHSignalInput0(brevant::eftGPIOH1));

    // One signal at a time: each write resends its own port.
    pins->GPIOLSignalOutput(brevant::eftGPIOL0, brevant::eb1);
    pins->GPIOHSignalOutput(brevant::eftGPIOH3, brevant::eb1);
    std::printf("LEDs on GPIOL0 and GPIOH3 lit\n");
    pins->GPIOLSignalOutput(brevant::eftGPIOL1, brevant::eb1);
    pins->GPIOHSignalOutput(brevant::eftGPIOH0, brevant::eb1);
    std::printf("Loops driven high: GPIOL2 reads %d, GPIOH1 reads %d\n",
                pins->GPIOLSignalInput(brevant::eftGPIOL2),
                pins->GPIOHSignalInput(brevant::eftGPIOH1));
    std::printf("High port now 0x%02X (output shadow 0x%02X)\n", pins->GPIOHPortInput(),
                pins->GPIOHPortOutput0());
    mpsse.Terminate();
  } catch (const brevant::Error& e) {
    std::fprintf(stderr, "%s (%s)\n", e.what(), e.Source().c_str());
    return 1;
  }
  return 0;
}
