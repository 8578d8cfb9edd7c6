#include "brevant/Error.h"

#include "gateway/Formating.h"

namespace brevant {

Error::Error(int32_t number, std::string source, std::string description)
    : std::runtime_error(ErrorText(number, description)),
      number_(number),
      source_(std::move(source)),
      description_(std::move(description)) {}

Error Error::Generic(int32_t number, const std::string& className) {
  const char* text = "Application-defined or object-defined error";
  switch (number) {
    case kErrOverflow:
      text = "Overflow";
      break;
    case kErrSubscriptOutOfRange:
      text = "Subscript out of range";
      break;
    case kErrDivisionByZero:
      text = "Division by zero";
      break;
    default:
      break;
  }
  return Error(number, "Brevant." + className, text);
}

}  // namespace brevant
