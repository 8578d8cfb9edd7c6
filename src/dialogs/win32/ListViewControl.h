// The list control of the Win32 view: a list view in report mode, one item a
// row. Rows are only appended or all cleared, so the tags are kept here in row
// order rather than in the items.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "dialogs/ListControl.h"

namespace brevant {

class ListViewControl : public ListControl {
 public:
  void Attach(HWND list) { list_ = list; }

  void Clear() override;
  int Add(const std::string& text) override;
  void SetSubItem(int row, int column, const std::string& text) override;
  void SetTag(int row, const std::string& tag) override;
  std::string Tag(int row) const override;
  int FindItem(const std::string& tag) const override;
  int SelectedItem() const override;
  void SetSelectedItem(int row) override;
  void Deselect(int row) override;

 private:
  void CheckRow(int row) const;
  void SetState(int row, UINT state, UINT mask);

  HWND list_ = nullptr;
  std::vector<std::string> tags_;
};

}  // namespace brevant
