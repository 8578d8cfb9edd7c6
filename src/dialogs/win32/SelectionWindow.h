// The Win32 window of a selection dialog: two labels, a list view in report
// mode, OK (default button, Enter), Cancel (Esc, close box) and Refresh, placed
// in twips at the screen's resolution (15 to the pixel at 96 dpi). While it
// exists ErrorBox shows its message box over it.
#pragma once

#include <windows.h>

#include <array>
#include <vector>

#include "brevant/ErrorBox.h"
#include "dialogs/DialogDesign.h"
#include "dialogs/DialogEvents.h"
#include "dialogs/DialogWindow.h"
#include "dialogs/win32/ListViewControl.h"

namespace brevant {

class SelectionWindow : public DialogWindow {
 public:
  SelectionWindow(const DialogDesign& design, DialogEvents& events);
  ~SelectionWindow() override;
  SelectionWindow(const SelectionWindow&) = delete;
  SelectionWindow& operator=(const SelectionWindow&) = delete;

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

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK ListProc(HWND list, UINT message, WPARAM wParam, LPARAM lParam);
  static BOOL CALLBACK DisableOther(HWND window, LPARAM self);
  LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
  void Notified(const NMHDR& header);
  HWND Control(DialogControl control) const;
  HWND MakeControl(DialogControl control, const wchar_t* kind, const wchar_t* text, DWORD style,
                   DWORD exStyle, int id);
  void MakeList(const DialogDesign& design);
  void EnableOthers();
  int Pixels(int twips) const;
  int Twips(int pixels) const;

  DialogEvents& events_;
  HINSTANCE module_ = nullptr;
  int dpi_ = 96;
  HFONT font_ = nullptr;
  HFONT boldFont_ = nullptr;
  HWND window_ = nullptr;
  std::array<HWND, kDialogControlCount> controls_{};
  WNDPROC listProc_ = nullptr;
  HWND lastFocus_ = nullptr;
  ListViewControl list_;
  bool shown_ = false;
  bool wait_ = false;
  std::vector<HWND> disabled_;
  MessageBoxPresenter previousPresenter_;
};

}  // namespace brevant
