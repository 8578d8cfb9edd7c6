#include "component/Objects.h"

#include <mutex>
#include <unordered_map>

#include "component/Edge.h"

namespace brevant::component {

namespace {

struct Entry {
  LiveObject object;
  int32_t references = 0;
};

struct Table {
  std::mutex mutex;
  std::unordered_map<brevant_object, Entry> entries;
  brevant_object next = 1;
};

// Never destroyed: objects a client still holds at exit are not ended then, as
// their end would call back into a client that may already be gone.
Table& Live() {
  static Table& table = *new Table;
  return table;
}

[[noreturn]] void Unknown(brevant_object object) {
  Fail(BREVANT_E_DISCONNECTED,
       "Object reference " + std::to_string(object) + " is not alive (released or never created)");
}

}  // namespace

brevant_object Objects::Add(const ClassBinding& binding, std::shared_ptr<void> self) {
  Table& table = Live();
  std::lock_guard lock(table.mutex);
  const brevant_object id = table.next++;
  table.entries.emplace(id, Entry{{&binding, std::move(self)}, 1});
  return id;
}

LiveObject Objects::Find(brevant_object object) {
  Table& table = Live();
  std::lock_guard lock(table.mutex);
  auto it = table.entries.find(object);
  if (it == table.entries.end()) Unknown(object);
  return it->second.object;
}

void Objects::AddRef(brevant_object object) {
  Table& table = Live();
  std::lock_guard lock(table.mutex);
  auto it = table.entries.find(object);
  if (it == table.entries.end()) Unknown(object);
  ++it->second.references;
}

void Objects::Release(brevant_object object) {
  Table& table = Live();
  // The object ends outside the lock: its end may close a device and log to a
  // client's sink, which may well call back in here.
  std::shared_ptr<void> ending;
  {
    std::lock_guard lock(table.mutex);
    auto it = table.entries.find(object);
    if (it == table.entries.end()) Unknown(object);
    if (--it->second.references > 0) return;
    ending = std::move(it->second.object.self);
    table.entries.erase(it);
  }
}

size_t Objects::Count() {
  Table& table = Live();
  std::lock_guard lock(table.mutex);
  return table.entries.size();
}

}  // namespace brevant::component
