#include "brevant/Process.h"

#include "brevant/brevant.h"

namespace brevant {

// The numbers come from the version block, the one place that holds them.
int16_t Process::Major() const {
  return static_cast<int16_t>(brevant_version.file_version[0]);
}
int16_t Process::Minor() const {
  return static_cast<int16_t>(brevant_version.file_version[1]);
}
int16_t Process::Revision() const {
  return static_cast<int16_t>(brevant_version.file_version[3]);
}

}  // namespace brevant
