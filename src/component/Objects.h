// The live objects behind the references a client holds.
//
// A reference is a number, never reused, so a released or made-up one is refused
// with a status instead of reaching freed memory. Each entry counts the client's
// references; the C++ object itself is shared, so a call in progress keeps it
// alive even when another thread drops the last reference meanwhile.
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/brevant.h"

namespace brevant::component {

struct ClassBinding;

struct LiveObject {
  const ClassBinding* binding = nullptr;
  std::shared_ptr<void> self;
};

class Objects {
 public:
  // A new reference, counted once.
  static brevant_object Add(const ClassBinding& binding, std::shared_ptr<void> self);
  // Raises the disconnected status for a reference that is not alive.
  static LiveObject Find(brevant_object object);
  static void AddRef(brevant_object object);
  static void Release(brevant_object object);
  // Objects alive, class factories included.
  static size_t Count();
};

}  // namespace brevant::component
