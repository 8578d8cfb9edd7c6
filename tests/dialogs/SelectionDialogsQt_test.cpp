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

#include "brevant/clsDeviceList.h"
#include "gateway/Project.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

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

QPushButton& Button(QDialog& d, const char* text) {
  for (QPushButton* b : d.findChildren<QPushButton*>()) {
    if (b->text() == text) return *b;
  }
  throw std::runtime_error(text);
}

void Click(QTreeWidget& tree, int row, bool twice = false) {
  tree.scrollToItem(tree.topLevelItem(row));
  const QPoint at = tree.visualItemRect(tree.topLevelItem(row)).center();
  QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, at);
  if (twice) QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, at);
}

void Save(QDialog& d, const char* name) {
  QDir().mkpath(BREVANT_BINARY_DIR "/dialogs");
  d.grab().save(QString(BREVANT_BINARY_DIR "/dialogs/") + name);
}

class QtDialogs : public BenchTest {
 protected:
  void SetUp() override {
    BenchTest::SetUp();
    app_ = std::make_unique<QApplication>(argc_, argv_);
  }
  void TearDown() override {
    app_.reset();
    BenchTest::TearDown();
  }

 private:
  int argc_ = 1;
  char name_[8] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> app_;
};

struct Case {
  const char* name;
  User user;
  int16_t device;  // when no error
  int32_t number;
};

TEST_F(QtDialogs, DeviceDialogKeysAndMouse) {
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByLocation});  // last row "Error!"
  const Case cases[] = {
      {"Enter at opening", [](QDialog&, QTreeWidget& t) { QTest::keyClick(&t, Qt::Key_Return); }, 2,
       0},
      {"click and OK",
       [](QDialog& d, QTreeWidget& t) {
         Click(t, 3), QTest::mouseClick(&Button(d, "OK"), Qt::LeftButton);
       },
       5, 0},
      {"double click", [](QDialog&, QTreeWidget& t) { Click(t, 5, true); }, 0, 0},
      {"F5 chooses the first row",
       [](QDialog&, QTreeWidget& t) {
         Click(t, 3), QTest::keyClick(&t, Qt::Key_F5), QTest::keyClick(&t, Qt::Key_Return);
       },
       2, 0},
      {"Shift+F5 does nothing",
       [](QDialog&, QTreeWidget& t) {
         Click(t, 3), QTest::keyClick(&t, Qt::Key_F5, Qt::ShiftModifier),
             QTest::keyClick(&t, Qt::Key_Return);
       },
       5, 0},
      {"Enter and double click on an error row do nothing",
       [](QDialog& d, QTreeWidget& t) {
         Click(t, 6, true), QTest::keyClick(&t, Qt::Key_Return);
         EXPECT_TRUE(d.isVisible());
         EXPECT_FALSE(Button(d, "OK").isEnabled());
         QTest::keyClick(&t, Qt::Key_Escape);
       },
       0, errDialogCancel},
      {"Cancel",
       [](QDialog& d, QTreeWidget&) { QTest::mouseClick(&Button(d, "Cancel"), Qt::LeftButton); }, 0,
       errDialogCancel},
      {"closed", [](QDialog& d, QTreeWidget&) { d.close(); }, 0, errDialogCancel},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Play(c.user);
    clsDeviceList list;
    int16_t device = -1;
    const Error e =
        Raised([&] { device = list.DialogSelectDevice("Pick a device", "Double click a row"); });
    EXPECT_EQ(e.Number(), c.number);
    if (c.number == 0) {
      EXPECT_EQ(device, c.device);
    } else {
      EXPECT_EQ(e.Description(), "Cancel was selected in the device selection dialog");
    }
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
    d.resize(100, 50);  // below the smallest layout the controls are cut off
    QTest::qWait(20);
    EXPECT_EQ(t.width(), 256);
    d.reject();
  });
  clsDeviceList list;
  Raised([&] { list.DialogSelectDevice("Pick a device", "Double click a row"); });
}

TEST_F(QtDialogs, ErrorBoxIsACriticalMessageBox) {
  Play([](QDialog& d, QTreeWidget&) {
    WhenModal([&d](QWidget& box) {
      auto& message = static_cast<QMessageBox&>(box);
      EXPECT_EQ(message.icon(), QMessageBox::Critical);
      EXPECT_EQ(message.windowTitle(), "Title");
      EXPECT_EQ(message.text(), "ERROR !6952: Invalid device selection");
      message.accept();
    });
    ErrorBox(Error(static_cast<int32_t>(0x80041B28), "frmSelectDevice", "Invalid device selection"),
             "Title");
    EXPECT_TRUE(d.isVisible());
    d.reject();
  });
  clsDeviceList list;
  Raised([&] { list.DialogSelectDevice("", ""); });
}

TEST_F(QtDialogs, ModuleDialog) {
  Play([](QDialog& d, QTreeWidget& t) {
    EXPECT_EQ(d.windowTitle(), "Select FTDI Module");
    EXPECT_EQ(t.topLevelItem(0)->text(1), "0x00000121-4");
    EXPECT_FALSE(Button(d, "OK").isEnabled());
    Save(d, "select-module.png");
    Click(t, 1, true);
  });
  clsDeviceList list;
  const Array<int16_t> devices =
      list.DialogSelectModule(2, "Pick a module", "Two channels are needed");
  EXPECT_EQ(devices, (Array<int16_t>{0, 1}));
  Play([](QDialog&, QTreeWidget& t) { QTest::keyClick(&t, Qt::Key_Escape); });
  EXPECT_EQ(Raised([&] { list.DialogSelectModule(2, "", ""); }).Description(),
            "Cancel was selected in the module selection dialog");
}

// A client without a QApplication: the dialog makes one and takes it away again.
class WithoutApplication : public BenchTest, public icLog {
  void LogEntry(int32_t, const std::string&) override {
    if (!playing_) Play([](QDialog&, QTreeWidget& t) { QTest::keyClick(&t, Qt::Key_Return); });
    playing_ = true;
  }
  bool playing_ = false;

 protected:
  std::shared_ptr<icLog> Self() {
    return {this, [](icLog*) {}};
  }
};

TEST_F(WithoutApplication, DialogMakesItsOwn) {
  clsDeviceList list;
  list.Log(Self());  // the scan runs inside the dialog: a timer can be set then
  EXPECT_EQ(list.DialogSelectDevice("", ""), 2);
  EXPECT_EQ(QApplication::instance(), nullptr);
}

}  // namespace
}  // namespace brevant::testing
