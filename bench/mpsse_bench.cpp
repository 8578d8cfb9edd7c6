// What the MPSSE channel adds to a transfer: DataBytesInOut through the class,
// with no sink, against the bare driver writing the same command, payload placed
// behind its header, and reading the same answer. The bench's channel echoes the
// payload of every command that reads, so both sides move the same bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

#include "brevant/clsFTDIMPSSE.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr uint8_t kMpsseMode = 0x02;

// Echoes the payload of a transfer that reads: a wire from TDI to TDO.
class Echo : public virt::ChannelEngine {
 public:
  void Receive(std::span<const uint8_t> bytes, virt::Channel& channel) override {
    const size_t length = (bytes[1] | (bytes[2] << 8)) + 1u;
    channel.Deliver(bytes.subspan(3, length));
  }
  uint8_t Pins() const override { return 0; }
};

std::shared_ptr<virt::VirtualDriver> EchoBench() {
  auto bench = virt::MakeDefaultBench();
  bench->Device(0).SetEngine(kMpsseMode, std::make_shared<Echo>());
  return std::make_shared<virt::VirtualDriver>(bench);
}

void BM_ClassDataBytesInOut(benchmark::State& state) {
  const auto length = static_cast<int32_t>(state.range(0));
  SetDriver(EchoBench());
  clsFTDIMPSSE mpsse;
  mpsse.Initialize(0);
  ByteArray data(0, length);
  for (auto _ : state) {
    mpsse.DataBytesInOut(data, length, embMSBfirst, emcNegEdge, emcPosEdge);
  }
  state.SetBytesProcessed(state.iterations() * length);
  SetDriver(nullptr);
}
BENCHMARK(BM_ClassDataBytesInOut)->Arg(1)->Arg(64)->Arg(65535);

void BM_DriverWriteRead(benchmark::State& state) {
  const auto length = static_cast<uint32_t>(state.range(0));
  auto driver = EchoBench();
  FtHandle handle = nullptr;
  driver->FT_Open(0, &handle);
  driver->FT_SetBitMode(handle, 0x00, kMpsseMode);
  driver->FT_SetTimeouts(handle, 500, 500);
  std::vector<uint8_t> command(length + 4);
  command[0] = 0x31;
  command[1] = static_cast<uint8_t>(length - 1);
  command[2] = static_cast<uint8_t>((length - 1) >> 8);
  command[length + 3] = 0x87;
  std::vector<uint8_t> answer(length);
  uint32_t count = 0;
  for (auto _ : state) {
    // Each transfer has its own payload, so a caller puts it behind the header.
    std::memcpy(command.data() + 3, answer.data(), length);
    driver->FT_Write(handle, command.data(), length + 4, &count);
    driver->FT_Read(handle, answer.data(), length, &count);
  }
  state.SetBytesProcessed(state.iterations() * length);
}
BENCHMARK(BM_DriverWriteRead)->Arg(1)->Arg(64)->Arg(65535);

}  // namespace
