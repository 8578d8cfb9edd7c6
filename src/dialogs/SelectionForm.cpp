#include "dialogs/SelectionForm.h"

#include <algorithm>
#include <charconv>
#include <exception>

#include "brevant/ErrorBox.h"
#include "dialogs/DialogWindows.h"

namespace brevant {

namespace {

constexpr int kKeyF5 = 116;

// Below this client area the controls stop shrinking and the window cuts them off.
constexpr int kMinimumWidth = 4080;
constexpr int kMinimumHeight = 1770;
constexpr int kMargin = 120;
constexpr int kListBottomGap = 540;
constexpr int kButtonsFromBottom = 420;

// Sets EventsEnabled again when a step ends, by error too. AddRow and SelectRow
// take it because a row can fail them (texts that cannot be had, a row the list
// lacks), and the form must still hear the user afterwards. The other steps
// switch the flag by hand: they set a label, a button or the list's contents,
// none of which fails.
class EventsOff {
 public:
  explicit EventsOff(bool& flag) : flag_(flag) { flag_ = false; }
  ~EventsOff() { flag_ = true; }
  EventsOff(const EventsOff&) = delete;
  EventsOff& operator=(const EventsOff&) = delete;

 private:
  bool& flag_;
};

}  // namespace

SelectionForm::SelectionForm(const DialogDesign& design, const FormIdentity& identity)
    : design_(design), identity_(identity), layout_(design.Layout) {}

namespace {

// The automation world's "unexpected failure", for what a client's sink throws
// that carries no number of its own.
constexpr int32_t kErrUnexpected = static_cast<int32_t>(0x8000FFFF);

}  // namespace

template <class Work>
void SelectionForm::Reporting(Work&& work) const {
  try {
    work();
  } catch (const Error& e) {
    ShowError(e);
  } catch (const std::exception& e) {
    ShowError(Error(kErrUnexpected, identity_.Source, e.what()));
  } catch (...) {
    ShowError(Error(kErrUnexpected, identity_.Source, "Unexpected failure"));
  }
}

void SelectionForm::Load() {
  window_ = MakeDialogWindow(design_, *this);
  EventsEnabled = true;
  Reporting([this] { FillList(); });
  Reporting([this] { ShowSelection(); });
}

void SelectionForm::Show() {
  window_->ShowModal();
}

void SelectionForm::SetPrompts(const std::string& Prompt, const std::string& Instruction) {
  SetPrompt(0, Prompt);
  SetPrompt(1, Instruction);
}

void SelectionForm::SelectFirst() {
  if (Count() > 0) SelectIndex(0);
}

void SelectionForm::ShowNewRows() {
  Selected = false;
  SelectionUsable = false;
  FillList();
  ShowSelection();
}

void SelectionForm::Raise(int32_t number, const char* description) const {
  throw Error(number, identity_.Source, description);
}

void SelectionForm::SelectIndex(int32_t position) {
  if (position < 0 || position >= Count()) {
    Raise(identity_.InvalidSelection, identity_.InvalidSelectionText);
  }
  SelectedIndex = position;
  Selected = true;
  SelectionUsable = Usable(position);
  ShowSelection();
}

void SelectionForm::FillList() {
  ClearList();
  for (int32_t position = 0; position < Count(); ++position) AddRow(position);
}

void SelectionForm::ShowSelection() {
  if (Selected) {
    SelectRow(ItemOfIndex(SelectedIndex));
  } else {
    ClearRowSelection();
  }
  EnableOK();
}

int32_t SelectionForm::IndexOfItem(int row) const {
  const std::string tag = window_->List().Tag(row);
  int32_t position = 0;
  const auto [end, error] = std::from_chars(tag.data(), tag.data() + tag.size(), position);
  if (tag.empty() || error != std::errc() || end != tag.data() + tag.size()) {
    Raise(identity_.InvalidSelection, identity_.InvalidSelectionText);
  }
  return position;
}

int SelectionForm::ItemOfIndex(int32_t position) const {
  return window_->List().FindItem(std::to_string(position));
}

void SelectionForm::SetPrompt(int element, const std::string& text) {
  EventsEnabled = false;
  window_->SetPrompt(element, text, !text.empty());
  EventsEnabled = true;
}

void SelectionForm::ClearList() {
  EventsEnabled = false;
  window_->List().Clear();
  EventsEnabled = true;
}

void SelectionForm::AddRow(int32_t position) {
  EventsOff off(EventsEnabled);
  // A row that cannot be added stays missing or incomplete; the others still come.
  try {
    const std::array<std::string, 4> texts = RowTexts(position);
    ListControl& list = window_->List();
    const int row = list.Add(texts[0]);
    list.SetTag(row, std::to_string(position));
    for (int column = 1; column <= 3; ++column) list.SetSubItem(row, column, texts[column]);
  } catch (const std::exception&) {
  }
}

void SelectionForm::SelectRow(int row) {
  EventsOff off(EventsEnabled);
  window_->List().SetSelectedItem(row);
}

void SelectionForm::ClearRowSelection() {
  EventsEnabled = false;
  ListControl& list = window_->List();
  if (const int row = list.SelectedItem(); row >= 0) list.Deselect(row);
  list.SetSelectedItem(-1);
  EventsEnabled = true;
}

void SelectionForm::EnableOK() {
  EventsEnabled = false;
  window_->EnableOK(SelectionUsable && Selected);
  EventsEnabled = true;
}

void SelectionForm::ShowError(const Error& error) const {
  ErrorBox(error, identity_.ErrorTitle);
}

void SelectionForm::ItemClick(int row) {
  if (!EventsEnabled) return;
  Reporting([this, row] { SelectIndex(IndexOfItem(row)); });
}

void SelectionForm::DblClick() {
  if (!EventsEnabled) return;
  // The button's own handler reports its errors; nothing else here can fail.
  if (SelectionUsable) OKClick();
}

void SelectionForm::KeyUp(int keyCode, int shift) {
  if (!EventsEnabled) return;
  if (keyCode == kKeyF5 && shift == 0) RefreshClick();
}

void SelectionForm::OKClick() {
  if (!EventsEnabled) return;
  Reporting([this] {
    CheckApply();
    Accepted = true;
    window_->Hide();
  });
}

void SelectionForm::CancelClick() {
  if (!EventsEnabled) return;
  Accepted = false;
  try {
    window_->Hide();
  } catch (const std::exception&) {
  }
}

void SelectionForm::RefreshClick() {
  if (!EventsEnabled) return;
  Reporting([this] {
    try {
      window_->SetMousePointer(kPointerHourglass);
      SyncDeviceList(*DeviceList);
      SelectFirst();
      window_->SetMousePointer(kPointerDefault);
    } catch (...) {
      // The pointer is back before the box shows.
      window_->SetMousePointer(kPointerDefault);
      throw;
    }
  });
}

// Runs whatever EventsEnabled says: a resize changes no selection.
void SelectionForm::Resize() {
  try {
    if (window_->Minimized()) return;
    const int width = std::max(window_->InnerWidth(), kMinimumWidth);
    ControlRect& list = At(layout_, DialogControl::kList);
    list.Width = width - list.Left - kMargin;
    for (DialogControl label : {DialogControl::kPrompt, DialogControl::kInstruction}) {
      ControlRect& rect = At(layout_, label);
      rect.Width = width - rect.Left - kMargin;
    }
    ControlRect& refresh = At(layout_, DialogControl::kRefresh);
    refresh.Left = list.Left + list.Width - refresh.Width;

    const int height = std::max(window_->InnerHeight(), kMinimumHeight);
    list.Height = height - list.Top - kListBottomGap;
    for (DialogControl button :
         {DialogControl::kOK, DialogControl::kCancel, DialogControl::kRefresh}) {
      At(layout_, button).Top = height - kButtonsFromBottom;
    }
    window_->Arrange(layout_);
  } catch (const std::exception&) {
  }
}

}  // namespace brevant
