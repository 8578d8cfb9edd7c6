#include "dialogs/qt/TreeListControl.h"

#include "brevant/Error.h"

namespace brevant {

namespace {

// Tags live beside column 1's text, out of sight.
constexpr int kTagRole = Qt::UserRole;

QString Text(const std::string& text) {
  return QString::fromStdString(text);
}

}  // namespace

QTreeWidgetItem& TreeListControl::Item(int row) const {
  QTreeWidgetItem* item = tree_.topLevelItem(row);
  if (item == nullptr) throw Error::Generic(kErrSubscriptOutOfRange, "TreeListControl");
  return *item;
}

void TreeListControl::Clear() {
  tree_.clear();
}

int TreeListControl::Add(const std::string& text) {
  auto* item = new QTreeWidgetItem(QStringList{Text(text)});
  tree_.addTopLevelItem(item);
  return tree_.indexOfTopLevelItem(item);
}

void TreeListControl::SetSubItem(int row, int column, const std::string& text) {
  Item(row).setText(column, Text(text));
}

void TreeListControl::SetTag(int row, const std::string& tag) {
  Item(row).setData(0, kTagRole, Text(tag));
}

std::string TreeListControl::Tag(int row) const {
  return Item(row).data(0, kTagRole).toString().toStdString();
}

int TreeListControl::FindItem(const std::string& tag) const {
  const QString wanted = Text(tag);
  for (int row = 0; row < tree_.topLevelItemCount(); ++row) {
    if (tree_.topLevelItem(row)->data(0, kTagRole).toString() == wanted) return row;
  }
  return -1;
}

int TreeListControl::SelectedItem() const {
  QTreeWidgetItem* item = tree_.currentItem();
  return item == nullptr ? -1 : tree_.indexOfTopLevelItem(item);
}

void TreeListControl::SetSelectedItem(int row) {
  if (row < 0) {
    tree_.setCurrentItem(nullptr);
    return;
  }
  QTreeWidgetItem& item = Item(row);
  tree_.setCurrentItem(&item);
  item.setSelected(true);
}

void TreeListControl::Deselect(int row) {
  Item(row).setSelected(false);
}

}  // namespace brevant
