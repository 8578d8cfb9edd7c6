// Each driver call of each stream channel member, failed once on the bench: the
// error reaches the client as the gateway raised it, and the failing call is
// logged with the arguments the channel gave it (Level 3, then Level 1 for a
// status). What a failure leaves open, and which status gives which error, the
// fault sweep checks for every member; the closed gateway's refusals,
// clsFTD2xx_test.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "channels/StreamKinds.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
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
  uint32_t value;    // the status, or the count a short transfer stops at
  std::string line;  // the failing call's Level 3 line
  std::string description;
  int step = -1;  // Initialize's lines before the failing one; -1: on an open channel
  FaultKind kind = FaultKind::kStatus;
  int32_t number = kErrDriverStatus;  // 0: nothing raised
  friend void PrintTo(const FaultCase& c, std::ostream* os) { *os << c.name; }
};

template <class C>
std::vector<FaultCase<C>> Cases() {
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
      {"InitializeOpen", init, Call::kOpen, 2, "FT_Open (0, 0x00000000) = 2",
       "FT device handle not found", 0},
      {"InitializeSetBitMode", init, Call::kSetBitMode, 4,
       "FT_SetBitMode (0x00000A3C, " + bitMode + ") = 4", "FT I/O error", 1},
      {"InitializeSetTimeouts", init, Call::kSetTimeouts, 5,
       "FT_SetTimeouts (0x00000A3C, 500, 500) = 5", "Insufficient FT resources", 2},
      {"InitializeSetLatencyTimer", init, Call::kSetLatencyTimer, 18,
       "FT_SetLatencyTimer (0x00000A3C, 1) = 18", "Other FT error", 3},
      {"SetTimeOuts", [](C& c) { c.SetTimeOuts(20, 30); }, Call::kSetTimeouts, 6,
       "FT_SetTimeouts (0x00000A3C, 20, 30) = 6", "Invalid FT parameter"},
      {"PurgeQueueTx", [](C& c) { c.PurgeQueueTx(); }, Call::kPurge, 4,
       "FT_Purge (0x00000A3C, 0x2) = 4", "FT I/O error"},
      {"PurgeQueueRx", [](C& c) { c.PurgeQueueRx(); }, Call::kPurge, 1,
       "FT_Purge (0x00000A3C, 0x1) = 1", "Invalid FT handle"},
      {"PurgeQueues", [](C& c) { c.PurgeQueues(); }, Call::kPurge, 19,
       "FT_Purge (0x00000A3C, 0x3) = 19", "Unknown FT error (19)"},
      {"DataWrite", write, Call::kWrite, 10, "FT_Write (0x00000A3C, 0x{01 02 03 04}, 4, 0) = 10",
       "Failed to write FT device"},
      {"DataWriteShort", write, Call::kWrite, 1, "FT_Write (0x00000A3C, 0x{01 02 03 04}, 4, 1) = 0",
       "FTDI transmission incomplete, data not sent", -1, FaultKind::kShortWrite,
       kErrTransmissionIncomplete},
      {"DataRead", read, Call::kRead, 4, "FT_Read (0x00000A3C, 0x{00 00 00 00}, 4, 0) = 4",
       "FT I/O error"},
      {"DataReadShort", read, Call::kRead, 2, "FT_Read (0x00000A3C, 0x{0A 0B 00 00}, 4, 2) = 0", "",
       -1, FaultKind::kShortRead, 0},
      {"Terminate", [](C& c) { c.Terminate(); }, Call::kClose, 4, "FT_Close (0x00000A3C) = 4",
       "FT I/O error"},
  };
  if constexpr (std::is_same_v<C, clsFTDI245FIFO>) {
    cases.push_back({"QueueTx", [](C& c) { c.QueueTx(); }, Call::kGetStatus, 4,
                     "FT_GetStatus (0x00000A3C, 0, 0, 0) = 4", "FT I/O error"});
    cases.push_back({"QueueRx", [](C& c) { c.QueueRx(); }, Call::kGetQueueStatus, 3,
                     "FT_GetQueueStatus (0x00000A3C, 0) = 3", "FT device not opened"});
  } else {
    cases.push_back({"ResetTrue", [](C& c) { c.Reset(true); }, Call::kSetBitMode, 17,
                     "FT_SetBitMode (0x00000A3C, 0xEC, 0x10) = 17", "FT not supported"});
    cases.push_back({"ResetFalse", [](C& c) { c.Reset(false); }, Call::kSetBitMode, 16,
                     "FT_SetBitMode (0x00000A3C, 0xEC, 0x00) = 16", "Invalid FT arguments"});
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
INSTANTIATE_TEST_SUITE_P(EveryCall, Fifo245Faults, ::testing::ValuesIn(Cases<clsFTDI245FIFO>()),
                         CaseName<clsFTDI245FIFO>);

using OptoFaults = ChannelFaultTest<clsFTDIOpto>;
TEST_P(OptoFaults, RaisesLogsAndKeepsWhatWasDone) {
  FailOnce();
}
INSTANTIATE_TEST_SUITE_P(EveryCall, OptoFaults, ::testing::ValuesIn(Cases<clsFTDIOpto>()),
                         CaseName<clsFTDIOpto>);

}  // namespace
}  // namespace brevant::testing
