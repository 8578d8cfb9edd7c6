#include "dialogs/frmSelectDevice.h"

#include <stdexcept>

#include "brevant/clsDeviceList.h"
#include "brevant/icLog.h"
#include "dialogs/FakeDialog.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using SelectDevice = DialogTest;
const std::string kBox = "Error in FTDI Device Selection: ERROR !";

// Rows on the default bench: devices 2, 3, 4, 5, 6, 0, 1 by location; with the
// fault below device 1 fails and stays last. Returned: the device, or the error.
struct Case {
  const char* script;
  int32_t result;
  std::string box;
};

TEST_F(SelectDevice, WhatTheClientReceives) {
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByLocation});
  // "ok": the record's Device, not its position; "": the window closed.
  // clang-format off
  const Case cases[] = {
      {"ok", 2, ""}, {"c3 ok", 5, ""}, {"c5 dbl", 0, ""}, {"c5 f5 ok", 2, ""}, {"c5 sf5 ok", 0, ""},
      {"cancel", errDialogCancel, ""}, {"", errDialogCancel, ""},
      {"bad1 cancel", errDialogCancel, kBox + "6952: Invalid device selection"},
      {"c6 dbl ok cancel?", errDialogCancel, kBox + "6953: Error accessing device"}};
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    boxes.clear();
    user = Script(c.script);
    clsDeviceList list;
    int32_t result = 0;
    const Error e = Raised([&] { result = list.DialogSelectDevice("Prompt", "Instruction"); });
    EXPECT_EQ(e.Number() != 0 ? e.Number() : result, c.result);
    if (e.Number() != 0) {
      EXPECT_EQ(e.Source() + ": " + e.Description(),
                "clsDeviceList: Cancel was selected in the device selection dialog");
    }
    EXPECT_EQ(boxes, c.box.empty() ? std::vector<std::string>{} : std::vector{c.box});
  }
}

TEST_F(SelectDevice, DesignRowsAndPrompts) {
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByLocation});
  user = [](FakeWindow& w) {
    EXPECT_EQ(w.design.Caption, "Select FTDI Device");
    EXPECT_EQ(w.design.ColumnWidths, (std::array<int, 4>{780, 1500, 1500, 2220}));
    EXPECT_EQ(w.prompts, (std::vector<std::string>{"(hidden)", "Pick one"}));
    EXPECT_EQ(w.Texts().front(), "2|0x00000114|BV23H002|Single RS232-HS");
    EXPECT_EQ(w.Texts().back(), "1|Error!||");
    EXPECT_TRUE(w.current == 0 && w.okEnabled);
    w.Run("c6");
    EXPECT_FALSE(w.okEnabled);
  };
  clsDeviceList list;
  EXPECT_EQ(Raised([&] { list.DialogSelectDevice("", "Pick one"); }).Number(), errDialogCancel);
}

TEST_F(SelectDevice, RefreshSeesPluggingAndVanishing) {
  while (bench->DeviceCount() > 0) bench->Unplug(0);
  user = [this](FakeWindow& w) {
    EXPECT_TRUE(w.rows.empty() && !w.okEnabled);
    bench->AddPart(virt::PartKind::kFT2232H, "BV22H009", 0x0300);
    EXPECT_TRUE(w.rows.empty());  // nothing shows before a refresh
    w.events.RefreshClick();
    EXPECT_TRUE(w.rows.size() == 2 && w.okEnabled);
    // Channel B goes in the middle of the scan: counted, it stays as a failed row.
    const int calls = bench->Faults().Calls(virt::Call::kListDevices);
    bench->Faults().Add({.call = virt::Call::kListDevices,
                         .nth = calls + 3,
                         .kind = virt::FaultKind::kVanish,
                         .device = 1});
    w.Run("f5");
    EXPECT_EQ(w.Texts(),
              (std::vector<std::string>{"0|0x00000300|BV22H009A|Dual RS232-HS A", "1|Error!||"}));
    EXPECT_EQ(w.pointers, (std::vector<int>{11, 0, 11, 0}));
    w.Run("ok");
  };
  clsDeviceList list;
  EXPECT_EQ(list.DialogSelectDevice("a", "b"), 0);
}

// A C++ sink may throw what it likes; the handler still shows it, pointer back
// first, and the dialog stays usable.
TEST_F(SelectDevice, ASinkThatThrowsDuringRefreshEndsInTheErrorBox) {
  struct Throwing : icLog {
    bool armed = false;
    void LogEntry(int32_t, const std::string&) override {
      if (armed) throw std::runtime_error("sink full");
    }
  };
  auto sink = std::make_shared<Throwing>();
  user = [&](FakeWindow& w) {
    sink->armed = true;
    w.events.RefreshClick();
    sink->armed = false;
    EXPECT_EQ(w.pointers, (std::vector<int>{11, 0}));
    w.Run("ok");
  };
  clsDeviceList list;
  list.Log(sink);
  EXPECT_EQ(list.DialogSelectDevice("a", "b"), 2);
  EXPECT_EQ(boxes,
            std::vector<std::string>{"Error in FTDI Device Selection: ERROR !-196609: sink full"});
}

TEST_F(SelectDevice, FormWithoutSelection) {
  const Error e = Raised([] { frmSelectDevice().Apply(); });
  EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80041B27));
  EXPECT_EQ(e.Source() + ": " + e.Description(), "frmSelectDevice: No device selected");
}

TEST_F(SelectDevice, ResizeRules) {
  // Client area (0 width: minimized) -> list width and height, top of the buttons.
  const std::array<int, 5> cases[] = {
      {9000, 6000, 8760, 4770, 5580}, {1000, 500, 3840, 540, 1350}, {0, 6000, 6060, 1560, 2370}};
  for (const auto& [width, height, listWidth, listHeight, buttonsTop] : cases) {
    user = [&](FakeWindow& w) {
      w.width = width, w.height = height;
      w.events.Resize();
      const DialogLayout& l = w.layout;
      EXPECT_EQ(At(l, DialogControl::kList), (ControlRect{120, 690, listWidth, listHeight}));
      EXPECT_EQ(At(l, DialogControl::kRefresh),
                (ControlRect{listWidth - 1080, buttonsTop, 1200, 315}));
      EXPECT_EQ(At(l, DialogControl::kCancel), (ControlRect{1440, buttonsTop, 1200, 315}));
      EXPECT_EQ(At(l, DialogControl::kInstruction).Width, listWidth);
    };
    clsDeviceList list;
    Raised([&] { list.DialogSelectDevice("", ""); });
  }
}

}  // namespace
}  // namespace brevant::testing
