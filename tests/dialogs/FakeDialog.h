// A window system without windows for the selection forms: the list keeps its
// rows in memory, "showing" runs a script that plays the user, and ErrorBox is
// recorded. Like a real control, the list reports a row made current by code,
// so a form that forgets its guard recurses at once.
#pragma once

#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "brevant/ErrorBox.h"
#include "dialogs/DialogWindows.h"
#include "support/BenchTest.h"

namespace brevant::testing {

class FakeWindow : public DialogWindow, public ListControl {
 public:
  using Play = std::function<void(FakeWindow&)>;
  using Row = std::array<std::string, 5>;  // four columns, then the tag

  FakeWindow(const DialogDesign& d, DialogEvents& e, Play u)
      : design(d), events(e), layout(d.Layout), user(std::move(u)) {}

  ListControl& List() override { return *this; }
  void SetPrompt(int element, const std::string& text, bool shown) override {
    prompts.at(element) = shown ? text : "(hidden)";
  }
  void EnableOK(bool enabled) override { okEnabled = enabled; }
  void SetMousePointer(int pointer) override { pointers.push_back(pointer); }
  void Arrange(const DialogLayout& l) override { layout = l; }
  bool Minimized() const override { return width == 0; }
  int InnerWidth() const override { return width; }
  int InnerHeight() const override { return height; }
  void ShowModal() override {
    if (user) user(*this);
  }
  void Hide() override { hidden = true; }

  void Clear() override { rows.clear(), current = -1; }
  int Add(const std::string& text) override {
    rows.push_back({text});
    return static_cast<int>(rows.size()) - 1;
  }
  void SetSubItem(int row, int column, const std::string& text) override {
    rows.at(row).at(column) = text;
  }
  void SetTag(int row, const std::string& tag) override { rows.at(row)[4] = tag; }
  std::string Tag(int row) const override { return rows.at(row)[4]; }
  int FindItem(const std::string& tag) const override {
    const auto it =
        std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r[4] == tag; });
    return it == rows.end() ? -1 : static_cast<int>(it - rows.begin());
  }
  int SelectedItem() const override { return current; }
  void SetSelectedItem(int row) override {
    current = row;
    if (row >= 0) events.ItemClick(row);
  }
  void Deselect(int) override {}

  // Column texts of every row, joined by "|".
  std::vector<std::string> Texts() const {
    std::vector<std::string> out;
    for (const Row& r : rows) out.push_back(r[0] + "|" + r[1] + "|" + r[2] + "|" + r[3]);
    return out;
  }

  // Plays the user from words: "c3" clicks row 3, "dbl", "ok", "cancel", "f5",
  // "sf5" (Shift+F5), "bad1" gives row 1 a tag that is no number and clicks it;
  // "cancel?" cancels unless the dialog has ended.
  void Run(const std::string& script) {
    std::istringstream words(script);
    for (std::string w; words >> w;) {
      if (w == "ok") events.OKClick();
      if (w == "cancel" || (w == "cancel?" && !hidden)) events.CancelClick();
      if (w == "dbl") events.DblClick();
      if (w == "f5" || w == "sf5") events.KeyUp(116, w == "f5" ? 0 : 1);
      if (w[0] == 'c' && isdigit(w[1])) SetSelectedItem(std::stoi(w.substr(1)));
      if (w.starts_with("bad"))
        rows.at(std::stoi(w.substr(3)))[4] = "x", events.ItemClick(std::stoi(w.substr(3)));
    }
  }

  DialogDesign design;
  DialogEvents& events;
  DialogLayout layout;
  Play user;
  std::vector<Row> rows;
  int current = -1;
  std::vector<std::string> prompts{"", ""};
  bool okEnabled = false;
  bool hidden = false;
  std::vector<int> pointers;
  int width = 0;  // 0: minimized
  int height = 0;
};

// Each test gets a fresh default bench, the fake window system with `user` to
// play each dialog, and a record of the boxes shown ("title: text").
class DialogTest : public BenchTest {
 protected:
  void SetUp() override {
    BenchTest::SetUp();
    SetDialogWindowFactory([this](const DialogDesign& d, DialogEvents& e) {
      ++windows;
      return std::make_unique<FakeWindow>(d, e, user);
    });
    SetMessageBoxPresenter([this](const std::string& text, const std::string& title, int) {
      boxes.push_back(title + ": " + text);
    });
  }
  void TearDown() override {
    SetMessageBoxPresenter({});  // the library's own again
    SetDialogWindowFactory({});
    BenchTest::TearDown();
  }
  static FakeWindow::Play Script(std::string script) {
    return [script](FakeWindow& w) { w.Run(script); };
  }

  FakeWindow::Play user;
  int windows = 0;  // made by the factory
  std::vector<std::string> boxes;
};

}  // namespace brevant::testing
