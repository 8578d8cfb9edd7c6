// brevant-emulate: the virtual bench's parts as USB devices for other programs.
// `brevant emulate` runs it; see docs/emulate.md.
//
//   brevant-emulate [--bench FILE] [--state DIR] [--vcd FILE] [--] [PROGRAM ARGS...]
//
// With a program: runs it with umockdev's preload library, so that whatever it
// opens through libusb reaches the bench, and exits with its status (128 + the
// signal if one ended it, 127 if it could not be started). Without one: prints
// the environment to export and serves until SIGINT or SIGTERM.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "virtual-usb/UsbBench.h"
#include "virtual/BenchFile.h"
#include "virtual/FlashFile.h"
#include "virtual/mpsse/MpsseBench.h"

namespace {

using brevant::virt::Bench;

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kCannotRun = 127;
constexpr char kPreload[] = "libumockdev-preload.so.0";

struct Options {
  std::string bench;
  std::string state;
  std::string vcd;
  std::vector<char*> program;  // null-terminated when not empty
};

int Usage(const std::string& problem) {
  std::cerr << "brevant emulate: " << problem
            << "\nusage: brevant emulate [--bench FILE] [--state DIR] [--vcd FILE] [--] "
               "[PROGRAM ARGS...]\n";
  return kUsage;
}

// Options first; the first word that is none, or everything after "--", is
// the program and its own arguments.
bool Parse(int argc, char** argv, Options& options, std::string& problem) {
  int i = 1;
  for (; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--") {
      ++i;
      break;
    }
    if (word == "--bench" || word == "--state" || word == "--vcd") {
      if (i + 1 == argc) {
        problem = word + " needs a value";
        return false;
      }
      (word == "--bench" ? options.bench : word == "--state" ? options.state : options.vcd) =
          argv[++i];
    } else if (word.starts_with("-")) {
      problem = "unknown option " + word;
      return false;
    } else {
      break;
    }
  }
  for (; i < argc; ++i) options.program.push_back(argv[i]);
  if (!options.program.empty()) options.program.push_back(nullptr);
  return true;
}

std::string PreloadList() {
  const char* old = std::getenv("LD_PRELOAD");
  return old && *old ? std::string(kPreload) + ":" + old : kPreload;
}

int RunProgram(Options& options) {
  // The terminal's Ctrl-C reaches the program too; the bench stays up until
  // the program is gone.
  signal(SIGINT, SIG_IGN);
  signal(SIGQUIT, SIG_IGN);
  const pid_t child = fork();
  if (child < 0) {
    std::cerr << "brevant emulate: cannot start a process: " << std::strerror(errno) << '\n';
    return kFailed;
  }
  if (child == 0) {
    signal(SIGINT, SIG_DFL);
    signal(SIGQUIT, SIG_DFL);
    setenv("LD_PRELOAD", PreloadList().c_str(), 1);
    execvp(options.program[0], options.program.data());
    std::fprintf(stderr, "brevant emulate: %s: %s\n", options.program[0], std::strerror(errno));
    _exit(kCannotRun);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return kFailed;
  }
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

int Serve() {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  std::cout << "export UMOCKDEV_DIR=" << std::getenv("UMOCKDEV_DIR")
            << "\nexport LD_PRELOAD=" << PreloadList() << '\n'
            << std::flush;
  std::cerr << "brevant emulate: the bench's parts are plugged in; Ctrl-C unplugs them\n";
  int signal = 0;
  sigwait(&stop, &signal);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string problem;
  if (!Parse(argc, argv, options, problem)) return Usage(problem);
  try {
    // Signals are blocked before the USB handler's thread starts, so that only
    // Serve's sigwait takes them.
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    if (options.program.empty()) pthread_sigmask(SIG_BLOCK, &stop, nullptr);
    const std::shared_ptr<Bench> bench = options.bench.empty()
                                             ? brevant::virt::MakeDefaultBench()
                                             : brevant::virt::LoadBenchFile(options.bench);
    if (!options.state.empty()) bench->KeepMemories(options.state);
    if (!options.vcd.empty()) bench->RecordTo(options.vcd);
    // Tools wait for a flash in real time, in steps as long as a real chip's
    // busy time; finished at once, a full write takes seconds instead of minutes.
    for (int index = 0; index < bench->DeviceCount(); ++index) {
      if (auto* flash = brevant::virt::FlashOf(bench->Device(index))) flash->SetBusyTimes(0, 0);
    }
    int status = 0;
    bool saved = true;
    {
      brevant::virt::UsbBench usb(bench);
      status = options.program.empty() ? Serve() : RunProgram(options);
      saved = !usb.SaveFailed() && bench->SaveMemories();
    }
    if (!bench->SaveRecording()) {
      std::cerr << "brevant emulate: the pin recording could not be written to " << options.vcd
                << '\n';
      if (status == 0) status = kFailed;
    }
    if (!saved) {
      std::cerr << "brevant emulate: the chips' memories could not all be saved in "
                << options.state << '\n';
      if (status == 0) status = kFailed;
    }
    return status;
  } catch (const std::exception& e) {
    std::cerr << "brevant emulate: " << e.what() << '\n';
    return kFailed;
  }
}
