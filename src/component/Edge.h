// The edge of the C ABI: every exported function runs its body through Guarded,
// which turns whatever is raised into a status and keeps the error per thread.
#pragma once

#include <cstdint>
#include <new>
#include <string>

#include "brevant/Error.h"
#include "brevant/brevant.h"

namespace brevant::component {

// Source of the errors that the surface raises itself.
inline constexpr char kSurface[] = "Brevant";

[[noreturn]] void Fail(int32_t number, const std::string& description);
void KeepError(const Error& error);

template <class F>
int32_t Guarded(F&& body) {
  try {
    body();
    return 0;
  } catch (const Error& e) {
    KeepError(e);
    return e.Number();
  } catch (const std::bad_alloc&) {
    KeepError(Error(BREVANT_E_OUTOFMEMORY, kSurface, "Out of memory"));
  } catch (...) {
    KeepError(Error(BREVANT_E_UNEXPECTED, kSurface, "Unexpected failure"));
  }
  return brevant_error_number();
}

}  // namespace brevant::component
