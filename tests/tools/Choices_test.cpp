// Which device a run opens (-d by number, serial=, description=, location=) and
// which driver state it keeps (--state), on a bench with look-alikes: the
// device opened is the one named; a name that fits none or several, and a number
// beyond the list, are refused with the candidates before anything is opened.
#include "tools/ToolRun.h"

#include <vector>

namespace brevant::testing {
namespace {

// Devices 0 and 1 are channels A and B of one part; 2 cannot be read from the
// driver's list; 3 and 4 share their description.
constexpr char kBench[] = R"({"devices": [
  {"part": "FT2232H", "serial": "BV22H001", "location": "0x0231"},
  {"serialNumber": "X9", "description": "Broken", "location": "0x0400",
   "listFailures": {"description": 4}},
  {"part": "FT232H", "serial": "P1", "description": "Probe", "location": "0x0300"},
  {"part": "FT232H", "serial": "P2", "description": "Probe", "location": "0x0200"}
]})";

struct ChoiceCase {
  const char* name;
  const char* args;
  int status;
  std::vector<std::string> err;     // all of these on stderr
  std::vector<std::string> absent;  // none of these in the tool's message
  friend void PrintTo(const ChoiceCase& c, std::ostream* os) { *os << c.args; }
};

const ChoiceCase kCases[] = {
    {"LastNumber", "-d 4 --read", 0, {"trace: FT_Open (4, "}, {}},
    {"NumberBeyondList",
     "-d 5 --read",
     2,
     {"brevant: device 5: the driver lists 5 devices, 0 to 4\n"},
     {}},
    {"Serial", "-d serial=P2 --read", 0, {"trace: FT_Open (4, "}, {}},
    {"DescriptionWithChannelLetter",
     "-d 'description=Dual RS232-HS B' --read",
     0,
     {"trace: FT_Open (1, "},
     {}},
    {"LocationInHex", "-d location=0x300 --read", 0, {"trace: FT_Open (3, "}, {}},
    {"LocationInDecimal", "-d location=512 --read", 0, {"trace: FT_Open (4, "}, {}},
    {"DescriptionOfTwo",
     "-d description=Probe --read",
     2,
     {"brevant: -d description=Probe fits 2 devices; choose one by number:\n",
      "4       0x00000200  P2             Probe\n", "3       0x00000300  P1             Probe\n"},
     {"BV22H001A"}},
    {"UnknownSerial",
     "-d serial=P3 --read",
     2,
     {"brevant: no device has serial=P3; the devices are:\n", "BV22H001A", "BV22H001B", "P1", "P2"},
     {"X9"}},
    {"UnreadableMatchesNothing", "-d serial=X9 --read", 2, {"no device has serial=X9"}, {}},
    {"UnknownForm", "-d port=1 --read", 2, {"-d port=...: the forms are"}, {}},
};

class Choices : public ToolFolder, public ::testing::WithParamInterface<ChoiceCase> {};

TEST_P(Choices, OpenTheDeviceNamedOrRefuse) {
  const ChoiceCase& c = GetParam();
  Put(dir_ / "bench.json", kBench);
  const ToolRun run = RunTool(dir_, std::string("--bench bench.json --trace gpio ") + c.args);
  EXPECT_EQ(run.status, c.status) << run.err;
  for (const std::string& text : c.err) EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  const std::string message = run.err.substr(std::min(run.err.find("brevant: "), run.err.size()));
  for (const std::string& text : c.absent)
    EXPECT_EQ(message.find(text), std::string::npos) << message;
  // A refusal comes before any device is opened.
  if (c.status == 2) {
    EXPECT_EQ(run.err.find("FT_Open"), std::string::npos) << run.err;
  }
}

INSTANTIATE_TEST_SUITE_P(DeviceChoice, Choices, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// --state names where the virtual bench keeps its flash; with a real driver it
// would silently do nothing, so it is refused.
using StateOption = ToolFolder;

TEST_F(StateOption, RefusedWithRealDriver) {
  const ToolRun run = RunTool(dir_, "--driver libftdi --state . list");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "brevant: --state keeps the virtual bench's flash memories, and this run's driver is "
            "libftdi\n");
}

}  // namespace
}  // namespace brevant::testing
