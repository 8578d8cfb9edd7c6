// I2C on the default bench's bus (device 4, an FT4232H channel): a 4 KiB read of
// the 24C32 EEPROM at 100 kHz, 400 kHz and 1 MHz, and a two-byte register read
// of the sensor. The counters are per job: driver writes and reads, the bench's
// virtual time, and the share of it the bits need on the wire (nine clocks a
// byte, address bytes included) at the bus's rate.
#include <benchmark/benchmark.h>

#include <memory>

#include "brevant/I2cBus.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr int16_t kDevice = 4;
constexpr uint8_t kEeprom = 0x50, kSensor = 0x48;
constexpr int32_t kEepromBytes = 4096;

// `job` reads `bytes` after writing `written` (address bytes included).
void Measure(benchmark::State& state, double hz, int32_t written, int32_t bytes,
             ByteArray (*job)(I2cBus&)) {
  auto bench = virt::MakeDefaultBench();
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  {
    clsFTDIMPSSE mpsse;
    mpsse.Initialize(kDevice);
    I2cBus bus(mpsse, hz);
    for (auto _ : state) {
      bench->Faults().Clear();
      const int64_t start = bench->Clock().Now();
      benchmark::DoNotOptimize(job(bus));
      const auto us = static_cast<double>(bench->Clock().Now() - start);
      state.counters["writes"] = bench->Faults().Calls(virt::Call::kWrite);
      state.counters["reads"] = bench->Faults().Calls(virt::Call::kRead);
      state.counters["virtual_ms"] = us / 1000;
      state.counters["wire_share"] = (written + bytes) * 9 / bus.Frequency() * 1e6 / us;
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    mpsse.Terminate();
  }
  SetDriver(nullptr);
}

ByteArray WholeEeprom(I2cBus& bus) {
  return bus.WriteRead(kEeprom, ByteArray{0x00, 0x00}, kEepromBytes);
}

ByteArray Temperature(I2cBus& bus) {
  return bus.ReadRegister(kSensor, 0x00, 2);
}

void BM_EepromRead4K(benchmark::State& state) {
  // Address and pointer (3 bytes), then the address again after the repeated start.
  Measure(state, static_cast<double>(state.range(0)), 4, kEepromBytes, WholeEeprom);
}
void BM_SensorRegister(benchmark::State& state) {
  Measure(state, 400e3, 3, 2, Temperature);
}
BENCHMARK(BM_EepromRead4K)->Arg(100000)->Arg(400000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SensorRegister)->Unit(benchmark::kMicrosecond);

}  // namespace
