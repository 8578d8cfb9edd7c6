#include "brevant/ErrorBox.h"

#include <cstdio>
#include <mutex>

#include "gateway/Formating.h"


namespace brevant {

namespace {

// The default box goes to standard error, under the default
// title the platform would give it: the library's name.
void DefaultBox(const std::string& text, const std::string& title, int /*flags*/) {
  std::fprintf(stderr, "[%s] %s\n", title.empty() ? kDefaultBoxTitle : title.c_str(), text.c_str());
}

std::mutex presenter_mutex;
MessageBoxPresenter presenter = DefaultBox;

}  // namespace

MessageBoxPresenter SetMessageBoxPresenter(MessageBoxPresenter next) {
  std::lock_guard lock(presenter_mutex);
  MessageBoxPresenter previous = std::move(presenter);
  presenter = next ? std::move(next) : MessageBoxPresenter(DefaultBox);
  return previous;
}

void ErrorBox(const Error& error, const std::string& Title) {
  const std::string text = ErrorText(error.Number(), error.Description());
  MessageBoxPresenter show;
  {
    std::lock_guard lock(presenter_mutex);
    show = presenter;
  }
  try {
    show(text, Title, kMessageBoxCritical);
  } catch (...) {
    // A box that cannot be shown must not replace the error being shown.
  }
}

}  // namespace brevant
