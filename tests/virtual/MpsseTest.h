// Fixture for the MPSSE engine tests: a device of the default bench opened the
// way clsFTDIMPSSE opens it, and raw command bytes in and out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/BenchTest.h"
#include "virtual/mpsse/MpsseBench.h"

namespace brevant::testing {

using Bytes = std::vector<uint8_t>;

class MpsseTest : public BenchTest {
 protected:
  // MPSSE mode, 500 ms time-outs, latency 1 ms; SK idles low, CS/TMS high.
  void Open(int device) {
    ASSERT_EQ(driver->FT_Open(device, &handle), ft::kOk);
    ASSERT_EQ(driver->FT_SetBitMode(handle, 0, 2), ft::kOk);
    ASSERT_EQ(driver->FT_SetTimeouts(handle, 500, 500), ft::kOk);
    ASSERT_EQ(driver->FT_SetLatencyTimer(handle, 1), ft::kOk);
    Send({0x80, 0x08, 0x0B});
  }
  void Send(const Bytes& bytes) {
    uint32_t written = 0;
    ASSERT_EQ(driver->FT_Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &written),
              ft::kOk);
    ASSERT_EQ(written, bytes.size());
  }
  // Reads up to `count` bytes; fewer when the read time-out runs out first.
  Bytes Read(size_t count) {
    Bytes bytes(count);
    uint32_t read = 0;
    EXPECT_EQ(driver->FT_Read(handle, bytes.data(), static_cast<uint32_t>(count), &read), ft::kOk);
    bytes.resize(read);
    return bytes;
  }
  Bytes Exchange(const Bytes& command, size_t answer) {
    Send(command);
    return Read(answer);
  }
  virt::MpsseEngine& Engine(int device) { return virt::MpsseOf(bench->Device(device)); }

  FtHandle handle = nullptr;
};

}  // namespace brevant::testing
