#include "dialogs/win32/SelectionWindow.h"

#include <commctrl.h>

#include <mutex>

#include "brevant/ErrorBox.h"
#include "dialogs/DialogWindows.h"
#include "dialogs/win32/Win32View.h"
#include "platform/win32/ThisModule.h"
#include "platform/win32/WideText.h"
#include "platform/win32/Win32MessageBox.h"

namespace brevant {

namespace {

constexpr wchar_t kClassName[] = L"BrevantSelectionDialog";
constexpr int kRefreshId = 3;
constexpr int kTwipsPerInch = 1440;
// MS Sans Serif 8.25 point, the size the layout in twips was drawn for, in
// hundredths of a point.
constexpr int kFontCentipoints = 825;
constexpr DWORD kWindowStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

HFONT DialogFont(int dpi, int weight) {
  return CreateFontW(-MulDiv(kFontCentipoints, dpi, 72 * 100), 0, 0, 0, weight, FALSE, FALSE, FALSE,
                     DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                     DEFAULT_PITCH | FF_SWISS, L"MS Sans Serif");
}

// The system's arrow or hourglass; their identifiers are numbers, the same to
// the narrow and the wide call.
HCURSOR Pointer(bool wait) {
  return LoadCursorA(nullptr, wait ? IDC_WAIT : IDC_ARROW);
}

int ShiftState() {
  return (GetKeyState(VK_SHIFT) < 0 ? 1 : 0) | (GetKeyState(VK_CONTROL) < 0 ? 2 : 0) |
         (GetKeyState(VK_MENU) < 0 ? 4 : 0);
}

}  // namespace

SelectionWindow::SelectionWindow(const DialogDesign& design, DialogEvents& events)
    : events_(events), module_(ThisModule()) {
  INITCOMMONCONTROLSEX controls{sizeof(INITCOMMONCONTROLSEX), ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&controls);
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = module_;
  windowClass.hCursor = Pointer(false);
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  windowClass.lpszClassName = kClassName;
  // Another dialog of this process may have registered it already.
  RegisterClassExW(&windowClass);

  HDC screen = GetDC(nullptr);
  dpi_ = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  font_ = DialogFont(dpi_, FW_NORMAL);
  boldFont_ = DialogFont(dpi_, FW_BOLD);

  RECT frame{0, 0, Pixels(design.ClientWidth), Pixels(design.ClientHeight)};
  AdjustWindowRectEx(&frame, kWindowStyle, FALSE, 0);
  window_ = CreateWindowExW(0, kClassName, WideText(design.Caption).c_str(), kWindowStyle,
                            CW_USEDEFAULT, CW_USEDEFAULT, frame.right - frame.left,
                            frame.bottom - frame.top, nullptr, nullptr, module_, this);
  if (window_ == nullptr) {
    DeleteObject(font_);
    DeleteObject(boldFont_);
    throw Error(kErrDialogsNotBuilt, "clsDeviceList",
                "The window of the selection dialog cannot be made");
  }

  // Made in tab order, the list first of those that take the focus, so that F5
  // works as soon as the dialog opens.
  constexpr DWORD kLabel = WS_CHILD | WS_VISIBLE | SS_LEFT | SS_NOPREFIX;
  constexpr DWORD kButton = WS_CHILD | WS_VISIBLE | WS_TABSTOP;
  MakeControl(DialogControl::kPrompt, L"STATIC", L"", kLabel, 0, -1);
  MakeControl(DialogControl::kInstruction, L"STATIC", L"", kLabel, 0, -1);
  MakeList(design);
  MakeControl(DialogControl::kOK, L"BUTTON", L"OK", kButton | BS_DEFPUSHBUTTON, 0, IDOK);
  MakeControl(DialogControl::kCancel, L"BUTTON", L"Cancel", kButton, 0, IDCANCEL);
  MakeControl(DialogControl::kRefresh, L"BUTTON", L"Refresh", kButton, 0, kRefreshId);
  SendMessageW(Control(DialogControl::kPrompt), WM_SETFONT, reinterpret_cast<WPARAM>(boldFont_),
               FALSE);
  Arrange(design.Layout);

  previousPresenter_ =
      SetMessageBoxPresenter([this](const std::string& text, const std::string& title, int flags) {
        ShowWin32MessageBox(window_, text, title, flags);
      });
}

SelectionWindow::~SelectionWindow() {
  SetMousePointer(kPointerDefault);
  SetMessageBoxPresenter(std::move(previousPresenter_));
  EnableOthers();
  // The form is being unloaded: what its controls report while they go is not
  // passed on.
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
  DeleteObject(font_);
  DeleteObject(boldFont_);
  // Fails while another dialog still has a window of the class; the last one
  // succeeds, so that an unloaded DLL leaves no class behind.
  UnregisterClassW(kClassName, module_);
}

HWND SelectionWindow::MakeControl(DialogControl control, const wchar_t* kind, const wchar_t* text,
                                  DWORD style, DWORD exStyle, int id) {
  HWND made = CreateWindowExW(exStyle, kind, text, style, 0, 0, 0, 0, window_,
                              reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), module_, nullptr);
  SendMessageW(made, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  controls_[static_cast<size_t>(control)] = made;
  return made;
}

void SelectionWindow::MakeList(const DialogDesign& design) {
  HWND list = MakeControl(DialogControl::kList, WC_LISTVIEWW, L"",
                          WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL |
                              LVS_SHOWSELALWAYS | LVS_NOSORTHEADER,
                          WS_EX_CLIENTEDGE, -1);
  SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
  for (int column = 0; column < 4; ++column) {
    std::wstring header = WideText(design.Headers[static_cast<size_t>(column)]);
    LVCOLUMNW format{};
    format.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    format.cx = Pixels(design.ColumnWidths[static_cast<size_t>(column)]);
    format.pszText = header.data();
    format.iSubItem = column;
    SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column),
                 reinterpret_cast<LPARAM>(&format));
  }
  // The list's key releases go to the form as well as to the list.
  SetWindowLongPtrW(list, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  listProc_ = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ListProc)));
  list_.Attach(list);
}

HWND SelectionWindow::Control(DialogControl control) const {
  return controls_[static_cast<size_t>(control)];
}

int SelectionWindow::Pixels(int twips) const {
  return MulDiv(twips, dpi_, kTwipsPerInch);
}

int SelectionWindow::Twips(int pixels) const {
  return MulDiv(pixels, kTwipsPerInch, dpi_);
}

// The static control draws in the system's window-text colour of its own.
void SelectionWindow::SetPrompt(int element, const std::string& text, bool visible) {
  HWND label = Control(element == 0 ? DialogControl::kPrompt : DialogControl::kInstruction);
  SetWindowTextW(label, WideText(text).c_str());
  ShowWindow(label, visible ? SW_SHOW : SW_HIDE);
}

void SelectionWindow::EnableOK(bool enabled) {
  EnableWindow(Control(DialogControl::kOK), enabled);
}

void SelectionWindow::SetMousePointer(int pointer) {
  const bool wait = pointer == kPointerHourglass;
  if (wait == wait_) return;
  wait_ = wait;
  SetCursor(Pointer(wait));
}

void SelectionWindow::Arrange(const DialogLayout& layout) {
  for (int index = 0; index < kDialogControlCount; ++index) {
    const ControlRect& rect = layout[static_cast<size_t>(index)];
    MoveWindow(controls_[static_cast<size_t>(index)], Pixels(rect.Left), Pixels(rect.Top),
               Pixels(rect.Width), Pixels(rect.Height), TRUE);
  }
}

bool SelectionWindow::Minimized() const {
  return IsIconic(window_) != FALSE;
}

int SelectionWindow::InnerWidth() const {
  RECT client{};
  GetClientRect(window_, &client);
  return Twips(client.right);
}

int SelectionWindow::InnerHeight() const {
  RECT client{};
  GetClientRect(window_, &client);
  return Twips(client.bottom);
}

// Modal without an owner: the thread's other windows take no input until the
// dialog is hidden. A WM_QUIT ends the dialog as Cancel does and is posted
// again for the client's own loop.
void SelectionWindow::ShowModal() {
  EnumThreadWindows(GetCurrentThreadId(), DisableOther, reinterpret_cast<LPARAM>(this));
  shown_ = true;
  ShowWindow(window_, SW_SHOW);
  SetFocus(Control(DialogControl::kList));
  MSG message{};
  while (IsWindowVisible(window_)) {
    const BOOL got = GetMessageW(&message, nullptr, 0, 0);
    if (got <= 0) {
      if (got == 0) PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    if (!IsDialogMessageW(window_, &message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  EnableOthers();
}

// The other windows come back before this one goes, so that one of them, not
// another program, becomes active.
void SelectionWindow::Hide() {
  EnableOthers();
  ShowWindow(window_, SW_HIDE);
}

BOOL CALLBACK SelectionWindow::DisableOther(HWND window, LPARAM self) {
  auto& dialog = *reinterpret_cast<SelectionWindow*>(self);
  if (window != dialog.window_ && IsWindowVisible(window) && IsWindowEnabled(window)) {
    EnableWindow(window, FALSE);
    dialog.disabled_.push_back(window);
  }
  return TRUE;
}

void SelectionWindow::EnableOthers() {
  for (HWND window : disabled_) EnableWindow(window, TRUE);
  disabled_.clear();
}

LRESULT CALLBACK SelectionWindow::WindowProc(HWND window, UINT message, WPARAM wParam,
                                             LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const auto& creation = *reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation.lpCreateParams));
  }
  auto* self = reinterpret_cast<SelectionWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  // Until CreateWindowExW returns window_ is not yet set; once unloading, no form.
  if (self == nullptr || self->window_ != window) {
    return DefWindowProcW(window, message, wParam, lParam);
  }
  // No exception may pass through the window system's frames; the form's
  // handlers report their own errors.
  try {
    return self->Handle(message, wParam, lParam);
  } catch (...) {
    return 0;
  }
}

LRESULT SelectionWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_COMMAND:
      if (HIWORD(wParam) != BN_CLICKED) break;
      // OK acts only while enabled, whoever sends its command.
      if (LOWORD(wParam) == IDOK && IsWindowEnabled(Control(DialogControl::kOK))) {
        events_.OKClick();
      } else if (LOWORD(wParam) == IDCANCEL) {
        events_.CancelClick();
      } else if (LOWORD(wParam) == kRefreshId) {
        events_.RefreshClick();
      }
      return 0;
    case WM_NOTIFY:
      Notified(*reinterpret_cast<const NMHDR*>(lParam));
      return 0;
    case WM_CLOSE:
      events_.CancelClick();
      return 0;
    case WM_SIZE:
      // Windows sizes a window while making it, before the form has it.
      if (shown_) events_.Resize();
      return 0;
    case WM_SETCURSOR:
      if (!wait_) break;
      SetCursor(Pointer(true));
      return TRUE;
    case WM_ACTIVATE:
      if (LOWORD(wParam) == WA_INACTIVE) {
        HWND focus = GetFocus();
        if (focus != nullptr && IsChild(window_, focus)) lastFocus_ = focus;
      } else {
        SetFocus(lastFocus_ != nullptr ? lastFocus_ : Control(DialogControl::kList));
      }
      return 0;
    case DM_GETDEFID:
      return MAKELRESULT(IDOK, DC_HASDEFID);
    default:
      break;
  }
  return DefWindowProcW(window_, message, wParam, lParam);
}

void SelectionWindow::Notified(const NMHDR& header) {
  if (header.hwndFrom != Control(DialogControl::kList)) return;
  if (header.code == NM_DBLCLK) {
    events_.DblClick();
  } else if (header.code == LVN_ITEMCHANGED) {
    const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
    const bool nowSelected = (change.uNewState & LVIS_SELECTED) != 0;
    const bool wasSelected = (change.uOldState & LVIS_SELECTED) != 0;
    if ((change.uChanged & LVIF_STATE) != 0 && change.iItem >= 0 && nowSelected && !wasSelected) {
      events_.ItemClick(change.iItem);
    }
  }
}

LRESULT CALLBACK SelectionWindow::ListProc(HWND list, UINT message, WPARAM wParam, LPARAM lParam) {
  auto& self = *reinterpret_cast<SelectionWindow*>(GetWindowLongPtrW(list, GWLP_USERDATA));
  if (message == WM_KEYUP || message == WM_SYSKEYUP) {
    try {
      self.events_.KeyUp(static_cast<int>(wParam), ShiftState());
    } catch (...) {
    }
  }
  return CallWindowProcW(self.listProc_, list, message, wParam, lParam);
}

void InstallWin32View() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    SetDialogWindowFactory([](const DialogDesign& design, DialogEvents& events) {
      return std::unique_ptr<DialogWindow>(std::make_unique<SelectionWindow>(design, events));
    });
    // With no owner the box stands on its own.
    SetMessageBoxPresenter([](const std::string& text, const std::string& title, int flags) {
      ShowWin32MessageBox(nullptr, text, title, flags);
    });
  });
}

}  // namespace brevant
