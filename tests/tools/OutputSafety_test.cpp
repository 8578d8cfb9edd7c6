// What `fifo -r` and `spi read` leave at their output path, whatever it is (a
// file, a link, a device node, a FIFO, stdout) and however the run ends: a
// success puts all the new bytes there in one step; a failure, a refused
// device or a signal leaves the path exactly as it was, and no other file.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <set>
#include <thread>

#include "tools/ToolRun.h"

namespace brevant::testing {
namespace {

enum class Kind { kNone, kFile, kLink, kDevice, kFifo, kStdout };

struct OutputCase {
  const char* name;
  Kind kind;
  const char* args;  // OUT stands for the output path
  int status;
  friend void PrintTo(const OutputCase& c, std::ostream* os) { *os << c.name; }
};

// Different at both ends, so that a cut or shifted copy shows.
const std::string kNew = [] {
  std::string data;
  for (int i = 0; i < 1000; ++i) data += static_cast<char>(0x80 + i * 7);
  return data;
}();
const std::string kOld = "old bytes that must survive\n";
constexpr mode_t kFileMode = 0640;

std::set<fs::path> Listing(const fs::path& dir) {
  std::set<fs::path> names;
  for (const auto& entry : fs::recursive_directory_iterator(dir))
    names.insert(fs::relative(entry.path(), dir));
  return names;
}

struct stat Status(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

class OutputSafety : public ToolFolder {
 protected:
  void SetUp() override {
    ToolFolder::SetUp();
    Put(dir_ / "new.bin", kNew);
    // The second driver read fails: in spi, while the flash is identified; in
    // fifo, after the first piece has come back and gone to the output.
    const std::string bench = Slurp(fs::path(BREVANT_SOURCE_DIR) / "benches/default.json");
    Put(dir_ / "fault.json",
        bench.substr(0, bench.rfind('}')) + R"(, "faults": [{"call": "FT_Read", "nth": 2}]})");
    Put(dir_ / "out.txt", "");
    Put(dir_ / "err.txt", "");
  }

  // Makes the output path of `kind`; its name for the command line.
  std::string Make(Kind kind) {
    switch (kind) {
      case Kind::kNone:
        break;
      case Kind::kFile:
        Put(dir_ / "F", kOld);
        chmod((dir_ / "F").c_str(), kFileMode);
        break;
      case Kind::kLink:
        // The file lies in another folder: the new one must be made there.
        fs::create_directory(dir_ / "elsewhere");
        Put(dir_ / "elsewhere/real", kOld);
        chmod((dir_ / "elsewhere/real").c_str(), kFileMode);
        fs::create_symlink("elsewhere/real", dir_ / "F");
        break;
      case Kind::kDevice:
        // /dev/null's numbers: writing to it is harmless.
        if (mknod((dir_ / "F").c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) {
          return "";
        }
        break;
      case Kind::kFifo:
        mkfifo((dir_ / "F").c_str(), 0666);
        // Read and write ends at once: the tool's open does not wait, and what
        // it writes stays in the pipe to be read afterwards.
        fifo_ = open((dir_ / "F").c_str(), O_RDWR | O_NONBLOCK);
        break;
      case Kind::kStdout:
        return "-";
    }
    return "F";
  }

  std::string Drain() {
    std::string bytes;
    char buffer[4096];
    for (ssize_t got; (got = read(fifo_, buffer, sizeof buffer)) > 0;) bytes.append(buffer, got);
    close(fifo_);
    return bytes;
  }

  int fifo_ = -1;
};

const OutputCase kCases[] = {
    {"NewFileMade", Kind::kNone, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"FileReplaced", Kind::kFile, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"LinkedFileReplaced", Kind::kLink, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"DeviceWritten", Kind::kDevice, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"FifoWritten", Kind::kFifo, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"StdoutWritten", Kind::kStdout, "--driver virtual fifo -d 0 -s new.bin -r OUT", 0},
    {"NoFileAfterFault", Kind::kNone, "--bench fault.json fifo -d 0 -s new.bin -r OUT", 1},
    {"FileKeptAfterPartReceived", Kind::kFile, "--bench fault.json fifo -d 0 -s new.bin -r OUT", 1},
    {"FileKeptAfterFlashFault", Kind::kFile, "--bench fault.json spi -d 0 read 0 16 OUT", 1},
    {"FileKeptForUnknownDevice", Kind::kFile, "--driver virtual spi -d 9 read 0 16 -o OUT", 2},
    {"LinkedFileKeptAfterFault", Kind::kLink, "--bench fault.json fifo -d 0 -s new.bin -r OUT", 1},
    {"DeviceKeptAfterFault", Kind::kDevice, "--bench fault.json spi -d 0 read 0 16 OUT", 1},
};

class Outputs : public OutputSafety, public ::testing::WithParamInterface<OutputCase> {};

TEST_P(Outputs, HoldAllOrNothing) {
  const OutputCase& c = GetParam();
  const std::string out = Make(c.kind);
  if (out.empty()) GTEST_SKIP() << "mknod is not allowed here";
  const std::set<fs::path> before = Listing(dir_);
  const ino_t inode = c.kind == Kind::kFile ? Status(dir_ / "F").st_ino : 0;
  std::string args = c.args;
  args.replace(args.find("OUT"), 3, out);

  const ToolRun run = RunTool(dir_, args);
  EXPECT_EQ(run.status, c.status) << run.err;
  const bool done = run.status == 0;
  // Nothing beside the output: no temporary file, nothing half written.
  std::set<fs::path> expected = before;
  if (c.kind == Kind::kNone && done) expected.insert("F");
  EXPECT_EQ(Listing(dir_), expected);

  switch (c.kind) {
    case Kind::kNone:
      if (done) {
        const mode_t mask = umask(0);
        umask(mask);
        EXPECT_EQ(Status(dir_ / "F").st_mode & 0777, 0666 & ~mask);
        EXPECT_EQ(Slurp(dir_ / "F"), kNew);
      }
      break;
    case Kind::kFile:
      EXPECT_EQ(Slurp(dir_ / "F"), done ? kNew : kOld);
      EXPECT_EQ(Status(dir_ / "F").st_mode & 0777, kFileMode);
      // Replaced by a rename, not rewritten in place.
      EXPECT_EQ(Status(dir_ / "F").st_ino != inode, done);
      break;
    case Kind::kLink:
      EXPECT_TRUE(S_ISLNK(Status(dir_ / "F").st_mode));
      EXPECT_EQ(fs::read_symlink(dir_ / "F"), "elsewhere/real");
      EXPECT_EQ(Slurp(dir_ / "elsewhere/real"), done ? kNew : kOld);
      EXPECT_EQ(Status(dir_ / "elsewhere/real").st_mode & 0777, kFileMode);
      break;
    case Kind::kDevice:
      EXPECT_TRUE(S_ISCHR(Status(dir_ / "F").st_mode));
      EXPECT_EQ(Status(dir_ / "F").st_rdev, makedev(1, 3));
      break;
    case Kind::kFifo:
      EXPECT_TRUE(S_ISFIFO(Status(dir_ / "F").st_mode));
      EXPECT_EQ(Drain(), kNew);
      break;
    case Kind::kStdout:
      EXPECT_EQ(run.out, kNew);
      break;
  }
}

INSTANTIATE_TEST_SUITE_P(OutputSafety, Outputs, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A run ended by a signal while it waits for its input (a FIFO nobody writes)
// removes the file it had begun and ends by that signal.
TEST_F(OutputSafety, SignalLeavesTheFileAsItWas) {
  Make(Kind::kFile);
  mkfifo((dir_ / "silent").c_str(), 0666);
  const std::set<fs::path> before = Listing(dir_);
  for (const int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(strsignal(signal));
    const std::string command = "cd '" + dir_.string() +
                                "' && exec " BREVANT_CLI
                                " --driver virtual fifo -d 0 -s silent -r F 2>err.txt";
    const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ), 0);
    // The run has begun its output once the folder holds one more entry.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (Listing(dir_).size() == before.size() && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_GT(Listing(dir_).size(), before.size()) << "no output begun";
    kill(pid, signal);
    int wait = 0;
    ASSERT_EQ(waitpid(pid, &wait, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(wait) && WTERMSIG(wait) == signal) << wait;
    EXPECT_EQ(Slurp(dir_ / "F"), kOld);
    EXPECT_EQ(Listing(dir_), before);
  }
}

// Output that cannot reach stdout fails the run with one line, both for data
// written as it comes and for text printed at the end.
TEST_F(OutputSafety, FullStdoutFails) {
  for (const char* args : {"--driver virtual list", "--driver virtual spi -d 0 read 0 16 -"}) {
    SCOPED_TRACE(args);
    const ToolRun run = RunTool(dir_, args, "/dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("brevant: cannot write stdout: No space left on device\n"),
              std::string::npos)
        << run.err;
  }
}

}  // namespace
}  // namespace brevant::testing
