#include "dialogs/qt/SelectionDialog.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMessageBox>
#include <string>

#include "dialogs/DialogWindows.h"
#include "dialogs/qt/QtDialogFactory.h"
#include "dialogs/qt/WindowSystemProbe.h"

namespace brevant {

namespace {

constexpr int kTwipsPerPixel = 15;

int Pixels(int twips) {
  return twips / kTwipsPerPixel;
}

// Key codes as the form knows them; it listens for F5 only, so other keys
// report 0.
int KeyCode(const QKeyEvent& key) {
  if (key.key() >= Qt::Key_F1 && key.key() <= Qt::Key_F24) return 112 + (key.key() - Qt::Key_F1);
  return 0;
}

int ShiftState(Qt::KeyboardModifiers modifiers) {
  return (modifiers & Qt::ShiftModifier ? 1 : 0) | (modifiers & Qt::ControlModifier ? 2 : 0) |
         (modifiers & Qt::AltModifier ? 4 : 0);
}

// QApplication keeps a reference to these for its whole life.
int app_argc = 1;
char app_name[] = "brevant";
char* app_argv[] = {app_name, nullptr};

}  // namespace

ApplicationOnDemand::ApplicationOnDemand() {
  if (QApplication::instance() != nullptr) return;
  // Qt would end the whole process here; the client gets an error it can handle.
  if (const std::string problem = WindowSystemProblem(); !problem.empty()) {
    throw Error(kErrDialogsNotBuilt, "clsDeviceList",
                "No display to show the selection dialog on (" + problem + ")");
  }
  app_ = std::make_unique<QApplication>(app_argc, app_argv);
}

ApplicationOnDemand::~ApplicationOnDemand() = default;

SelectionDialog::SelectionDialog(const DialogDesign& design, DialogEvents& events)
    : events_(events),
      labels_{new QLabel(this), new QLabel(this)},
      tree_(new QTreeWidget(this)),
      ok_(new QPushButton(QStringLiteral("OK"), this)),
      cancel_(new QPushButton(QStringLiteral("Cancel"), this)),
      refresh_(new QPushButton(QStringLiteral("Refresh"), this)),
      list_(*tree_) {
  setWindowTitle(QString::fromStdString(design.Caption));
  // The size the layout in twips was drawn for.
  QFont small = font();
  small.setPointSizeF(8.25);
  setFont(small);
  QFont bold = labels_[0]->font();
  bold.setBold(true);
  labels_[0]->setFont(bold);

  tree_->setColumnCount(4);
  tree_->setRootIsDecorated(false);
  tree_->setAllColumnsShowFocus(true);
  tree_->setSelectionMode(QAbstractItemView::SingleSelection);
  tree_->header()->setSectionsClickable(false);
  tree_->header()->setStretchLastSection(false);
  QStringList headers;
  for (int column = 0; column < 4; ++column) {
    headers << QString::fromStdString(design.Headers[column]);
  }
  tree_->setHeaderLabels(headers);
  for (int column = 0; column < 4; ++column) {
    tree_->setColumnWidth(column, Pixels(design.ColumnWidths[column]));
  }

  // The controls keep their design names, for tests and accessibility tools.
  tree_->setObjectName(QStringLiteral("lvwList"));
  ok_->setObjectName(QStringLiteral("cmdOK"));
  cancel_->setObjectName(QStringLiteral("cmdCancel"));
  refresh_->setObjectName(QStringLiteral("cmdRefresh"));
  ok_->setDefault(true);
  // The widgets were made in tab order, the list first, so F5 works as soon as
  // the dialog opens.
  tree_->setFocus();

  connect(ok_, &QPushButton::clicked, this, [this] { events_.OKClick(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { events_.CancelClick(); });
  connect(refresh_, &QPushButton::clicked, this, [this] { events_.RefreshClick(); });
  connect(tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* current) {
    if (current != nullptr) events_.ItemClick(tree_->indexOfTopLevelItem(current));
  });
  tree_->installEventFilter(this);
  tree_->viewport()->installEventFilter(this);

  Arrange(design.Layout);
  resize(Pixels(design.ClientWidth), Pixels(design.ClientHeight));

  previousPresenter_ = SetMessageBoxPresenter(
      [this](const std::string& text, const std::string& title, int /*flags*/) {
        QMessageBox::critical(this, QString::fromStdString(title), QString::fromStdString(text));
      });
}

SelectionDialog::~SelectionDialog() {
  SetMousePointer(kPointerDefault);
  SetMessageBoxPresenter(std::move(previousPresenter_));
}

void SelectionDialog::SetPrompt(int element, const std::string& text, bool visible) {
  QLabel& label = *labels_.at(static_cast<size_t>(element));
  QPalette colours = label.palette();
  colours.setColor(QPalette::WindowText, palette().color(QPalette::WindowText));
  label.setPalette(colours);
  label.setText(QString::fromStdString(text));
  label.setVisible(visible);
}

void SelectionDialog::EnableOK(bool enabled) {
  ok_->setEnabled(enabled);
}

void SelectionDialog::SetMousePointer(int pointer) {
  const bool wait = pointer == kPointerHourglass;
  if (wait == waitCursor_) return;
  if (wait) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
  waitCursor_ = wait;
}

QWidget& SelectionDialog::Control(DialogControl control) {
  switch (control) {
    case DialogControl::kPrompt:
      return *labels_[0];
    case DialogControl::kInstruction:
      return *labels_[1];
    case DialogControl::kList:
      return *tree_;
    case DialogControl::kOK:
      return *ok_;
    case DialogControl::kCancel:
      return *cancel_;
    case DialogControl::kRefresh:
      return *refresh_;
  }
  return *tree_;
}

void SelectionDialog::Arrange(const DialogLayout& layout) {
  for (int index = 0; index < kDialogControlCount; ++index) {
    const ControlRect& rect = layout[static_cast<size_t>(index)];
    Control(static_cast<DialogControl>(index))
        .setGeometry(Pixels(rect.Left), Pixels(rect.Top), Pixels(rect.Width), Pixels(rect.Height));
  }
}

bool SelectionDialog::Minimized() const {
  return isMinimized();
}

int SelectionDialog::InnerWidth() const {
  return width() * kTwipsPerPixel;
}

int SelectionDialog::InnerHeight() const {
  return height() * kTwipsPerPixel;
}

void SelectionDialog::ShowModal() {
  setWindowModality(Qt::ApplicationModal);
  exec();
}

void SelectionDialog::Hide() {
  done(QDialog::Rejected);
}

void SelectionDialog::reject() {
  events_.CancelClick();
}

void SelectionDialog::resizeEvent(QResizeEvent* event) {
  QDialog::resizeEvent(event);
  events_.Resize();
}

bool SelectionDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == tree_ && event->type() == QEvent::KeyRelease) {
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (!key.isAutoRepeat()) events_.KeyUp(KeyCode(key), ShiftState(key.modifiers()));
  } else if (watched == tree_->viewport() && event->type() == QEvent::MouseButtonDblClick) {
    events_.DblClick();
    return true;
  }
  return QDialog::eventFilter(watched, event);
}

std::unique_ptr<DialogWindow> MakeQtDialogWindow(const DialogDesign& design, DialogEvents& events) {
  return std::make_unique<SelectionDialog>(design, events);
}

}  // namespace brevant
