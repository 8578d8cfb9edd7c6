// How fast the virtual MPSSE engine eats a command stream: 64 KiB byte transfers
// with nothing on the pins, with loopback, and bit by bit through a peripheral;
// and what recording the pins costs.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

using namespace brevant;

constexpr int kPlain = 3;  // FT4232H A: nothing wired
constexpr int kFlash = 0;  // the SPI flash

struct Session {
  // With `recording`, every pin change of the device is kept for a trace file.
  explicit Session(int device, bool recording = false) : bench(virt::MakeDefaultBench()) {
    if (recording) bench->Record({device});
    driver = std::make_shared<virt::VirtualDriver>(bench);
    driver->FT_Open(device, &handle);
    driver->FT_SetBitMode(handle, 0, 2);
    driver->FT_SetLatencyTimer(handle, 1);
  }
  void Write(const std::vector<uint8_t>& bytes) {
    uint32_t written = 0;
    driver->FT_Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &written);
  }
  std::shared_ptr<virt::Bench> bench;
  std::shared_ptr<virt::VirtualDriver> driver;
  FtHandle handle = nullptr;
};

// One command of `count` bytes: opcode, length, payload if it writes, 0x87.
std::vector<uint8_t> Transfer(uint8_t opcode, size_t count, bool payload) {
  std::vector<uint8_t> command = {opcode, static_cast<uint8_t>(count - 1),
                                  static_cast<uint8_t>((count - 1) >> 8)};
  if (payload) {
    for (size_t i = 0; i < count; ++i) command.push_back(static_cast<uint8_t>(i));
  }
  command.push_back(0x87);
  return command;
}

// range(0): the opcode; range(1): 1 for loopback; range(2): 1 recording.
void BM_ByteTransfer64K(benchmark::State& state) {
  const auto opcode = static_cast<uint8_t>(state.range(0));
  const bool reads = opcode & 0x20;
  constexpr size_t kCount = 65536;
  Session session(kPlain, state.range(2) != 0);
  session.Write({0x80, 0x08, 0x0B, static_cast<uint8_t>(state.range(1) ? 0x84 : 0x85)});
  const std::vector<uint8_t> command = Transfer(opcode, kCount, true);
  std::vector<uint8_t> answer(kCount);
  uint32_t read = 0;
  for (auto _ : state) {
    session.Write(command);
    if (reads) session.driver->FT_Read(session.handle, answer.data(), kCount, &read);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(command.size()));
}
BENCHMARK(BM_ByteTransfer64K)
    ->ArgNames({"opcode", "loopback", "recording"})
    ->Args({0x11, 0, 0})
    ->Args({0x31, 0, 0})
    ->Args({0x11, 1, 0})
    ->Args({0x31, 1, 0})
    ->Args({0x31, 0, 1});

// Reading the flash: byte by byte, or bit by bit while recording; range(0) 1
// records.
void BM_FlashRead4K(benchmark::State& state) {
  constexpr size_t kCount = 4096;
  Session session(kFlash, state.range(0) != 0);
  std::vector<uint8_t> command = {0x80, 0x00, 0x0B, 0x11, 0x03, 0x00, 0x03, 0x00, 0x00, 0x00};
  const std::vector<uint8_t> read = Transfer(0x20, kCount, false);
  command.insert(command.end(), read.begin(), read.end() - 1);
  command.insert(command.end(), {0x80, 0x08, 0x0B, 0x87});
  std::vector<uint8_t> answer(kCount);
  uint32_t count = 0;
  for (auto _ : state) {
    session.Write(command);
    session.driver->FT_Read(session.handle, answer.data(), kCount, &count);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_FlashRead4K)->ArgName("recording")->Arg(0)->Arg(1);

}  // namespace
