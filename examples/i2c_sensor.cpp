// An I2C bus on an MPSSE channel: finds the targets, reads a temperature
// sensor's register and writes then reads back a page of a 24C32 EEPROM. On the
// built-in virtual bench device 4 has the sensor at 0x48 and the EEPROM at 0x50.
#include <cstdio>

#include "brevant/Error.h"
#include "brevant/I2cBus.h"
#include "brevant/clsFTDIMPSSE.h"

int main() {
  try {
    brevant::clsFTDIMPSSE mpsse;
    mpsse.Initialize(4);
    brevant::I2cBus bus(mpsse, 400e3);
    std::printf("SCL at %.0f kHz\n", bus.Frequency() / 1e3);

    const brevant::ByteArray found = bus.Scan();
    std::printf("Targets:");
    for (const uint8_t address : found.Elements()) std::printf(" 0x%02X", address);
    std::printf("\n");

    // Register 0 holds the temperature in steps of 1/16 degree, in bits 15-4.
    const brevant::ByteArray t = bus.ReadRegister(0x48, 0x00, 2);
    const auto raw = static_cast<int16_t>(t[0] << 8 | t[1]);
    std::printf("Temperature: %.4f C\n", (raw >> 4) / 16.0);

    // A 24C32 takes a two-byte memory address, then up to a 32-byte page.
    bus.Write(0x50, brevant::ByteArray{0x01, 0x00, 'B', 'r', 'e', 'v', 'a', 'n', 't'});
    // While it programs the page it answers no address: wait until it does.
    int polls = 1;
    while (!bus.Probe(0x50)) ++polls;
    const brevant::ByteArray back = bus.WriteRead(0x50, brevant::ByteArray{0x01, 0x00}, 7);
    std::printf("EEPROM at 0x0100 after %d polls: %.*s\n", polls, back.Count(),
                reinterpret_cast<const char*>(back.Elements().data()));
    mpsse.Terminate();
    return 0;
  } catch (const brevant::Error& e) {
    std::fprintf(stderr, "%s (%s)\n", e.what(), e.Source().c_str());
    return 1;
  }
}
