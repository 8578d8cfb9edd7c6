// What the gateway adds to a driver call: nothing measurable without a sink, and a
// hex dump near memory speed with one.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

#include "brevant/ByteArray.h"
#include "gateway/Formating.h"
#include "gateway/clsFTD2xx.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

// Takes what it is sent and answers nothing, so a long run holds no memory.
class Discard : public virt::ChannelEngine {
 public:
  void Receive(std::span<const uint8_t>, virt::Channel&) override {}
  uint8_t Pins() const override { return 0; }
};

std::shared_ptr<virt::VirtualDriver> QuietBench() {
  auto bench = virt::MakeDefaultBench();
  for (int device = 0; device < bench->DeviceCount(); ++device) {
    bench->Device(device).SetEngine(0x00, std::make_shared<Discard>());
  }
  return std::make_shared<virt::VirtualDriver>(bench);
}

void BM_GatewayWrite64NoSink(benchmark::State& state) {
  clsFTD2xx gateway(QuietBench());
  gateway.FTOpen(0);
  ByteArray data(0, 64);
  for (auto _ : state) gateway.FTWrite(data, 64);
  state.SetBytesProcessed(state.iterations() * 64);
}
BENCHMARK(BM_GatewayWrite64NoSink);

void BM_DriverWrite64(benchmark::State& state) {
  auto driver = QuietBench();
  FtHandle handle = nullptr;
  driver->FT_Open(0, &handle);
  std::vector<uint8_t> data(64);
  uint32_t written = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(driver->FT_Write(handle, data.data(), 64, &written));
  }
  state.SetBytesProcessed(state.iterations() * 64);
}
BENCHMARK(BM_DriverWrite64);

// The whole FT_Write line as the gateway builds it for a sink.
void BM_WriteLogLine(benchmark::State& state) {
  const auto length = static_cast<int32_t>(state.range(0));
  std::vector<uint8_t> data(static_cast<size_t>(length));
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7);
  for (auto _ : state) {
    std::string line = TextSubstitute("FT_Write (0x%1, 0x{%2}, %3, %4) = %5", HexText(0xA3C, 8),
                                      TextValue::Dump(data), length, length, 0);
    benchmark::DoNotOptimize(line.data());
  }
  state.SetBytesProcessed(state.iterations() * length);
}
BENCHMARK(BM_WriteLogLine)->Range(64, 64 << 10);

void BM_Memcpy(benchmark::State& state) {
  const auto length = static_cast<size_t>(state.range(0));
  std::vector<uint8_t> from(length, 0x5A);
  std::vector<uint8_t> to(length);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), length);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
}
BENCHMARK(BM_Memcpy)->Range(64, 64 << 10);

}  // namespace
