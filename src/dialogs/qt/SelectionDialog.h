// The Qt Widgets window of a selection dialog: labels, a QTreeWidget as the
// list, OK (default button), Cancel (Esc, close box) and Refresh, placed in
// twips at 15 to the pixel. While it exists ErrorBox shows a critical
// QMessageBox over it.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <array>
#include <memory>

#include "brevant/ErrorBox.h"
#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"
#include "dialogs/qt/TreeListControl.h"

namespace brevant {

// Makes a QApplication when the client has none, for as long as it lives. A
// base of SelectionDialog placed before QDialog, so it is built before any
// widget and destroyed after the last one.
class ApplicationOnDemand {
 protected:
  ApplicationOnDemand();
  ~ApplicationOnDemand();

 private:
  std::unique_ptr<QApplication> app_;
};

class SelectionDialog : private ApplicationOnDemand, public QDialog, public DialogWindow {
 public:
  SelectionDialog(const DialogDesign& design, DialogEvents& events);
  ~SelectionDialog() override;

  ListControl& List() override { return list_; }
  void SetPrompt(int element, const std::string& text, bool visible) override;
  void EnableOK(bool enabled) override;
  void SetMousePointer(int pointer) override;
  void Arrange(const DialogLayout& layout) override;
  bool Minimized() const override;
  int InnerWidth() const override;
  int InnerHeight() const override;
  void ShowModal() override;
  void Hide() override;

  // Esc and the close box end the dialog as Cancel does.
  void reject() override;

 protected:
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget& Control(DialogControl control);

  DialogEvents& events_;
  std::array<QLabel*, 2> labels_;
  QTreeWidget* tree_;
  QPushButton* ok_;
  QPushButton* cancel_;
  QPushButton* refresh_;
  TreeListControl list_;
  bool waitCursor_ = false;
  MessageBoxPresenter previousPresenter_;
};

}  // namespace brevant
