// The window of a selection dialog: all the form asks of the window system.
//
// A window is made for one form (see DialogWindows.h), reports the user's doing
// to it through DialogEvents and is destroyed when the form is unloaded.
#pragma once

#include <string>

#include "dialogs/DialogDesign.h"
#include "dialogs/ListControl.h"

namespace brevant {

// Mouse pointers: the default one, and the hourglass shown while scanning.
inline constexpr int kPointerDefault = 0;
inline constexpr int kPointerHourglass = 11;

class DialogWindow {
 public:
  virtual ~DialogWindow() = default;

  virtual ListControl& List() = 0;
  // Shows `text` in the prompt (0) or instruction (1) label, in the window-text
  // colour; a hidden label leaves its place empty.
  virtual void SetPrompt(int element, const std::string& text, bool visible) = 0;
  virtual void EnableOK(bool enabled) = 0;
  virtual void SetMousePointer(int pointer) = 0;
  // Moves and sizes the controls.
  virtual void Arrange(const DialogLayout& layout) = 0;
  virtual bool Minimized() const = 0;
  // The client area, in twips.
  virtual int InnerWidth() const = 0;
  virtual int InnerHeight() const = 0;
  // Shows the window modally, without owner, and returns once it is hidden.
  virtual void ShowModal() = 0;
  virtual void Hide() = 0;
};

}  // namespace brevant
