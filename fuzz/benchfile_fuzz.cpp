// Arbitrary text as a bench file: it is either a bench or refused with a
// BenchFileError; anything else escaping is a defect.
#include <cstddef>
#include <cstdint>
#include <string>

#include "virtual/BenchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    brevant::virt::LoadBenchText(std::string(reinterpret_cast<const char*>(data), size), "fuzz");
  } catch (const brevant::virt::BenchFileError&) {
  }
  return 0;
}
