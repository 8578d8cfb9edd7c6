// The list control of the Qt view: a QTreeWidget with one top-level item a row.
#pragma once

#include <QTreeWidget>

#include "dialogs/ListControl.h"

namespace brevant {

class TreeListControl : public ListControl {
 public:
  explicit TreeListControl(QTreeWidget& tree) : tree_(tree) {}

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
  QTreeWidgetItem& Item(int row) const;

  QTreeWidget& tree_;
};

}  // namespace brevant
