#include "virtual/Recording.h"

#include <algorithm>
#include <limits>

namespace brevant::virt {

namespace {

// VCD names a signal by a short code of printable characters, '!' to '~'.
std::string Code(size_t index) {
  constexpr size_t kDigits = '~' - '!' + 1;
  std::string code;
  do {
    code += static_cast<char>('!' + index % kDigits);
    index /= kDigits;
  } while (index > 0);
  return code;
}

// One recorder on its way through the file: where it stands and its next change.
struct Track {
  const PinRecorder* recorder;
  PinRecorder::Reader reader;
  std::vector<std::string> codes;  // per pin bit, empty where not shown
  uint16_t levels = 0;
  bool more = false;
  int64_t nextNs = 0;
  uint16_t next = 0;

  void Advance() { more = reader.Next(nextNs, next); }
  // The values of the pins that differ from `before` (all of them with `all`).
  void Write(std::ostream& out, uint16_t before, bool all) const {
    for (size_t pin = 0; pin < codes.size(); ++pin) {
      if (codes[pin].empty() || (!all && !((levels ^ before) >> pin & 1))) continue;
      out << (levels >> pin & 1) << codes[pin] << '\n';
    }
  }
};

}  // namespace

std::shared_ptr<PinRecorder> Recording::Add(std::string scope, std::vector<std::string> pins) {
  recorders_.push_back(std::make_shared<PinRecorder>(std::move(scope), std::move(pins)));
  return recorders_.back();
}

void Recording::WriteVcd(std::ostream& out, int64_t endNs) const {
  out << "$version Brevant virtual bench $end\n$timescale 1 ns $end\n";
  std::vector<Track> tracks;
  size_t signals = 0;
  for (const auto& recorder : recorders_) {
    if (recorder->Changes() < 2) continue;
    Track& track = tracks.emplace_back(Track{recorder.get(), PinRecorder::Reader(*recorder), {}});
    out << "$scope module " << recorder->Scope() << " $end\n";
    for (const std::string& name : recorder->Pins()) {
      track.codes.push_back(name.empty() ? "" : Code(signals++));
      if (!name.empty()) out << "$var wire 1 " << track.codes.back() << ' ' << name << " $end\n";
    }
    out << "$upscope $end\n";
    endNs = std::max(endNs, recorder->LastNs() + 1);
  }
  out << "$enddefinitions $end\n";
  if (tracks.empty()) return;

  // Each track's first levels are where it stood before anything was seen.
  int64_t startNs = std::numeric_limits<int64_t>::max();
  for (Track& track : tracks) {
    track.Advance();
    track.levels = track.next;
    startNs = std::min(startNs, track.nextNs);
    track.Advance();
  }
  out << '#' << startNs << "\n$dumpvars\n";
  for (const Track& track : tracks) track.Write(out, 0, true);
  out << "$end\n";
  // Merges the tracks by time; each time stamp is written once.
  for (;;) {
    int64_t now = std::numeric_limits<int64_t>::max();
    for (const Track& track : tracks) {
      if (track.more) now = std::min(now, track.nextNs);
    }
    if (now == std::numeric_limits<int64_t>::max()) break;
    out << '#' << now << '\n';
    for (Track& track : tracks) {
      if (!track.more || track.nextNs != now) continue;
      const uint16_t before = track.levels;
      track.levels = track.next;
      track.Write(out, before, false);
      track.Advance();
    }
  }
  out << '#' << endNs << '\n';
}

}  // namespace brevant::virt
