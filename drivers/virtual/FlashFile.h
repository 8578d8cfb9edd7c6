// One SPI flash's memory kept in a file, so that consecutive processes see one
// chip. The file holds the whole image, byte for byte as the chip reads; a
// missing file is an erased chip and is made at the first change.
//
//   FlashFile file("state/BV22H001A.flash", bench->SharedDevice(0), *flash);
//   ... driver calls change the flash ...
//   if (!file.Save()) return ft::kIoError;
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "virtual/Channel.h"
#include "virtual/mpsse/SpiFlash.h"

namespace brevant::virt {

// A state directory or file that cannot serve; the text names the path.
class StateError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class FlashFile {
 public:
  // Loads `flash` from `path` and starts tracking its changes. `owner` is the
  // channel the flash is wired to: held so that a device unplugged from the list
  // keeps its memory until the file has it. Throws StateError for a path that is
  // no regular file, a file of another size than the flash, or one that cannot
  // be read.
  FlashFile(std::string path, std::shared_ptr<Channel> owner, SpiFlash& flash);

  // Writes the sectors changed since the last save, each in place. False when
  // something could not be written; those sectors are tried again next time.
  bool Save();

 private:
  // Writes the whole image to a new file and renames it into place, so that a
  // process killed meanwhile leaves no file, which still means an erased chip.
  bool Create();

  std::string path_;
  std::shared_ptr<Channel> owner_;
  SpiFlash* flash_;
  bool exists_ = false;
  std::set<uint32_t> unsaved_;  // sector numbers
};

}  // namespace brevant::virt
