// The gateway against the virtual bench: the exact trace of every driver member,
// the order guard / call / Level 3 / Level 1 / state, and what survives a failure
// of the driver, of the caller's array, or of the log sink itself.
#include "gateway/clsFTD2xx.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "brevant/Error.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;
using virt::Call;

// Everything the gateway remembers, as one comparable text.
std::string StateOf(const clsFTD2xx& g) {
  if (!g.FTOpened()) return "closed";
  const auto part = [](const char* tag, const std::function<int32_t()>& read) -> std::string {
    try {
      return tag + std::to_string(read());
    } catch (const Error&) {
      return "";
    }
  };
  return "open" + part(" t", [&] { return g.FTTimeoutRead(); }) +
         part("/", [&] { return g.FTTimeoutWrite(); }) + part(" m", [&] { return g.FTBitMode(); }) +
         part(" b", [&] { return g.FTBaudRate(); });
}

// A gateway with a sink on device 0 (handle 0A3C), every remembered value set and
// two bytes from the peer waiting.
class GatewayTest : public BenchTest {
 public:
  void SetUp() override {
    BenchTest::SetUp();
    gw = std::make_unique<clsFTD2xx>(driver);
    gw->Log(log);
    gw->FTOpen(0);
    gw->FTSetTimeouts(100, 100);
    gw->FTSetBitMode(0xFF, 0x00);
    gw->FTSetBaudRate(9600);
    bench->Device(0).Deliver(std::vector<uint8_t>{0x12, 0x34});
    bench->Clock().Advance(20'000);
    log->lines.clear();
  }
  void TearDown() override {
    gw.reset();
    BenchTest::TearDown();
  }
  void FailNext(Call call, uint32_t status) {
    bench->Faults().Add({.call = call, .nth = bench->Faults().Calls(call) + 1, .status = status});
  }

  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::unique_ptr<clsFTD2xx> gw;
  // Arguments and out values of the members in the table.
  ByteArray data;
  int32_t got = -1, type = -1, id = -1;
  std::string serial = "old", description = "old";
};

constexpr char kSet[] = "open t100/100 m0 b9600";
constexpr uint8_t kFromMinus1[] = {0x99, 0xAA, 0xBB, 0xCC};
using G = clsFTD2xx;
using T = GatewayTest;

struct MemberCase {
  const char* name;
  Call call;
  std::function<void(G&, T&)> run;
  const char* line;
  const char* stateAfter = kSet;
  friend void PrintTo(const MemberCase& c, std::ostream* os) { *os << c.name; }
};

const MemberCase kMembers[] = {
    {"ListNumDevices", Call::kListDevices, [](G& g, T&) { EXPECT_EQ(g.FTListNumDevices(), 7); },
     "FT_ListDevices (7, vbNullString, 0x80000000) = 0"},
    {"ListSerialNumber", Call::kListDevices,
     [](G& g, T&) { EXPECT_EQ(g.FTListSerialNumber(2), "BV23H002"); },
     "FT_ListDevices (2, \"BV23H002\", 0x40000001) = 0"},
    {"ListDescription", Call::kListDevices,
     [](G& g, T&) { EXPECT_EQ(g.FTListDescription(3), "Quad RS232-HS A"); },
     "FT_ListDevices (3, \"Quad RS232-HS A\", 0x40000002) = 0"},
    {"ListLocationID", Call::kListDevices,
     [](G& g, T&) { EXPECT_EQ(g.FTListLocationID(1), 0x232); },
     "FT_ListDevices (1, 0x00000232, 0x40000004) = 0"},
    // A second open takes the new handle and forgets what was set.
    {"OpenAgain", Call::kOpen, [](G& g, T&) { g.FTOpen(1); }, "FT_Open (1, 0x00000A5C) = 0",
     "open"},
    {"Close", Call::kClose, [](G& g, T&) { g.FTClose(); }, "FT_Close (0x00000A3C) = 0", "closed"},
    {"ResetDevice", Call::kResetDevice, [](G& g, T&) { g.FTResetDevice(); },
     "FT_ResetDevice (0x00000A3C) = 0", "open"},
    {"ResetPort", Call::kResetPort, [](G& g, T&) { g.FTResetPort(); },
     "FT_ResetPort (0x00000A3C) = 0", "open"},
    {"CyclePort", Call::kCyclePort, [](G& g, T&) { g.FTCyclePort(); },
     "FT_CyclePort (0x00000A3C) = 0", "open"},
    {"SetTimeouts", Call::kSetTimeouts, [](G& g, T&) { g.FTSetTimeouts(500, 200); },
     "FT_SetTimeouts (0x00000A3C, 500, 200) = 0", "open t500/200 m0 b9600"},
    {"GetDeviceInfo", Call::kGetDeviceInfo,
     [](G& g, T& t) { g.FTGetDeviceInfo(t.type, t.id, t.serial, t.description); },
     "FT_GetDeviceInfo (0x00000A3C, 6, 0x04036010, BV22H001A, Dual RS232-HS A, 0) = 0"},
    // The receive and transmit amounts must not swap places.
    {"TxQueueStatus", Call::kGetStatus, [](G& g, T&) { EXPECT_EQ(g.FTTxQueueStatus(), 0); },
     "FT_GetStatus (0x00000A3C, 2, 0, 0) = 0"},
    {"RxQueueStatus", Call::kGetQueueStatus, [](G& g, T&) { EXPECT_EQ(g.FTRxQueueStatus(), 2); },
     "FT_GetQueueStatus (0x00000A3C, 2) = 0"},
    {"PurgeNone", Call::kPurge, [](G& g, T&) { g.FTPurge(false, false); },
     "FT_Purge (0x00000A3C, 0x0) = 0"},
    {"PurgeRx", Call::kPurge, [](G& g, T&) { g.FTPurge(true, false); },
     "FT_Purge (0x00000A3C, 0x1) = 0"},
    {"PurgeTx", Call::kPurge, [](G& g, T&) { g.FTPurge(false, true); },
     "FT_Purge (0x00000A3C, 0x2) = 0"},
    {"PurgeBoth", Call::kPurge, [](G& g, T&) { g.FTPurge(true, true); },
     "FT_Purge (0x00000A3C, 0x3) = 0"},
    // An injected status leaves the written count short too: the status must win.
    {"Write", Call::kWrite,
     [](G& g, T& t) {
       g.FTWrite(t.data = {0x01, 0xAB, 0x00}, 3);
     },
     "FT_Write (0x00000A3C, 0x{01 AB 00}, 3, 3) = 0"},
    {"WriteNothing", Call::kWrite, [](G& g, T& t) { g.FTWrite(t.data = {0x55}, 0); },
     "FT_Write (0x00000A3C, 0x{}, 0, 0) = 0"},
    // From element 0, not from the lower bound, and only Length bytes.
    {"WriteFromElementZero", Call::kWrite,
     [](G& g, T& t) { g.FTWrite(t.data = ByteArray(kFromMinus1, -1), 2); },
     "FT_Write (0x00000A3C, 0x{AA BB}, 2, 2) = 0"},
    // Two of five arrive before the time-out; the dump still covers all five.
    {"ReadShort", Call::kRead,
     [](G& g, T& t) {
       g.FTRead(t.data = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE}, 5, t.got);
       EXPECT_EQ(t.got, 2);
     },
     "FT_Read (0x00000A3C, 0x{12 34 EE EE EE}, 5, 2) = 0"},
    {"SetBaudRate", Call::kSetBaudRate, [](G& g, T&) { g.FTSetBaudRate(115200); },
     "FT_SetBaudRate (0x00000A3C, 115200) = 0", "open t100/100 m0 b115200"},
    {"GetLatencyTimer", Call::kGetLatencyTimer,
     [](G& g, T&) { EXPECT_EQ(g.FTGetLatencyTimer(), 16); },
     "FT_GetLatencyTimer (0x00000A3C, 16) = 0"},
    {"SetLatencyTimer", Call::kSetLatencyTimer, [](G& g, T&) { g.FTSetLatencyTimer(1); },
     "FT_SetLatencyTimer (0x00000A3C, 1) = 0"},
    // The pins, not the remembered mode; no blank before the bracket.
    {"GetBitMode", Call::kGetBitMode, [](G& g, T&) { EXPECT_EQ(g.FTGetBitMode(), 0xFF); },
     "FT_GetBitMode(0x00000A3C, 0xFF) = 0"},
    {"SetBitMode", Call::kSetBitMode, [](G& g, T&) { g.FTSetBitMode(0xEC, 0x10); },
     "FT_SetBitMode (0x00000A3C, 0xEC, 0x10) = 0", "open t100/100 m16 b9600"},
    // Word 1 holds the vendor id; the offset in decimal, the word in four digits.
    {"ReadEE", Call::kReadEE, [](G& g, T&) { EXPECT_EQ(g.FTReadEE(1), 0x0403); },
     "FT_ReadEE (0x00000A3C, 1, 0x0403) = 0"},
    {"WriteEE", Call::kWriteEE, [](G& g, T&) { g.FTWriteEE(127, 0x0B0E); },
     "FT_WriteEE (0x00000A3C, 127, 0x0B0E) = 0"},
    {"EraseEE", Call::kEraseEE, [](G& g, T&) { g.FTEraseEE(); }, "FT_EraseEE (0x00000A3C) = 0"},
};

class MemberTest : public GatewayTest, public ::testing::WithParamInterface<MemberCase> {};

TEST_P(MemberTest, LogsOneLineThenChangesState) {
  GetParam().run(*gw, *this);
  EXPECT_THAT(log->lines, ElementsAre(LogLine{3, GetParam().line}));
  EXPECT_EQ(StateOf(*gw), GetParam().stateAfter);
}

// What a failure leaves behind: the driver's status is logged (Level 3, then 1)
// and raised; a throwing sink replaces whatever was going on, so at Level 3 the
// status is never looked at, even when the driver did its part. State stays.
struct FailureWay {
  const char* name;
  bool sink;
  int32_t throwOnLevel;
  uint32_t status;
  const char* raised;  // Description, or "sink" for the sink's own exception
  size_t lines;
};

const FailureWay kFailureWays[] = {
    {"status with sink", true, 0, 3, "FT device not opened", 2},
    {"unknown status without sink", false, 0, 19, "Unknown FT error (19)", 0},
    {"sink throws at 3 on success", true, 3, 0, "sink", 1},
    {"sink throws at 3 on status", true, 3, 3, "sink", 1},
    {"sink throws at 1", true, 1, 3, "sink", 2},
};

TEST_P(MemberTest, FailureKeepsStateAndLogsWhatRan) {
  const std::string line = GetParam().line;
  for (const FailureWay& way : kFailureWays) {
    SCOPED_TRACE(way.name);
    log->lines.clear();
    log->throwOnLevel = way.throwOnLevel;
    gw->Log(way.sink ? log : nullptr);
    if (way.status != 0) FailNext(GetParam().call, way.status);
    std::string raised = "nothing";
    try {
      GetParam().run(*gw, *this);
    } catch (const Error& e) {
      raised = e.Description();
      EXPECT_EQ(e.Number(), -2147215403);
      EXPECT_EQ(e.Source(), "clsFTD2xx");
    } catch (const std::runtime_error& e) {
      raised = "sink";
    }
    EXPECT_EQ(raised, way.raised);
    ASSERT_EQ(log->lines.size(), way.lines);
    if (way.lines > 0) {
      EXPECT_EQ(log->lines[0].level, 3);
      EXPECT_THAT(log->lines[0].text, StartsWith(line.substr(0, line.find('('))));
      EXPECT_THAT(log->lines[0].text, EndsWith(") = " + std::to_string(way.status)));
    }
    if (way.lines > 1) {
      EXPECT_EQ(log->lines[1], (LogLine{1, "FTD2XX ERROR 3: FT device not opened"}));
    }
    EXPECT_EQ(StateOf(*gw), kSet);
  }
  log->throwOnLevel = 0;
}

// A new gateway refuses every guarded member before the driver and the log.
TEST_P(MemberTest, ClosedGatewayRefusesGuardedMembers) {
  clsFTD2xx closed(driver);
  closed.Log(log);
  const int before = bench->Faults().Calls(GetParam().call);
  const Error e = Raised([&] { GetParam().run(closed, *this); });
  if (GetParam().call == Call::kListDevices || GetParam().call == Call::kOpen) {
    EXPECT_EQ(e.Number(), 0);
    EXPECT_EQ(log->lines.size(), 1u);
  } else {
    EXPECT_EQ(e.Number(), -2147215402);
    EXPECT_EQ(e.Description(), "Device not opened");
    EXPECT_EQ(bench->Faults().Calls(GetParam().call), before);
    EXPECT_TRUE(log->lines.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Gateway, MemberTest, ::testing::ValuesIn(kMembers),
                         [](const auto& info) { return std::string(info.param.name); });

// Open guard before the not-set check; a reset or a new open clears what was set.
TEST_F(GatewayTest, RemembersValuesOnlyForThePresentOpen) {
  clsFTD2xx g(driver);
  const struct {
    const char* name;
    std::function<void()> read;
    const char* notSet;
  } readers[] = {
      {"TimeoutRead", [&] { g.FTTimeoutRead(); }, "Time out not set"},
      {"TimeoutWrite", [&] { g.FTTimeoutWrite(); }, "Time out not set"},
      {"BitMode", [&] { g.FTBitMode(); }, "Bit mode not set"},
      {"BaudRate", [&] { g.FTBaudRate(); }, "Baud rate not set"},
  };
  const std::function<void()> steps[] = {[] {}, [&] { g.FTOpen(2); }, [&] { g.FTResetDevice(); },
                                         [&] { g.FTClose(), g.FTOpen(2); }};
  for (size_t step = 0; step < std::size(steps); ++step) {
    steps[step]();
    for (const auto& r : readers) {
      SCOPED_TRACE(std::string(r.name) + " after step " + std::to_string(step));
      const Error e = Raised(r.read);
      EXPECT_EQ(e.Number(), step == 0 ? -2147215402 : -2147215401);
      EXPECT_EQ(e.Description(), step == 0 ? "Device not opened" : r.notSet);
    }
    EXPECT_EQ(Raised([&] { EXPECT_FALSE(g.FTTimeoutsSet()); }).Number(),
              step == 0 ? -2147215402 : 0);
  }
}

TEST_F(GatewayTest, ArrayWithoutRoomRaisesNineBeforeTheDriver) {
  const struct {
    const char* name;
    ByteArray buffer;
    int32_t length;
  } cases[] = {
      {"unallocated", ByteArray(), 0},
      {"lower bound 1", ByteArray(1, 4), 1},
      {"all below 0", ByteArray(-3, 3), 0},
      {"negative length", ByteArray{1, 2, 3}, -1},
      {"length past upper bound", ByteArray{1, 2, 3}, 4},
      {"length past upper bound from -2", ByteArray(-2, 4), 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ByteArray buffer = c.buffer;
    int32_t got = 0;
    for (const Error& e : {Raised([&] { gw->FTWrite(buffer, c.length); }),
                           Raised([&] { gw->FTRead(buffer, c.length, got); })}) {
      EXPECT_EQ(e.Number(), 9);
      EXPECT_EQ(e.Description(), "Subscript out of range");
    }
  }
  EXPECT_EQ(bench->Faults().Calls(Call::kWrite) + bench->Faults().Calls(Call::kRead), 0);
  EXPECT_TRUE(log->lines.empty());
  gw->FTClose();
  ByteArray none;
  EXPECT_EQ(Raised([&] { gw->FTWrite(none, 0); }).Number(), -2147215402) << "guard first";
}

TEST_F(GatewayTest, ListedTextIsCutAtFirstNulOrBuffer) {
  const struct {
    const char* name;
    std::string serial, expected, logged;
  } cases[] = {
      {"cut at NUL", std::string("AB\0CD", 5), "AB", "AB"},
      {"empty", "", "", ""},
      {"trailing blanks stay", "X  ", "X  ", "X  "},
      {"64 without NUL", std::string(64, 'S'), std::string(64, 'S'), std::string(64, 'S')},
      {"longer than the buffer", std::string(70, 'L'), std::string(64, 'L'), std::string(64, 'L')},
      // Substituted again by the pass of the flags.
      {"a later placeholder in the text", "S%3", "S%3", "S40000001"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bench->AddDevice({.serialNumber = c.serial, .description = ""});
    const std::string index = std::to_string(bench->DeviceCount() - 1);
    log->lines.clear();
    EXPECT_EQ(gw->FTListSerialNumber(std::stoi(index)), c.expected);
    EXPECT_THAT(log->Texts(), ElementsAre("FT_ListDevices (" + index + ", \"" + c.logged +
                                          "\", 0x40000001) = 0"));
  }
}

// A failed open logs the out handle untouched; release closes, errors ignored.
TEST_F(GatewayTest, OpenAndReleaseOfAFreshGateway) {
  {
    clsFTD2xx g(driver);
    g.Log(log);
    EXPECT_EQ(Raised([&] { g.FTOpen(99); }).Description(), "FT device handle not found");
    EXPECT_EQ(Raised([&] { g.FTOpen(0); }).Description(), "FT device not opened");
    EXPECT_FALSE(g.FTOpened());
    g.FTOpen(2);
  }
  EXPECT_FALSE(bench->Device(2).IsOpen());
  EXPECT_THAT(
      log->Texts(),
      ElementsAre("FT_Open (99, 0x00000000) = 2", "FTD2XX ERROR 2: FT device handle not found",
                  "FT_Open (0, 0x00000000) = 3", "FTD2XX ERROR 3: FT device not opened",
                  "FT_Open (2, 0x00000A5C) = 0", "FT_Close (0x00000A5C) = 0"));
  FailNext(Call::kClose, 4);
  EXPECT_NO_THROW(gw.reset());
  EXPECT_EQ(log->Texts().back(), "FTD2XX ERROR 4: FT I/O error");
}

}  // namespace
}  // namespace brevant::testing
