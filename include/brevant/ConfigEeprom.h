// A part's configuration EEPROM on a device of the driver's list: read whole,
// programmed word by word and verified, erased.
//
//   brevant::ConfigEeprom eeprom;
//   eeprom.Open(0);
//   std::vector<uint16_t> words = eeprom.Read();
//   brevant::EepromImage image = brevant::EepromImage::Decode(eeprom.Part(), words);
//   image.channels[1].type = brevant::ChannelType::kFifo245;
//   eeprom.Program(image.Encode(eeprom.Part(), words));
//
// Any channel of a part reaches its one EEPROM. A new configuration takes
// effect at the part's next power-up or port cycle.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "brevant/EepromImage.h"
#include "brevant/Error.h"
#include "brevant/Export.h"
#include "brevant/icLog.h"

namespace brevant {

class clsFTD2xx;

// "EEPROM programming stopped at word %1 of %2: %3 ...", Source "ConfigEeprom":
// a driver failure while programming, with what was and was not written.
inline constexpr int32_t kErrEepromIncomplete = kObjectErrorBase + 6701;
// "EEPROM verify failed: ...": a word read back differs from the one written.
inline constexpr int32_t kErrEepromVerify = kObjectErrorBase + 6702;

class BREVANT_EXPORT ConfigEeprom {
 public:
  ConfigEeprom();
  // Closes the device if it is open; every error ignored.
  ~ConfigEeprom();
  ConfigEeprom(const ConfigEeprom&) = delete;
  ConfigEeprom& operator=(const ConfigEeprom&) = delete;

  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

  // Opens the device and learns its part from the driver's device type;
  // kErrEepromField for a part without a known layout (the device stays closed).
  void Open(int16_t DeviceNumber);
  void Close();
  EepromPart Part() const { return part_; }

  // Every word of the chip. Its size is what the part needs at least (64
  // words; 128 on the high-speed parts), or 256 when the upper half of a
  // 93C66 differs from the lower, which a smaller chip would only repeat.
  std::vector<uint16_t> Read();
  // Writes the words that differ from the chip's, the checksum word last so
  // that a part cut off midway comes up with its factory defaults, not with
  // half a configuration; then reads every word back. `words` holds the whole
  // chip, as Read gave it. A driver failure raises kErrEepromIncomplete, a word
  // that reads back otherwise kErrEepromVerify. Returns how many words changed.
  int32_t Program(const std::vector<uint16_t>& words);
  // Every word 0xFFFF, verified.
  void Erase();

 private:
  std::unique_ptr<clsFTD2xx> Gateway;
  EepromPart part_ = EepromPart::kFT232R;
};

}  // namespace brevant
