// Drives the native selection dialogs and ErrorBox on the virtual bench without a
// person: a second thread waits for each window and acts on it as a user would
// (keys, a double click, the close box, resizing); the main thread checks what
// the call returned or raised. Prints one line a check; exit status 1 if any
// failed. With a folder as argument, saves a picture of each dialog there.
#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "brevant/Driver.h"
#include "brevant/clsDeviceList.h"
#include "gateway/Project.h"

namespace {

using brevant::Error;

std::string pictures;  // where pictures go; empty: none
std::string failure;   // what the user's thread found wrong

HWND WaitFor(const wchar_t* caption) {
  for (int tries = 0; tries < 500; ++tries) {
    HWND window = FindWindowW(nullptr, caption);
    if (window != nullptr && IsWindowVisible(window)) return window;
    Sleep(20);
  }
  // The dialog's loop would wait for ever.
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
  GetKeyboardState(keys);
  keys[VK_SHIFT] = 0x80;
  SetKeyboardState(keys);
  SendMessageW(list, WM_KEYUP, VK_F5, 0xC0000001);
  keys[VK_SHIFT] = 0;
  SetKeyboardState(keys);
  AttachThreadInput(GetCurrentThreadId(), dialogThread, FALSE);
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

void Expect(bool good, const std::string& what) {
  if (!good && failure.empty()) failure = what;
}

// A 24-bit BMP of the whole window as it is on the screen, once it has painted.
void Picture(HWND window, const std::string& name) {
  if (pictures.empty()) return;
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  Sleep(300);
  RECT frame{};
  GetWindowRect(window, &frame);
  const int width = frame.right - frame.left;
  const int height = frame.bottom - frame.top;
  HDC screen = GetWindowDC(window);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ old = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
  SelectObject(memory, old);
  BITMAPINFOHEADER info{sizeof info, width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  const DWORD stride = (static_cast<DWORD>(width) * 3 + 3) & ~3u;
  std::string pixels(stride * static_cast<DWORD>(height), '\0');
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

// The number of the error a call raised, 0 if none.
int32_t Raised(const std::function<void()>& call, std::string& description) {
  try {
    call();
  } catch (const Error& e) {
    description = e.Description();
    return e.Number();
  }
  return 0;
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
  call();
  person.join();
}

constexpr wchar_t kDevice[] = L"Select FTDI Device";
constexpr wchar_t kModule[] = L"Select FTDI Module";
const std::string kDeviceCancel = "Cancel was selected in the device selection dialog";
const std::string kModuleCancel = "Cancel was selected in the module selection dialog";

// Opens the device dialog for `user`; expects Cancel, or the device in row
// `row`'s first column.
void DeviceDialog(const std::function<void(HWND)>& user, int row, const std::string& instruction) {
  std::string expected = kDeviceCancel;
  std::string got;
  int32_t number = 0;
  WithUser(
      kDevice,
      [&](HWND dialog) {
        if (row >= 0) expected = Cell(ListOf(dialog), row);
        user(dialog);
      },
      [&] {
        brevant::clsDeviceList list;
        number = Raised(
            [&] { got = std::to_string(list.DialogSelectDevice("Pick one", instruction)); }, got);
      });
  Expect(row >= 0 ? number == 0 : number == brevant::errDialogCancel, "wrong error number");
  Expect(got == expected, "got \"" + got + "\", expected \"" + expected + "\"");
}

// The first row of the module list whose choice enables OK, or does not.
int RowWhereOK(HWND dialog, bool enabled) {
  HWND list = ListOf(dialog);
  const auto rows = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
  for (int row = 0; row < rows; ++row) {
    Choose(list, row);
    if ((IsWindowEnabled(ButtonOf(dialog, L"OK")) != FALSE) == enabled) return row;
  }
  Expect(false, "no such row");
  return -1;
}

// Opens the module dialog for two channels, chooses the first row that can or
// cannot be confirmed, and presses Enter, then Esc. Expects that row's devices,
// or Cancel.
void ModuleDialog(bool usable) {
  std::string expected = kModuleCancel;
  std::string got;
  WithUser(
      kModule,
      [&](HWND dialog) {
        HWND list = ListOf(dialog);
        const int row = RowWhereOK(dialog, usable);
        if (usable) {
          expected = Cell(list, row);
          Picture(dialog, "select-module");
        }
        Key(list, VK_RETURN);
        Key(list, VK_ESCAPE);
      },
      [&] {
        brevant::clsDeviceList list;
        Raised(
            [&] {
              const auto devices = list.DialogSelectModule(2, "Pick a module", "");
              got = std::to_string(devices[0]) + ", " + std::to_string(devices[1]);
            },
            got);
      });
  Expect(got == expected, "got \"" + got + "\", expected \"" + expected + "\"");
}

void Box(const std::string& title, const wchar_t* caption) {
  std::string text;
  WithUser(
      caption,
      [&](HWND box) {
        wchar_t shown[128] = {};
        GetDlgItemTextW(box, 0xFFFF, shown, 128);
        Expect(std::wstring(shown) == L"ERROR !6102: Device not opened", "wrong text");
        PostMessageW(box, WM_COMMAND, IDOK, 0);
      },
      [&] {
        brevant::ErrorBox(Error(brevant::kErrDeviceNotOpened, "clsFTD2xx", "Device not opened"),
                          title);
      });
}

struct Check {
  const char* name;
  std::function<void()> run;
};

const Check kChecks[] = {
    {"Esc cancels", [] { DeviceDialog([](HWND d) { Key(ListOf(d), VK_ESCAPE); }, -1, "x"); }},
    {"the close box cancels; an empty instruction hides its label",
     [] {
       DeviceDialog(
           [](HWND d) {
             HWND prompt = FindWindowExW(d, nullptr, L"Static", nullptr);
             HWND instruction = FindWindowExW(d, prompt, L"Static", nullptr);
             Expect(IsWindowVisible(prompt) && !IsWindowVisible(instruction), "labels");
             PostMessageW(d, WM_CLOSE, 0, 0);
           },
           -1, "");
     }},
    {"a row and Enter return its device",
     [] {
       DeviceDialog(
           [](HWND d) {
             Choose(ListOf(d), 2);
             Picture(d, "select-device");
             Key(ListOf(d), VK_RETURN);
           },
           2, "x");
     }},
    {"a double click confirms the row",
     [] {
       DeviceDialog(
           [](HWND d) {
             HWND list = ListOf(d);
             Choose(list, 1);
             RECT cell{LVIR_LABEL, 0, 0, 0};
             SendMessageW(list, LVM_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&cell));
             PostMessageW(list, WM_LBUTTONDBLCLK, MK_LBUTTON,
                          MAKELPARAM(cell.left + 2, cell.top + 2));
           },
           1, "x");
     }},
    {"F5 rescans and chooses the first row",
     [] {
       DeviceDialog(
           [](HWND d) {
             Choose(ListOf(d), 3);
             Key(ListOf(d), VK_F5);
             Key(ListOf(d), VK_RETURN);
           },
           0, "x");
     }},
    {"Shift+F5 does nothing",
     [] {
       DeviceDialog(
           [](HWND d) {
             Choose(ListOf(d), 3);
             ShiftF5(ListOf(d));
             Key(ListOf(d), VK_RETURN);
           },
           3, "x");
     }},
    {"resizing keeps Refresh at the list's right edge and the buttons at the bottom",
     [] {
       DeviceDialog(
           [](HWND d) {
             SetWindowPos(d, nullptr, 0, 0, 700, 400, SWP_NOMOVE | SWP_NOZORDER);
             RECT list{}, refresh{}, ok{}, client{};
             GetWindowRect(ListOf(d), &list);
             GetWindowRect(ButtonOf(d, L"Refresh"), &refresh);
             GetWindowRect(ButtonOf(d, L"OK"), &ok);
             GetClientRect(d, &client);
             MapWindowPoints(nullptr, d, reinterpret_cast<POINT*>(&ok), 2);
             const int fromBottom = client.bottom - ok.top;  // 420 twips at 15 a pixel
             Expect(refresh.right == list.right && fromBottom >= 27 && fromBottom <= 29, "layout");
             Key(ListOf(d), VK_ESCAPE);
           },
           -1, "x");
     }},
    {"a module of two channels and Enter return its devices", [] { ModuleDialog(true); }},
    {"Enter does nothing while OK is disabled", [] { ModuleDialog(false); }},
    {"ErrorBox shows the error under its title",
     [] { Box("Error in FTDI Device Selection", L"Error in FTDI Device Selection"); }},
    {"ErrorBox without a title shows the library's name", [] { Box("", L"Brevant"); }},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) pictures = argv[1];
  brevant::UseDriver("virtual");
  int failed = 0;
  for (const Check& check : kChecks) {
    failure.clear();
    check.run();
    std::printf("%s: %s%s\n", failure.empty() ? "ok  " : "FAIL", check.name,
                failure.empty() ? "" : (" (" + failure + ")").c_str());
    failed += failure.empty() ? 0 : 1;
  }
  std::printf("%d of %zu checks failed\n", failed, std::size(kChecks));
  return failed == 0 ? 0 : 1;
}
