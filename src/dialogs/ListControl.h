// The list with columns that a selection dialog fills: all the form asks of it.
//
// A row is named by its position among the rows now shown; -1 stands for no row.
// The control only shows rows and reports what the user does with them, so the
// selection logic runs as well against a fake in a test as against a widget.
#pragma once

#include <string>

namespace brevant {

class ListControl {
 public:
  virtual ~ListControl() = default;

  // Removes every row.
  virtual void Clear() = 0;
  // Appends a row showing `text` in column 1 and returns it.
  virtual int Add(const std::string& text) = 0;
  // Sets the text of column `column` + 1 of a row, `column` from 1 to 3.
  virtual void SetSubItem(int row, int column, const std::string& text) = 0;
  // A value the row carries for the form, kept as text.
  virtual void SetTag(int row, const std::string& tag) = 0;
  virtual std::string Tag(int row) const = 0;
  // The first row whose tag is exactly `tag`, or -1.
  virtual int FindItem(const std::string& tag) const = 0;
  // The current (highlighted) row, or -1.
  virtual int SelectedItem() const = 0;
  // Makes a row current and highlights it; -1 leaves no current row.
  virtual void SetSelectedItem(int row) = 0;
  // Removes a row's highlight.
  virtual void Deselect(int row) = 0;
};

}  // namespace brevant
