// Drives the native dialogs and ErrorBox on the virtual bench without a person: a
// second thread acts on each window as a user would, the main thread checks the
// outcome. With a folder as argument, saves pictures of the dialogs there.
#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "brevant/Driver.h"
#include "brevant/ErrorBox.h"
#include "brevant/clsDeviceList.h"
#include "dialogs/win32/Win32View.h"

namespace {

std::string pictures;  // where pictures go; empty: none
std::string failure;   // the first thing found wrong in the running check

void Expect(bool good, const std::string& what) {
  if (!good && failure.empty()) failure = what;
}

HWND WaitFor(const wchar_t* caption) {
  for (int tries = 0; tries < 500; ++tries) {
    HWND window = FindWindowW(nullptr, caption);
    if (window != nullptr && IsWindowVisible(window)) return window;
    Sleep(20);
  }
  std::printf("FAIL: no window \"%ls\" appeared\n", caption);
  std::fflush(stdout);
  ExitProcess(1);
}

HWND ListOf(HWND dialog) {
  return FindWindowExW(dialog, nullptr, WC_LISTVIEWW, nullptr);
}

HWND ButtonOf(HWND dialog, const wchar_t* caption) {
  return FindWindowExW(dialog, nullptr, L"Button", caption);
}

// What a click on the row does to the list: it becomes the focused, selected row.
void Choose(HWND list, int row) {
  LVITEMW item{};
  item.stateMask = item.state = LVIS_FOCUSED | LVIS_SELECTED;
  SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

std::string Cell(HWND list, int row) {
  char text[64] = {};
  LVITEMA item{};
  item.pszText = text;
  item.cchTextMax = sizeof text;
  SendMessageA(list, LVM_GETITEMTEXTA, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
  return text;
}

void Key(HWND list, WPARAM key) {
  PostMessageW(list, WM_KEYDOWN, key, 1);
  PostMessageW(list, WM_KEYUP, key, 0xC0000001);
}

// Releases F5 with Shift held as the dialog's thread sees it: attached threads
// share their key state.
void ShiftF5(HWND list) {
  const DWORD dialogThread = GetWindowThreadProcessId(list, nullptr);
  AttachThreadInput(GetCurrentThreadId(), dialogThread, TRUE);
  BYTE keys[256] = {};
  keys[VK_SHIFT] = 0x80;
  SetKeyboardState(keys);
  SendMessageW(list, WM_KEYUP, VK_F5, 0xC0000001);
  keys[VK_SHIFT] = 0;
  SetKeyboardState(keys);
  AttachThreadInput(GetCurrentThreadId(), dialogThread, FALSE);
}

// Refresh stays at the list's right edge and OK 420 twips (28 pixels) above the
// bottom when the window grows.
void CheckLayout(HWND dialog) {
  SetWindowPos(dialog, nullptr, 0, 0, 700, 400, SWP_NOMOVE | SWP_NOZORDER);
  RECT list{}, refresh{}, ok{}, client{};
  GetWindowRect(ListOf(dialog), &list);
  GetWindowRect(ButtonOf(dialog, L"Refresh"), &refresh);
  GetWindowRect(ButtonOf(dialog, L"OK"), &ok);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&ok), 2);
  GetClientRect(dialog, &client);
  Expect(refresh.right == list.right && client.right > 600, "Refresh left the list's edge");
  Expect(client.bottom - ok.top >= 27 && client.bottom - ok.top <= 29, "OK not at the bottom");
}

// A 24-bit BMP of the whole window as it is on the screen, once it has painted.
void Picture(HWND window, const std::string& name) {
  if (pictures.empty()) return;
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  Sleep(300);
  RECT frame{};
  GetWindowRect(window, &frame);
  const int width = frame.right - frame.left, height = frame.bottom - frame.top;
  HDC screen = GetWindowDC(window);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ old = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
  SelectObject(memory, old);
  BITMAPINFOHEADER info{sizeof info, width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  std::string pixels(((static_cast<DWORD>(width) * 3 + 3) & ~3u) * height, '\0');
  GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(),
            reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(window, screen);
  const DWORD offset = sizeof(BITMAPFILEHEADER) + sizeof info;
  BITMAPFILEHEADER file{0x4D42, offset + static_cast<DWORD>(pixels.size()), 0, 0, offset};
  std::ofstream out(pictures + "\\" + name + ".bmp", std::ios::binary);
  out.write(reinterpret_cast<const char*>(&file), sizeof file);
  out.write(reinterpret_cast<const char*>(&info), sizeof info);
  out << pixels;
}

// Runs `call` while `user` acts on the window called `caption`. A window that
// the user's doing should have closed is closed after five seconds, as a failure.
void WithUser(const wchar_t* caption, const std::function<void(HWND)>& user,
              const std::function<void()>& call) {
  std::thread person([&] {
    HWND window = WaitFor(caption);
    user(window);
    for (int tries = 0; tries < 250 && IsWindowVisible(window); ++tries) Sleep(20);
    if (!IsWindowVisible(window)) return;
    Expect(false, "the window stayed open");
    PostMessageW(window, WM_CLOSE, 0, 0);
  });
  std::string raised;
  try {
    call();
  } catch (const brevant::Error& e) {
    if (e.Number() != brevant::errDialogCancel) raised = "raised " + e.Description();
  }
  person.join();
  Expect(raised.empty(), raised);
}

// One thing the user does: eNter, Esc, F5, Shift+F5, Double click on `row`,
// Close box, Labels (the prompt shown, the empty instruction hidden), Resize,
// Picture of the device or Module dialog.
void Step(HWND dialog, int row, char step) {
  HWND list = ListOf(dialog);
  if (step == 'N') Key(list, VK_RETURN);
  if (step == 'E') Key(list, VK_ESCAPE);
  if (step == 'F') Key(list, VK_F5);
  if (step == 'S') ShiftF5(list);
  if (step == 'C') PostMessageW(dialog, WM_CLOSE, 0, 0);
  if (step == 'R') CheckLayout(dialog);
  if (step == 'P') Picture(dialog, "select-device");
  if (step == 'M') Picture(dialog, "select-module");
  if (step == 'D') {
    RECT cell{LVIR_LABEL, 0, 0, 0};
    SendMessageW(list, LVM_GETITEMRECT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&cell));
    PostMessageW(list, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(cell.left + 2, cell.top + 2));
  }
  if (step == 'L') {
    HWND prompt = FindWindowExW(dialog, nullptr, L"Static", nullptr);
    HWND instruction = FindWindowExW(dialog, prompt, L"Static", nullptr);
    Expect(IsWindowVisible(prompt) && !IsWindowVisible(instruction), "labels");
  }
}

// The first row of the module list whose choice enables OK, or disables it.
int RowWhereOK(HWND dialog, bool enabled) {
  const auto rows = static_cast<int>(SendMessageW(ListOf(dialog), LVM_GETITEMCOUNT, 0, 0));
  for (int row = 0; row < rows; ++row) {
    Choose(ListOf(dialog), row);
    if ((IsWindowEnabled(ButtonOf(dialog, L"OK")) != FALSE) == enabled) return row;
  }
  Expect(false, "no such row");
  return 0;
}

// The device dialog, or the module dialog for two channels, with `row` chosen,
// then `steps`. Expects the numbers of row `expected`, or Cancel for -1. Row -1
// stands for the first that OK cannot confirm, -2 for the first that it can.
void DialogCheck(bool module, int row, const char* steps, int expected) {
  std::string wanted = "(cancelled)";
  std::string got = wanted;
  WithUser(
      module ? L"Select FTDI Module" : L"Select FTDI Device",
      [&](HWND dialog) {
        row = row < 0 ? RowWhereOK(dialog, row == -2) : row;
        Choose(ListOf(dialog), row);
        if (expected != -1) wanted = Cell(ListOf(dialog), expected < 0 ? row : expected);
        for (const char* step = steps; *step != '\0'; ++step) Step(dialog, row, *step);
      },
      [&] {
        brevant::clsDeviceList list;
        const char* instruction = steps[0] == 'L' ? "" : "x";
        if (!module) got = std::to_string(list.DialogSelectDevice("Pick one", instruction));
        if (module) {
          const auto devices = list.DialogSelectModule(2, "Pick a module", instruction);
          got = std::to_string(devices[0]) + ", " + std::to_string(devices[1]);
        }
      });
  Expect(got == wanted, "got " + got + ", expected " + wanted);
}

// ErrorBox's box under its title, showing the error's text; OK closes it.
void BoxCheck(const std::string& title) {
  const brevant::Error error(brevant::kErrDeviceNotOpened, "clsFTD2xx", "Device not opened");
  WithUser(
      title.empty() ? L"Brevant" : std::wstring(title.begin(), title.end()).c_str(),
      [&](HWND box) {
        wchar_t shown[64] = {};
        GetDlgItemTextW(box, 0xFFFF, shown, 64);
        Expect(std::wstring(shown) == L"ERROR !6102: Device not opened", "wrong text");
        PostMessageW(box, WM_COMMAND, IDOK, 0);
      },
      [&] { brevant::ErrorBox(error, title); });
}

const std::pair<const char*, void (*)()> kChecks[] = {
    {"Esc cancels", [] { DialogCheck(false, 0, "E", -1); }},
    {"the close box cancels; no instruction, no label", [] { DialogCheck(false, 0, "LC", -1); }},
    {"a row and Enter return its device", [] { DialogCheck(false, 2, "PN", 2); }},
    {"a double click confirms the row", [] { DialogCheck(false, 1, "D", 1); }},
    {"F5 rescans and chooses the first row", [] { DialogCheck(false, 3, "FN", 0); }},
    {"Shift+F5 does nothing", [] { DialogCheck(false, 3, "SN", 3); }},
    {"resizing moves Refresh and the buttons along", [] { DialogCheck(false, 0, "RE", -1); }},
    {"a two-channel module and Enter return its devices", [] { DialogCheck(true, -2, "MNE", -2); }},
    {"Enter does nothing while OK is disabled", [] { DialogCheck(true, -1, "NE", -1); }},
    {"ErrorBox shows the error under its title",
     [] { BoxCheck("Error in FTDI Device Selection"); }},
    {"ErrorBox without a title shows the library's name", [] { BoxCheck(""); }},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) pictures = argv[1];
  brevant::UseDriver("virtual");
  brevant::InstallWin32View();
  int failed = 0;
  for (const auto& [name, run] : kChecks) {
    failure.clear();
    run();
    std::printf("%s: %s%s\n", failure.empty() ? "ok  " : "FAIL", name,
                failure.empty() ? "" : (" (" + failure + ")").c_str());
    failed += failure.empty() ? 0 : 1;
  }
  std::printf("%d of %zu checks failed\n", failed, std::size(kChecks));
  return failed == 0 ? 0 : 1;
}
