#include "virtual/FlashFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "virtual/StateFile.h"

namespace brevant::virt {

namespace {

namespace fs = std::filesystem;

constexpr uint32_t kSectorBytes = SpiFlash::kSectorBytes;

SpiFlash::Sector Erased() {
  SpiFlash::Sector sector;
  sector.fill(0xFF);
  return sector;
}

// The bytes of sector `number` as the chip holds them.
const SpiFlash::Sector& Contents(const SpiFlash& flash, uint32_t number) {
  static const SpiFlash::Sector erased = Erased();
  const SpiFlash::Sector* sector = flash.SectorAt(number);
  return sector ? *sector : erased;
}

char* Chars(SpiFlash::Sector& sector) {
  return reinterpret_cast<char*>(sector.data());
}
const char* Chars(const SpiFlash::Sector& sector) {
  return reinterpret_cast<const char*>(sector.data());
}

}  // namespace

FlashFile::FlashFile(std::string path, std::shared_ptr<Channel> owner, SpiFlash& flash)
    : path_(std::move(path)), owner_(std::move(owner)), flash_(&flash) {
  std::error_code error;
  const fs::file_status status = fs::status(path_, error);
  if (fs::exists(status)) {
    if (!fs::is_regular_file(status)) throw StateError(path_ + ": not a regular file");
    const uintmax_t size = fs::file_size(path_, error);
    if (error) throw StateError(path_ + ": cannot read the file: " + error.message());
    if (size != flash.SizeBytes()) {
      throw StateError(path_ + ": " + std::to_string(size) + " bytes, but the flash holds " +
                       std::to_string(flash.SizeBytes()));
    }
    std::ifstream file(path_, std::ios::binary);
    SpiFlash::Sector sector;
    for (uint32_t number = 0; number < flash.SizeBytes() / kSectorBytes; ++number) {
      if (!file.read(Chars(sector), kSectorBytes)) {
        throw StateError(path_ + ": cannot read the file");
      }
      // Erased sectors cost the flash nothing; only the others are loaded.
      if (std::any_of(sector.begin(), sector.end(), [](uint8_t byte) { return byte != 0xFF; })) {
        flash.Load(number * kSectorBytes, sector);
      }
    }
    exists_ = true;
  } else if (error && error != std::errc::no_such_file_or_directory) {
    throw StateError(path_ + ": " + error.message());
  }
  flash.TrackChanges();
}

bool FlashFile::Save() {
  const std::set<uint32_t> changed = flash_->TakeChanges();
  unsaved_.insert(changed.begin(), changed.end());
  if (unsaved_.empty()) return true;
  if (!exists_) return Create();
  // In place and without truncation: the rest of the image stays as it is.
  std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
  // A file that went away is made again from the chip.
  if (!file.is_open()) return Create();
  while (!unsaved_.empty()) {
    const uint32_t number = *unsaved_.begin();
    file.seekp(std::streamoff{number} * kSectorBytes);
    file.write(Chars(Contents(*flash_, number)), kSectorBytes);
    if (!file.flush()) return false;
    unsaved_.erase(unsaved_.begin());
  }
  return true;
}

bool FlashFile::Create() {
  const bool written = ReplaceFile(path_, [this](std::ostream& file) {
    for (uint32_t number = 0; file && number < flash_->SizeBytes() / kSectorBytes; ++number) {
      file.write(Chars(Contents(*flash_, number)), kSectorBytes);
    }
  });
  if (!written) return false;
  exists_ = true;
  unsaved_.clear();
  return true;
}

}  // namespace brevant::virt
