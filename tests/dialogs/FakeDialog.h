// A window system without windows for the selection forms: the list keeps its
// rows in memory, "showing" runs a script that plays the user, and ErrorBox is
// recorded. Like a real control, the list reports a row made current by code,
// so a form that forgets its guard recurses at once.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dialogs/DialogWindows.h"
#include "gateway/Project.h"
#include "support/BenchTest.h"

namespace brevant::testing {

class FakeWindow : public DialogWindow, public ListControl {
 public:
  struct Row {
    std::vector<std::string> texts{"", "", "", ""};
    std::string tag;
  };

  FakeWindow(const DialogDesign& d, DialogEvents& e) : design(d), events(e), layout(d.Layout) {}

  ListControl& List() override { return *this; }
  void SetPrompt(int element, const std::string& text, bool shown) override {
    prompts.at(element) = shown ? text : "(hidden)";
  }
  void EnableOK(bool enabled) override { okEnabled = enabled; }
  void SetMousePointer(int pointer) override { pointers.push_back(pointer); }
  void Arrange(const DialogLayout& l) override { layout = l; }
  bool Minimized() const override { return minimized; }
  int InnerWidth() const override { return width; }
  int InnerHeight() const override { return height; }
  void ShowModal() override;
  void Hide() override { hidden = true; }

  void Clear() override { rows.clear(), current = -1; }
  int Add(const std::string& text) override {
    rows.push_back({{text, "", "", ""}, ""});
    return static_cast<int>(rows.size()) - 1;
  }
  void SetSubItem(int row, int column, const std::string& text) override {
    rows.at(row).texts.at(column) = text;
  }
  void SetTag(int row, const std::string& tag) override { rows.at(row).tag = tag; }
  std::string Tag(int row) const override { return rows.at(row).tag; }
  int FindItem(const std::string& tag) const override {
    for (size_t i = 0; i < rows.size(); ++i) {
      if (rows[i].tag == tag) return static_cast<int>(i);
    }
    return -1;
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
    for (const Row& r : rows)
      out.push_back(r.texts[0] + "|" + r.texts[1] + "|" + r.texts[2] + "|" + r.texts[3]);
    return out;
  }

  DialogDesign design;
  DialogEvents& events;
  DialogLayout layout;
  std::vector<Row> rows;
  int current = -1;
  std::vector<std::string> prompts{"", ""};
  bool okEnabled = false;
  std::vector<int> pointers;
  bool minimized = false;
  int width = 0;
  int height = 0;
  bool shown = false;
  bool hidden = false;
  std::function<void(FakeWindow&)> user;
};

// Each test gets a fresh default bench, the fake window system and a record of
// the boxes shown ("title: text").
class DialogTest : public BenchTest {
 protected:
  void SetUp() override {
    BenchTest::SetUp();
    previousFactory_ = SetDialogWindowFactory([this](const DialogDesign& d, DialogEvents& e) {
      auto made = std::make_unique<FakeWindow>(d, e);
      made->user = user;
      window = made.get();
      return made;
    });
    previousPresenter_ =
        SetMessageBoxPresenter([this](const std::string& text, const std::string& title, int) {
          boxes.push_back(title + ": " + text);
        });
  }
  void TearDown() override {
    SetMessageBoxPresenter(previousPresenter_);
    SetDialogWindowFactory(previousFactory_);
    BenchTest::TearDown();
  }

  // Plays the user once the dialog is shown; the window then "closes".
  std::function<void(FakeWindow&)> user;
  // The window of the last form, valid while the form lives.
  FakeWindow* window = nullptr;
  std::vector<std::string> boxes;

 private:
  DialogWindowFactory previousFactory_;
  MessageBoxPresenter previousPresenter_;
};

inline void FakeWindow::ShowModal() {
  shown = true;
  if (user) user(*this);
}

}  // namespace brevant::testing
