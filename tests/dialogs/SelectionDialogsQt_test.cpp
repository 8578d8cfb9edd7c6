// The Qt view, headless: keys, clicks and sizes reach the forms, and the client
// gets what the user chose. Each test plays the user from a timer that fires
// once the modal dialog runs its own event loop.
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <functional>
#include <sstream>
#include <utility>

#include "brevant/clsDeviceList.h"
#include "gateway/Project.h"
#include "support/BenchTest.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using User = std::function<void(QDialog&, QTreeWidget&)>;

// Runs `user` on the modal widget as soon as there is one.
void WhenModal(const std::function<void(QWidget&)>& user) {
  QTimer::singleShot(10, [user] {
    if (QWidget* modal = QApplication::activeModalWidget()) return user(*modal);
    WhenModal(user);
  });
}

void Play(const User& user) {
  WhenModal([user](QWidget& modal) {
    auto& dialog = static_cast<QDialog&>(modal);
    user(dialog, *dialog.findChild<QTreeWidget*>());
  });
}

QPushButton& Button(QDialog& d, const std::string& name) {
  return *d.findChild<QPushButton*>(QString::fromStdString("cmd" + name));
}

void Click(QTreeWidget& tree, int row, bool twice) {
  tree.scrollToItem(tree.topLevelItem(row));
  const QPoint at = tree.visualItemRect(tree.topLevelItem(row)).center();
  QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, at);
  if (twice) QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, at);
}

// Words: "c3" clicks row 3, "d3" double-clicks it, "enter", "esc", "f5", "sf5"
// (Shift+F5) on the list, "OK" and "Cancel" click buttons, "close" the close box.
User Script(std::string script) {
  return [script](QDialog& d, QTreeWidget& t) {
    std::istringstream words(script);
    for (std::string w; words >> w;) {
      if (w[0] == 'c' && isdigit(w[1])) Click(t, std::stoi(w.substr(1)), false);
      if (w[0] == 'd') Click(t, std::stoi(w.substr(1)), true);
      if (w == "enter") QTest::keyClick(&t, Qt::Key_Return);
      if (w == "esc") QTest::keyClick(&t, Qt::Key_Escape);
      if (w == "f5" || w == "sf5")
        QTest::keyClick(&t, Qt::Key_F5, w == "f5" ? Qt::NoModifier : Qt::ShiftModifier);
      if (w == "OK" || w == "Cancel") QTest::mouseClick(&Button(d, w), Qt::LeftButton);
      if (w == "close") d.close();
    }
  };
}

void Save(QDialog& d, const char* name) {
  QDir().mkpath(BREVANT_BINARY_DIR "/dialogs");
  d.grab().save(QString(BREVANT_BINARY_DIR "/dialogs/") + name);
}

int argc = 1;
char name[] = "test";
char* argv[] = {name, nullptr};

// A QApplication of the test's own, as a Qt program has.
class QtDialogs : public BenchTest {
  QApplication app{argc, argv};
};

TEST_F(QtDialogs, DeviceDialogKeysAndMouse) {
  // Rows: devices 2, 3, 4, 5, 6, 0, then 1, which cannot be read. Returned: the
  // device, or the error.
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByLocation});
  // clang-format off
  const std::pair<const char*, int32_t> cases[] = {
      {"enter", 2}, {"c3 OK", 5}, {"d5", 0}, {"c3 f5 enter", 2}, {"c3 sf5 enter", 5},
      {"d6 enter c1 esc", errDialogCancel}, {"Cancel", errDialogCancel}, {"close", errDialogCancel}};
  // clang-format on
  for (const auto& [script, expected] : cases) {
    SCOPED_TRACE(script);
    Play(Script(script));
    clsDeviceList list;
    int32_t device = -1;
    const Error e =
        Raised([&] { device = list.DialogSelectDevice("Pick a device", "Double click a row"); });
    EXPECT_EQ(e.Number() != 0 ? e.Number() : device, expected);
    EXPECT_EQ(e.Description(),
              e.Number() ? "Cancel was selected in the device selection dialog" : "");
  }
}

TEST_F(QtDialogs, DeviceDialogLooksAndResizes) {
  Play([](QDialog& d, QTreeWidget& t) {
    EXPECT_EQ(d.windowTitle(), "Select FTDI Device");
    EXPECT_EQ(t.headerItem()->text(1), "Location ID");
    EXPECT_EQ(t.columnWidth(0), 52);  // 780 twips
    EXPECT_EQ(t.topLevelItem(0)->text(1), "0x00000114");
    EXPECT_TRUE(Button(d, "OK").isDefault());
    EXPECT_EQ(d.size(), QSize(420, 187));
    Save(d, "select-device.png");
    d.resize(600, 300);
    QTest::qWait(20);
    EXPECT_EQ(t.geometry(), QRect(8, 46, 584, 218));
    EXPECT_EQ(Button(d, "Refresh").geometry(), QRect(512, 272, 80, 21));
    WhenModal([](QWidget& box) {
      auto& message = static_cast<QMessageBox&>(box);
      EXPECT_EQ(message.icon(), QMessageBox::Critical);
      EXPECT_EQ(message.windowTitle() + ": " + message.text(), "Title: ERROR 5: x");
      message.accept();
    });
    ErrorBox(Error(5, "", "x"), "Title");
    d.reject();
  });
  clsDeviceList list;
  Raised([&] { list.DialogSelectDevice("Pick a device", "Double click a row"); });
}

TEST_F(QtDialogs, ModuleDialog) {
  Play([](QDialog& d, QTreeWidget& t) {
    EXPECT_EQ(d.windowTitle(), "Select FTDI Module");
    EXPECT_EQ(t.topLevelItem(0)->text(1), "0x00000121-4");
    EXPECT_FALSE(Button(d, "OK").isEnabled());
    Save(d, "select-module.png");
    Script("d1")(d, t);
  });
  clsDeviceList list;
  const Array<int16_t> devices =
      list.DialogSelectModule(2, "Pick a module", "Two channels are needed");
  EXPECT_EQ(devices, (Array<int16_t>{0, 1}));
}

// A client without a QApplication: the dialog makes one and takes it away again.
// The scan runs inside the dialog, so the sink can set a timer then.
struct Player : icLog {
  void LogEntry(int32_t, const std::string&) override {
    if (!std::exchange(playing, true)) Play(Script("enter"));
  }
  bool playing = false;
};

using WithoutApplication = BenchTest;

TEST_F(WithoutApplication, DialogMakesItsOwn) {
  clsDeviceList list;
  list.Log(std::make_shared<Player>());
  EXPECT_EQ(list.DialogSelectDevice("", ""), 2);
  EXPECT_EQ(QApplication::instance(), nullptr);
}

}  // namespace
}  // namespace brevant::testing
