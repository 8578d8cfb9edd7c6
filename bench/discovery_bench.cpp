// A scan and the grouping into modules of a full USB tree: 127 devices, the most
// one host controller can address. Every read goes through the gateway and the
// virtual driver, so the figure is what the library adds to the driver's list.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "brevant/clsDeviceList.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

// 31 four-channel parts, a two-channel and a one-channel part, listed against
// their location order so that the sort has work to do.
std::shared_ptr<virt::Bench> FullTree() {
  auto bench = std::make_shared<virt::Bench>();
  bench->AddPart(virt::PartKind::kFT232H, "FT1A", 0x3000);
  bench->AddPart(virt::PartKind::kFT2232H, "FT2", 0x2F00);
  for (int part = 30; part >= 0; --part) {
    bench->AddPart(virt::PartKind::kFT4232H, "FT4-" + std::to_string(part),
                   0x1000 + static_cast<uint32_t>(part) * 0x10);
  }
  return bench;
}

void BM_ScanAndDiscern127(benchmark::State& state) {
  auto bench = FullTree();
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  clsDeviceList list;
  int32_t deviceCount = 0, moduleCount = 0;
  Array<tDeviceInfo> devices;
  Array<tModuleInfo> modules;
  const int before = bench->Faults().Calls(virt::Call::kListDevices);
  for (auto _ : state) {
    list.ScanDevices(deviceCount, devices);
    list.DiscernModules(deviceCount, devices, moduleCount, modules);
  }
  const int calls = bench->Faults().Calls(virt::Call::kListDevices) - before;
  state.counters["devices"] = deviceCount;
  state.counters["modules"] = moduleCount;
  // One count and three reads per device: 1 + 3n.
  state.counters["driver_calls"] =
      static_cast<double>(calls) / static_cast<double>(state.iterations());
  if (deviceCount != 127 || moduleCount != 33 || calls != state.iterations() * (1 + 3 * 127)) {
    state.SkipWithError("unexpected scan");
  }
  SetDriver(nullptr);
}
BENCHMARK(BM_ScanAndDiscern127)->Unit(benchmark::kMicrosecond);

}  // namespace
