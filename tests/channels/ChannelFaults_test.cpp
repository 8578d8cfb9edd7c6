// Each driver call of each stream channel member, failed once on the bench. The
// error reaches the client as the gateway raised it, the failing call is logged
// before it (Level 3, then Level 1 for a status), and nothing is undone: the
// channel holds its device afterwards exactly when FT_Open had succeeded. The same
// members on a closed channel raise "Device not opened" and reach no driver.
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "channels/StreamKinds.h"
#include "support/BenchTest.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;
using virt::FaultKind;

template <class C>
struct FaultCase {
  std::string name;
  std::function<void(C&)> member;
  Call call;
  FaultKind kind;
  uint32_t value;    // the status, or the count a short transfer stops at
  int step;          // Initialize's lines before the failing one; -1: on an open channel
  std::string line;  // the failing call's Level 3 line
  int32_t number;    // 0: nothing raised
  std::string description;
  bool open;  // the channel holds the device afterwards
  friend void PrintTo(const FaultCase& c, std::ostream* os) { *os << c.name; }
};

template <class C>
std::vector<FaultCase<C>> Cases() {
  constexpr FaultKind kStatus = FaultKind::kStatus;
  constexpr int32_t kDriver = kErrDriverStatus;
  const std::string bitMode = StreamKind<C>::kBitMode;
  const auto init = [](C& c) { c.Initialize(0); };
  const auto write = [](C& c) {
    ByteArray a{1, 2, 3, 4};
    c.DataWrite(a, 4);
  };
  const auto read = [](C& c) {
    ByteArray a(0, 4);
    int32_t n = 0;
    c.DataRead(a, 4, n);
  };
  std::vector<FaultCase<C>> cases = {
      {"InitializeOpen", init, Call::kOpen, kStatus, 2, 0, "FT_Open (0, 0x00000000) = 2", kDriver,
       "FT device handle not found", false},
      {"InitializeSetBitMode", init, Call::kSetBitMode, kStatus, 4, 1,
       "FT_SetBitMode (0x00000A3C, " + bitMode + ") = 4", kDriver, "FT I/O error", true},
      {"InitializeSetTimeouts", init, Call::kSetTimeouts, kStatus, 5, 2,
       "FT_SetTimeouts (0x00000A3C, 500, 500) = 5", kDriver, "Insufficient FT resources", true},
      {"InitializeSetLatencyTimer", init, Call::kSetLatencyTimer, kStatus, 18, 3,
       "FT_SetLatencyTimer (0x00000A3C, 1) = 18", kDriver, "Other FT error", true},
      {"SetTimeOuts", [](C& c) { c.SetTimeOuts(20, 30); }, Call::kSetTimeouts, kStatus, 6, -1,
       "FT_SetTimeouts (0x00000A3C, 20, 30) = 6", kDriver, "Invalid FT parameter", true},
      {"PurgeQueueTx", [](C& c) { c.PurgeQueueTx(); }, Call::kPurge, kStatus, 4, -1,
       "FT_Purge (0x00000A3C, 0x2) = 4", kDriver, "FT I/O error", true},
      {"PurgeQueueRx", [](C& c) { c.PurgeQueueRx(); }, Call::kPurge, kStatus, 1, -1,
       "FT_Purge (0x00000A3C, 0x1) = 1", kDriver, "Invalid FT handle", true},
      {"PurgeQueues", [](C& c) { c.PurgeQueues(); }, Call::kPurge, kStatus, 19, -1,
       "FT_Purge (0x00000A3C, 0x3) = 19", kDriver, "Unknown FT error (19)", true},
      {"DataWrite", write, Call::kWrite, kStatus, 10, -1,
       "FT_Write (0x00000A3C, 0x{01 02 03 04}, 4, 0) = 10", kDriver, "Failed to write FT device",
       true},
      {"DataWriteShort", write, Call::kWrite, FaultKind::kShortWrite, 1, -1,
       "FT_Write (0x00000A3C, 0x{01 02 03 04}, 4, 1) = 0", kErrTransmissionIncomplete,
       "FTDI transmission incomplete, data not sent", true},
      {"DataRead", read, Call::kRead, kStatus, 4, -1,
       "FT_Read (0x00000A3C, 0x{00 00 00 00}, 4, 0) = 4", kDriver, "FT I/O error", true},
      {"DataReadShort", read, Call::kRead, FaultKind::kShortRead, 2, -1,
       "FT_Read (0x00000A3C, 0x{0A 0B 00 00}, 4, 2) = 0", 0, "", true},
      {"Terminate", [](C& c) { c.Terminate(); }, Call::kClose, kStatus, 4, -1,
       "FT_Close (0x00000A3C) = 4", kDriver, "FT I/O error", true},
  };
  if constexpr (std::is_same_v<C, clsFTDI245FIFO>) {
    cases.push_back({"QueueTx", [](C& c) { c.QueueTx(); }, Call::kGetStatus, kStatus, 4, -1,
                     "FT_GetStatus (0x00000A3C, 0, 0, 0) = 4", kDriver, "FT I/O error", true});
    cases.push_back({"QueueRx", [](C& c) { c.QueueRx(); }, Call::kGetQueueStatus, kStatus, 3, -1,
                     "FT_GetQueueStatus (0x00000A3C, 0) = 3", kDriver, "FT device not opened",
                     true});
  } else {
    cases.push_back({"ResetTrue", [](C& c) { c.Reset(true); }, Call::kSetBitMode, kStatus, 17, -1,
                     "FT_SetBitMode (0x00000A3C, 0xEC, 0x10) = 17", kDriver, "FT not supported",
                     true});
    cases.push_back({"ResetFalse", [](C& c) { c.Reset(false); }, Call::kSetBitMode, kStatus, 16, -1,
                     "FT_SetBitMode (0x00000A3C, 0xEC, 0x00) = 16", kDriver, "Invalid FT arguments",
                     true});
  }
  return cases;
}

template <class C>
class ChannelFaultTest : public BenchTest, public ::testing::WithParamInterface<FaultCase<C>> {
 protected:
  void FailOnce() {
    const FaultCase<C>& c = this->GetParam();
    C channel;
    channel.Log(log);
    if (c.step < 0) {
      channel.Initialize(0);
      // Bytes waiting, so that a short read has something to stop in.
      const uint8_t queued[] = {0x0A, 0x0B, 0x0C, 0x0D};
      bench->Device(0).Deliver(queued);
      log->lines.clear();
    }
    bench->Faults().Add({.call = c.call,
                         .nth = bench->Faults().Calls(c.call) + 1,
                         .kind = c.kind,
                         .status = c.value,
                         .count = c.value});
    if (c.number == 0) {
      EXPECT_NO_THROW(c.member(channel));
    } else {
      const Error e = Raised([&] { c.member(channel); });
      EXPECT_EQ(e.Number(), c.number);
      EXPECT_EQ(e.Source(), "clsFTD2xx");
      EXPECT_EQ(e.Description(), c.description);
    }
    std::vector<LogLine> expected = {{3, c.line}};
    if (c.kind == FaultKind::kStatus) {
      expected.push_back({1, "FTD2XX ERROR " + std::to_string(c.value) + ": " + c.description});
    }
    const size_t before = c.step < 0 ? 0 : static_cast<size_t>(c.step);
    ASSERT_EQ(log->lines.size(), before + expected.size());
    EXPECT_EQ(std::vector<LogLine>(log->lines.begin() + before, log->lines.end()), expected);

    log->lines.clear();
    if (c.open) {
      // Still held: the driver refuses a second open, and Terminate gives it back.
      EXPECT_EQ(Raised([&] { channel.Initialize(0); }).Description(), "FT device not opened");
      channel.Terminate();
      EXPECT_EQ(log->lines.back(), (LogLine{3, "FT_Close (0x00000A3C) = 0"}));
    } else {
      EXPECT_EQ(Raised([&] { channel.PurgeQueues(); }).Number(), kErrDeviceNotOpened);
    }
    EXPECT_FALSE(bench->Device(0).IsOpen());
  }

  // The same member on a closed channel, new or terminated: Initialize opens it,
  // Terminate does nothing, every other member refuses before the driver.
  void RunClosed() {
    const FaultCase<C>& c = this->GetParam();
    for (const bool terminated : {false, true}) {
      SCOPED_TRACE(terminated ? "after Terminate" : "before Initialize");
      C channel;
      if (terminated) {
        channel.Initialize(0);
        channel.Terminate();
      }
      channel.Log(log);
      log->lines.clear();
      if (c.step >= 0) {
        EXPECT_NO_THROW(c.member(channel));
        continue;
      }
      if (c.call == Call::kClose) {
        EXPECT_NO_THROW(c.member(channel));
      } else {
        const Error e = Raised([&] { c.member(channel); });
        EXPECT_EQ(e.Number(), -2147215402);
        EXPECT_EQ(e.Source(), "clsFTD2xx");
        EXPECT_EQ(e.Description(), "Device not opened");
      }
      // With a sink set, every driver call would have left its line.
      EXPECT_TRUE(log->lines.empty());
    }
  }

  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

template <class C>
std::string CaseName(const ::testing::TestParamInfo<FaultCase<C>>& info) {
  return info.param.name;
}

using Fifo245Faults = ChannelFaultTest<clsFTDI245FIFO>;
TEST_P(Fifo245Faults, RaisesLogsAndKeepsWhatWasDone) {
  FailOnce();
}
TEST_P(Fifo245Faults, ClosedChannel) {
  RunClosed();
}
INSTANTIATE_TEST_SUITE_P(EveryCall, Fifo245Faults, ::testing::ValuesIn(Cases<clsFTDI245FIFO>()),
                         CaseName<clsFTDI245FIFO>);

using OptoFaults = ChannelFaultTest<clsFTDIOpto>;
TEST_P(OptoFaults, RaisesLogsAndKeepsWhatWasDone) {
  FailOnce();
}
TEST_P(OptoFaults, ClosedChannel) {
  RunClosed();
}
INSTANTIATE_TEST_SUITE_P(EveryCall, OptoFaults, ::testing::ValuesIn(Cases<clsFTDIOpto>()),
                         CaseName<clsFTDIOpto>);

// A driver call that a member can make but the table forgets would go untested.
TEST(ChannelFaultTable, CoversEveryCallOfEveryMember) {
  std::set<Call> fifo, opto;
  for (const auto& c : Cases<clsFTDI245FIFO>()) fifo.insert(c.call);
  for (const auto& c : Cases<clsFTDIOpto>()) opto.insert(c.call);
  EXPECT_EQ(opto.size(), 8u);   // open, three settings, purge, write, read, close
  EXPECT_EQ(fifo.size(), 10u);  // and the two queue sizes
  const size_t total = Cases<clsFTDI245FIFO>().size() + Cases<clsFTDIOpto>().size();
  RecordProperty("fault_cases", static_cast<int>(total));
  std::cout << total << " fault cases\n";
}

}  // namespace
}  // namespace brevant::testing
