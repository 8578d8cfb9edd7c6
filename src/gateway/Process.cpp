#include "brevant/Process.h"

#include "brevant/Version.h"

namespace brevant {

int16_t Process::Major() const {
  return version::kMajor;
}
int16_t Process::Minor() const {
  return version::kMinor;
}
int16_t Process::Revision() const {
  return version::kRevision;
}

}  // namespace brevant
