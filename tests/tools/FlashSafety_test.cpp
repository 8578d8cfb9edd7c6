// `brevant spi write` with a fault at every driver write and read it makes, on a
// flash that already holds data: whatever fails, each byte outside the range
// written keeps its old value, or the run names a recovery file that holds it;
// putting that file back and running the same write again ends with the flash as
// a clean run leaves it. Also the 4-byte addresses of a 32 MiB flash.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

// The range written: from the middle of sector 0 into sector 1, so that both
// sectors keep bytes of their own on one side.
constexpr size_t kAddress = 0x0E00;
constexpr size_t kLength = 0x0400;
constexpr size_t kSpan = 0x3000;  // three sectors: the one behind is left alone
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

std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void Put(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string Text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// The first `count` bytes of the flash as the state folder keeps them; an
// erased flash has no file, or a short one.
Bytes Image(const fs::path& state, size_t count) {
  const std::string text = Slurp(state / kFlashFile);
  Bytes bytes(count, 0xFF);
  std::copy_n(text.begin(), std::min(count, text.size()), bytes.begin());
  return bytes;
}

struct Run {
  int status;
  std::string out;
  std::string err;
};

class FlashSafety : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new fs::path(fs::temp_directory_path() /
                        ("brevant-flash-" + std::to_string(getpid())));
    fs::create_directories(*dir_ / "base");
    Put(*dir_ / "old.bin", Text(kOld));
    Put(*dir_ / "new.bin", Text(kNew));
    Put(*dir_ / "clean.json", Bench(""));
    // The flash's first three sectors hold data before every case.
    const Run fill = Tool("--bench clean.json --state base spi -d 0 write 0 old.bin");
    ASSERT_EQ(fill.status, 0) << fill.err;
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

  static Run Tool(const std::string& args) {
    const std::string command = "cd '" + dir_->string() + "' && " BREVANT_CLI " " + args +
                                " >out.txt 2>err.txt";
    const int wait = std::system(command.c_str());
    return {WIFEXITED(wait) ? WEXITSTATUS(wait) : -1, Slurp(*dir_ / "out.txt"),
            Slurp(*dir_ / "err.txt")};
  }

  static std::string Write(const std::string& bench, const std::string& state) {
    return "--bench " + bench + " --state " + state + " spi -d 0 write " +
           std::to_string(kAddress) + " new.bin";
  }

  static inline const Bytes kOld = Random(kSpan, 1);
  static inline const Bytes kNew = Random(kLength, 2);
  static inline const Bytes kExpected = [] {
    Bytes bytes = kOld;
    std::copy(kNew.begin(), kNew.end(), bytes.begin() + kAddress);
    return bytes;
  }();
  static inline fs::path* dir_ = nullptr;
};

// How often a clean write calls FT_Write and FT_Read.
int Calls(const std::string& trace, const std::string& call) {
  int count = 0;
  for (size_t at = trace.find("trace: " + call + " ("); at != std::string::npos;
       at = trace.find("trace: " + call + " (", at + 1)) {
    ++count;
  }
  return count;
}

struct Sweep {
  const char* name;
  const char* call;
  const char* fault;  // the entry of "faults" but for "nth"
  // Also refuse the second FT_Open, the one a repair needs.
  bool noReopen;
};

const Sweep kSweeps[] = {
    {"StatusOnWrite", "FT_Write", R"("call": "FT_Write", "status": 4)", false},
    {"StatusOnRead", "FT_Read", R"("call": "FT_Read", "status": 4)", false},
    {"ShortWrite", "FT_Write", R"("call": "FT_Write", "kind": "shortWrite", "count": 2)", false},
    {"ShortRead", "FT_Read", R"("call": "FT_Read", "kind": "shortRead", "count": 0)", false},
    {"Unplugged", "FT_Write", R"("call": "FT_Write", "kind": "vanish", "device": 0)", false},
    {"StatusOnWriteNoRepair", "FT_Write", R"("call": "FT_Write", "status": 4)", true},
    {"StatusOnReadNoRepair", "FT_Read", R"("call": "FT_Read", "status": 4)", true},
};

TEST_F(FlashSafety, KeepsEveryByteOutsideTheRangeWhateverFails) {
  fs::copy(*dir_ / "base", *dir_ / "traced");
  const Run clean = Tool("--trace " + Write("clean.json", "traced"));
  ASSERT_EQ(clean.status, 0) << clean.err;
  ASSERT_EQ(Image(*dir_ / "traced", kSpan), kExpected);
  // The ASan build samples the positions; the plain build takes every one.
  const char* strideText = std::getenv("BREVANT_SWEEP_STRIDE");
  const int stride = strideText ? std::max(1, std::atoi(strideText)) : 1;
  const std::regex recovery("saved in (\\S+)\\. Put them back with `brevant (spi -d 0 write \\S+ \\S+)`");
  int repaired = 0, saved = 0;
  for (const Sweep& sweep : kSweeps) {
    const int positions = Calls(clean.err, sweep.call);
    for (int nth = 1; nth <= positions; nth += stride) {
      SCOPED_TRACE(std::string(sweep.name) + " at call " + std::to_string(nth));
      const fs::path state = *dir_ / "state";
      fs::remove_all(state);
      fs::copy(*dir_ / "base", state);
      std::string faults = "{" + std::string(sweep.fault) + ", \"nth\": " + std::to_string(nth) + "}";
      if (sweep.noReopen) faults += R"(, {"call": "FT_Open", "nth": 2, "status": 3})";
      Put(*dir_ / "faulty.json", Bench(faults));
      const Run run = Tool(Write("faulty.json", "state"));
      Bytes image = Image(state, kSpan);
      std::smatch found;
      if (std::regex_search(run.err, found, recovery)) {
        // The file holds the sector's old bytes; put back, they restore it.
        ++saved;
        const size_t base = std::stoul(found[2].str().substr(found[2].str().find("0x")), nullptr, 16);
        ASSERT_LT(base, kSpan);
        EXPECT_EQ(Slurp(*dir_ / found[1].str()), Text(Bytes(kOld.begin() + base, kOld.begin() + base + 4096)));
        const Run back = Tool("--bench clean.json --state state " + found[2].str());
        ASSERT_EQ(back.status, 0) << back.err;
        image = Image(state, kSpan);
      } else if (run.status != 0 && run.err.find("written again from scratch") != std::string::npos) {
        ++repaired;
      }
      for (size_t i = 0; i < kSpan; ++i) {
        if (i >= kAddress && i < kAddress + kLength) continue;
        ASSERT_EQ(image[i], kOld[i]) << "address " << i << "\n" << run.err;
      }
      if (run.status == 0) {
        EXPECT_EQ(image, kExpected);
        continue;
      }
      const Run again = Tool(Write("clean.json", "state"));
      ASSERT_EQ(again.status, 0) << again.err;
      EXPECT_EQ(Image(state, kSpan), kExpected);
    }
  }
  // Both ways out were taken.
  EXPECT_GT(repaired, 0);
  EXPECT_GT(saved, 0);
}

// Above 16 MiB only 4-byte addresses reach: a write there must leave the
// bottom of the flash alone.
TEST_F(FlashSafety, WritesAbove16MiBWithFourByteAddresses) {
  const fs::path state = *dir_ / "large";
  fs::create_directories(state);
  const std::string bench =
      "--bench " + (fs::path(BREVANT_SOURCE_DIR) / "benches/large-flash.json").string() +
      " --state large ";
  ASSERT_EQ(Tool(bench + "spi -d 0 write 0 old.bin").status, 0);
  const Run high = Tool("--trace " + bench + "spi -d 0 write 0x1000000 new.bin");
  ASSERT_EQ(high.status, 0) << high.err;
  // Page program with a 4-byte address, as the wire carries it: 0x12 01 00 00 00.
  EXPECT_NE(high.err.find("12 01 00 00 00"), std::string::npos);
  EXPECT_EQ(Image(state, kSpan), kOld);
  const Run read = Tool(bench + "spi -d 0 read 0x1000000 " + std::to_string(kLength) + " got.bin");
  ASSERT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(Slurp(*dir_ / "got.bin"), Text(kNew));
}

}  // namespace
