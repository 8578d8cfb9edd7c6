// The bench's pin recording read back by sigrok's SPI decoder: in every clock
// polarity, phase and bit order, the decoder must find on MOSI the bytes the
// library sent and on MISO the bytes it read. The payloads differ at their two
// ends (first bit 1, last bit 0, and the reverse) in both bit orders, so a bit
// shown one edge early or late, or in the wrong order, changes a byte.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "brevant/clsFTDIMPSSE.h"
#include "support/BenchTest.h"
#include "support/Sigrok.h"
#include "virtual/VirtualDriver.h"
#include "virtual/mpsse/MpsseBench.h"

namespace brevant::testing {
namespace {

namespace fs = std::filesystem;

constexpr int kDevice = 3;  // a bare MPSSE channel of the default bench
constexpr uint8_t kSk = 0x01, kDo = 0x02, kCs = 0x08;

struct Mode {
  const char* name;
  int cpol;
  int cpha;
  bool lsbFirst;
  // The edges the library writes and reads on for this mode.
  eFTMPSSEClockPolarity out;
  eFTMPSSEClockPolarity in;
};

// First bit sent 1 and last 0, then the reverse, whichever end goes first.
const std::vector<uint8_t> kOneToZero = {0xC9, 0x2E, 0x1A};
const std::vector<uint8_t> kZeroToOne = {0x34, 0x71, 0xE3};

class Recording : public BenchTest, public ::testing::WithParamInterface<Mode> {
 protected:
  Recording() {
    // DI follows DO on the board, so that MISO carries data too.
    bench->Device(kDevice).Board().Loop(1, 2);
  }
  void SetUp() override {
    BenchTest::SetUp();
    SKIP_WITHOUT_SIGROK();
  }
  // One transfer framed by CS; gives what the library read.
  std::vector<int> Transfer(clsFTDIMPSSE& mpsse, const std::vector<uint8_t>& payload) {
    const Mode& mode = GetParam();
    const uint8_t idle = mode.cpol ? kSk : 0;
    mpsse.SetPortLow(idle, kSk | kDo | kCs);
    ByteArray data(0, static_cast<int32_t>(payload.size()));
    for (size_t i = 0; i < payload.size(); ++i) data[static_cast<int32_t>(i)] = payload[i];
    mpsse.DataBytesInOut(data, data.Count(), mode.lsbFirst ? emdLSBfirst : embMSBfirst, mode.out,
                         mode.in);
    mpsse.SetPortLow(idle | kCs, kSk | kDo | kCs);
    return {data.FromElementZero().begin(), data.FromElementZero().end()};
  }
};

TEST_P(Recording, SpiDecoderSeesWhatTheLibrarySentAndRead) {
  const Mode& mode = GetParam();
  virt::Recording& recording = bench->Record({kDevice});
  std::vector<int> read;
  {
    clsFTDIMPSSE mpsse;
    mpsse.Initialize(kDevice);
    mpsse.SetClockDivisor(mpsse.ClockDivisorFromFrequency(1e6));
    mpsse.SetPortLow(mode.cpol ? kSk | kCs : kCs, kSk | kDo | kCs);
    for (const auto& payload : {kOneToZero, kZeroToOne}) {
      const std::vector<int> in = Transfer(mpsse, payload);
      read.insert(read.end(), in.begin(), in.end());
    }
    mpsse.Terminate();
  }
  const fs::path vcd = fs::temp_directory_path() /
                       ("brevant-recording-" + std::string(mode.name) + "-" +
                        std::to_string(getpid()) + ".vcd");
  {
    std::ofstream file(vcd);
    recording.WriteVcd(file, bench->Clock().Now() * 1000);
  }
  const std::string decoder = "spi:clk=SK:mosi=DO:miso=DI:cs=CS:cpol=" + std::to_string(mode.cpol) +
                              ":cpha=" + std::to_string(mode.cpha) +
                              ":bitorder=" + (mode.lsbFirst ? "lsb-first" : "msb-first");
  std::vector<int> sent(kOneToZero.begin(), kOneToZero.end());
  sent.insert(sent.end(), kZeroToOne.begin(), kZeroToOne.end());
  EXPECT_EQ(Bytes(Decode(vcd, decoder, "mosi-data")), sent);
  EXPECT_EQ(Bytes(Decode(vcd, decoder, "miso-data")), read);
  EXPECT_EQ(read, sent);
  fs::remove(vcd);
}

const Mode kModes[] = {
    {"Mode0MsbFirst", 0, 0, false, emcNegEdge, emcPosEdge},
    {"Mode0LsbFirst", 0, 0, true, emcNegEdge, emcPosEdge},
    {"Mode1MsbFirst", 0, 1, false, emcPosEdge, emcNegEdge},
    {"Mode1LsbFirst", 0, 1, true, emcPosEdge, emcNegEdge},
    {"Mode2MsbFirst", 1, 0, false, emcPosEdge, emcNegEdge},
    {"Mode2LsbFirst", 1, 0, true, emcPosEdge, emcNegEdge},
    {"Mode3MsbFirst", 1, 1, false, emcNegEdge, emcPosEdge},
    {"Mode3LsbFirst", 1, 1, true, emcNegEdge, emcPosEdge},
};

INSTANTIATE_TEST_SUITE_P(Modes, Recording, ::testing::ValuesIn(kModes),
                         [](const auto& info) { return std::string(info.param.name); });

// While recording, the engine clocks the flash bit by bit instead of byte by
// byte: the answers and the virtual time they take must not change.
TEST(RecordingOff, AndOnTheFlashAnswersTheSameAtTheSameTime) {
  struct Run {
    std::vector<uint8_t> answer;
    int64_t doneUs;
  };
  const auto read = [](bool recording) {
    auto bench = virt::MakeDefaultBench();
    if (recording) bench->Record({0});
    virt::VirtualDriver driver(bench);
    FtHandle handle = nullptr;
    driver.FT_Open(0, &handle);
    driver.FT_SetBitMode(handle, 0, 2);
    driver.FT_SetLatencyTimer(handle, 1);
    // CS low, JEDEC ID, CS high, CS low, read 64 bytes from 0x000100, CS high.
    const std::vector<uint8_t> commands = {0x80, 0x08, 0x0B, 0x80, 0x00, 0x0B, 0x11, 0x00, 0x00,
                                           0x9F, 0x20, 0x02, 0x00, 0x80, 0x08, 0x0B, 0x80, 0x00,
                                           0x0B, 0x11, 0x03, 0x00, 0x03, 0x00, 0x01, 0x00, 0x20,
                                           0x3F, 0x00, 0x80, 0x08, 0x0B, 0x87};
    uint32_t done = 0;
    driver.FT_Write(handle, commands.data(), static_cast<uint32_t>(commands.size()), &done);
    Run run{std::vector<uint8_t>(3 + 64), 0};
    driver.FT_Read(handle, run.answer.data(), static_cast<uint32_t>(run.answer.size()), &done);
    run.answer.resize(done);
    run.doneUs = bench->Clock().Now();
    return run;
  };
  const Run off = read(false);
  const Run on = read(true);
  ASSERT_EQ(off.answer.size(), 3u + 64u);
  EXPECT_EQ(std::vector<uint8_t>(off.answer.begin(), off.answer.begin() + 3),
            (std::vector<uint8_t>{0xEF, 0x40, 0x16}));
  EXPECT_EQ(on.answer, off.answer);
  EXPECT_EQ(on.doneUs, off.doneUs);
}

}  // namespace
}  // namespace brevant::testing
