// The port model: what each member sends and reads from its shadow, masks on
// store and on send, signals outside their enums, and what a failure leaves in
// the shadow. The signal formulas themselves, overflow included, are bit-bang's
// too: SyncBitBang_test.
#include <functional>

#include "mpsse/MpsseChannelTest.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using Pins = clsFTDIMPSSEPortIO;

class PortIOTest : public MpsseChannelTest {
 protected:
  Pins& OpenPins() {
    Open();
    return *channel->MPSSEPortIO();
  }
};

// Each case starts from a new model on an open device with the chip's ports
// answering `answers`.
TEST_F(PortIOTest, EachMemberSendsItsPortFromTheShadow) {
  const struct {
    const char* name;
    std::function<void(Pins&)> action;
    std::initializer_list<uint8_t> answers;
    Trace trace;
  } cases[] = {
      {"syncronize",
       [](Pins& p) { p.Syncronize(); },
       {0xA5, 0xF3},
       {"80 00 0B", "82 00 00", "81", "read 1", "83", "read 1"}},
      {"GPIOL direction", [](Pins& p) { p.GPIOLPortDirection(0x0F); }, {}, {"80 00 FB"}},
      {"GPIOL2 high",
       [](Pins& p) {
         p.GPIOLSignalOutput(eftGPIOL2, eb1);
         EXPECT_EQ(p.GPIOLPortOutput0(), 4);
         p.GPIOLSignalOutput(eftGPIOL2, eb0);
       },
       {},
       {"80 40 0B", "80 00 0B"}},
      {"TMS/CS high", [](Pins& p) { p.MPSSESignalOutput(eftTMSCS, eb1); }, {}, {"80 08 0B"}},
      {"GPIOH1 output", [](Pins& p) { p.GPIOHSignalDirection(eftGPIOH1, eb1); }, {}, {"82 00 02"}},
      {"high bits kept, not sent",
       [](Pins& p) {
         p.GPIOHPortOutput(0xFF);
         EXPECT_EQ(p.GPIOHPortOutput0(), 0xFF);
         p.GPIOHPortOutput0(0xFF);
         EXPECT_EQ(p.GPIOHPortOutput0(), 0x0F);
       },
       {},
       {"82 0F 00"}},
      {"staged, then synchronised",
       [](Pins& p) {
         p.MPSSEPortOutput0(0x05);
         p.GPIOLPortOutput0(0x0A);
         p.SyncMPSSEGPIOL();
       },
       {0},
       {"80 A5 0B", "81", "read 1"}},
      {"one read fills both groups",
       [](Pins& p) {
         EXPECT_EQ(p.MPSSEPortInput(), 0x05);
         EXPECT_EQ(p.GPIOLPortInput0(), 0x0A);
       },
       {0xA5},
       {"81", "read 1"}},
      {"GPIOL0 in",
       [](Pins& p) {
         EXPECT_EQ(p.GPIOLSignalInput(eftGPIOL0), eb1);
         EXPECT_EQ(p.GPIOLSignalInput0(eftGPIOL0), eb1);
       },
       {0x10},
       {"81", "read 1"}},
      {"GPIOH in",
       [](Pins& p) {
         EXPECT_EQ(p.GPIOHPortInput(), 0x03);
         EXPECT_EQ(p.GPIOHSignalInput0(eftGPIOH1), eb1);
         EXPECT_EQ(p.GPIOHSignalInput(eftGPIOH2), eb0);
       },
       {0xF3, 0xF3},
       {"83", "read 1", "83", "read 1"}},
      {"high port in sync",
       [](Pins& p) {
         p.GPIOHPortDirection0(0x09);
         p.SyncGPIOH();
         EXPECT_EQ(p.GPIOHPortInput0(), 0x0C);
       },
       {0x5C},
       {"82 00 09", "83", "read 1"}},
      {"only bit 0 of a level counts",
       [](Pins& p) {
         p.MPSSESignalOutput(eftTCKSK, static_cast<eBit>(3));
         p.MPSSESignalOutput(eftTCKSK, static_cast<eBit>(2));
       },
       {},
       {"80 01 0B", "80 00 0B"}},
      {"a signal of two bits",
       [](Pins& p) {
         p.GPIOLSignalDirection(static_cast<eFTDIGPIOL>(0x30), eb1);
         EXPECT_EQ(p.GPIOLPortDirection0(), 0x30);
         p.GPIOLSignalDirection(static_cast<eFTDIGPIOL>(3), eb1);
         EXPECT_EQ(p.GPIOLSignalDirection0(static_cast<eFTDIGPIOL>(0x10)), eb1);
         EXPECT_EQ(p.GPIOHSignalInput0(static_cast<eFTDIGPIOH>(-1)), eb0);
       },
       {},
       {"80 00 0B", "80 00 3B"}},
      {"a read of signal 0 has read the chip",
       [](Pins& p) {
         const Error e = Raised([&] { p.MPSSESignalInput(static_cast<eFTDIMPSSE>(0)); });
         EXPECT_EQ(e.Number(), kErrDivisionByZero);
         EXPECT_EQ(e.Source(), "Brevant.clsFTDIMPSSEPortIO");
         EXPECT_EQ(p.MPSSEPortInput0(), 0x06);
       },
       {0x06},
       {"81", "read 1"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    channel.emplace();
    Pins& pins = OpenPins();
    recorder->Answer(c.answers);
    c.action(pins);
    EXPECT_EQ(recorder->trace, c.trace);
  }
}

// The shadow stays right across failures: a stored value goes out at the next
// exchange, an input keeps its last value, a synchronisation stops where it fails.
TEST_F(PortIOTest, FailuresLeaveTheShadowAsDocumented) {
  Pins& pins = OpenPins();
  recorder->Answer({0x35});
  pins.SyncMPSSEGPIOL();
  bench->Faults().Add({.call = virt::Call::kWrite,
                       .nth = bench->Faults().Calls(virt::Call::kWrite) + 1,
                       .status = ft::kIoError});
  EXPECT_EQ(Raised([&] { pins.GPIOLPortOutput(0x0C); }).Number(), kErrDriverStatus);
  EXPECT_EQ(pins.GPIOLPortOutput0(), 0x0C);
  EXPECT_EQ(Raised([&] { pins.GPIOLPortInput(); }).Number(), Number(errFTDIMPSSE::errReadError));
  EXPECT_EQ(pins.GPIOLPortInput0(), 0x03);
  EXPECT_EQ(Raised([&] { pins.Syncronize(); }).Number(), Number(errFTDIMPSSE::errReadError));
  EXPECT_EQ(recorder->trace, (Trace{"80 00 0B", "81", "read 1", "80 C0 0B", "81", "read 1",
                                    "80 C0 0B", "82 00 00", "81", "read 1"}));
}

// A direct port write bypasses the model; shadow members need no device at all.
TEST_F(PortIOTest, ShadowMembersWorkWithoutADevice) {
  Pins& pins = *channel->MPSSEPortIO();
  EXPECT_EQ(pins.MPSSEPortDirection0(), 0x0B);
  const struct {
    eFTDIMPSSE signal;
    eBit direction;
  } mpsse[] = {{eftTCKSK, eb1}, {eftTDIDO, eb1}, {eftTDODI, eb0}, {eftTMSCS, eb1}};
  for (const auto& m : mpsse) EXPECT_EQ(pins.MPSSESignalDirection0(m.signal), m.direction);
  pins.MPSSESignalOutput0(eftTDIDO, eb1);
  pins.GPIOLSignalOutput0(eftGPIOL3, eb1);
  pins.GPIOLSignalDirection0(eftGPIOL3, eb1);
  pins.GPIOHSignalDirection0(eftGPIOH0, eb1);
  pins.GPIOHPortOutput0(0x31);
  EXPECT_EQ(pins.MPSSESignalOutput0(eftTDIDO), eb1);
  EXPECT_EQ(pins.GPIOLSignalOutput0(eftGPIOL3), eb1);
  EXPECT_EQ(pins.GPIOHSignalDirection0(eftGPIOH0), eb1);
  EXPECT_EQ(pins.GPIOHSignalOutput0(eftGPIOH0), eb1);
  EXPECT_EQ(pins.MPSSESignalInput0(eftTDODI), eb0);
  EXPECT_EQ(Raised([&] { pins.GPIOHPortInput(); }).Description(), "Device not opened");
  Open().SetPortLow(0xFF, 0xFF);
  recorder->Answer({0, 0});
  pins.Syncronize();
  EXPECT_EQ(recorder->trace,
            (Trace{"80 FF FF", "80 82 8B", "82 01 01", "81", "read 1", "83", "read 1"}));
}

}  // namespace
}  // namespace brevant::testing
