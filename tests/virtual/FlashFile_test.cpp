// Flash memories kept in a state directory (BREVANT_BENCH_STATE): what one driver
// writes the next one reads, the file is the chip's image after every call, a
// file that cannot be written fails the call, and paths that cannot serve are
// refused by name.
#include "virtual/FlashFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "brevant/Driver.h"
#include "factory/DriverFactory.h"
#include "gateway/Driver.h"
#include "support/Raised.h"
#include "virtual/Bench.h"
#include "virtual/mpsse/MpsseBench.h"

namespace brevant::testing {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

const std::string kDefaultFile = std::string(BREVANT_SOURCE_DIR) + "/benches/default.json";

// Device 0 of a driver, in MPSSE mode with SK idle low and CS high.
class FlashSession {
 public:
  explicit FlashSession(std::shared_ptr<Ftd2xx> driver) : driver_(std::move(driver)) {
    EXPECT_EQ(driver_->FT_Open(0, &handle_), ft::kOk);
    EXPECT_EQ(driver_->FT_SetBitMode(handle_, 0, 2), ft::kOk);
    EXPECT_EQ(driver_->FT_SetTimeouts(handle_, 500, 500), ft::kOk);
    EXPECT_EQ(driver_->FT_SetLatencyTimer(handle_, 1), ft::kOk);
  }
  ~FlashSession() { driver_->FT_Close(handle_); }

  // One SPI mode 0 transaction; the status of its FT_Write.
  FtStatus Spi(const Bytes& out, size_t in = 0, Bytes* answer = nullptr) {
    Bytes command = {0x80, 0x00, 0x0B, 0x11, static_cast<uint8_t>(out.size() - 1), 0x00};
    command.insert(command.end(), out.begin(), out.end());
    if (in > 0) command.insert(command.end(), {0x20, static_cast<uint8_t>(in - 1), 0x00});
    command.insert(command.end(), {0x80, 0x08, 0x0B, 0x87});
    uint32_t count = 0;
    const FtStatus status =
        driver_->FT_Write(handle_, command.data(), static_cast<uint32_t>(command.size()), &count);
    if (answer) {
      answer->resize(in);
      EXPECT_EQ(driver_->FT_Read(handle_, answer->data(), static_cast<uint32_t>(in), &count),
                ft::kOk);
      answer->resize(count);
    }
    return status;
  }
  Bytes Read(uint32_t address, size_t count) {
    Bytes answer;
    Spi({0x03, static_cast<uint8_t>(address >> 16), static_cast<uint8_t>(address >> 8),
         static_cast<uint8_t>(address)},
        count, &answer);
    return answer;
  }
  // Write enable, then `command`; waits until the chip is no longer busy.
  FtStatus Change(const Bytes& command) {
    EXPECT_EQ(Spi({0x06}), ft::kOk);
    const FtStatus status = Spi(command);
    Bytes busy = {0x01};
    for (int poll = 0; poll < 1000 && busy == Bytes{0x01}; ++poll) Spi({0x05}, 1, &busy);
    return status;
  }

 private:
  std::shared_ptr<Ftd2xx> driver_;
  FtHandle handle_ = nullptr;
};

class FlashFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(folder);
    fs::create_directories(state);
    setenv("BREVANT_BENCH_STATE", state.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("BREVANT_BENCH_STATE");
    fs::remove_all(folder);
  }
  static Bytes FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }

  // One folder per test: CTest runs them side by side.
  const std::string folder = ::testing::TempDir() + "FlashFileTest." +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name();
  const std::string state = folder + "/state";
  const std::string flashFile = state + "/BV22H001A.flash";
};

TEST_F(FlashFileTest, WhatOneDriverWritesTheNextReads) {
  {
    FlashSession session(MakeDriver("virtual"));
    EXPECT_EQ(session.Change({0x02, 0x00, 0x10, 0x00, 0xA5, 0x0F}), ft::kOk);
    // The file is the whole chip, current as soon as the call returned.
    const Bytes image = FileBytes(flashFile);
    ASSERT_EQ(image.size(), 4u << 20);
    EXPECT_EQ(Bytes(image.begin() + 0x0FFF, image.begin() + 0x1003),
              (Bytes{0xFF, 0xA5, 0x0F, 0xFF}));
    EXPECT_EQ(image.front(), 0xFF);
    EXPECT_EQ(image.back(), 0xFF);
  }
  {
    FlashSession session(MakeDriver("virtual:" + kDefaultFile));
    EXPECT_EQ(session.Read(0x1000, 3), (Bytes{0xA5, 0x0F, 0xFF}));
    EXPECT_EQ(session.Change({0x20, 0x00, 0x10, 0x00}), ft::kOk);
  }
  FlashSession session(MakeDriver("virtual"));
  EXPECT_EQ(session.Read(0x1000, 2), (Bytes{0xFF, 0xFF}));
  EXPECT_EQ(FileBytes(flashFile), Bytes(4u << 20, 0xFF));
  // Only the image itself is left behind.
  EXPECT_EQ(std::distance(fs::directory_iterator(state), {}), 1);
}

TEST_F(FlashFileTest, AFileThatCannotBeWrittenFailsTheCallUntilItCan) {
  FlashSession session(MakeDriver("virtual"));
  EXPECT_EQ(session.Change({0x02, 0x00, 0x00, 0x00, 0x81}), ft::kOk);
  fs::remove(flashFile);
  fs::create_directory(flashFile);
  EXPECT_EQ(session.Change({0x02, 0x00, 0x20, 0x00, 0x42}), ft::kIoError);
  EXPECT_EQ(session.Spi({0x05}), ft::kIoError);  // still not saved
  fs::remove(flashFile);
  EXPECT_EQ(session.Spi({0x05}), ft::kOk);
  const Bytes image = FileBytes(flashFile);
  ASSERT_EQ(image.size(), 4u << 20);
  EXPECT_EQ(image[0x0000], 0x81);
  EXPECT_EQ(image[0x2000], 0x42);
}

TEST_F(FlashFileTest, PathsThatCannotServeAreRefusedByName) {
  // In `state` channel A's file has the wrong size; in `other` channel B's file
  // is a directory.
  const std::string other = folder + "/other";
  std::ofstream(flashFile) << std::string(1000, 'x');
  fs::create_directories(other + "/BV22H001B.flash");
  const std::string bench = folder + "/bench.json";
  std::ofstream(bench) << R"({"devices": [{"part": "FT2232H", "serial": "BV22H001", "location": 1}],
    "wiring": [{"device": 0, "spiFlash": {"jedecId": "0xEF4016", "bytes": 4194304}},
               {"device": 1, "spiFlash": {"jedecId": "0xEF4016", "bytes": 4194304}}]})";
  const struct {
    const char* name;
    std::string directory;
    std::string message;
  } cases[] = {
      {"WrongSize", state, flashFile + ": 1000 bytes, but the flash holds 4194304"},
      {"NoDirectory", folder + "/missing", folder + "/missing: no such directory"},
      {"DirectoryAsFile", other, other + "/BV22H001B.flash: not a regular file"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    setenv("BREVANT_BENCH_STATE", c.directory.c_str(), 1);
    const Error e = Raised([&] { UseDriver("virtual:" + bench); });
    EXPECT_EQ(e.Number(), kErrDriverChoice);
    EXPECT_EQ(e.Description(), c.message);
  }
  // A refused file is left as it was.
  EXPECT_EQ(FileBytes(flashFile), Bytes(1000, 'x'));
}

// Serial numbers that are no safe file name, and two chips that would share one.
TEST_F(FlashFileTest, FilesAreNamedBySerialOrPosition) {
  const auto benchOf = [](std::vector<std::string> serials) {
    auto bench = std::make_shared<virt::Bench>();
    for (const std::string& serial : serials) {
      virt::Channel& device = bench->AddDevice({serial, "Flash", 0, 8, 0x04036014});
      virt::InstallMpsse(device, virt::PartKind::kFT232H, 0);
      virt::MpsseOf(device).Attach(std::make_shared<virt::SpiFlash>(
          std::array<uint8_t, 3>{0xEF, 0x40, 0x0C}, virt::SpiFlash::kSectorBytes));
    }
    return bench;
  };
  try {
    benchOf({"A1", "ok_1", "ok_1"})->KeepMemories(state);
    ADD_FAILURE() << "two chips kept in one file";
  } catch (const virt::StateError& e) {
    EXPECT_EQ(std::string(e.what()), state + "/ok_1.flash: devices 1 and 2 would share this file");
  }
  auto bench = benchOf({"", "../up", "ok_1", "a.b"});
  bench->KeepMemories(state);
  for (int i = 0; i < 4; ++i) virt::FlashOf(bench->Device(i))->Load(0, Bytes{0x00});
  EXPECT_TRUE(bench->SaveMemories());
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(state)) names.insert(entry.path().filename());
  EXPECT_EQ(names, (std::set<std::string>{"device0.flash", "device1.flash", "ok_1.flash",
                                          "device3.flash"}));
  EXPECT_FALSE(fs::exists(folder + "/up.flash"));
}

}  // namespace
}  // namespace brevant::testing
