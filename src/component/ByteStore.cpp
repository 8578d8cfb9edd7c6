#include "component/ByteStore.h"

#include <mutex>
#include <unordered_map>

namespace brevant::component {

namespace {

// Variants travel between threads, so the store is shared and locked.
std::mutex mutex;
std::unordered_map<const void*, std::vector<uint8_t>>& Kept() {
  static auto* kept = new std::unordered_map<const void*, std::vector<uint8_t>>;
  return *kept;
}

}  // namespace

void* ByteStore::Keep(std::vector<uint8_t>&& bytes) {
  if (bytes.empty()) return nullptr;
  void* data = bytes.data();
  std::lock_guard lock(mutex);
  Kept().emplace(data, std::move(bytes));
  return data;
}

bool ByteStore::Has(const void* data) {
  if (!data) return false;
  std::lock_guard lock(mutex);
  return Kept().contains(data);
}

std::optional<std::vector<uint8_t>> ByteStore::Take(const void* data) {
  if (!data) return std::nullopt;
  std::lock_guard lock(mutex);
  const auto found = Kept().find(data);
  if (found == Kept().end()) return std::nullopt;
  std::vector<uint8_t> bytes = std::move(found->second);
  Kept().erase(found);
  return bytes;
}

bool ByteStore::Free(const void* data) {
  return Take(data).has_value();
}

}  // namespace brevant::component
