// ErrorBox: shows an error to a person, the one place the library itself does so.
//
// The box is drawn by a replaceable presenter, so the logic runs without a window
// system: the Qt dialogs install a QMessageBox presenter, tests a recording one.
// On Windows the default is the system's message box.
#pragma once

#include <functional>
#include <string>

#include "brevant/Error.h"

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
// default, which writes the box to standard error (on Windows: shows it).
MessageBoxPresenter SetMessageBoxPresenter(MessageBoxPresenter presenter);

// Shows ErrorText of the error. A failure of the display is swallowed: nothing
// reaches the caller, and the error is neither cleared nor raised again.
void ErrorBox(const Error& error, const std::string& Title);

}  // namespace brevant
