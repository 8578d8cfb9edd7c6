#include "component/Edge.h"

namespace brevant::component {

namespace {

struct LastError {
  int32_t number = 0;
  std::string source;
  std::string description;
};

// Each thread sees the error of its own last failed call only.
thread_local LastError last;

}  // namespace

void Fail(int32_t number, const std::string& description) {
  throw Error(number, kSurface, description);
}

void KeepError(const Error& error) {
  last = {error.Number(), error.Source(), error.Description()};
}

}  // namespace brevant::component

using brevant::component::last;

extern "C" {

BREVANT_API int32_t brevant_error_number(void) {
  return last.number;
}
BREVANT_API const char* brevant_error_source(void) {
  return last.source.c_str();
}
BREVANT_API const char* brevant_error_description(void) {
  return last.description.c_str();
}
}
