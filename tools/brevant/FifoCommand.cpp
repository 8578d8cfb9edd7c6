#include "FifoCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <optional>
#include <vector>

#include "Number.h"
#include "OutputFile.h"
#include "brevant/ByteArray.h"
#include "brevant/clsFTDI245FIFO.h"

namespace brevant::tool {

namespace {

// Writes go in pieces this big, with what has come back read in between, so a
// peer that answers every byte never fills the chip's receive buffer.
constexpr int32_t kPiece = 4096;
// What is sent is read whole first; more than this is taken for a mistake, such
// as an endless device, not for a stream to hold in memory.
constexpr uint64_t kMostSent = 256 * 1024 * 1024;

using Clock = std::chrono::steady_clock;

void Report(const char* what, uint64_t bytes, Clock::time_point start) {
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::fprintf(stderr, "%s %llu bytes in %.3f s (%.1f KiB/s)\n", what,
               static_cast<unsigned long long>(bytes), seconds,
               seconds > 0 ? static_cast<double>(bytes) / 1024 / seconds : 0.0);
}

class Receiver {
 public:
  // A `limit` of 0 takes whatever comes.
  Receiver(clsFTDI245FIFO& fifo, OutputFile& output, int32_t limit)
      : fifo_(fifo), output_(output), limit_(limit) {}

  uint64_t Received() const { return received_; }
  // How many of `most` bytes are still wanted.
  int32_t Wanted(int32_t most) const {
    if (limit_ == 0) return most;
    return static_cast<int32_t>(std::min<uint64_t>(most, limit_ - received_));
  }
  // Up to `most` bytes; returns how many came before the read time-out.
  int32_t Take(int32_t most) {
    ByteArray buffer(0, most);
    int32_t got = 0;
    fifo_.DataRead(buffer, most, got);
    output_.Write(buffer.Elements().first(static_cast<size_t>(got)));
    received_ += static_cast<uint64_t>(got);
    return got;
  }

 private:
  clsFTDI245FIFO& fifo_;
  OutputFile& output_;
  uint64_t limit_;
  uint64_t received_ = 0;
};

}  // namespace

FifoCommand::FifoCommand(CLI::App& app)
    : command_(app.add_subcommand("fifo", "send and receive bytes over a 245 FIFO channel")),
      device_(*command_) {
  // Without either there is nothing to do.
  CLI::Option_group* streams = command_->add_option_group("streams");
  streams->add_option("-s,--send", send_, "file to send, - for stdin");
  streams->add_option("-r,--receive", receive_, "file to receive into, - for stdout");
  streams->require_option(1, 0);
  command_->add_option("-n,--count", count_, "stop receiving after this many bytes")
      ->check(Within(1, std::numeric_limits<int32_t>::max()));
  command_->add_option("--timeout", timeoutMs_, "read time-out in ms that ends receiving")
      ->check(Within(1, 60000));
}

void FifoCommand::Run(const std::shared_ptr<icLog>& log) const {
  // The output first: a path that cannot be written fails before stdin is read.
  std::optional<OutputFile> output;
  if (!receive_.empty()) output.emplace(receive_);
  const std::vector<uint8_t> data =
      send_.empty() ? std::vector<uint8_t>{} : ReadInput(send_, kMostSent);

  clsFTDI245FIFO fifo;
  fifo.Log(log);
  fifo.Initialize(device_.Resolve(log));
  fifo.SetTimeOuts(timeoutMs_, 500);
  std::optional<Receiver> receiver;
  if (output) receiver.emplace(fifo, *output, count_);
  const auto start = Clock::now();
  for (size_t done = 0; done < data.size(); done += kPiece) {
    const int32_t piece = static_cast<int32_t>(std::min<size_t>(kPiece, data.size() - done));
    ByteArray buffer(std::span<const uint8_t>(data).subspan(done, static_cast<size_t>(piece)));
    fifo.DataWrite(buffer, piece);
    if (receiver) {
      if (const int32_t wanted = receiver->Wanted(fifo.QueueRx()); wanted > 0)
        receiver->Take(wanted);
    }
  }
  if (!send_.empty()) Report("sent", data.size(), start);
  if (receiver) {
    // The rest: until the count is reached, or a read time-out brings nothing.
    for (int32_t wanted = receiver->Wanted(kPiece); wanted > 0 && receiver->Take(wanted) > 0;
         wanted = receiver->Wanted(kPiece)) {
    }
    output->Close();
    Report("received", receiver->Received(), start);
  }
  fifo.Terminate();
}

}  // namespace brevant::tool
