// What the C ABI adds to a call: the late-bound dispatch of a member with no
// work of its own, and a 245 FIFO write and read of a buffer through variants.
#include <benchmark/benchmark.h>

#include <vector>

#include "brevant/brevant.h"
#include "brevant/clsFTDI245FIFO.h"

namespace {

brevant_object Make(const char* name) {
  brevant_object object = 0;
  brevant_create_by_name(name, &object);
  return object;
}

void Dispatch(benchmark::State& state) {
  const brevant_object process = Make("Process");
  brevant_variant result{};
  for (auto _ : state) {
    brevant_invoke(process, 0x68030000, BREVANT_GET, 0, nullptr, &result);
    benchmark::DoNotOptimize(result.value.i2);
  }
  brevant_release(process);
}
BENCHMARK(Dispatch);

// The stream peer echoes, so each write is read back and nothing piles up.
void FifoWriteRead(benchmark::State& state) {
  const auto size = static_cast<int32_t>(state.range(0));
  const brevant_object fifo = Make("clsFTDI245FIFO");
  brevant_variant args[3]{};
  args[0].type = BREVANT_I2;
  brevant_invoke(fifo, 0x60030001, BREVANT_METHOD, 1, args, nullptr);
  const std::vector<uint8_t> data(static_cast<size_t>(size), 0x5A);
  // Set once: the read leaves the array the same size, which the next write sends.
  brevant_variant_set_array(&args[0], BREVANT_UI1, data.data(), size, 0);
  for (auto _ : state) {
    args[1].type = BREVANT_I4, args[1].value.i4 = size;
    args[2].type = BREVANT_I4, args[2].value.i4 = 0;
    brevant_invoke(fifo, 0x60030008, BREVANT_METHOD, 2, args, nullptr);
    brevant_invoke(fifo, 0x60030009, BREVANT_METHOD, 3, args, nullptr);
    benchmark::DoNotOptimize(args[2].value.i4);
  }
  brevant_variant_clear(&args[0]);
  brevant_release(fifo);
  state.SetBytesProcessed(state.iterations() * size * 2);
}
BENCHMARK(FifoWriteRead)->Range(16, 64 << 10);

// The same through the C++ class, for the surface's share of the call above.
void FifoWriteReadInCpp(benchmark::State& state) {
  const auto size = static_cast<int32_t>(state.range(0));
  brevant::clsFTDI245FIFO fifo;
  fifo.Initialize(0);
  brevant::ByteArray data(0, size), answer(0, size);
  int32_t got = 0;
  for (auto _ : state) {
    fifo.DataWrite(data, size);
    fifo.DataRead(answer, size, got);
    benchmark::DoNotOptimize(got);
  }
  fifo.Terminate();
  state.SetBytesProcessed(state.iterations() * size * 2);
}
BENCHMARK(FifoWriteReadInCpp)->Range(16, 64 << 10);

}  // namespace
