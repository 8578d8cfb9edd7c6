// Fixture of the MPSSE tests: a fresh default bench behind a RecordingDriver, and
// a channel created on it. Device 0's first handle logs as 00000A3C.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "gateway/Driver.h"
#include "support/RecordingDriver.h"
#include "support/RecordingLog.h"
#include "virtual/Bench.h"

namespace brevant::testing {

using Trace = std::vector<std::string>;

inline int32_t Number(errFTDIMPSSE e) {
  return static_cast<int32_t>(e);
}

class MpsseChannelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetDriver(recorder);
    channel.emplace();
  }
  void TearDown() override { SetDriver(nullptr); }

  // Device 0 opened with the sink set; trace and log start empty.
  clsFTDIMPSSE& Open() {
    channel->Log(log);
    channel->Initialize(0);
    log->lines.clear();
    recorder->trace.clear();
    return *channel;
  }

  std::shared_ptr<virt::Bench> bench = virt::MakeDefaultBench();
  std::shared_ptr<RecordingDriver> recorder = std::make_shared<RecordingDriver>(bench);
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::optional<clsFTDIMPSSE> channel;
};

}  // namespace brevant::testing
