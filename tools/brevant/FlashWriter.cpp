#include "FlashWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <ranges>

#include "Number.h"
#include "OutputFile.h"
#include "ToolError.h"
#include "brevant/Error.h"

namespace brevant::tool {

namespace {

constexpr uint64_t kSector = SerialFlash::kSectorBytes;
constexpr uint64_t kPage = SerialFlash::kPageBytes;

// [from, to) as people write it: first and last address.
std::string Span(uint64_t from, uint64_t to) {
  return AddressText(from) + "-" + AddressText(to - 1);
}

// The text a failure shows a person, whichever kind it is.
template <class Job>
std::optional<std::string> FailureOf(Job job) {
  try {
    job();
    return std::nullopt;
  } catch (const Error& e) {
    return e.what();
  } catch (const ToolError& e) {
    return std::string("brevant: ") + e.what();
  }
}

}  // namespace

FlashWriter::FlashWriter(FlashLink& link, std::string input, std::string device)
    : link_(link), input_(std::move(input)), device_(std::move(device)) {}

FlashWriter::Counts FlashWriter::Write(uint64_t address, std::span<const uint8_t> data,
                                       Progress& progress) {
  Counts counts;
  const uint64_t end = address + data.size();
  uint64_t done = address;
  for (uint64_t base = address - address % kSector; base < end; base += kSector) {
    Sector sector{.base = base, .held = std::vector<uint8_t>(kSector), .wanted = {}};
    const auto failure = FailureOf([&] {
      link_.Flash().Read(base, sector.held);
      // The sector as it should end: what it holds, with the data's part laid on.
      sector.wanted = sector.held;
      const uint64_t from = std::max(base, address);
      const uint64_t to = std::min(base + kSector, end);
      std::copy(data.begin() + static_cast<ptrdiff_t>(from - address),
                data.begin() + static_cast<ptrdiff_t>(to - address),
                sector.wanted.begin() + static_cast<ptrdiff_t>(from - base));
      WriteSector(sector, counts);
    });
    if (failure) Stopped(*failure, address, end, done, sector);
    done = std::min(base + kSector, end);
    progress.Advance(done - address);
  }
  return counts;
}

void FlashWriter::WriteSector(Sector& sector, Counts& counts) {
  SerialFlash& flash = link_.Flash();
  const bool mustErase =
      std::ranges::any_of(std::views::iota(size_t{0}, sector.held.size()),
                          [&](size_t i) { return (sector.wanted[i] & ~sector.held[i]) != 0; });
  std::vector<uint8_t> now = sector.held;
  if (mustErase) {
    // From the moment the erase is sent, this process holds the only copy of
    // the sector's other bytes.
    sector.erased = true;
    flash.EraseSector(sector.base);
    std::ranges::fill(now, 0xFF);
    ++counts.erased;
  }
  for (uint64_t page = 0; page < kSector; page += kPage) {
    const auto wanted = std::span(sector.wanted).subspan(page, kPage);
    if (std::ranges::equal(wanted, std::span(now).subspan(page, kPage))) continue;
    flash.ProgramPage(sector.base + page, wanted);
    ++counts.programmed;
  }
}

std::optional<std::string> FlashWriter::Repair(const Sector& sector) {
  return FailureOf([&] {
    link_.Reopen();
    Sector again{
        .base = sector.base, .held = std::vector<uint8_t>(kSector), .wanted = sector.wanted};
    link_.Flash().Read(sector.base, again.held);
    Counts ignored;
    WriteSector(again, ignored);
    std::vector<uint8_t> back(kSector);
    link_.Flash().Read(sector.base, back);
    if (back != sector.wanted) throw ToolError("the sector reads back wrong");
  });
}

std::optional<std::filesystem::path> FlashWriter::SaveRecovery(const Sector& sector) const {
  namespace fs = std::filesystem;
  const fs::path input = input_ == "-" ? fs::path("stdin") : fs::path(input_);
  const std::string name = input.filename().string() + ".recovery-" + AddressText(sector.base);
  // Beside the input if its folder takes files, else here, else the temporary folder.
  std::vector<fs::path> folders{input_ == "-" ? fs::path() : input.parent_path()};
  if (!folders.front().empty()) folders.emplace_back();
  const char* temporary = std::getenv("TMPDIR");
  folders.push_back(temporary && *temporary ? temporary : "/tmp");
  for (const fs::path& folder : folders) {
    for (int n = 1; n < 100; ++n) {
      const fs::path path = folder / (name + (n == 1 ? "" : "-" + std::to_string(n)) + ".bin");
      // Never over a file that is there: it may be an earlier run's recovery.
      if (fs::exists(path)) continue;
      try {
        OutputFile file(path.string());
        file.Write(sector.held);
        file.Close();
        return path;
      } catch (const ToolError&) {
        break;  // this folder takes no file; try the next
      }
    }
  }
  return std::nullopt;
}

void FlashWriter::Stopped(const std::string& cause, uint64_t address, uint64_t end, uint64_t done,
                          const Sector& sector) {
  std::cerr << cause << '\n';
  const std::string head = "spi write stopped at " + AddressText(sector.base) + ": ";
  const std::string again = " Run the same command again to finish.";
  const std::string written = done > address ? Span(address, done) + " written, " : "";
  if (!sector.erased) {
    throw ToolError(head + written + Span(done, end) +
                    " not or only partly written; nothing outside that range was changed." + again);
  }
  const auto repairFailure = Repair(sector);
  if (!repairFailure) {
    const uint64_t to = std::min(sector.base + kSector, end);
    throw ToolError(head + "that sector was written again from scratch, so nothing outside " +
                    Span(address, end) + " was changed; " + Span(address, to) + " written" +
                    (to < end ? ", " + Span(to, end) + " not yet." : ".") + again);
  }
  std::cerr << *repairFailure << '\n';
  // The bytes of the sector that are not the data's own.
  std::string atRisk;
  const uint64_t from = std::max(sector.base, address);
  const uint64_t to = std::min(sector.base + kSector, end);
  if (from > sector.base) atRisk = Span(sector.base, from);
  if (to < sector.base + kSector) {
    atRisk += (atRisk.empty() ? "" : " and ") + Span(to, sector.base + kSector);
  }
  const std::string lost = head + "the sector " + Span(sector.base, sector.base + kSector) +
                           " was erased and could not be written again, so " + atRisk +
                           " (outside the range written) may have lost their old contents";
  const auto saved = SaveRecovery(sector);
  if (!saved) {
    throw ToolError(lost + ", and no recovery file could be written for them.");
  }
  throw ToolError(lost + "; those are saved in " + saved->string() +
                  ". Put them back with `brevant spi -d " + device_ + " write " +
                  AddressText(sector.base) + " " + saved->string() +
                  "`, then run this write again.");
}

}  // namespace brevant::tool
