// The Error an action raises; number 0 and empty texts when it raises none.
#pragma once

#include "brevant/Error.h"

namespace brevant::testing {

template <class F>
Error Raised(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    return e;
  }
  return Error(0, "", "");
}

}  // namespace brevant::testing
