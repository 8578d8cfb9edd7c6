// The brevant program end to end on the built-in bench: exit status, what it
// prints on stdout and stderr, and the files it writes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "tools/ToolRun.h"

namespace brevant::testing {
namespace {

struct Case {
  const char* args;
  int status;
  std::vector<std::string> out;
  std::vector<std::string> err;
  // A file the run writes and what it must hold; with no content, it must not
  // be there.
  const char* file = "";
  std::string content = {};
  // GoogleTest would otherwise dump the bytes, padding included.
  friend void PrintTo(const Case& c, std::ostream* os) { *os << c.args; }
};

// What the fixture gives the program to send and write.
const std::string kData = [] {
  std::string data;
  for (int i = 0; i < 1000; ++i) data += static_cast<char>(i * 7);
  return data;
}();

class Cli : public ToolFolder, public ::testing::WithParamInterface<Case> {
 protected:
  void SetUp() override {
    ToolFolder::SetUp();
    // No dialog may wait for a person here: without a display it must refuse.
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(name);
    Put(dir_ / "data.bin", kData);
  }
};

TEST_P(Cli, Runs) {
  const Case& c = GetParam();
  const ToolRun run = RunTool(dir_, "--driver virtual " + std::string(c.args));
  EXPECT_EQ(run.status, c.status);
  for (const std::string& text : c.out) EXPECT_NE(run.out.find(text), std::string::npos) << run.out;
  for (const std::string& text : c.err) EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  if (*c.file != '\0') {
    EXPECT_EQ(fs::exists(dir_ / c.file), !c.content.empty());
    EXPECT_EQ(Slurp(dir_ / c.file), c.content);
  }
}

const Case kCases[] = {
    {"list", 0, {"BV22H001A", "Dual RS232-HS  0, 1"}, {}},
    {"version", 0, {"Brevant 1.00.0010\nDriver: virtual\n"}, {}},
    {"--version", 0, {"Brevant 1.00.0010\nDriver: virtual\n"}, {}},
    {"", 2, {}, {"A subcommand is required"}},
    {"frobnicate", 2, {}, {"not expected: frobnicate"}},
    {"spi -d 0 jedec --frob", 2, {}, {"not expected: --frob"}},
    // Options of outer commands, global ones too, after an inner command.
    {"spi jedec -d 0 --trace", 0, {"JEDEC ID EF 40 16"}, {"trace: FT_Open (0, "}},
    {"fifo -d 0 -s data.bin --timeout 0", 2, {}, {"--timeout: 0 is not from 1 to 60000\n"}},
    {"--bench missing.json list", 2, {}, {"excludes"}},
    // Device 2 loops GPIOH0 to GPIOH1 and GPIOL1 to GPIOL2; the rest float high.
    {"gpio -d 2 GPIOH0=0 GPIOL1=0 GPIOL0=1 --read",
     0,
     {"GPIOL0=1 GPIOL1=0 GPIOL2=0 GPIOL3=1 GPIOH0=0 GPIOH1=0 GPIOH2=1 GPIOH3=1\n"},
     {}},
    {"gpio -d 2 GPIOH3=1", 0, {}, {}},
    // Device 5 loops D0-D3 to D4-D7.
    {"gpio -d 5 --bitbang D1=0 --read", 0, {"D0=1 D1=0 D2=1 D3=1 D4=1 D5=0 D6=1 D7=1\n"}, {}},
    {"gpio -d 2 GPIOX9=1", 2, {}, {"unknown pin \"GPIOX9\""}},
    {"gpio -d 2 D0=1", 2, {}, {"unknown pin \"D0\""}},
    {"gpio -d 2 GPIOL0=2", 2, {}, {"\"GPIOL0=2\" sets no level 0 or 1"}},
    {"gpio -d 5 GPIOL0=1", 1, {}, {"ERROR !6302: FTDI read error (timeout)\n"}},
    {"spi -d 0 jedec", 0, {"JEDEC ID EF 40 16: manufacturer 0xEF, type 0x40, 4194304 bytes"}, {}},
    {"spi -d 5 jedec", 1, {}, {"ERROR !6302: FTDI read error (timeout)\n"}},
    {"spi -d 3 jedec", 3, {}, {"brevant: no SPI flash answers on device 3 (JEDEC ID FF FF FF)"}},
    // 30 MHz / (1 + 1) with divide-by-5 off, then the SFDP read: 5A, address 0, a dummy byte.
    {"--trace spi -d 0 -f 15e6 jedec",
     0,
     {"SPI clock 15 MHz"},
     {"{8A 86 01 00}", "11 04 00 5A 00 00 00 00"}},
    {"spi -d 0 -f 0 jedec", 2, {}, {"\"0\" is no frequency in Hz above 0"}},
    {"spi -d 0 erase", 2, {}, {"give ADDR LEN, or --all"}},
    {"spi -d 0 erase 0x100 16",
     0,
     {"16 bytes erased at 0x000100: 0 sectors erased, 0 pages programmed, verified"},
     {}},
    {"spi -d 0 verify 0x100 data.bin",
     3,
     {},
     {"brevant: verify failed: ", " the first at 0x000100 (file 00, flash FF)"}},
    {"spi -d 0", 2, {}, {"A subcommand is required"}},
    {"spi -d 0 read 0x3FFFF0 16 -o got.bin",
     0,
     {},
     {"16 bytes read from 0x3FFFF0"},
     "got.bin",
     std::string(16, '\xFF')},
    {"spi -d 0 read 0x3FFFF0 17 -o got.bin", 1, {}, {"go beyond it"}, "got.bin"},
    {"spi -d 0 read 0 zz -o got.bin", 2, {}, {"\"zz\" is no number"}},
    {"spi -d 0 read 0 1 -o no/such/dir", 1, {}, {"brevant: cannot write no/such/dir"}},
    {"spi -d 0 write 0x100 data.bin",
     0,
     {"1000 bytes written at 0x000100: 0 sectors erased, 4 pages programmed, verified"},
     {}},
    {"spi -d 0 write 0x3FFC19 data.bin", 1, {}, {"1000 from 0x3FFC19 go beyond it"}},
    {"spi -d 0 write 0 missing.bin", 1, {}, {"brevant: cannot read missing.bin"}},
    // An endless input is refused once it exceeds the flash, not read to the end.
    {"spi -d 0 write 0 /dev/zero", 1, {}, {"brevant: /dev/zero holds more than 4194304 bytes\n"}},
    {"jtag -d 1", 0, {"0    0x0362D093  0        0x362D  0x049", "1    0x4BA00477"}, {}},
    {"jtag -d 3", 3, {}, {"brevant: no TAP answers on device 3"}},
    {"jtag -d 1 -f 1e6", 0, {"1    0x4BA00477"}, {}},
    // Device 4 has an EEPROM at 0x50 and a sensor at 0x48 reading 23.5 degrees.
    {"i2c -d 4 scan", 0, {"40: -- -- -- -- -- -- -- -- 48 -- --", "50: 50 -- --", "70: -- --"}, {}},
    {"i2c -d 4 read 0x48 0 2", 0, {"17 80\n"}, {}},
    // Loopback off, three-phase on, 600 kHz (three phases make 400 kHz), lines idle.
    {"--trace i2c -d 4 -f 400e3 read 0x48 0 2", 0, {"17 80\n"}, {"{85 8C 8A 86 31 00 80 03 01}"}},
    {"i2c -d 4 read 0x49 1", 1, {}, {"ERROR !6321: No answer from I2C address 0x49\n"}},
    {"i2c -d 4 write 0x48 7",
     1,
     {},
     {"ERROR !6322: I2C address 0x48 refused byte 1 of 1 (0x07)\n"}},
    {"i2c -d 4 read 0x80 1", 2, {}, {"brevant: address 0x80 is above 127\n"}},
    {"i2c -d 4 read 0x48 0 0", 2, {}, {"brevant: count 0 is not from 1 to 65536\n"}},
    {"i2c -d 4 -f 2e6 scan", 2, {}, {"brevant: --frequency: I2C runs at 1 MHz at most\n"}},
    {"fifo -d 0 --send data.bin --receive got.bin",
     0,
     {},
     {"sent 1000 bytes", "received 1000 bytes"},
     "got.bin",
     kData},
    {"fifo -d 0 --send data.bin --receive got.bin -n 10",
     0,
     {},
     {},
     "got.bin",
     kData.substr(0, 10)},
    {"fifo -d 0", 2, {}, {"At least 1 option"}},
    {"--trace spi -d 0 jedec", 0, {"JEDEC ID"}, {"trace: FT_Read (0x", "{EF 40 16}, 3, 3) = 0"}},
    {"select device", 1, {}, {"ERROR !6903: No display to show the selection dialog on"}},
    {"select thing", 2, {}, {"what: thing not in {device,module}"}},
};

INSTANTIATE_TEST_SUITE_P(Commands, Cli, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           std::string name = std::to_string(info.index) + "_" + info.param.args;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

}  // namespace
}  // namespace brevant::testing
