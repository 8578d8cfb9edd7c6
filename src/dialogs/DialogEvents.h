// What the user does in a selection dialog, as its window reports it to the form.
// The window calls these on the form's thread; each returns before the next.
#pragma once

namespace brevant {

class DialogEvents {
 public:
  virtual ~DialogEvents() = default;

  // The user made `row` of the list the current row.
  virtual void ItemClick(int row) = 0;
  // A double click in the list.
  virtual void DblClick() = 0;
  // A key released while the list had the focus; `shift` holds 1 for Shift,
  // 2 for Ctrl and 4 for Alt.
  virtual void KeyUp(int keyCode, int shift) = 0;
  // The buttons, by the mouse or by their keys (Enter presses OK, Esc and the
  // window's close box press Cancel).
  virtual void OKClick() = 0;
  virtual void CancelClick() = 0;
  virtual void RefreshClick() = 0;
  // The window changed its size or state.
  virtual void Resize() = 0;
};

}  // namespace brevant
