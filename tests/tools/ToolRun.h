// The built brevant run from a shell in a folder of its own, as a user runs it.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace brevant::testing {

namespace fs = std::filesystem;

inline std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void Put(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

struct ToolRun {
  int status;  // the exit status; -1 if a signal ended the run
  std::string out;
  std::string err;
};

// `brevant ARGS` in `dir`, stdout to `out` (a path relative to `dir`, kept,
// or a device such as /dev/full), stderr kept.
inline ToolRun RunTool(const fs::path& dir, const std::string& args,
                       const std::string& out = "out.txt") {
  const std::string command =
      "cd '" + dir.string() + "' && " BREVANT_CLI " " + args + " >" + out + " 2>err.txt";
  const int wait = std::system(command.c_str());
  return {WIFEXITED(wait) ? WEXITSTATUS(wait) : -1,
          fs::path(out).is_absolute() ? "" : Slurp(dir / out), Slurp(dir / "err.txt")};
}

// A new empty folder for one test, removed with it.
class ToolFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "-" + test->name();
    for (char& c : name) {
      if (c == '/') c = '-';
    }
    dir_ = fs::temp_directory_path() / ("brevant-" + name + "-" + std::to_string(getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  fs::path dir_;
};

}  // namespace brevant::testing
