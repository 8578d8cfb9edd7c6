// `brevant --vcd` on the built-in bench, checked by sigrok's protocol decoders:
// what they read off the recorded pins must be what the command did, and the
// clock in the file must run at the rate the command set.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/Sigrok.h"
#include "tools/ToolRun.h"

namespace brevant::testing {
namespace {

// A clock rate and the argument that asks for it ("" for the command's default).
struct Rate {
  const char* name;
  const char* option;
  double hz;
};

class PinTrace : public ToolFolder, public ::testing::WithParamInterface<Rate> {
 protected:
  void SetUp() override {
    ToolFolder::SetUp();
    SKIP_WITHOUT_SIGROK();
  }
  // Runs `args` with --vcd on the built-in bench and gives the file's text.
  std::string Record(const std::string& args) {
    const ToolRun run = RunTool(dir_, "--driver virtual --vcd trace.vcd " + args);
    EXPECT_EQ(run.status, 0) << run.err;
    return Slurp(dir_ / "trace.vcd");
  }
  void ExpectClock(const std::string& vcd) {
    const double period = ClockPeriodNs(RisingEdges(vcd, "SK"));
    EXPECT_NEAR(period, 1e9 / GetParam().hz, 1e9 / GetParam().hz / 100);
  }
};

using PinTraceFolder = ToolFolder;
using SpiRead = PinTrace;
using JtagScan = PinTrace;
using I2cRead = PinTrace;

TEST_P(SpiRead, DecodesTheReadCommandAndEveryByteOfTheFile) {
  // Bytes that no erased flash or stuck line would give.
  std::vector<int> bytes;
  std::string pattern;
  for (int i = 0; i < 256; ++i) {
    bytes.push_back((0x80 + i * 37) & 0xFF);
    pattern += static_cast<char>(bytes.back());
  }
  Put(dir_ / "pattern.bin", pattern);
  fs::create_directory(dir_ / "state");
  ASSERT_EQ(RunTool(dir_, "--driver virtual --state state spi -d 0 write 0 pattern.bin").status, 0);

  const std::string vcd = Record("--state state spi -d 0 " + std::string(GetParam().option) +
                                 " read 0 256 -o F.bin");
  ASSERT_EQ(Slurp(dir_ / "F.bin"), pattern);
  const std::string spi = "spi:clk=SK:mosi=DO:miso=DI:cs=CS";
  const std::vector<int> mosi = Bytes(Decode(dir_ / "trace.vcd", spi, "mosi-data"));
  const std::vector<int> miso = Bytes(Decode(dir_ / "trace.vcd", spi, "miso-data"));
  ASSERT_EQ(mosi.size(), miso.size());
  const std::vector<int> read = {0x03, 0x00, 0x00, 0x00};
  const auto command = std::search(mosi.begin(), mosi.end(), read.begin(), read.end());
  ASSERT_NE(command, mosi.end());
  const auto data = miso.begin() + (command - mosi.begin()) + 4;
  ASSERT_GE(miso.end() - data, 256);
  EXPECT_EQ(std::vector<int>(data, data + 256), bytes);
  ExpectClock(vcd);
}

TEST_P(JtagScan, SeesBothIdcodesShiftedOutOfDr) {
  const std::string vcd = Record("jtag -d 1 " + std::string(GetParam().option));
  const std::vector<std::string> dr =
      Texts(Decode(dir_ / "trace.vcd", "jtag:tdi=DO:tdo=DI:tck=SK:tms=CS", "bitstring-tdo"));
  ASSERT_FALSE(dr.empty());
  // The FPGA nearest TDO comes out first, so it ends the number: 0x...4ba004770362d093.
  EXPECT_TRUE(dr.back().starts_with("DR TDO: ")) << dr.back();
  EXPECT_TRUE(dr.back().find("4ba004770362d093), ") != std::string::npos) << dr.back();
  ExpectClock(vcd);
}

TEST_P(I2cRead, SeesAddressAcknowledgesAndData) {
  const std::string vcd = Record("i2c -d 4 " + std::string(GetParam().option) + " read 0x48 0 2");
  EXPECT_EQ(Texts(Decode(dir_ / "trace.vcd", "i2c:scl=SK:sda=DO",
                         "start:repeat-start:address-read:address-write:data-read:data-write:"
                         "ack:nack:stop")),
            (std::vector<std::string>{"Start", "Write", "Address write: 48", "ACK",
                                      "Data write: 00", "ACK", "Start repeat", "Read",
                                      "Address read: 48", "ACK", "Data read: 17", "ACK",
                                      "Data read: 80", "NACK", "Stop"}));
  ExpectClock(vcd);
}

// The picture of a trace is a PNG; a window that ends before it starts is a
// usage error, before anything is drawn.
TEST_F(PinTraceFolder, WaveDrawsATraceAndRefusesAnEmptyWindow) {
#ifndef BREVANT_WAVE
  GTEST_SKIP() << "brevant-wave is built with Qt 6 only";
#endif
  ASSERT_EQ(RunTool(dir_, "--driver virtual --vcd trace.vcd spi -d 0 jedec").status, 0);
  const ToolRun drawn = RunTool(dir_, "wave trace.vcd --png t.png --spi --signals CS,SK,DO,DI");
  EXPECT_EQ(drawn.status, 0) << drawn.err;
  EXPECT_TRUE(Slurp(dir_ / "t.png").starts_with("\x89PNG\r\n")) << drawn.err;
  const ToolRun refused = RunTool(dir_, "wave trace.vcd --png u.png --from 5ms --to 1ms");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("--to must lie after --from"), std::string::npos) << refused.err;
  EXPECT_FALSE(fs::exists(dir_ / "u.png"));
}

std::string RateName(const ::testing::TestParamInfo<Rate>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Rates, SpiRead,
                         ::testing::Values(Rate{"Default30MHz", "", 30e6},
                                           Rate{"At1MHz", "-f 1e6", 1e6}),
                         RateName);
INSTANTIATE_TEST_SUITE_P(Rates, JtagScan,
                         ::testing::Values(Rate{"Default30MHz", "", 30e6},
                                           Rate{"At2MHz", "-f 2e6", 2e6}),
                         RateName);
INSTANTIATE_TEST_SUITE_P(Rates, I2cRead,
                         ::testing::Values(Rate{"Default100kHz", "", 100e3},
                                           Rate{"At400kHz", "-f 400e3", 400e3}),
                         RateName);

}  // namespace
}  // namespace brevant::testing
