// Arbitrary command streams for the virtual MPSSE engine, through the driver's
// own calls on device 0 of a fresh default bench in MPSSE mode. Each input is
// split at 0xAA 0x55 into writes, each followed by draining the receive queue.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  brevant::virt::VirtualDriver driver(brevant::virt::MakeDefaultBench());
  brevant::FtHandle handle{};
  if (driver.FT_Open(0, &handle) != 0 || driver.FT_SetBitMode(handle, 0, 2) != 0) __builtin_trap();
  std::vector<uint8_t> answer;
  size_t start = 0;
  for (size_t i = 0; i <= size; ++i) {
    if (i < size && !(i + 1 < size && data[i] == 0xAA && data[i + 1] == 0x55)) continue;
    uint32_t written = 0, queued = 0, read = 0;
    driver.FT_Write(handle, data + start, static_cast<uint32_t>(i - start), &written);
    driver.FT_GetQueueStatus(handle, &queued);
    answer.resize(queued);
    driver.FT_Read(handle, answer.data(), queued, &read);
    start = i + 2;
    ++i;
  }
  driver.FT_Close(handle);
  return 0;
}
