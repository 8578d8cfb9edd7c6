// What loading the driver as a shared library costs: one small FIFO round trip
// (write 4 bytes, read the echo) on the virtual bench, called in process and
// through the d2xx backend over the virtual D2XX library.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "d2xx/D2xxDriver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

void RoundTrip(benchmark::State& state, Ftd2xx& driver) {
  FtHandle handle = nullptr;
  driver.FT_Open(0, &handle);
  driver.FT_SetTimeouts(handle, 100, 100);
  std::vector<uint8_t> out{1, 2, 3, 4}, in(4);
  uint32_t count = 0;
  for (auto _ : state) {
    driver.FT_Write(handle, out.data(), 4, &count);
    driver.FT_Read(handle, in.data(), 4, &count);
    benchmark::DoNotOptimize(in.data());
  }
  driver.FT_Close(handle);
  state.SetBytesProcessed(state.iterations() * 8);
}

void BM_RoundTripInProcess(benchmark::State& state) {
  virt::VirtualDriver driver(virt::MakeDefaultBench());
  RoundTrip(state, driver);
}
BENCHMARK(BM_RoundTripInProcess);

void BM_RoundTripThroughD2xxLibrary(benchmark::State& state) {
  D2xxDriver driver(BREVANT_VIRTUAL_D2XX);
  RoundTrip(state, driver);
}
BENCHMARK(BM_RoundTripThroughD2xxLibrary);

}  // namespace
