// The bit-bang buffer: composing is plain memory work, and a run of any length
// costs one purge, one write and one read.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

#include "brevant/clsFTDISyncBitBang.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

void UseFreshBench() {
  SetDriver(std::make_shared<virt::VirtualDriver>(virt::MakeDefaultBench()));
}

// A run of `entries` values with the default increment of 1024: the array grows
// a thousand times on the way to a million.
void BM_BufferCompose(benchmark::State& state) {
  const auto entries = static_cast<int32_t>(state.range(0));
  clsFTDISyncBitBang port;
  for (auto _ : state) {
    port.BufferInitialize();
    for (int32_t i = 0; i < entries; ++i) port.BufferPortOutput(static_cast<uint8_t>(i));
    benchmark::DoNotOptimize(port.BufferInputCount());
  }
  state.SetItemsProcessed(state.iterations() * entries);
  state.SetBytesProcessed(state.iterations() * entries);
}
BENCHMARK(BM_BufferCompose)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// One transfer of `length` bytes through the bench's engine. Each transfer sends
// the read-back of the one before, which is as long.
void BM_BufferTransfer(benchmark::State& state) {
  const auto length = static_cast<int32_t>(state.range(0));
  UseFreshBench();
  clsFTDISyncBitBang port;
  port.Initialize(5);
  port.PortDirection(0x0F);
  port.BufferInitialize(length - 1);
  for (int32_t i = 1; i < length; ++i) port.BufferPortOutput(static_cast<uint8_t>(i));
  for (auto _ : state) port.BufferTransfer();
  state.SetBytesProcessed(state.iterations() * length);
  SetDriver(nullptr);
}
BENCHMARK(BM_BufferTransfer)->Range(64, 64 << 10);

}  // namespace
