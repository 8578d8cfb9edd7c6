// ErrorBox: shows an error to a person, the one place the library itself does so.
//
// A replaceable presenter draws the box, so that a program with a window system
// of its own can show it there. The library's dialogs put theirs in place while
// they are open; the default writes the box to standard error.
#pragma once

#include <functional>
#include <string>

#include "brevant/Error.h"
#include "brevant/Export.h"

namespace brevant {

// Message-box flags value: critical icon with a single OK button.
inline constexpr int kMessageBoxCritical = 16;

// The title of a box shown without one: the library's name.
inline constexpr const char* kDefaultBoxTitle = "Brevant";

// Shows `text` under `title` (empty: the platform's default title) with `flags`,
// and returns when the person has closed it.
using MessageBoxPresenter =
    std::function<void(const std::string& text, const std::string& title, int flags)>;

// Installs a presenter and returns the one it replaces. An empty one restores the
// default, which writes the box to standard error.
BREVANT_EXPORT MessageBoxPresenter SetMessageBoxPresenter(MessageBoxPresenter presenter);

// Shows ErrorText of the error. A failure of the display is swallowed: nothing
// reaches the caller, and the error is neither cleared nor raised again.
BREVANT_EXPORT void ErrorBox(const Error& error, const std::string& Title);

}  // namespace brevant
