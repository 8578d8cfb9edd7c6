#include "SpiCommand.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>
#include <vector>

#include "FlashLink.h"
#include "FlashWriter.h"
#include "Number.h"
#include "OutputFile.h"
#include "Progress.h"
#include "ToolError.h"
#include "brevant/Error.h"

namespace brevant::tool {

namespace {

std::string Megahertz(double hz) {
  char text[32];
  std::snprintf(text, sizeof text, "%g MHz", hz / 1e6);
  return text;
}

// The first address where the flash differs from `data`, and how many bytes differ.
struct Difference {
  uint64_t first = 0;
  uint64_t count = 0;
  uint8_t wrote = 0;
  uint8_t read = 0;
};

std::optional<Difference> Compare(SerialFlash& flash, uint64_t address,
                                  std::span<const uint8_t> data) {
  std::vector<uint8_t> back(data.size());
  flash.Read(address, back);
  std::optional<Difference> found;
  for (size_t i = 0; i < data.size(); ++i) {
    if (data[i] == back[i]) continue;
    if (!found) found = Difference{address + i, 0, data[i], back[i]};
    ++found->count;
  }
  return found;
}

[[noreturn]] void Mismatch(const Difference& d, const std::string& what) {
  char detail[96];
  std::snprintf(detail, sizeof detail, ": %llu bytes differ, the first at %s (%s %02X, flash %02X)",
                static_cast<unsigned long long>(d.count), AddressText(d.first).c_str(),
                what.c_str(), d.wrote, d.read);
  throw ToolError(std::string("verify failed") + detail, ExitStatus::kMismatch);
}

// What `file` holds for the flash from `address`: a regular file's `size`,
// known before it is read, must fit; any other input is read no further than
// the flash reaches.
std::vector<uint8_t> FlashInput(const FlashGeometry& geometry, uint64_t address,
                                const std::string& file, std::optional<uint64_t> size) {
  geometry.CheckRange(address, size.value_or(1));
  std::vector<uint8_t> data = ReadInput(file, geometry.sizeBytes - address);
  geometry.CheckRange(address, data.size());
  return data;
}

void Report(const char* what, uint64_t bytes, uint64_t address, const FlashWriter::Counts& counts) {
  std::cout << bytes << " bytes " << what << " at " << AddressText(address) << ": " << counts.erased
            << " sectors erased, " << counts.programmed << " pages programmed, verified\n";
}

}  // namespace

SpiCommand::SpiCommand(CLI::App& app)
    : command_(app.add_subcommand("spi", "a serial NOR flash on an MPSSE channel")),
      device_(*command_) {
  command_
      ->add_option("-f,--frequency", frequency_,
                   "SPI clock in Hz, at most (default 30e6: the fastest the part makes up "
                   "to 30 MHz)")
      ->check(Frequency());
  command_->require_subcommand(1);
  jedec_ = command_->add_subcommand("jedec", "show the flash's JEDEC ID, size and addressing");
  read_ = command_->add_subcommand("read", "copy bytes of the flash to a file");
  read_->add_option("address", address_, "first address (decimal or 0x...)")->required();
  read_->add_option("length", length_, "number of bytes")->required();
  auto* file = read_->add_option("file", file_, "file to write, - for stdout");
  read_->add_option("-o,--output", output_, "the same, as an option")->excludes(file);
  write_ = command_->add_subcommand("write", "put a file into the flash and verify it");
  write_->add_option("address", address_, "first address (decimal or 0x...)")->required();
  write_->add_option("file", file_, "file to write, - for stdin")->required();
  erase_ = command_->add_subcommand("erase", "set a range, or the whole flash, to 0xFF");
  erase_->add_option("address", address_, "first address (decimal or 0x...)");
  erase_->add_option("length", length_, "number of bytes");
  erase_->add_flag("--all", all_, "the whole flash");
  verify_ = command_->add_subcommand("verify", "compare the flash with a file");
  verify_->add_option("address", address_, "first address (decimal or 0x...)")->required();
  verify_->add_option("file", file_, "file to compare, - for stdin")->required();
}

void SpiCommand::Run(const std::shared_ptr<icLog>& log) const {
  if (jedec_->parsed()) Jedec(log);
  if (read_->parsed()) Read(log);
  if (write_->parsed()) Write(log);
  if (erase_->parsed()) Erase(log);
  if (verify_->parsed()) Verify(log);
}

void SpiCommand::Jedec(const std::shared_ptr<icLog>& log) const {
  FlashLink link(device_.Resolve(log), frequency_, log);
  const FlashGeometry& g = link.Geometry();
  const uint32_t id = g.jedecId;
  std::printf(
      "JEDEC ID %02X %02X %02X: manufacturer 0x%02X, type 0x%02X, %llu bytes (from the %s), "
      "%d-byte addresses, SPI clock %s\n",
      id >> 16, (id >> 8) & 0xFF, id & 0xFF, id >> 16, (id >> 8) & 0xFF,
      static_cast<unsigned long long>(g.sizeBytes), g.source.c_str(), g.fourByteAddresses ? 4 : 3,
      Megahertz(link.Flash().ClockHz()).c_str());
  link.Close();
}

void SpiCommand::Read(const std::shared_ptr<icLog>& log) const {
  // Arguments and the output file first: a mistake there leaves the device untouched.
  const uint64_t address = ParseNumber(address_, "address");
  const uint64_t length = ParseNumber(length_, "length");
  const std::string path = output_.empty() ? file_ : output_;
  if (path.empty()) throw CLI::RequiredError("file (or -o)");
  OutputFile output(path);

  FlashLink link(device_.Resolve(log), frequency_, log);
  link.Geometry().CheckRange(address, length);
  SerialFlash& flash = link.Flash();
  {
    Progress progress(length);
    std::vector<uint8_t> piece(flash.ReadPiece());
    for (uint64_t done = 0; done < length; done += piece.size()) {
      piece.resize(std::min<uint64_t>(piece.size(), length - done));
      flash.Read(address + done, piece);
      output.Write(piece);
      progress.Advance(done + piece.size());
    }
  }
  link.Close();
  output.Close();
  std::cerr << length << " bytes read from " << AddressText(address) << '\n';
}

void SpiCommand::Write(const std::shared_ptr<icLog>& log) const {
  const uint64_t address = ParseNumber(address_, "address");
  // The size of a file is known before anything is read: an empty one is
  // refused before the device is opened, one too large for the flash before
  // anything is erased. Other inputs are read up to what fits.
  const std::optional<uint64_t> size = InputSize(file_);
  if (size == 0) throw ToolError(file_ + " is empty: there is nothing to write");
  FlashLink link(device_.Resolve(log), frequency_, log);
  const std::vector<uint8_t> data = FlashInput(link.Geometry(), address, file_, size);
  if (data.empty()) throw ToolError(file_ + " is empty: there is nothing to write");

  FlashWriter writer(link, file_, std::to_string(link.Device()));
  FlashWriter::Counts counts;
  {
    Progress progress(data.size());
    counts = writer.Write(address, data, progress);
  }
  std::optional<Difference> difference;
  try {
    difference = Compare(link.Flash(), address, data);
  } catch (const Error& e) {
    std::cerr << e.what() << '\n';
    throw ToolError(
        "spi write finished, but reading it back failed: check it with `brevant spi "
        "-d " +
        std::to_string(link.Device()) + " verify " + AddressText(address) + " " + file_ + "`");
  }
  if (difference) Mismatch(*difference, "wrote");
  link.Close();
  Report("written", data.size(), address, counts);
}

void SpiCommand::Erase(const std::shared_ptr<icLog>& log) const {
  const bool range = !address_.empty() && !length_.empty();
  if (all_ ? !address_.empty() : !range) {
    throw CLI::ValidationError("erase", "give ADDR LEN, or --all");
  }
  const uint64_t address = all_ ? 0 : ParseNumber(address_, "address");
  const uint64_t wanted = all_ ? 0 : ParseNumber(length_, "length");
  FlashLink link(device_.Resolve(log), frequency_, log);
  const uint64_t length = all_ ? link.Geometry().sizeBytes : wanted;
  link.Geometry().CheckRange(address, length);
  const std::vector<uint8_t> erased(length, 0xFF);
  FlashWriter writer(link, "erase", std::to_string(link.Device()));
  FlashWriter::Counts counts;
  {
    Progress progress(length);
    counts = writer.Write(address, erased, progress);
  }
  if (const auto difference = Compare(link.Flash(), address, erased))
    Mismatch(*difference, "erased");
  link.Close();
  Report("erased", length, address, counts);
}

void SpiCommand::Verify(const std::shared_ptr<icLog>& log) const {
  const uint64_t address = ParseNumber(address_, "address");
  const std::optional<uint64_t> size = InputSize(file_);
  FlashLink link(device_.Resolve(log), frequency_, log);
  const std::vector<uint8_t> data = FlashInput(link.Geometry(), address, file_, size);
  const auto difference = Compare(link.Flash(), address, data);
  link.Close();
  if (difference) Mismatch(*difference, "file");
  std::cout << data.size() << " bytes at " << AddressText(address) << " match " << file_ << '\n';
}

}  // namespace brevant::tool
