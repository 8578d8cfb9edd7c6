// MpsseBatch against the channel's members on the default bench: the same bytes
// and answers, one round trip for the everyday jobs, the FIFO limit, bad commands
// and failures.
#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "brevant/MpsseBatch.h"
#include "brevant/MpsseTransactions.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "virtual/mpsse/MpsseBench.h"
#include "virtual/mpsse/SpiFlash.h"

namespace brevant::testing {
namespace {

using Bytes = std::vector<uint8_t>;
using virt::Call;

// Keeps every write, marking the ones a read followed; `corrupt` replaces one
// byte of the next write, as a wrong byte on the way would.
class WriteLog : public virt::VirtualDriver {
 public:
  using VirtualDriver::VirtualDriver;
  FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                    uint32_t* written) override {
    Bytes bytes(static_cast<const uint8_t*>(buffer), static_cast<const uint8_t*>(buffer) + count);
    if (corrupt) bytes[corrupt->first] = corrupt->second;
    corrupt.reset();
    writes.push_back({bytes, false});
    return VirtualDriver::FT_Write(handle, bytes.data(), count, written);
  }
  FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) override {
    if (!writes.empty()) writes.back().second = true;
    return VirtualDriver::FT_Read(handle, buffer, count, read);
  }
  std::vector<std::pair<Bytes, bool>> writes;
  std::optional<std::pair<size_t, uint8_t>> corrupt;
};

// One random operation, run through a member or queued in a batch.
struct Op {
  int kind;
  uint8_t a, b;
  int32_t length;
  eFTMPSSEBitOrder order;
  eFTMPSSEClockPolarity out, in;
  ByteArray data;
};

// The operations that read nothing, the same on a channel and a batch; false
// for the others.
template <class Target>
bool Write(Target& target, Op& op) {
  switch (op.kind) {
    case 0:
      return target.SetClockDivisor(op.a % 4), true;
    case 1:
      return target.SetPortLow(op.a, op.b), true;
    case 2:
      return target.SetPortHigh(op.a, op.b), true;
    case 3:
      return target.DataBytesOut(op.data, op.length, op.order, op.out), true;
    case 4:
      return target.HardwareLoopback(op.a & 1), true;
    case 5:
      return target.TMSBitsOut(op.a, op.b % 9, op.out), true;
    default:
      return false;
  }
}

std::optional<ByteArray> Member(clsFTDIMPSSE& mpsse, Op op) {
  uint8_t bits = 0;
  if (Write(mpsse, op)) return {};
  switch (op.kind) {
    case 6:
      return ByteArray{mpsse.ReadPortLow()};
    case 7:
      return ByteArray{mpsse.ReadPortHigh()};
    case 8:
      mpsse.DataBytesIn(op.data, op.length, op.order, op.in);
      break;
    case 9:
      mpsse.DataBytesInOut(op.data, op.length, op.order, op.out, op.in);
      break;
    default:
      mpsse.TMSBitsInOut(op.a, bits, op.b % 9, op.out, op.in);
      return op.b % 9 ? ByteArray{bits} : ByteArray(0, 0);
  }
  // A read of nothing leaves the array alone; its reply holds nothing.
  return op.length ? op.data : ByteArray(0, 0);
}

std::optional<MpsseBatch::Reply> Queue(MpsseBatch& batch, Op op) {
  if (Write(batch, op)) return {};
  switch (op.kind) {
    case 6:
      return batch.ReadPortLow();
    case 7:
      return batch.ReadPortHigh();
    case 8:
      return batch.DataBytesIn(op.length, op.order, op.in);
    case 9:
      return batch.DataBytesInOut(op.data, op.length, op.order, op.out, op.in);
    default:
      return batch.TMSBitsInOut(op.a, op.b % 9, op.out, op.in);
  }
}

class MpsseBatchTest : public BenchTest {
 protected:
  void SetUp() override {
    log = std::make_shared<WriteLog>(bench);
    SetDriver(log);
  }
  // Device 2 of a new default bench.
  clsFTDIMPSSE& Fresh() {
    mpsse.reset();
    bench = virt::MakeDefaultBench();
    SetUp();
    return Open(2);
  }
  clsFTDIMPSSE& Open(int16_t device) {
    mpsse.emplace();
    mpsse->Initialize(device);
    log->writes.clear();
    return *mpsse;
  }
  int Count(Call call) const { return bench->Faults().Calls(call); }
  // Devices 0 FT232H, 1-2 FT2232D, 3-4 FT2232H, 5-8 FT4232H.
  void OneOfEachPart() {
    bench = std::make_shared<virt::Bench>();
    bench->AddPart(virt::PartKind::kFT232H, "BV32H", 0x0111);
    bench->AddPart(virt::PartKind::kFT2232D, "BV22D", 0x0121);
    bench->AddPart(virt::PartKind::kFT2232H, "BV22H", 0x0131);
    bench->AddPart(virt::PartKind::kFT4232H, "BV42H", 0x0141);
    SetUp();
  }

  std::shared_ptr<WriteLog> log;
  std::optional<clsFTDIMPSSE> mpsse;
};

// Device 2's loops and pins answer the same whenever they are asked, so the
// member run and the batch run must agree byte for byte.
TEST_F(MpsseBatchTest, SendsTheMembersBytesAndGetsTheirAnswers) {
  std::mt19937 random(20261123);
  auto byte = [&] { return static_cast<uint8_t>(random()); };
  for (int sequence = 0; sequence < 300; ++sequence) {
    SCOPED_TRACE(sequence);
    std::vector<Op> ops(1 + random() % 12);
    for (Op& op : ops) {
      const auto pick = [&](unsigned n) { return static_cast<int>(random() % n); };
      op = {pick(11),
            byte(),
            byte(),
            pick(33),
            eFTMPSSEBitOrder(pick(2)),
            eFTMPSSEClockPolarity(pick(2)),
            eFTMPSSEClockPolarity(pick(2)),
            ByteArray(0, 32)};
      for (uint8_t& b : op.data.Elements()) b = byte();
    }
    Fresh();
    std::vector<std::optional<ByteArray>> expected;
    for (const Op& op : ops) expected.push_back(Member(*mpsse, op));
    Bytes stream;
    bool reads = false;
    for (auto& [bytes, read] : log->writes) {
      // A batch sends one 0x87 at its end instead of one behind each read.
      const bool immediate = read && bytes.back() == 0x87;
      stream.insert(stream.end(), bytes.begin(), bytes.end() - (immediate ? 1 : 0));
      reads |= read;
    }
    if (reads) stream.push_back(0x87);

    MpsseBatch batch(Fresh());
    std::vector<std::optional<MpsseBatch::Reply>> replies;
    for (const Op& op : ops) replies.push_back(Queue(batch, op));
    batch.Run();
    EXPECT_EQ(Count(Call::kWrite), stream.empty() ? 0 : 1);
    EXPECT_EQ(log->writes.empty() ? Bytes{} : log->writes[0].first, stream);
    EXPECT_EQ(Count(Call::kRead), reads ? 1 : 0);
    for (size_t i = 0; i < ops.size(); ++i) {
      ASSERT_EQ(replies[i].has_value(), expected[i].has_value()) << ops[i].kind;
      if (replies[i]) {
        EXPECT_EQ(replies[i]->Data(), *expected[i]) << ops[i].kind;
      }
    }
  }
}

TEST_F(MpsseBatchTest, FlashPageAndIdcodeScanTakeOneRoundTripEach) {
  Bytes page(256);
  for (size_t i = 0; i < page.size(); ++i) page[i] = static_cast<uint8_t>(i * 7);
  virt::MpsseOf(bench->Device(0)).Attached<virt::SpiFlash>()->Load(0x1200, page);
  const struct {
    const char* name;
    int16_t device;
    std::function<MpsseBatch::Reply(MpsseBatch&)> job;
    Bytes expected;
  } cases[] = {
      {"FlashPage", 0,
       [](MpsseBatch& b) {
         return SpiTransaction(b, {}, ByteArray{0x03, 0x00, 0x12, 0x00}, 256);
       },
       page},
      {"IdcodesFromReset",
       1,
       [](MpsseBatch& b) {
         return JtagScan(b, JtagRegister::kData, JtagStart::kTestLogicReset, ByteArray(0, 8), 64);
       },
       {0x93, 0xD0, 0x62, 0x03, 0x77, 0x04, 0xA0, 0x4B}},
      // Capture-IR loads ...01 in both TAPs: 000001 from the FPGA, then 0001.
      {"InstructionsFromIdle",
       1,
       [](MpsseBatch& b) {
         b.TMSBitsOut(0x1F, 6, emcNegEdge);
         return JtagScan(b, JtagRegister::kInstruction, JtagStart::kRunTestIdle, ByteArray(0, 2),
                         10);
       },
       {0x41, 0x00}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MpsseBatch batch(Open(c.device));
    batch.SetPortLow(0x08, 0x0B);
    const MpsseBatch::Reply reply = c.job(batch);
    const int writes = Count(Call::kWrite), reads = Count(Call::kRead);
    batch.Run();
    EXPECT_EQ(Count(Call::kWrite) - writes, 1);
    EXPECT_EQ(Count(Call::kRead) - reads, 1);
    EXPECT_EQ(reply.Data(), ByteArray(std::span<const uint8_t>(c.expected)));
  }
}

// Device 2 is a one-channel part: 1024 bytes each way, a byte kept for 0x87.
TEST_F(MpsseBatchTest, RunsByItselfBeforeTheChipsBufferWouldOverflow) {
  const struct {
    const char* name;
    int portSets, readLength, portReads, writes, reads;
  } cases[] = {{"CommandsFit", 341, 0, 0, 1, 0},
               {"OneCommandTooMany", 342, 0, 0, 2, 0},
               {"AnswersFit", 0, 1023, 1, 1, 1},
               // The chip holds the answers back until the host reads them.
               {"AnswersBeyondTheBuffer", 0, 1024, 1, 1, 1},
               {"ALongReadAmongOthers", 1, 2000, 1, 1, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MpsseBatch batch(Open(2));
    const int writes = Count(Call::kWrite), reads = Count(Call::kRead);
    for (int i = 0; i < c.portSets; ++i) batch.SetPortLow(static_cast<uint8_t>(i), 0xFF);
    const auto data = batch.DataBytesIn(c.readLength, embMSBfirst, emcPosEdge);
    const auto port = c.portReads ? batch.ReadPortLow() : MpsseBatch::Reply();
    batch.Run();
    EXPECT_EQ(Count(Call::kWrite) - writes, c.writes);
    EXPECT_EQ(Count(Call::kRead) - reads, c.reads);
    EXPECT_EQ(data.Data().Count(), c.readLength);
    EXPECT_EQ(port.Ready(), c.portReads == 1);
  }
}

TEST_F(MpsseBatchTest, NamesARefusedByteAndComesBackInStep) {
  const uint8_t level = Open(2).ReadPortHigh();
  MpsseBatch batch(*mpsse);
  batch.ReadPortLow();
  batch.DataBytesOut(ByteArray{0x55, 0xAB}, 2, embMSBfirst, emcNegEdge);
  batch.ReadPortHigh();
  batch.CheckCommands();
  // The length 2 turned into 1 makes the chip take 0xAB, byte 5, for a command.
  log->corrupt = {2, 0x00};
  const Error e = Raised([&] { batch.Run(); });
  EXPECT_EQ(e.Number(), kErrBadCommand);
  EXPECT_EQ(e.Source(), "MpsseBatch");
  EXPECT_EQ(e.Description(), "MPSSE bad command 0xAB at byte 5 of the batch");
  const auto again = batch.ReadPortHigh();
  batch.CheckCommands();
  batch.Run();
  EXPECT_EQ(again.Byte(), level);
}

// One part of each kind: the FT232H is device 0, the FT2232D 1 (the bench's
// MPSSE channel) and 2, the FT2232H 3 and 4, the FT4232H 5 to 8 (MPSSE on 5 and
// 6). High-speed parts reach 30 MHz / (d + 1) with 0x8A and 6 MHz / (d + 1) with
// 0x8B; the FT2232D has only the latter and would answer FA to either command.
TEST_F(MpsseBatchTest, SetFrequencyPicksTheFastestClockNotAboveTheRate) {
  const struct {
    const char* name;
    int16_t device;
    double hz;
    Bytes wire;  // empty: refused
    double chosen;
  } cases[] = {
      {"FT232HTop", 0, 30e6, {0x8A, 0x86, 0x00, 0x00}, 30e6},
      {"FT232HAboveTop", 0, 1e9, {0x8A, 0x86, 0x00, 0x00}, 30e6},
      {"FT232HJustBelowTop", 0, 29999999.0, {0x8A, 0x86, 0x01, 0x00}, 15e6},
      {"FT2232HHalf", 3, 15e6, {0x8A, 0x86, 0x01, 0x00}, 15e6},
      {"FT2232HJustBelowHalf", 4, 14999999.0, {0x8A, 0x86, 0x02, 0x00}, 10e6},
      {"FT4232HSlowestAt30MHz", 5, 30e6 / 65536, {0x8A, 0x86, 0xFF, 0xFF}, 457.763671875},
      // 6 MHz / 457.7 is 13109.02: the divisor 13109 (0x3335) gives 6 MHz / 13110.
      {"FT4232HJustBelowThatTakes6MHz", 6, 457.7, {0x8B, 0x86, 0x35, 0x33}, 6e6 / 13110},
      {"FT232HSlowest", 0, 6e6 / 65536, {0x8B, 0x86, 0xFF, 0xFF}, 91.552734375},
      {"FT232HBelowSlowest", 0, 91.55, {}, 0},
      {"FT2232DTop", 1, 6e6, {0x86, 0x00, 0x00}, 6e6},
      {"FT2232DAboveTop", 1, 30e6, {0x86, 0x00, 0x00}, 6e6},
      {"FT2232DJustBelowTop", 1, 5999999.0, {0x86, 0x01, 0x00}, 3e6},
      {"FT2232DSlowest", 1, 6e6 / 65536, {0x86, 0xFF, 0xFF}, 91.552734375},
      {"FT2232DBelowSlowest", 1, 91.55, {}, 0},
      {"Zero", 3, 0.0, {}, 0},
      {"Negative", 3, -1e6, {}, 0},
      {"NaN", 3, std::nan(""), {}, 0},
  };
  OneOfEachPart();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MpsseBatch batch(Open(c.device));
    mpsse->SetClockDivisor(0x1234);
    log->writes.clear();
    double chosen = 0;
    const Error e = Raised([&] { chosen = batch.SetFrequency(c.hz); });
    batch.Run();
    const int32_t divisor = c.wire.empty() ? 0x1234 : c.wire.end()[-2] | c.wire.end()[-1] << 8;
    EXPECT_EQ(mpsse->GetClockDivisor(), divisor);
    if (c.wire.empty()) {
      EXPECT_EQ(e.Number(), static_cast<int32_t>(errFTDIMPSSE::errParameter));
      EXPECT_EQ(e.Source(), "clsFTDIMPSSE");
      EXPECT_EQ(e.Description(), "Invalid parameter");
      EXPECT_TRUE(log->writes.empty());
      continue;
    }
    EXPECT_EQ(e.Number(), 0) << e.Description();
    EXPECT_EQ(chosen, c.chosen);
    ASSERT_EQ(log->writes.size(), 1u);
    EXPECT_EQ(log->writes[0].first, c.wire);
    EXPECT_EQ(virt::MpsseOf(bench->Device(c.device)).ClockHz(), c.chosen);
  }
}

// Three-phase clocking is the high-speed parts', drive-zero the FT232H's alone;
// elsewhere each is refused with nothing queued.
TEST_F(MpsseBatchTest, PartBoundCommandsGoOnlyToPartsThatHaveThem) {
  OneOfEachPart();
  const struct {
    int16_t device;
    Bytes wire;  // of ThreePhaseClocking(true) then DriveZero(0x0103); empty where refused
  } cases[] = {{0, {0x8C, 0x9E, 0x03, 0x01}}, {1, {}}, {3, {0x8C}}, {5, {0x8C}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.device);
    MpsseBatch batch(Open(c.device));
    const Error threePhase = Raised([&] { batch.ThreePhaseClocking(true); });
    const Error driveZero = Raised([&] { batch.DriveZero(0x0103); });
    batch.Run();
    const auto refused = static_cast<int32_t>(errFTDIMPSSE::errParameter);
    EXPECT_EQ(threePhase.Number(), c.wire.empty() ? refused : 0);
    EXPECT_EQ(driveZero.Number(), c.wire.size() == 4 ? 0 : refused);
    if (c.wire.empty()) {
      EXPECT_TRUE(log->writes.empty());
    } else {
      ASSERT_EQ(log->writes.size(), 1u);
      EXPECT_EQ(log->writes[0].first, c.wire);
    }
  }
}

// A failure while the batch ran by itself waits for Run; answers it would have
// filled stay not ready, and the driver's queues are purged.
TEST_F(MpsseBatchTest, AFailureSticksUntilRunReportsItOnce) {
  const struct {
    const char* name;
    virt::Fault fault;
    int32_t number;
  } cases[] = {{"WriteFails", {.call = Call::kWrite, .nth = 1}, kErrDriverStatus},
               {"ReadComesShort",
                {.call = Call::kRead, .nth = 1, .kind = virt::FaultKind::kShortRead, .count = 3},
                static_cast<int32_t>(errFTDIMPSSE::errReadError)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MpsseBatch batch(Open(2));
    const auto first = batch.DataBytesIn(1000, embMSBfirst, emcPosEdge);
    bench->Faults().Clear();
    bench->Faults().Add(c.fault);
    // Commands beyond the chip's 1 KiB run what came before by themselves.
    for (int i = 0; i < 341; ++i) batch.SetPortLow(0, 0);
    const auto later = batch.DataBytesIn(100, embMSBfirst, emcPosEdge);
    EXPECT_EQ(Count(Call::kPurge), 1);
    EXPECT_EQ(Count(Call::kWrite), 1);
    EXPECT_EQ(Raised([&] { batch.Run(); }).Number(), c.number);
    EXPECT_EQ(Raised([&] { batch.Run(); }).Number(), 0);
    for (const auto& reply : {first, later}) {
      EXPECT_FALSE(reply.Ready());
      EXPECT_EQ(Raised([&] { reply.Data(); }).Description(), "Batch read not run yet");
    }
  }
  MpsseBatch batch(*mpsse);
  EXPECT_EQ(Raised([&] { batch.DataBytesIn(65536, embMSBfirst, emcPosEdge); }).Description(),
            "Invalid data length");
}

}  // namespace
}  // namespace brevant::testing
