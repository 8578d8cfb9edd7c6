// The Qt view, headless: keys, clicks and sizes reach the forms, and the client
// gets what the user chose. Each test plays the user from a timer that fires
// once the modal dialog runs its own event loop.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "brevant/ErrorBox.h"
#include "brevant/clsDeviceList.h"
#include "dialogs/DialogWindows.h"
#include "dialogs/qt/QtDialogFactory.h"
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

// The view is linked into this test; a program gets it by the library loading
// the view module.
const DialogWindowFactory builtInView = SetDialogWindowFactory(MakeQtDialogWindow);

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

// The select-device path in a process of its own, started by the test below
// with the window system's variables of each case; it prints what it got.
TEST_F(WithoutApplication, DISABLED_SelectDeviceInAChild) {
  clsDeviceList list;
  list.Log(std::make_shared<Player>());
  int32_t device = -1;
  const Error e = Raised([&] { device = list.DialogSelectDevice("", ""); });
  std::printf("result %d %s\n", e.Number() ? e.Number() : device, e.Description().c_str());
}

struct Child {
  int status;
  std::string out;
};

// This program again, running only the test above, with `variables` in place
// of the window system's; `wrapper` (e.g. xvfb-run) starts it if given.
Child RunChild(const std::vector<std::string>& variables, const std::vector<std::string>& wrapper) {
  std::vector<std::string> environment;
  for (char** v = environ; *v; ++v) {
    const std::string_view entry(*v);
    if (!entry.starts_with("DISPLAY=") && !entry.starts_with("WAYLAND_DISPLAY=") &&
        !entry.starts_with("QT_QPA_PLATFORM=") && !entry.starts_with("XDG_SESSION_TYPE=") &&
        !entry.starts_with("XDG_RUNTIME_DIR=")) {
      environment.emplace_back(entry);
    }
  }
  environment.insert(environment.end(), variables.begin(), variables.end());
  std::vector<std::string> arguments = wrapper;
  arguments.push_back(std::filesystem::read_symlink("/proc/self/exe").string());
  arguments.push_back("--gtest_filter=WithoutApplication.DISABLED_SelectDeviceInAChild");
  arguments.push_back("--gtest_also_run_disabled_tests");
  auto pointers = [](std::vector<std::string>& strings) {
    std::vector<char*> p;
    for (std::string& s : strings) p.push_back(s.data());
    p.push_back(nullptr);
    return p;
  };
  int pipe[2];
  EXPECT_EQ(::pipe(pipe), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipe[0]);
  pid_t pid = 0;
  const int spawned = posix_spawnp(&pid, arguments[0].c_str(), &actions, nullptr,
                                   pointers(arguments).data(), pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  close(pipe[1]);
  Child child{-1, ""};
  char buffer[4096];
  for (ssize_t n; spawned == 0 && (n = read(pipe[0], buffer, sizeof buffer)) > 0;) {
    child.out.append(buffer, static_cast<size_t>(n));
  }
  close(pipe[0]);
  if (spawned == 0) waitpid(pid, &child.status, 0);
  return child;
}

bool OnPath(const std::string& program) {
  for (const QString& folder : QString::fromLocal8Bit(std::getenv("PATH")).split(u':')) {
    if (access((folder.toStdString() + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

// Qt ends a process (qFatal) when its platform plugin is missing or its display
// does not answer; the dialog must raise 0x80040000 + 6903 instead, and a usable
// platform still shows it (Enter picks device 2).
TEST(WindowSystem, AnUnusableOneRaisesAndTheProcessLivesOn) {
  const std::string runtime = BREVANT_BINARY_DIR;
  const struct {
    const char* name;
    std::vector<std::string> variables;
    std::vector<std::string> wrapper;
    const char* result;
  } cases[] = {
      {"NoXServer",
       {"DISPLAY=:99"},
       {},
       "result -2147214601 No display to show the selection dialog on (platform xcb: the X "
       "display :99 does not answer)"},
      {"NoWaylandCompositor",
       {"WAYLAND_DISPLAY=nowhere-0", "QT_QPA_PLATFORM=wayland", "XDG_RUNTIME_DIR=" + runtime},
       {},
       "result -2147214601 No display to show the selection dialog on (platform wayland: "},
      {"NoSuchPlugin",
       {"QT_QPA_PLATFORM=nosuchplatform"},
       {},
       "result -2147214601 No display to show the selection dialog on (platform nosuchplatform: "
       "Qt has no platform plugin \"nosuchplatform\")"},
      {"FallsBackAlongTheList",
       {"QT_QPA_PLATFORM=nosuchplatform;offscreen:size=9"},
       {},
       "result 2 \n"},
      {"Xvfb", {"QT_QPA_PLATFORM=xcb"}, {"xvfb-run", "-a"}, "result 2 \n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (!c.wrapper.empty() && !OnPath(c.wrapper[0])) {
      std::printf("%s skipped: no %s\n", c.name, c.wrapper[0].c_str());
      continue;
    }
    const Child child = RunChild(c.variables, c.wrapper);
    ASSERT_TRUE(WIFEXITED(child.status)) << child.out;
    EXPECT_EQ(WEXITSTATUS(child.status), 0) << child.out;
    EXPECT_NE(child.out.find(c.result), std::string::npos) << child.out;
  }
}

}  // namespace
}  // namespace brevant::testing
