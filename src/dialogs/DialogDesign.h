// What a selection dialog looks like at design time: caption, client area,
// columns and the place of each control, all measures in twips (1440 an inch).
#pragma once

#include <array>
#include <string>

namespace brevant {

// The controls of a selection dialog, in tab order.
enum class DialogControl { kPrompt, kInstruction, kList, kOK, kCancel, kRefresh };
inline constexpr int kDialogControlCount = 6;

struct ControlRect {
  int Left = 0;
  int Top = 0;
  int Width = 0;
  int Height = 0;
  friend bool operator==(const ControlRect&, const ControlRect&) = default;
};

// Indexed by DialogControl.
using DialogLayout = std::array<ControlRect, kDialogControlCount>;

struct DialogDesign {
  std::string Caption;
  int ClientWidth = 0;
  int ClientHeight = 0;
  std::array<std::string, 4> Headers;
  std::array<int, 4> ColumnWidths{};
  DialogLayout Layout;
};

inline ControlRect& At(DialogLayout& layout, DialogControl control) {
  return layout[static_cast<size_t>(control)];
}
inline const ControlRect& At(const DialogLayout& layout, DialogControl control) {
  return layout[static_cast<size_t>(control)];
}

}  // namespace brevant
