// Every driver-using member of every class, failed at each driver call it makes
// with every status the driver knows, one it does not, and a short transfer. A
// clean run on a fresh bench first counts the calls; each fault then gets a
// fresh bench of its own. The error is the gateway's (or the class's own for a
// short read), the failing call is the last line logged (Level 3, then Level 1
// for a status), no open is undone, and shadows stored before sending keep the
// new value. An MPSSE batch purges the driver's queues after a failure (and
// brings the chip back in step when it checks commands); those calls are
// expected after the error. The dialogs are cancelled by a fake user.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "brevant/MpsseBatch.h"
#include "brevant/MpsseTransactions.h"
#include "brevant/clsDeviceList.h"
#include "brevant/clsFTDI245FIFO.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "brevant/clsFTDIOpto.h"
#include "brevant/clsFTDISyncBitBang.h"
#include "dialogs/FakeDialog.h"
#include "gateway/FtStatus.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;
using virt::FaultKind;
using virt::kCallNames;

struct Subject {
  std::function<void()> act;
  std::function<bool()> kept;  // the state after a failure is as it should be
};

struct Member {
  std::string name;
  std::function<Subject(std::shared_ptr<icLog>)> make;  // the object, set up
  Error shortRead = Error(0, "", "");                   // number 0: none raised
  bool raises = true;
  // The driver calls that follow a failure of `call` with `kind` to clean up.
  std::function<std::vector<std::string>(Call call, FaultKind kind)> cleanup;
  friend void PrintTo(const Member& m, std::ostream* os) { *os << m.name; }
};

const Error kNone(0, "", "");
const Error kMpsseTimeout(static_cast<int32_t>(errFTDIMPSSE::errReadError), "clsFTDIMPSSE",
                          "FTDI read error (timeout)");
const Error kBitBangTimeout(errReadError, "clsFTDISyncBitBang", "FTDI read error (timeout)");

// Member `name` of class C acting on device 0, opened first unless `open` is false.
template <class C>
Member On(std::string name, std::function<void(C&)> act, Error shortRead = kNone,
          std::function<bool(C&)> kept = {}, bool open = true) {
  auto make = [=](std::shared_ptr<icLog> log) {
    auto c = std::make_shared<C>();
    c->Log(log);
    if constexpr (requires { c->Initialize(0); }) {
      if (open) c->Initialize(0);
    }
    return Subject{[c, act] { act(*c); },
                   kept ? std::function<bool()>([c, kept] { return kept(*c); }) : nullptr};
  };
  return {std::move(name), make, shortRead, true, {}};
}

// A member that takes driver failures as unreadable devices.
Member Quiet(Member m) {
  m.raises = false;
  return m;
}

template <class C>
std::vector<Member> Stream() {
  return {On<C>(
              "Initialize", [](C& c) { c.Initialize(0); }, kNone, {}, false),
          On<C>("SetTimeOuts", [](C& c) { c.SetTimeOuts(20, 30); }),
          On<C>("PurgeQueueTx", [](C& c) { c.PurgeQueueTx(); }),
          On<C>("PurgeQueueRx", [](C& c) { c.PurgeQueueRx(); }),
          On<C>("PurgeQueues", [](C& c) { c.PurgeQueues(); }),
          On<C>("DataWrite",
                [](C& c) {
                  ByteArray a{1, 2, 3};
                  c.DataWrite(a, 3);
                }),
          On<C>("DataRead",
                [](C& c) {
                  ByteArray a(0, 3);
                  int32_t n = 0;
                  c.DataRead(a, 3, n);
                }),
          On<C>("Terminate", [](C& c) { c.Terminate(); })};
}

// A batch on an open MPSSE channel of device 0, filled and run by `act`.
// Afterwards no reply may be ready, the divisor queued stays stored and a
// second Run has nothing left to raise.
Member Batch(std::string name, std::function<std::vector<MpsseBatch::Reply>(MpsseBatch&)> act,
             bool checks, Error shortRead = kMpsseTimeout) {
  struct Rig {
    clsFTDIMPSSE channel;
    std::optional<MpsseBatch> batch;  // made after the channel, gone before it
    std::vector<MpsseBatch::Reply> replies;
  };
  auto make = [act](std::shared_ptr<icLog> log) {
    auto p = std::make_shared<Rig>();
    p->channel.Log(log);
    p->channel.Initialize(0);
    p->batch.emplace(p->channel);
    return Subject{[p, act] {
                     p->batch->SetClockDivisor(7);
                     p->replies = act(*p->batch);
                     p->batch->Run();
                   },
                   [p] {
                     return std::none_of(p->replies.begin(), p->replies.end(),
                                         [](const auto& r) { return r.Ready(); }) &&
                            p->channel.GetClockDivisor() == 7 &&
                            Raised([&] { p->batch->Run(); }).Number() == 0;
                   }};
  };
  auto cleanup = [checks](Call call, FaultKind kind) {
    std::vector<std::string> after;
    if (call == Call::kGetDeviceInfo) return after;  // before anything was sent
    after.push_back("FT_Purge");
    if (checks && kind == FaultKind::kShortRead) {
      after.insert(after.end(), {"FT_Write", "FT_Read"});  // back in step
    }
    return after;
  };
  return {std::move(name), make, shortRead, true, cleanup};
}

std::vector<Member> Batches() {
  using R = std::vector<MpsseBatch::Reply>;
  return {
      Batch(
          "BatchRun",
          [](MpsseBatch& b) {
            b.SetPortLow(0x08, 0x0B);
            b.SetPortHigh(0x00, 0x0F);
            b.HardwareLoopback(false);
            b.DataBytesOut(ByteArray{1, 2}, 2, embMSBfirst, emcNegEdge);
            b.TMSBitsOut(0x05, 3, emcNegEdge);
            return R{
                b.ReadPortLow(),
                b.ReadPortHigh(),
                b.DataBytesIn(2, embMSBfirst, emcPosEdge),
                b.DataBytesInOut(ByteArray{3, 4}, 2, emdLSBfirst, emcNegEdge, emcPosEdge),
                b.TMSBitsInOut(0x01, 4, emcNegEdge, emcPosEdge),
                SpiTransaction(b, {}, ByteArray{0x9F}, 3),
                JtagScan(b, JtagRegister::kData, JtagStart::kTestLogicReset, ByteArray(0, 4), 32)};
          },
          false),
      Batch(
          "BatchCheckCommands",
          [](MpsseBatch& b) {
            R replies{b.ReadPortLow()};
            b.CheckCommands();
            return replies;
          },
          true, Error(kErrBadCommand, "MpsseBatch", "MPSSE engine out of step")),
      // Big enough to run by itself on any chip before Run.
      Batch(
          "BatchRunsByItself",
          [](MpsseBatch& b) {
            const ByteArray block(0, 1000);
            for (int i = 0; i < 10; ++i) b.DataBytesOut(block, 1000, embMSBfirst, emcNegEdge);
            return R{b.ReadPortLow()};
          },
          false),
  };
}

// A dialog member, cancelled by the user: anything else it raises is a failure.
template <class Show>
Member Dialog(std::string name, Show show) {
  return Quiet(On<clsDeviceList>(std::move(name), [show](clsDeviceList& c) {
    const Error e = Raised([&] { show(c); });
    if (e.Number() != errDialogCancel) throw e;
  }));
}

std::vector<Member> Members() {
  using F = clsFTDI245FIFO;
  using O = clsFTDIOpto;
  using B = clsFTDISyncBitBang;
  using M = clsFTDIMPSSE;
  using L = clsDeviceList;
  const Error& mt = kMpsseTimeout;
  const Error& bt = kBitBangTimeout;
  std::vector<Member> all = Stream<F>();
  for (Member m : Stream<O>()) all.push_back(m);
  std::vector<Member> more = {
      On<F>("QueueTx", [](F& c) { c.QueueTx(); }),
      On<F>("QueueRx", [](F& c) { c.QueueRx(); }),
      On<O>("Reset", [](O& c) { c.Reset(true); }),
      On<B>(
          "Initialize", [](B& c) { c.Initialize(0); }, kNone, {}, false),
      On<B>("SetTimeOuts", [](B& c) { c.SetTimeOuts(20, 30); }),
      On<B>("SetBaudRate", [](B& c) { c.SetBaudRate(9600); }),
      On<B>("SyncDirection", [](B& c) { c.SyncDirection(); }),
      On<B>("SyncValue", [](B& c) { c.SyncValue(); }),
      On<B>(
          "PortDirection", [](B& c) { c.PortDirection(0x0F); }, kNone,
          [](B& c) { return c.PortDirection0() == 0x0F; }),
      On<B>(
          "PortOutput", [](B& c) { c.PortOutput(0x05); }, kNone,
          [](B& c) { return c.PortOutput0() == 0x05; }),
      On<B>(
          "PortInput", [](B& c) { c.PortInput(); }, bt),
      On<B>(
          "SignalDirection", [](B& c) { c.SignalDirection(eftD1, eb1); }, kNone,
          [](B& c) { return c.SignalDirection0(eftD1) == eb1; }),
      On<B>(
          "SignalOutput", [](B& c) { c.SignalOutput(eftD2, eb1); }, kNone,
          [](B& c) { return c.SignalOutput0(eftD2) == eb1; }),
      On<B>(
          "SignalInput", [](B& c) { c.SignalInput(eftD3); }, bt),
      On<B>(
          "BufferTransfer",
          [](B& c) {
            c.BufferInitialize();
            c.BufferPortOutput(0x01);
            c.BufferTransfer();
          },
          bt),
      On<B>("Terminate", [](B& c) { c.Terminate(); }),
      On<M>(
          "Initialize", [](M& c) { c.Initialize(0); }, mt, {}, false),
      On<M>("SetTimeOuts", [](M& c) { c.SetTimeOuts(20, 30); }),
      On<M>(
          "SetClockDivisor", [](M& c) { c.SetClockDivisor(5); }, kNone,
          [](M& c) { return c.GetClockDivisor() == 5; }),
      On<M>("SetPortLow", [](M& c) { c.SetPortLow(0x12, 0xFB); }),
      On<M>("SetPortHigh", [](M& c) { c.SetPortHigh(0x03, 0x0F); }),
      On<M>(
          "ReadPortLow", [](M& c) { c.ReadPortLow(); }, mt),
      On<M>(
          "ReadPortHigh", [](M& c) { c.ReadPortHigh(); }, mt),
      On<M>("DataBytesOut",
            [](M& c) {
              ByteArray a{1, 2};
              c.DataBytesOut(a, 2, embMSBfirst, emcNegEdge);
            }),
      On<M>(
          "DataBytesIn",
          [](M& c) {
            ByteArray a;
            c.DataBytesIn(a, 2, embMSBfirst, emcPosEdge);
          },
          mt),
      On<M>(
          "DataBytesInOut",
          [](M& c) {
            ByteArray a{1, 2};
            c.DataBytesInOut(a, 2, emdLSBfirst, emcNegEdge, emcPosEdge);
          },
          mt),
      On<M>("HardwareLoopback", [](M& c) { c.HardwareLoopback(true); }),
      On<M>("TMSBitsOut", [](M& c) { c.TMSBitsOut(0x05, 3, emcNegEdge); }),
      On<M>(
          "TMSBitsInOut",
          [](M& c) {
            uint8_t out = 0;
            c.TMSBitsInOut(0x05, out, 3, emcNegEdge, emcPosEdge);
          },
          mt),
      On<M>("Terminate", [](M& c) { c.Terminate(); }),
      On<M>(
          "Syncronize", [](M& c) { c.MPSSEPortIO()->Syncronize(); }, mt),
      On<M>(
          "SyncMPSSEGPIOL", [](M& c) { c.MPSSEPortIO()->SyncMPSSEGPIOL(); }, mt),
      On<M>(
          "SyncGPIOH", [](M& c) { c.MPSSEPortIO()->SyncGPIOH(); }, mt),
      On<M>(
          "MPSSEPortOutput", [](M& c) { c.MPSSEPortIO()->MPSSEPortOutput(0x09); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->MPSSEPortOutput0() == 0x09; }),
      On<M>(
          "MPSSEPortInput", [](M& c) { c.MPSSEPortIO()->MPSSEPortInput(); }, mt),
      On<M>(
          "GPIOLPortDirection", [](M& c) { c.MPSSEPortIO()->GPIOLPortDirection(0x03); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOLPortDirection0() == 0x03; }),
      On<M>(
          "GPIOLPortOutput", [](M& c) { c.MPSSEPortIO()->GPIOLPortOutput(0x02); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOLPortOutput0() == 0x02; }),
      On<M>(
          "GPIOLPortInput", [](M& c) { c.MPSSEPortIO()->GPIOLPortInput(); }, mt),
      On<M>(
          "GPIOHPortDirection", [](M& c) { c.MPSSEPortIO()->GPIOHPortDirection(0x0C); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOHPortDirection0() == 0x0C; }),
      On<M>(
          "GPIOHPortOutput", [](M& c) { c.MPSSEPortIO()->GPIOHPortOutput(0x04); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOHPortOutput0() == 0x04; }),
      On<M>(
          "GPIOHPortInput", [](M& c) { c.MPSSEPortIO()->GPIOHPortInput(); }, mt),
      On<M>(
          "MPSSESignalOutput", [](M& c) { c.MPSSEPortIO()->MPSSESignalOutput(eftTMSCS, eb1); },
          kNone, [](M& c) { return c.MPSSEPortIO()->MPSSESignalOutput0(eftTMSCS) == eb1; }),
      On<M>(
          "MPSSESignalInput", [](M& c) { c.MPSSEPortIO()->MPSSESignalInput(eftTDODI); }, mt),
      On<M>(
          "GPIOLSignalDirection",
          [](M& c) { c.MPSSEPortIO()->GPIOLSignalDirection(eftGPIOL1, eb1); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOLSignalDirection0(eftGPIOL1) == eb1; }),
      On<M>(
          "GPIOLSignalOutput", [](M& c) { c.MPSSEPortIO()->GPIOLSignalOutput(eftGPIOL2, eb1); },
          kNone, [](M& c) { return c.MPSSEPortIO()->GPIOLSignalOutput0(eftGPIOL2) == eb1; }),
      On<M>(
          "GPIOLSignalInput", [](M& c) { c.MPSSEPortIO()->GPIOLSignalInput(eftGPIOL0); }, mt),
      On<M>(
          "GPIOHSignalDirection",
          [](M& c) { c.MPSSEPortIO()->GPIOHSignalDirection(eftGPIOH3, eb1); }, kNone,
          [](M& c) { return c.MPSSEPortIO()->GPIOHSignalDirection0(eftGPIOH3) == eb1; }),
      On<M>(
          "GPIOHSignalOutput", [](M& c) { c.MPSSEPortIO()->GPIOHSignalOutput(eftGPIOH1, eb1); },
          kNone, [](M& c) { return c.MPSSEPortIO()->GPIOHSignalOutput0(eftGPIOH1) == eb1; }),
      On<M>(
          "GPIOHSignalInput", [](M& c) { c.MPSSEPortIO()->GPIOHSignalInput(eftGPIOH2); }, mt),
      On<L>("GetDeviceCount", [](L& c) { c.GetDeviceCount(); }),
      On<L>("GetDeviceInfo",
            [](L& c) {
              std::string serial, description;
              int32_t location = 0;
              c.GetDeviceInfo(1, serial, description, location);
            }),
      Quiet(On<L>("ScanDevices",
                  [](L& c) {
                    int32_t count = 0;
                    Array<tDeviceInfo> infos;
                    c.ScanDevices(count, infos);
                  })),
      Quiet(On<L>("FindDevice",
                  [](L& c) {
                    int16_t device = 0;
                    c.FindDevice("nothing here", device);
                  })),
      Quiet(On<L>("FindModule",
                  [](L& c) {
                    Array<int16_t> devices;
                    c.FindModule(2, "nothing here", devices);
                  })),
      Dialog("DialogSelectDevice", [](clsDeviceList& c) { c.DialogSelectDevice("", ""); }),
      Dialog("DialogSelectModule", [](clsDeviceList& c) { c.DialogSelectModule(2, "", ""); }),
  };
  all.insert(all.end(), more.begin(), more.end());
  for (Member m : Batches()) all.push_back(m);
  return all;
}

class FaultSweep : public DialogTest, public ::testing::WithParamInterface<Member> {
 protected:
  FaultSweep() { user = Script("cancel"); }
  void Fresh() {
    TearDown();
    bench = virt::MakeDefaultBench();
    SetUp();
    log->lines.clear();
  }
  int OpenDevices() {
    int open = 0;
    for (int d = 0; d < bench->DeviceCount(); ++d) open += bench->Device(d).IsOpen();
    return open;
  }
  // Fails the nth call of `call` (counted over the whole bench) with `fault`.
  void FailOnce(Call call, int nth, FaultKind kind, uint32_t status) {
    Fresh();
    const Member& m = GetParam();
    Subject s = m.make(log);
    log->lines.clear();
    bench->Faults().Add({.call = call, .nth = nth, .kind = kind, .status = status, .count = 0});
    const Error e = Raised(s.act);
    // The clean-up calls come last; the rest reads as for any member.
    const std::vector<std::string> after =
        m.cleanup ? m.cleanup(call, kind) : std::vector<std::string>{};
    ASSERT_GE(log->lines.size(), after.size());
    const auto first = log->lines.end() - std::ssize(after);
    for (size_t i = 0; i < after.size(); ++i) {
      EXPECT_TRUE(first[i].text.starts_with(after[i]) && first[i].text.ends_with(") = 0"))
          << first[i].text;
    }
    log->lines.erase(first, log->lines.end());
    const bool failed = kind == FaultKind::kStatus;
    const Error expected =
        failed ? Error(kErrDriverStatus, "clsFTD2xx", FtStatusText(static_cast<int32_t>(status)))
        : kind == FaultKind::kShortWrite ? Error(kErrTransmissionIncomplete, "clsFTD2xx",
                                                 "FTDI transmission incomplete, data not sent")
                                         : m.shortRead;
    // Scans and finds take a driver failure as a device they cannot read.
    const bool raises = m.raises && expected.Number() != 0;
    EXPECT_EQ(e.Number(), raises ? expected.Number() : 0);
    EXPECT_EQ(e.Source(), raises ? expected.Source() : "");
    EXPECT_EQ(e.Description(), raises ? expected.Description() : "");
    // The failing call, then its error line; when raised, nothing after them.
    auto error = std::find_if(log->lines.begin(), log->lines.end(),
                              [](const LogLine& l) { return l.level == 1; });
    ASSERT_EQ(error == log->lines.end(), !failed);
    if (failed) {
      EXPECT_EQ(error->text,
                "FTD2XX ERROR " + std::to_string(status) + ": " + expected.Description());
    }
    ASSERT_NE(error, log->lines.begin());
    const LogLine& call_line = *(error - 1);
    const std::string result = failed ? std::to_string(status) : "0";
    EXPECT_EQ(call_line.level, 3);
    EXPECT_TRUE(call_line.text.starts_with(kCallNames[static_cast<int>(call)]) &&
                call_line.text.ends_with(") = " + result))
        << call_line.text;
    if (raises) {
      EXPECT_EQ(error - log->lines.begin(), std::ssize(log->lines) - (failed ? 1 : 0));
    }
    // Nothing undone: every open that succeeded still holds its device.
    EXPECT_EQ(OpenDevices(),
              bench->Faults().Calls(Call::kOpen) - bench->Faults().Calls(Call::kClose) -
                  (failed && call == Call::kOpen) + (failed && call == Call::kClose));
    if (s.kept) {
      EXPECT_TRUE(s.kept());
    }
  }

  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};

int swept = 0;  // (member, call, fault) cases, reported at the end

struct Report : ::testing::Environment {
  void TearDown() override { std::printf("fault sweep: %d cases\n", swept); }
};
const auto* const kReport = ::testing::AddGlobalTestEnvironment(new Report);

TEST_P(FaultSweep, EveryCallEveryFault) {
  Subject clean = GetParam().make(log);
  std::array<int, virt::kCallCount> before{}, after{};
  for (int c = 0; c < virt::kCallCount; ++c) before[c] = bench->Faults().Calls(Call(c));
  ASSERT_EQ(Raised(clean.act).Number(), 0);
  for (int c = 0; c < virt::kCallCount; ++c) after[c] = bench->Faults().Calls(Call(c));
  for (int c = 0; c < virt::kCallCount; ++c) {
    for (int nth = before[c] + 1; nth <= after[c]; ++nth) {
      std::vector<std::pair<FaultKind, uint32_t>> faults = {{FaultKind::kStatus, 99}};
      for (uint32_t s = 1; s <= 18; ++s) faults.push_back({FaultKind::kStatus, s});
      if (Call(c) == Call::kWrite) faults.push_back({FaultKind::kShortWrite, 0});
      if (Call(c) == Call::kRead) faults.push_back({FaultKind::kShortRead, 0});
      for (auto [kind, status] : faults) {
        SCOPED_TRACE(std::string(kCallNames[c]) + " #" + std::to_string(nth) + " fault " +
                     std::to_string(int(kind)) + "/" + std::to_string(status));
        FailOnce(Call(c), nth, kind, status);
        ++swept;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, FaultSweep, ::testing::ValuesIn(Members()), [](const auto& info) {
  return std::to_string(info.index) + info.param.name;
});

}  // namespace
}  // namespace brevant::testing
