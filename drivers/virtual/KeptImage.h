// A memory that a state directory keeps as one file (see EepromFile): its
// contents as bytes, given out and taken back whole.
#pragma once

#include <cstdint>
#include <vector>

namespace brevant::virt {

class KeptImage {
 public:
  virtual ~KeptImage() = default;
  virtual std::vector<uint8_t> Bytes() const = 0;
  // Takes exactly as many bytes as Bytes gives.
  virtual void Load(const std::vector<uint8_t>& bytes) = 0;
  // True once the contents changed since the last call.
  virtual bool TakeChanged() = 0;
};

}  // namespace brevant::virt
