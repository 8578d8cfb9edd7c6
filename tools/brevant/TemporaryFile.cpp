#include "TemporaryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace brevant::tool {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

// The paths of the live temporary files, as the signal handler reads them. A
// lock-free atomic is the one shared state a handler may touch; a run has one
// or two outputs, so a few places are plenty.
static_assert(std::atomic<const char*>::is_always_lock_free);
std::array<std::atomic<const char*>, 8> live;

extern "C" void RemoveAndRaise(int signal) {
  for (const std::atomic<const char*>& slot : live) {
    if (const char* path = slot.load()) unlink(path);
  }
  // SA_RESETHAND has made the action the default again: the process ends as
  // the signal asked, and the shell sees which one.
  raise(signal);
}

void InstallHandler() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  for (const int signal : kSignals) {
    struct sigaction old {};
    sigaction(signal, nullptr, &old);
    // A signal the caller ignores (nohup, a background job) stays ignored.
    if (old.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = RemoveAndRaise;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
  }
}

// Holds the handled signals off for its lifetime.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kSignals) sigaddset(&set, signal);
    sigprocmask(SIG_BLOCK, &set, &old_);
  }
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &old_, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t old_;
};

void Forget(const char* path) {
  for (std::atomic<const char*>& slot : live) {
    const char* expected = path;
    if (slot.compare_exchange_strong(expected, nullptr)) return;
  }
}

[[noreturn]] void Throw(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& directory, const std::string& name)
    : path_(directory + "." + name + ".brevant-XXXXXX") {
  InstallHandler();
  const SignalsHeld held;
  fd_ = mkostemp(path_.data(), O_CLOEXEC);
  if (fd_ < 0) Throw("mkostemp");
  for (std::atomic<const char*>& slot : live) {
    const char* expected = nullptr;
    if (slot.compare_exchange_strong(expected, path_.c_str())) return;
  }
  close(fd_);
  unlink(path_.c_str());
  throw std::logic_error("more temporary files at once than a signal could clean up");
}

TemporaryFile::~TemporaryFile() {
  if (fd_ >= 0) close(fd_);
  if (renamed_) return;
  // Removed before it is forgotten: a signal in between only repeats the unlink.
  unlink(path_.c_str());
  Forget(path_.c_str());
}

void TemporaryFile::RenameTo(const std::string& target) {
  if (fsync(fd_) != 0) Throw("fsync");
  const int closed = close(fd_);
  fd_ = -1;
  if (closed != 0) Throw("close");
  if (std::rename(path_.c_str(), target.c_str()) != 0) Throw("rename");
  // Forgotten after the rename: a signal in between finds the name gone.
  renamed_ = true;
  Forget(path_.c_str());
}

}  // namespace brevant::tool
