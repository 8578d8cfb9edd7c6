// Load: eight threads, each with its own bit-bang channel on its own device of
// one bench (two four-channel parts), a million driver-reaching operations each.
// The process has one driver, so every call takes the virtual driver's lock:
// the figure is the throughput of that shared path, not eight times one thread.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

#include "brevant/clsFTDISyncBitBang.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr int kOperations = 1000000;

void InstallBench() {
  auto bench = std::make_shared<virt::Bench>();
  bench->AddPart(virt::PartKind::kFT4232H, "BVLOAD1", 0x0100);
  bench->AddPart(virt::PartKind::kFT4232H, "BVLOAD2", 0x0200);
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
}

// Each operation is one write of the pins or one read of them, in turn.
void BM_Load(benchmark::State& state) {
  static const bool installed = (InstallBench(), true);
  benchmark::DoNotOptimize(installed);
  clsFTDISyncBitBang port;
  port.Initialize(static_cast<int16_t>(state.thread_index()));
  port.PortDirection(0x0F);
  for (auto _ : state) {
    uint8_t sum = 0;
    for (int i = 0; i < kOperations; i += 2) {
      port.PortOutput(static_cast<uint8_t>(i & 0x0F));
      sum = static_cast<uint8_t>(sum + port.PortInput());
    }
    benchmark::DoNotOptimize(sum);
  }
  port.Terminate();
  state.counters["ops"] = benchmark::Counter(static_cast<double>(state.iterations()) * kOperations,
                                             benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Load)->Threads(1)->Threads(8)->Iterations(1)->UseRealTime()->Unit(
    benchmark::kMillisecond);

}  // namespace
