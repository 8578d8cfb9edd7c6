// What the two selection dialogs share: the selection state, the filling of the
// list, the guard against events the form caused itself, the event handlers and
// the resize rules. frmSelectDevice and frmSelectModule add their rows, the test
// of a usable row and Apply.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "brevant/Error.h"
#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"

namespace brevant {

class clsDeviceList;

// Texts and numbers that differ between the two forms.
struct FormIdentity {
  const char* Source;
  const char* ErrorTitle;
  int32_t InvalidSelection;
  const char* InvalidSelectionText;
};

class SelectionForm : public DialogEvents {
 public:
  SelectionForm(const DialogDesign& design, const FormIdentity& identity);
  SelectionForm(const SelectionForm&) = delete;
  SelectionForm& operator=(const SelectionForm&) = delete;

  // Makes the window, fills the list and shows the selection. A failure of the
  // last two ends in ErrorBox; the form is still usable.
  void Load();
  // Shows the window modally; returns when the user has ended the dialog.
  void Show();
  // True once the user has confirmed.
  bool OK() const { return Accepted; }

  // A new scan of `DeviceList` into the form's rows, with nothing chosen.
  virtual void SyncDeviceList(clsDeviceList& DeviceList) = 0;

  void ItemClick(int row) override;
  void DblClick() override;
  void KeyUp(int keyCode, int shift) override;
  void OKClick() override;
  void CancelClick() override;
  void RefreshClick() override;
  void Resize() override;

 protected:
  // Rows of the last scan.
  virtual int32_t Count() const = 0;
  // The four column texts of a row.
  virtual std::array<std::string, 4> RowTexts(int32_t position) const = 0;
  // Whether a row can be returned.
  virtual bool Usable(int32_t position) const = 0;
  // Apply with its result dropped: raises what Apply would.
  virtual void CheckApply() const = 0;

  // The shared steps of Setup: the two labels, then the first row chosen.
  void SetPrompts(const std::string& Prompt, const std::string& Instruction);
  void SelectFirst();
  // The end of SyncDeviceList: nothing chosen, the list refilled.
  void ShowNewRows();
  [[noreturn]] void Raise(int32_t number, const char* description) const;

  clsDeviceList* DeviceList = nullptr;
  bool Selected = false;
  int32_t SelectedIndex = 0;
  bool SelectionUsable = false;
  bool Accepted = false;
  bool EventsEnabled = false;

 private:
  void SelectIndex(int32_t position);
  void FillList();
  void ShowSelection();
  int32_t IndexOfItem(int row) const;
  int ItemOfIndex(int32_t position) const;
  void SetPrompt(int element, const std::string& text);
  void ClearList();
  void AddRow(int32_t position);
  void SelectRow(int row);
  void ClearRowSelection();
  void EnableOK();
  void ShowError(const Error& error) const;
  // Runs an event's work and shows whatever it raises, a client sink's own
  // exception too: nothing may leave an event handler (Qt ends the program).
  template <class Work>
  void Reporting(Work&& work) const;

  DialogDesign design_;
  FormIdentity identity_;
  DialogLayout layout_;
  std::unique_ptr<DialogWindow> window_;
};

}  // namespace brevant
