// An EEPROM kept in a file across processes, as FlashFile keeps a flash: the
// whole image (a part's configuration EEPROM low byte of each word first, an
// I2C EEPROM byte by byte). A missing file is the contents the chip came with,
// and is made at the first change.
#pragma once

#include <memory>
#include <string>

#include "virtual/KeptImage.h"

namespace brevant::virt {

class EepromFile {
 public:
  // Loads `eeprom` from `path`; throws StateError naming the path when the file
  // cannot be read or is not an image of this chip.
  EepromFile(std::string path, std::shared_ptr<KeptImage> eeprom);

  // Writes the image if it changed; false if it could not be written, and then
  // it is tried again at the next call.
  bool Save();

 private:
  std::string path_;
  std::shared_ptr<KeptImage> eeprom_;
  bool unsaved_ = false;
};

}  // namespace brevant::virt
