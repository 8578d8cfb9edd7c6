// The memory of the byte arrays that variants hold, kept as vectors so that a
// call can lend a client's buffer to a member as a ByteArray and take it back,
// with no copy either way. A client sees plain pointers; it builds arrays with
// brevant_variant_set_array and frees them with brevant_variant_clear.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace brevant::component {

class ByteStore {
 public:
  // Keeps `bytes` and gives the address of its first element (null for none).
  static void* Keep(std::vector<uint8_t>&& bytes);
  // True when Keep kept `data`.
  static bool Has(const void* data);
  // The vector at `data`, no longer kept; nothing for memory kept elsewhere.
  static std::optional<std::vector<uint8_t>> Take(const void* data);
  // Frees what Keep kept at `data`; false for memory kept elsewhere.
  static bool Free(const void* data);
};

}  // namespace brevant::component
