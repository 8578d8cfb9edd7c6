#include "SpiCommand.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>
#include <ranges>
#include <vector>

#include "Number.h"
#include "OutputFile.h"
#include "Progress.h"
#include "SerialFlash.h"
#include "ToolError.h"
#include "brevant/clsFTDIMPSSE.h"
#include "gateway/Formating.h"

namespace brevant::tool {

namespace {

// Reads go in pieces this big so that the progress bar moves.
constexpr uint32_t kReadPiece = 16 * 1024;

std::string Hex(uint32_t value, int16_t width) {
  return "0x" + HexText(static_cast<int32_t>(value), width);
}

// The flash's size from the capacity byte of its JEDEC ID: 2 to that power, as
// the common vendors number their parts. An ID of all zeros or all ones means
// that nothing drives DI.
uint64_t CapacityOf(uint32_t id, int16_t device) {
  char shown[16];
  std::snprintf(shown, sizeof shown, "%02X %02X %02X", id >> 16, (id >> 8) & 0xFF, id & 0xFF);
  if (id == 0 || id == 0xFFFFFF) {
    throw ToolError("no SPI flash answers on device " + std::to_string(device) + " (JEDEC ID " +
                    shown + ")");
  }
  const uint32_t capacity = id & 0xFF;
  if (capacity < 8 || capacity > 31) {
    throw ToolError(std::string("JEDEC ID ") + shown + " gives no size that this tool knows");
  }
  return uint64_t{1} << capacity;
}

void CheckRange(uint32_t address, uint64_t length, uint64_t size) {
  if (address + length > size) {
    throw ToolError("the flash holds " + std::to_string(size) + " bytes; " +
                    std::to_string(length) + " from " + Hex(address, 6) + " go beyond it");
  }
}

void ReadRange(SerialFlash& flash, uint32_t address, std::span<uint8_t> into, Progress* progress) {
  for (size_t done = 0; done < into.size(); done += kReadPiece) {
    const size_t piece = std::min<size_t>(kReadPiece, into.size() - done);
    flash.Read(address + static_cast<uint32_t>(done), into.subspan(done, piece));
    if (progress != nullptr) progress->Advance(done + piece);
  }
}

struct WriteCounts {
  int erased = 0;
  int programmed = 0;
};

// One sector to hold `wanted` where it now holds `held`: erased only if some bit
// must rise, then every page programmed that differs from what is there.
void WriteSector(SerialFlash& flash, uint32_t base, std::vector<uint8_t> held,
                 const std::vector<uint8_t>& wanted, WriteCounts& counts) {
  const bool mustErase = std::ranges::any_of(std::views::iota(size_t{0}, held.size()),
                                             [&](size_t i) { return wanted[i] & ~held[i]; });
  if (mustErase) {
    flash.EraseSector(base);
    std::ranges::fill(held, 0xFF);
    ++counts.erased;
  }
  for (uint32_t page = 0; page < SerialFlash::kSectorBytes; page += SerialFlash::kPageBytes) {
    const auto from = wanted.begin() + page;
    if (std::equal(from, from + SerialFlash::kPageBytes, held.begin() + page)) continue;
    flash.ProgramPage(base + page, std::span(from, SerialFlash::kPageBytes));
    ++counts.programmed;
  }
}

void Write(SerialFlash& flash, uint32_t address, const std::vector<uint8_t>& data) {
  WriteCounts counts;
  const uint32_t end = address + static_cast<uint32_t>(data.size());
  {
    Progress progress(data.size());
    for (uint32_t base = address - address % SerialFlash::kSectorBytes; base < end;
         base += SerialFlash::kSectorBytes) {
      std::vector<uint8_t> held(SerialFlash::kSectorBytes);
      flash.Read(base, held);
      // The sector as it should end: what it holds, with the file's part laid on.
      std::vector<uint8_t> wanted = held;
      const uint32_t from = std::max(base, address);
      const uint32_t to = std::min(base + SerialFlash::kSectorBytes, end);
      std::copy(data.begin() + (from - address), data.begin() + (to - address),
                wanted.begin() + (from - base));
      WriteSector(flash, base, std::move(held), wanted, counts);
      progress.Advance(to - address);
    }
  }
  std::vector<uint8_t> back(data.size());
  ReadRange(flash, address, back, nullptr);
  const auto [wrote, read] = std::ranges::mismatch(data, back);
  if (wrote != data.end()) {
    throw ToolError("verify failed at " + Hex(address + (wrote - data.begin()), 6) + ": wrote " +
                    HexText(*wrote, 2) + ", read " + HexText(*read, 2));
  }
  std::cout << data.size() << " bytes written at " << Hex(address, 6) << ": " << counts.erased
            << " sectors erased, " << counts.programmed << " pages programmed, verified\n";
}

}  // namespace

SpiCommand::SpiCommand(CLI::App& app)
    : command_(app.add_subcommand("spi", "a serial NOR flash on an MPSSE channel")) {
  command_->add_option("-d,--device", device_, "device number")->required();
  command_->require_subcommand(1);
  jedec_ = command_->add_subcommand("jedec", "show the flash's JEDEC ID and size");
  read_ = command_->add_subcommand("read", "copy bytes of the flash to a file");
  read_->add_option("address", address_, "first address (decimal or 0x...)")->required();
  read_->add_option("length", length_, "number of bytes")->required();
  read_->add_option("-o,--output", file_, "file to write, - for stdout")->required();
  write_ = command_->add_subcommand("write", "put a file into the flash and verify it");
  write_->add_option("address", address_, "first address (decimal or 0x...)")->required();
  write_->add_option("file", file_, "file to write, - for stdin")->required();
}

void SpiCommand::Run(const std::shared_ptr<icLog>& log) const {
  // Arguments and files first: a mistake there leaves the device untouched.
  const uint32_t address = jedec_->parsed() ? 0 : ParseNumber(address_, "address");
  const uint32_t length = read_->parsed() ? ParseNumber(length_, "length") : 0;
  std::optional<OutputFile> output;
  if (read_->parsed()) output.emplace(file_);
  const std::vector<uint8_t> data = write_->parsed() ? ReadInput(file_) : std::vector<uint8_t>{};

  clsFTDIMPSSE mpsse;
  mpsse.Log(log);
  mpsse.Initialize(device_);
  SerialFlash flash(mpsse);
  const uint32_t id = flash.JedecId();
  const uint64_t size = CapacityOf(id, device_);
  if (jedec_->parsed()) {
    std::printf("JEDEC ID %02X %02X %02X: manufacturer 0x%02X, type 0x%02X, %llu bytes\n", id >> 16,
                (id >> 8) & 0xFF, id & 0xFF, id >> 16, (id >> 8) & 0xFF,
                static_cast<unsigned long long>(size));
  } else if (read_->parsed()) {
    CheckRange(address, length, size);
    std::vector<uint8_t> bytes(length);
    {
      Progress progress(length);
      ReadRange(flash, address, bytes, &progress);
    }
    output->Write(bytes);
    output->Close();
    std::cerr << length << " bytes read from " << Hex(address, 6) << '\n';
  } else {
    CheckRange(address, data.size(), size);
    Write(flash, address, data);
  }
  mpsse.Terminate();
}

}  // namespace brevant::tool
