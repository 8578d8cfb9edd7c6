// `brevant spi write` with a fault at every driver write and read it makes, on a
// flash that already holds data: whatever fails, each byte outside the range
// written keeps its old value, or the run names a recovery file that holds it;
// putting that file back and running the same write again ends with the flash as
// a clean run leaves it. Also the 4-byte addresses of a 32 MiB flash.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "tools/ToolRun.h"

namespace brevant::testing {
namespace {

using Bytes = std::vector<uint8_t>;

// Data around the range before every write, over the boundary of sectors 0
// and 1; the rest of the three sectors is erased. The range written lies
// inside, so that both sectors keep bytes of their own on either side.
constexpr size_t kOldAt = 0x0C00;
constexpr size_t kOldLength = 0x0800;
constexpr size_t kAddress = 0x0E00;
constexpr size_t kLength = 0x0400;
constexpr size_t kSpan = 0x3000;
constexpr size_t kSector = 4096;
constexpr char kFlashFile[] = "BV22H001A.flash";

Bytes Random(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
  // Ends that differ, so that a range off by one byte shows.
  bytes.front() = 0x80;
  bytes.back() = 0x01;
  return bytes;
}

std::string Text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// The first kSpan bytes of the flash as the state folder keeps them; an erased
// flash has no file.
Bytes Image(const fs::path& state) {
  Bytes bytes(kSpan, 0xFF);
  std::ifstream(state / kFlashFile, std::ios::binary)
      .read(reinterpret_cast<char*>(bytes.data()), kSpan);
  return bytes;
}

// How often `call` appears in a trace.
int Calls(const std::string& trace, const std::string& call) {
  const std::string line = "trace: " + call + " (";
  int count = 0;
  for (size_t at = trace.find(line); at != std::string::npos; at = trace.find(line, at + 1)) {
    ++count;
  }
  return count;
}

const Bytes kData = Random(kOldLength, 1);
const Bytes kNew = Random(kLength, 2);
// The flash before and after a write that runs through.
const Bytes kOld = [] {
  Bytes bytes(kSpan, 0xFF);
  std::copy(kData.begin(), kData.end(), bytes.begin() + kOldAt);
  return bytes;
}();
const Bytes kExpected = [] {
  Bytes bytes = kOld;
  std::copy(kNew.begin(), kNew.end(), bytes.begin() + kAddress);
  return bytes;
}();

constexpr char kSweepUnplug[] = R"("call": "FT_Write", "kind": "vanish", "device": 0)";

struct Sweep {
  const char* name;
  const char* call;
  const char* fault;  // the entry of "faults" but for "nth"
  // Also refuse the second FT_Open, the one a repair needs.
  bool noRepair;
  friend void PrintTo(const Sweep& s, std::ostream* os) { *os << s.name; }
};

class FlashSafety : public ::testing::TestWithParam<Sweep> {
 protected:
  static void SetUpTestSuite() {
    dir_ = new fs::path(fs::temp_directory_path() / ("brevant-flash-" + std::to_string(getpid())));
    fs::create_directories(*dir_ / "base");
    Put(*dir_ / "old.bin", Text(kData));
    Put(*dir_ / "new.bin", Text(kNew));
    Put(*dir_ / "clean.json", Bench(""));
    const ToolRun fill = Tool("--bench clean.json --state base spi -d 0 write " +
                              std::to_string(kOldAt) + " old.bin");
    ASSERT_EQ(fill.status, 0) << fill.err;
    ASSERT_EQ(Image(*dir_ / "base"), kOld);
  }
  static void TearDownTestSuite() {
    fs::remove_all(*dir_);
    delete dir_;
  }

  // The default bench with `faults` planned.
  static std::string Bench(const std::string& faults) {
    const std::string text = Slurp(fs::path(BREVANT_SOURCE_DIR) / "benches/default.json");
    return text.substr(0, text.rfind('}')) + ", \"faults\": [" + faults + "]}\n";
  }

  static ToolRun Tool(const std::string& args) { return RunTool(*dir_, args); }

  static std::string Write(const std::string& bench, const std::string& state) {
    return "--bench " + bench + " --state " + state + " spi -d 0 write " +
           std::to_string(kAddress) + " new.bin";
  }

  static void FreshState(const fs::path& state) {
    fs::remove_all(state);
    fs::copy(*dir_ / "base", state);
  }

  static inline fs::path* dir_ = nullptr;
};

TEST_P(FlashSafety, KeepsEveryByteOutsideTheRange) {
  const Sweep& sweep = GetParam();
  const fs::path state = *dir_ / "state";
  FreshState(state);
  const ToolRun clean = Tool("--trace " + Write("clean.json", "state"));
  ASSERT_EQ(clean.status, 0) << clean.err;
  ASSERT_EQ(Image(state), kExpected);
  // The sanitizer build samples the positions; the plain build takes every one.
  const char* strideText = std::getenv("BREVANT_SWEEP_STRIDE");
  const int stride = strideText ? std::max(1, std::atoi(strideText)) : 1;
  const std::regex recovery(
      "saved in (\\S+)\\. Put them back with `brevant (spi -d 0 write (0x[0-9A-F]+) \\S+)`");
  int repaired = 0, saved = 0;
  const int positions = Calls(clean.err, sweep.call);
  for (int nth = 1; nth <= positions; nth += stride) {
    SCOPED_TRACE(std::string(sweep.call) + " number " + std::to_string(nth));
    FreshState(state);
    std::string faults = "{" + std::string(sweep.fault) + ", \"nth\": " + std::to_string(nth) + "}";
    if (sweep.noRepair) faults += R"(, {"call": "FT_Open", "nth": 2, "status": 3})";
    Put(*dir_ / "faulty.json", Bench(faults));
    const ToolRun run = Tool(Write("faulty.json", "state"));
    std::smatch found;
    if (std::regex_search(run.err, found, recovery)) {
      // The file holds the sector's old bytes; put back, they restore it.
      ++saved;
      const size_t base = std::stoul(found[3].str(), nullptr, 16);
      ASSERT_LE(base + kSector, kSpan);
      EXPECT_EQ(Slurp(*dir_ / found[1].str()),
                Text(Bytes(kOld.begin() + base, kOld.begin() + base + kSector)));
      const ToolRun back = Tool("--bench clean.json --state state " + found[2].str());
      ASSERT_EQ(back.status, 0) << back.err;
      fs::remove(*dir_ / found[1].str());
    } else if (run.err.find("written again from scratch") != std::string::npos) {
      ++repaired;
    }
    const Bytes image = Image(state);
    for (size_t i = 0; i < kSpan; ++i) {
      if (i >= kAddress && i < kAddress + kLength) continue;
      ASSERT_EQ(image[i], kOld[i]) << "address " << i << "\n" << run.err;
    }
    if (run.status == 0) {
      EXPECT_EQ(image, kExpected);
      continue;
    }
    const ToolRun again = Tool(Write("clean.json", "state"));
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(Image(state), kExpected);
  }
  // A fault between an erase and its programs is there in every sweep; each
  // ends in a repair, or in a recovery file where no repair is possible.
  EXPECT_GT(sweep.noRepair || sweep.fault == kSweepUnplug ? saved : repaired, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FlashSafety,
    ::testing::Values(
        Sweep{"StatusOnWrite", "FT_Write", R"("call": "FT_Write", "status": 4)", false},
        Sweep{"StatusOnRead", "FT_Read", R"("call": "FT_Read", "status": 4)", false},
        Sweep{"ShortWrite", "FT_Write", R"("call": "FT_Write", "kind": "shortWrite", "count": 2)",
              false},
        Sweep{"ShortRead", "FT_Read", R"("call": "FT_Read", "kind": "shortRead", "count": 0)",
              false},
        Sweep{"Unplugged", "FT_Write", kSweepUnplug, false},
        Sweep{"StatusOnWriteNoRepair", "FT_Write", R"("call": "FT_Write", "status": 4)", true},
        Sweep{"StatusOnReadNoRepair", "FT_Read", R"("call": "FT_Read", "status": 4)", true}),
    [](const ::testing::TestParamInfo<Sweep>& info) { return std::string(info.param.name); });

// Above 16 MiB only 4-byte addresses reach: a write there must leave the
// bottom of the flash alone.
TEST(LargeFlash, WritesAbove16MiBWithFourByteAddresses) {
  const fs::path dir = fs::temp_directory_path() / ("brevant-large-" + std::to_string(getpid()));
  fs::create_directories(dir / "state");
  Put(dir / "old.bin", Text(kData));
  Put(dir / "new.bin", Text(kNew));
  const std::string bench = "--bench " +
                            (fs::path(BREVANT_SOURCE_DIR) / "benches/large-flash.json").string() +
                            " --state state ";
  ASSERT_EQ(RunTool(dir, bench + "spi -d 0 write 0 old.bin").status, 0);
  const ToolRun high = RunTool(dir, "--trace " + bench + "spi -d 0 write 0x1000000 new.bin");
  ASSERT_EQ(high.status, 0) << high.err;
  // Page program with a 4-byte address, as the wire carries it: 0x12 01 00 00 00.
  EXPECT_NE(high.err.find("12 01 00 00 00"), std::string::npos);
  Bytes bottom(kOldLength);
  std::ifstream(dir / "state" / kFlashFile, std::ios::binary)
      .read(reinterpret_cast<char*>(bottom.data()), kOldLength);
  EXPECT_EQ(bottom, kData);
  const ToolRun read =
      RunTool(dir, bench + "spi -d 0 read 0x1000000 " + std::to_string(kLength) + " got.bin");
  ASSERT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(Slurp(dir / "got.bin"), Text(kNew));
  fs::remove_all(dir);
}

}  // namespace
}  // namespace brevant::testing
