// A part's configuration EEPROM (a 93C46, 93C56 or 93C66 beside the chip), as
// the vendor's EEPROM requests read and write it word by word.
//
// At power-up it holds what the factory programs, in the chips' layout: vendor
// and product id, release, power, and the manufacturer, product and serial
// strings as USB string descriptors, with the checksum in the last word of the
// area the chip checks. An address beyond the chip wraps round, as the chip
// ignores the address bits it lacks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "virtual/KeptImage.h"

namespace brevant::virt {

class ChipEeprom : public KeptImage {
 public:
  // What the part reports on USB; `words` is 64, 128 or 256.
  struct Identity {
    uint16_t product = 0;
    uint16_t release = 0;
    std::string manufacturer;
    std::string description;
    std::string serialNumber;
  };
  ChipEeprom(size_t words, const Identity& identity);

  uint16_t ReadWord(unsigned address) const { return words_[address % words_.size()]; }
  void WriteWord(unsigned address, uint16_t value);
  // Every word 0xFFFF, as an erased chip reads.
  void Erase();
  size_t Words() const { return words_.size(); }

  // The contents as bytes, low byte of each word first, and back; Load takes
  // exactly Words() * 2 bytes.
  std::vector<uint8_t> Bytes() const override;
  void Load(const std::vector<uint8_t>& bytes) override;
  // True once a write or erase changed the contents since the last call.
  bool TakeChanged() override;

  // The checksum of words 0 to `count` - 2, which the chip keeps in word
  // `count` - 1: 64 words on a 93C46, 128 on the larger ones.
  static uint16_t Checksum(const std::vector<uint16_t>& words, size_t count);

 private:
  std::vector<uint16_t> words_;
  bool changed_ = false;
};

}  // namespace brevant::virt
