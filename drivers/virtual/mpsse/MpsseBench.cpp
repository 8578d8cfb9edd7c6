#include "virtual/mpsse/MpsseBench.h"

#include <memory>
#include <stdexcept>

#include "virtual/mpsse/I2cEeprom.h"
#include "virtual/mpsse/JtagChain.h"
#include "virtual/mpsse/TemperatureSensor.h"

namespace brevant::virt {

namespace {

constexpr uint8_t kModeMpsse = 0x02;

}  // namespace

void InstallMpsse(Channel& channel, PartKind kind, int index) {
  const int channels = kind == PartKind::kFT232H || kind == PartKind::kFT2232D ? 1 : 2;
  if (index >= channels) return;
  MpsseModel model;
  if (kind == PartKind::kFT2232D) {
    // Full speed: the 6 MHz clock base only, and four high pins (ACBUS0-3).
    model = {false, false, 0x0F00, kFullSpeedPacketData};
  } else if (kind == PartKind::kFT4232H) {
    model.highPins = 0;  // its MPSSE channels have no high port
  } else if (kind == PartKind::kFT232H) {
    model.driveZero = true;
  }
  channel.SetEngine(kModeMpsse, std::make_shared<MpsseEngine>(channel.Board(), model));
}

MpsseEngine& MpsseOf(Channel& channel) {
  auto* engine = dynamic_cast<MpsseEngine*>(channel.EngineFor(kModeMpsse));
  if (engine == nullptr) throw std::logic_error("this channel has no MPSSE engine");
  return *engine;
}

SpiFlash* FlashOf(Channel& channel) {
  auto* engine = dynamic_cast<MpsseEngine*>(channel.EngineFor(kModeMpsse));
  return engine ? engine->Attached<SpiFlash>() : nullptr;
}

I2cPins& I2cOn(Channel& channel) {
  MpsseEngine& engine = MpsseOf(channel);
  if (auto* bus = engine.Attached<I2cPins>()) return *bus;
  auto bus = std::make_shared<I2cPins>(channel.Board());
  engine.Attach(bus);
  return *bus;
}

I2cPins* I2cOf(Channel& channel) {
  auto* engine = dynamic_cast<MpsseEngine*>(channel.EngineFor(kModeMpsse));
  return engine ? engine->Attached<I2cPins>() : nullptr;
}

void WireDefaultPeripherals(Bench& bench) {
  // A 32 Mbit flash with a well-known maker's ID: Winbond (EF), type 40, 4 MiB
  // (16), which describes itself in SFDP as such parts do.
  MpsseOf(bench.Device(0))
      .Attach(std::make_shared<SpiFlash>(std::array<uint8_t, 3>{0xEF, 0x40, 0x16}, 4u << 20, true));
  // First on TDI an ARM debug port (IR 4 bits, IDCODE instruction 0xE), then an
  // FPGA of the Artix-7 kind (IR 6 bits, IDCODE instruction 0x09).
  MpsseOf(bench.Device(1))
      .Attach(std::make_shared<JtagChain>(
          std::vector<JtagTap>{JtagTap(4, 0x4BA00477, 0xE), JtagTap(6, 0x0362D093, 0x09)}));
  // GPIOH0 drives GPIOH1, GPIOL1 drives GPIOL2; LEDs on GPIOL0 and GPIOH3.
  Wires& board = bench.Device(2).Board();
  board.Loop(8, 9);
  board.Loop(5, 6);
  board.Led(4);
  board.Led(11);
  // A 32 Kbit EEPROM (24C32: 4 KiB, 32-byte pages) and a sensor reading 23.5 °C,
  // at the addresses these parts have with their address pins low.
  I2cPins& bus = I2cOn(bench.Device(4));
  bus.Add(std::make_shared<I2cEeprom>(0x50, 4096, 32));
  bus.Add(std::make_shared<TemperatureSensor>(0x48, 23.5));
}

}  // namespace brevant::virt
