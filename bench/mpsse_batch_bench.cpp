// Round trips and virtual time of two everyday jobs on the default bench, member
// by member against one batch: 1,000 GPIO toggles on device 2 and reading 1 MiB
// of the SPI flash on device 0 in 4 KiB transactions at 6 MHz. The counters are
// per job: driver writes and reads, the bench's virtual time, and for the flash
// the share of that time the data needs on the wire at the clock rate.
#include <benchmark/benchmark.h>

#include <memory>

#include "brevant/MpsseBatch.h"
#include "brevant/MpsseTransactions.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr int kToggles = 1000;
constexpr uint8_t kLed = 0x10;  // GPIOL0
constexpr int32_t kFlashBytes = 1 << 20;
constexpr int32_t kChunk = 4096;
constexpr uint8_t kSpiIdle = 0x08, kSpiDirections = 0x0B;
constexpr double kClockHz = 6e6;

ByteArray ReadCommand(int32_t address) {
  return ByteArray{0x03, static_cast<uint8_t>(address >> 16), static_cast<uint8_t>(address >> 8),
                   static_cast<uint8_t>(address)};
}

void TogglesByMember(clsFTDIMPSSE& mpsse) {
  for (int i = 0; i < kToggles; ++i) mpsse.SetPortLow(i % 2 ? kLed : 0, kLed);
}

void TogglesBatched(clsFTDIMPSSE& mpsse) {
  MpsseBatch batch(mpsse);
  for (int i = 0; i < kToggles; ++i) batch.SetPortLow(i % 2 ? kLed : 0, kLed);
  batch.Run();
}

void FlashByMember(clsFTDIMPSSE& mpsse) {
  ByteArray data;
  for (int32_t address = 0; address < kFlashBytes; address += kChunk) {
    ByteArray command = ReadCommand(address);
    mpsse.SetPortLow(kSpiIdle & ~0x08, kSpiDirections);
    mpsse.DataBytesOut(command, command.Count(), embMSBfirst, emcNegEdge);
    mpsse.DataBytesIn(data, kChunk, embMSBfirst, emcPosEdge);
    mpsse.SetPortLow(kSpiIdle, kSpiDirections);
  }
}

// Each transaction asks for the whole FIFO, so each runs as one round trip.
void FlashBatched(clsFTDIMPSSE& mpsse) {
  MpsseBatch batch(mpsse);
  for (int32_t address = 0; address < kFlashBytes; address += kChunk) {
    SpiTransaction(batch, {}, ReadCommand(address), kChunk);
  }
  batch.Run();
}

void Measure(benchmark::State& state, int16_t device, void (*job)(clsFTDIMPSSE&),
             int32_t wireBytes) {
  auto bench = virt::MakeDefaultBench();
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  {
    clsFTDIMPSSE mpsse;
    mpsse.Initialize(device);
    mpsse.SetClockDivisor(0);
    mpsse.SetPortLow(kSpiIdle, kSpiDirections);
    for (auto _ : state) {
      bench->Faults().Clear();
      const int64_t start = bench->Clock().Now();
      job(mpsse);
      const auto us = static_cast<double>(bench->Clock().Now() - start);
      state.counters["writes"] = bench->Faults().Calls(virt::Call::kWrite);
      state.counters["reads"] = bench->Faults().Calls(virt::Call::kRead);
      state.counters["virtual_ms"] = us / 1000;
      if (wireBytes > 0) state.counters["wire_share"] = wireBytes * 8 / kClockHz * 1e6 / us;
    }
    mpsse.Terminate();
  }
  SetDriver(nullptr);
}

void BM_GpioTogglesByMember(benchmark::State& state) {
  Measure(state, 2, TogglesByMember, 0);
}
void BM_GpioTogglesBatched(benchmark::State& state) {
  Measure(state, 2, TogglesBatched, 0);
}
void BM_FlashReadByMember(benchmark::State& state) {
  Measure(state, 0, FlashByMember, kFlashBytes);
}
void BM_FlashReadBatched(benchmark::State& state) {
  Measure(state, 0, FlashBatched, kFlashBytes);
}
// One 4 KiB exchange on device 3, where nothing is wired: the real time the
// library spends on it, member against batch.
void Exchange(benchmark::State& state, bool batched) {
  auto bench = virt::MakeDefaultBench();
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  {
    clsFTDIMPSSE mpsse;
    mpsse.Initialize(3);
    ByteArray data(0, kChunk);
    for (auto _ : state) {
      if (batched) {
        MpsseBatch batch(mpsse);
        auto reply = batch.DataBytesInOut(data, kChunk, embMSBfirst, emcNegEdge, emcPosEdge);
        batch.Run();
        benchmark::DoNotOptimize(reply.Data()[0]);
      } else {
        mpsse.DataBytesInOut(data, kChunk, embMSBfirst, emcNegEdge, emcPosEdge);
        benchmark::DoNotOptimize(data[0]);
      }
    }
    state.SetBytesProcessed(state.iterations() * kChunk);
    mpsse.Terminate();
  }
  SetDriver(nullptr);
}
void BM_Exchange4KByMember(benchmark::State& state) {
  Exchange(state, false);
}
void BM_Exchange4KBatched(benchmark::State& state) {
  Exchange(state, true);
}
BENCHMARK(BM_Exchange4KByMember);
BENCHMARK(BM_Exchange4KBatched);
BENCHMARK(BM_GpioTogglesByMember);
BENCHMARK(BM_GpioTogglesBatched);
BENCHMARK(BM_FlashReadByMember)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FlashReadBatched)->Unit(benchmark::kMillisecond);

}  // namespace
