// Reading 1 MiB of the default bench's SPI flash the way `brevant spi read`
// does, at 30 MHz and at 6 MHz. The counters are per read: driver writes and
// reads, the bench's virtual time, and the share of that time the data needs on
// the wire at the clock the flash was given.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

#include "FlashLink.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr size_t kBytes = 1 << 20;

void BM_SpiFlashRead(benchmark::State& state) {
  auto bench = virt::MakeDefaultBench();
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  {
    tool::FlashLink link(0, static_cast<double>(state.range(0)), nullptr);
    tool::SerialFlash& flash = link.Flash();
    std::vector<uint8_t> data(kBytes);
    for (auto _ : state) {
      bench->Faults().Clear();
      const int64_t start = bench->Clock().Now();
      // As the command reads: a piece at a time, each one write and one read.
      const size_t piece = flash.ReadPiece();
      for (size_t done = 0; done < kBytes; done += piece) {
        flash.Read(done, std::span(data).subspan(done, std::min(piece, kBytes - done)));
      }
      const auto us = static_cast<double>(bench->Clock().Now() - start);
      state.counters["writes"] = bench->Faults().Calls(virt::Call::kWrite);
      state.counters["reads"] = bench->Faults().Calls(virt::Call::kRead);
      state.counters["virtual_ms"] = us / 1000;
      state.counters["wire_share"] = kBytes * 8 / flash.ClockHz() * 1e6 / us;
    }
    link.Close();
  }
  SetDriver(nullptr);
}
BENCHMARK(BM_SpiFlashRead)->Arg(30000000)->Arg(6000000)->Unit(benchmark::kMillisecond);

}  // namespace
