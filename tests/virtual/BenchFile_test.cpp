// Bench files: the shipped default matches the built-in bench and its document,
// odd devices and faults load as written, and bad files are refused with the
// file, the place and the problem.
#include "virtual/BenchFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "brevant/Driver.h"
#include "brevant/Error.h"
#include "gateway/Driver.h"
#include "support/Raised.h"
#include "virtual/mpsse/MpsseBench.h"

namespace brevant::testing {
namespace {

const std::string kDefault = std::string(BREVANT_SOURCE_DIR) + "/benches/default.json";
// The start of a file with one MPSSE device, for what follows the device list.
const std::string kOneDevice =
    R"({"devices": [{"part": "FT232H", "serial": "Q", "location": 1}], )";

std::string Refusal(const std::string& text) {
  try {
    virt::LoadBenchText(text, "lab.json");
  } catch (const virt::BenchFileError& e) {
    return e.what();
  }
  return "loaded";
}

void ExpectSameDevices(virt::Bench& loaded, virt::Bench& expected) {
  ASSERT_EQ(loaded.DeviceCount(), expected.DeviceCount());
  for (int i = 0; i < expected.DeviceCount(); ++i) {
    const virt::DeviceIdentity &a = loaded.Device(i).Identity(), &b = expected.Device(i).Identity();
    EXPECT_EQ(std::tie(a.serialNumber, a.description, a.locationId, a.type, a.usbId),
              std::tie(b.serialNumber, b.description, b.locationId, b.type, b.usbId))
        << "device " << i;
  }
}

TEST(BenchFile, DefaultFileIsTheBuiltInBenchAndItsDocument) {
  ExpectSameDevices(*virt::LoadBenchFile(kDefault), *virt::MakeDefaultBench());
  // The document's first example is the shipped file, and every example loads.
  std::ifstream doc(std::string(BREVANT_SOURCE_DIR) + "/docs/bench-files.md");
  std::stringstream text;
  text << doc.rdbuf();
  const std::string md = text.str();
  std::vector<std::string> examples;
  for (size_t at = md.find("```json\n"); at != std::string::npos; at = md.find("```json\n", at)) {
    at += 8;
    examples.push_back(md.substr(at, md.find("```", at) - at));
  }
  ASSERT_EQ(examples.size(), 2u);
  std::ifstream shipped(kDefault);
  EXPECT_EQ(nlohmann::json::parse(examples[0]), nlohmann::json::parse(shipped));
  for (const std::string& example : examples) EXPECT_EQ(Refusal(example), "loaded");
}

// The large-flash bench is the default one but for device 0's flash.
TEST(BenchFile, LargeFlashBenchDiffersFromTheDefaultInItsFlashOnly) {
  const std::string path = std::string(BREVANT_SOURCE_DIR) + "/benches/large-flash.json";
  const auto bench = virt::LoadBenchFile(path);
  EXPECT_EQ(virt::FlashOf(bench->Device(0))->SizeBytes(), 32u << 20);
  nlohmann::json large = nlohmann::json::parse(std::ifstream(path));
  EXPECT_EQ(large["wiring"][0]["spiFlash"],
            nlohmann::json::parse(R"({"jedecId": "0xEF4019", "bytes": 33554432, "sfdp": true})"));
  large["wiring"][0]["spiFlash"] =
      nlohmann::json::parse(R"({"jedecId": "0xEF4016", "bytes": 4194304, "sfdp": true})");
  EXPECT_EQ(large, nlohmann::json::parse(std::ifstream(kDefault)));
}

TEST(BenchFile, OddDevicesAndFaultsLoadAsWritten) {
  const auto bench = virt::LoadBenchText(R"({"devices": [
      {"part": "FT2232D", "serial": "LAB7", "location": 785, "description": "Probe"},
      {"serialNumber": "", "description": "Bare", "location": "0x80000001", "model": "FT4232H",
       "listFailures": {"location": 18}}],
    "faults": [{"call": "FT_Write", "nth": 2, "kind": "shortWrite", "count": 1}]})",
                                         "odd.json");
  virt::Bench expected;
  expected.AddPart(virt::PartKind::kFT2232D, "LAB7", 0x311, "Probe");
  expected.AddDevice({"", "Bare", 0x80000001, 7, 0x04036011});
  ExpectSameDevices(*bench, expected);
  EXPECT_EQ(bench->Faults().ListFaultFor(2, ft::kOpenByLocation), ft::kOtherError);
  EXPECT_EQ(bench->Faults().ListFaultFor(2, ft::kOpenByDescription), std::nullopt);
  EXPECT_EQ(bench->Faults().Next(virt::Call::kWrite), std::nullopt);
  const auto fault = bench->Faults().Next(virt::Call::kWrite);
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->kind, virt::FaultKind::kShortWrite);
  EXPECT_EQ(fault->count, 1u);
}

TEST(BenchFile, BadFilesNameFilePlaceAndProblem) {
  const struct {
    std::string text;
    std::string message;
  } cases[] = {
      {"[]", "lab.json: top level: expected an object"},
      {R"({"devices": [], "extra": 1})", "lab.json: top level: unknown key \"extra\""},
      {R"({"devices": [{"part": "FT2232X", "serial": "A", "location": 1}]})",
       "lab.json: devices[0].part: unknown part \"FT2232X\"; known are FT232H, FT2232D, "
       "FT2232H, FT4232H, FT232R"},
      {R"({"devices": [{"part": "FT232H", "serail": "A", "location": 1}]})",
       "lab.json: devices[0]: unknown key \"serail\""},
      {R"({"devices": [{"serialNumber": 5, "description": "", "location": 1}]})",
       "lab.json: devices[0].serialNumber: expected a text"},
      {R"({"devices": [{"serialNumber": "", "description": "", "location": "0x12G"}]})",
       "lab.json: devices[0].location: expected a number or a \"0x...\" text, not \"0x12G\""},
      {R"({"devices": [{"serialNumber": "", "description": "", "location": 4294967296}]})",
       "lab.json: devices[0].location: expected a number from 0 to 4294967295"},
      {R"({"devices": [{"serialNumber": "", "description": "", "location": -1}]})",
       "lab.json: devices[0].location: expected a number or a \"0x...\" text"},
      {R"({"devices": [{"serialNumber": "", "description": "", "location": 1,
           "listFailures": {"description": 0}}]})",
       "lab.json: devices[0].listFailures.description: expected a number from 1 to 4294967295"},
      {R"({"devices": [], "faults": [{"call": "FT_Opn", "nth": 1}]})",
       "lab.json: faults[0].call: unknown name \"FT_Opn\""},
      {R"({"devices": [], "faults": [{"call": "FT_Open", "nth": 0}]})",
       "lab.json: faults[0].nth: expected a number from 1 to 2147483647"},
      {R"({"devices": [], "wiring": [{"device": 0}]})",
       "lab.json: wiring[0]: the bench has no devices to wire"},
      {R"({"devices": [{"part": "FT4232H", "serial": "Q", "location": 1}],
           "wiring": [{"device": 2, "spiFlash": {"jedecId": "0xEF4016", "bytes": 4096}}]})",
       "lab.json: wiring[0]: this channel has no MPSSE engine"},
      {R"({"devices": [{"part": "FT232H", "serial": "Q", "location": 1}],
           "wiring": [{"device": 0, "loops": [[0, 16]]}]})",
       "lab.json: wiring[0].loops[0][1]: expected a number from 0 to 15"},
      {R"({"devices": [{"part": "FT232H", "serial": "Q", "location": 1}],
           "wiring": [{"device": 0, "jtag": [{"irLength": 4, "idcode": 1, "idcodeInstruction": 16}]}]})",
       "lab.json: wiring[0].jtag[0].idcodeInstruction: expected a number from 0 to 15"},
      {"{\"devices\": [\n  {]}",
       "lab.json: parse error at line 2, column 4: syntax error while parsing object key - "
       "unexpected ']'; expected string literal"},
      // Found by fuzzing: the parser's overflow is no parse error of its own kind.
      {"50E455", "lab.json: number overflow parsing '50E455'"},
      // Keys a fault's kind would ignore, and faults no call can carry.
      {kOneDevice + R"("faults": [{"call": "FT_Open", "nth": 1, "kind": "vanish", "device": 1}]})",
       "lab.json: faults[0].device: device 1 is beyond the list of 1: there is nothing to unplug"},
      {kOneDevice + R"("faults": [{"call": "FT_Read", "nth": 1, "kind": "shortWrite"}]})",
       "lab.json: faults[0].kind: shortWrite can only be planned on FT_Write"},
      {kOneDevice + R"("faults": [{"call": "FT_Write", "nth": 1, "kind": "shortRead"}]})",
       "lab.json: faults[0].kind: shortRead can only be planned on FT_Read"},
      {kOneDevice + R"("faults": [{"call": "FT_Read", "nth": 1, "kind": "vanish", "count": 2}]})",
       "lab.json: faults[0].count: only shortWrite and shortRead take one"},
      {kOneDevice +
           R"("faults": [{"call": "FT_Read", "nth": 1, "kind": "shortRead", "device": 0}]})",
       "lab.json: faults[0].device: only vanish takes one"},
      {kOneDevice + R"("faults": [{"call": "FT_Read", "nth": 1, "kind": "vanish", "status": 4}]})",
       "lab.json: faults[0].status: only kind status takes one"},
      // A flash's size agrees with its JEDEC ID.
      {kOneDevice +
           R"("wiring": [{"device": 0, "spiFlash": {"jedecId": "0xEF4016", "bytes": 3145728}}]})",
       "lab.json: wiring[0].spiFlash.bytes: 3145728 is not a power of two"},
      {kOneDevice +
           R"("wiring": [{"device": 0, "spiFlash": {"jedecId": "0xEF4019", "bytes": 4194304}}]})",
       "lab.json: wiring[0].spiFlash.bytes: 4194304 does not match the jedecId's capacity code 25, "
       "which means 2^25 bytes"},
      {kOneDevice +
           R"("wiring": [{"device": 0, "spiFlash": {"jedecId": "0xEF4016", "bytes": 4194304, "sfdp": 1}}]})",
       "lab.json: wiring[0].spiFlash.sfdp: expected true or false"},
      // I2C targets: a known kind, a plain 7-bit address of its own, a real part's size.
      {kOneDevice + R"("wiring": [{"device": 0, "i2c": [{"type": "rtc", "address": 104}]}]})",
       "lab.json: wiring[0].i2c[0].type: unknown I2C target; known are eeprom, sensor"},
      {kOneDevice + R"("wiring": [{"device": 0, "i2c": [{"type": "sensor", "address": "0x78",
           "celsius": 20}]}]})",
       "lab.json: wiring[0].i2c[0].address: expected a number from 8 to 119"},
      {kOneDevice + R"("wiring": [{"device": 0, "i2c": [
           {"type": "sensor", "address": 72, "celsius": 20},
           {"type": "eeprom", "address": "0x48", "bytes": 256, "pageBytes": 8}]}]})",
       "lab.json: wiring[0].i2c[1].address: another target has this address"},
      {kOneDevice + R"("wiring": [{"device": 0, "i2c": [{"type": "eeprom", "address": 80,
           "bytes": 2048, "pageBytes": 16}]}]})",
       "lab.json: wiring[0].i2c[0]: a 24C EEPROM has 128 or 256 bytes, or 4 KiB to 64 KiB"},
      // What the parsed value would hide.
      {R"({"devices": [], "devices": []})", "lab.json: devices: the key comes twice"},
      {R"({"devices": [{"part": "FT232H", "serial": "A", "location": 1},
           {"part": "FT232H", "serial": "B", "location": 2, "serial": "C"}]})",
       "lab.json: devices[1].serial: the key comes twice"},
      {R"({"devices": [{"serialNumber": "A\u0000B", "description": "", "location": 1}]})",
       "lab.json: devices[0].serialNumber: a NUL in a text"},
      {R"({"devices": [{"part": "FT232H", "serial": "A", "location": 1, "x\u0000": 0}]})",
       "lab.json: devices[0]: a NUL in a key"},
  };
  for (const auto& c : cases) EXPECT_EQ(Refusal(c.text), c.message) << c.text;

  // Files that are no bench file at all.
  const std::string folder = ::testing::TempDir() + "BenchFileTest";
  std::filesystem::create_directories(folder);
  const std::string fifo = folder + "/fifo.json", large = folder + "/large.json";
  std::filesystem::remove(fifo);
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(large) << R"({"devices": [])" << std::string(1 << 20, ' ') << "}";
  const struct {
    std::string path;
    std::string message;
  } files[] = {
      {folder, folder + ": not a regular file"},
      {"/dev/zero", "/dev/zero: not a regular file"},
      {fifo, fifo + ": not a regular file"},
      {large, large + ": larger than 1048576 bytes, too large for a bench file"},
  };
  for (const auto& f : files) {
    try {
      virt::LoadBenchFile(f.path);
      ADD_FAILURE() << f.path << " loaded";
    } catch (const virt::BenchFileError& e) {
      EXPECT_EQ(e.what(), f.message);
    }
  }
  std::filesystem::remove_all(folder);
}

TEST(BenchFile, DriverChoiceReadsTheFile) {
  UseDriver("virtual:" + kDefault);
  EXPECT_NE(CurrentDriver(), nullptr);
  const Error e = Raised([] { UseDriver("virtual:/no/such/bench.json"); });
  EXPECT_EQ(e.Source(), "Brevant");
  EXPECT_EQ(e.Description(), "/no/such/bench.json: cannot open the file");
  SetDriver(nullptr);
}

}  // namespace
}  // namespace brevant::testing
