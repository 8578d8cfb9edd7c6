#include "dialogs/win32/ListViewControl.h"

#include <commctrl.h>

#include "brevant/Error.h"
#include "platform/win32/WideText.h"

namespace brevant {

void ListViewControl::CheckRow(int row) const {
  if (row < 0 || static_cast<size_t>(row) >= tags_.size()) {
    throw Error::Generic(kErrSubscriptOutOfRange, "ListViewControl");
  }
}

void ListViewControl::SetState(int row, UINT state, UINT mask) {
  LVITEMW item{};
  item.stateMask = mask;
  item.state = state;
  SendMessageW(list_, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void ListViewControl::Clear() {
  SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
  tags_.clear();
}

int ListViewControl::Add(const std::string& text) {
  std::wstring wide = WideText(text);
  LVITEMW item{};
  item.mask = LVIF_TEXT;
  item.iItem = static_cast<int>(tags_.size());
  item.pszText = wide.data();
  const auto row =
      static_cast<int>(SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
  if (row < 0) throw Error::Generic(kErrSubscriptOutOfRange, "ListViewControl");
  tags_.emplace_back();
  return row;
}

void ListViewControl::SetSubItem(int row, int column, const std::string& text) {
  CheckRow(row);
  std::wstring wide = WideText(text);
  LVITEMW item{};
  item.iSubItem = column;
  item.pszText = wide.data();
  SendMessageW(list_, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void ListViewControl::SetTag(int row, const std::string& tag) {
  CheckRow(row);
  tags_[static_cast<size_t>(row)] = tag;
}

std::string ListViewControl::Tag(int row) const {
  CheckRow(row);
  return tags_[static_cast<size_t>(row)];
}

int ListViewControl::FindItem(const std::string& tag) const {
  for (size_t row = 0; row < tags_.size(); ++row) {
    if (tags_[row] == tag) return static_cast<int>(row);
  }
  return -1;
}

// The current row is the one with the focus; the highlight may have been taken
// off it.
int ListViewControl::SelectedItem() const {
  return static_cast<int>(
      SendMessageW(list_, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), MAKELPARAM(LVNI_FOCUSED, 0)));
}

void ListViewControl::SetSelectedItem(int row) {
  constexpr UINT kCurrent = LVIS_FOCUSED | LVIS_SELECTED;
  if (row < 0) {
    SetState(-1, 0, kCurrent);
    return;
  }
  CheckRow(row);
  SetState(row, kCurrent, kCurrent);
  SendMessageW(list_, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
}

void ListViewControl::Deselect(int row) {
  CheckRow(row);
  SetState(row, 0, LVIS_SELECTED);
}

}  // namespace brevant
