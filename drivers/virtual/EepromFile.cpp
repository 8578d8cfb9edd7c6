#include "virtual/EepromFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "virtual/FlashFile.h"
#include "virtual/StateFile.h"

namespace brevant::virt {

namespace fs = std::filesystem;

EepromFile::EepromFile(std::string path, std::shared_ptr<KeptImage> eeprom)
    : path_(std::move(path)), eeprom_(std::move(eeprom)) {
  std::error_code error;
  if (!fs::exists(path_, error)) return;
  std::ifstream file(path_, std::ios::binary);
  const std::vector<uint8_t> image((std::istreambuf_iterator<char>(file)), {});
  const size_t bytes = eeprom_->Bytes().size();
  if (!file.is_open() || image.size() != bytes) {
    throw StateError(path_ + ": not an image of a " + std::to_string(bytes) + "-byte EEPROM");
  }
  eeprom_->Load(image);
}

bool EepromFile::Save() {
  unsaved_ = eeprom_->TakeChanged() || unsaved_;
  if (!unsaved_) return true;
  const std::vector<uint8_t> image = eeprom_->Bytes();
  unsaved_ = !ReplaceFile(path_, [&image](std::ostream& file) {
    file.write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
  });
  return !unsaved_;
}

}  // namespace brevant::virt
