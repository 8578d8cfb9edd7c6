#include "dialogs/frmSelectDevice.h"

#include "brevant/clsDeviceList.h"
#include "dialogs/FakeDialog.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using Script = std::function<void(FakeWindow&)>;
constexpr char kTitle[] = "Error in FTDI Device Selection: ";
constexpr char kCancel[] = "Cancel was selected in the device selection dialog";

using SelectDevice = DialogTest;

// Rows on the default bench: devices 2, 3, 4, 5, 6, 0, 1 by location.
struct Case {
  const char* name;
  Script user;
  int16_t device;  // returned when `number` is 0
  int32_t number;  // of the error reaching the client
  std::vector<std::string> boxes;
};

TEST_F(SelectDevice, WhatTheClientReceives) {
  clsDeviceList list;
  const Case cases[] = {
      {"OK at opening: the record's Device, not its position",
       [](FakeWindow& w) { w.events.OKClick(); },
       2,
       0,
       {}},
      {"click then OK", [](FakeWindow& w) { w.SetSelectedItem(3), w.events.OKClick(); }, 5, 0, {}},
      {"double click confirms the clicked row",
       [](FakeWindow& w) { w.SetSelectedItem(5), w.events.DblClick(); },
       0,
       0,
       {}},
      {"F5 chooses the first row again",
       [](FakeWindow& w) { w.SetSelectedItem(6), w.events.KeyUp(116, 0), w.events.OKClick(); },
       2,
       0,
       {}},
      {"F5 with Shift does nothing",
       [](FakeWindow& w) { w.SetSelectedItem(6), w.events.KeyUp(116, 1), w.events.OKClick(); },
       1,
       0,
       {}},
      {"Cancel", [](FakeWindow& w) { w.events.CancelClick(); }, 0, errDialogCancel, {}},
      {"window closed", nullptr, 0, errDialogCancel, {}},
      {"bad tag: ErrorBox, then Cancel",
       [](FakeWindow& w) { w.rows[1].tag = "x", w.events.ItemClick(1), w.events.CancelClick(); },
       0,
       errDialogCancel,
       {std::string(kTitle) + "ERROR !6952: Invalid device selection"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    boxes.clear();
    user = c.user;
    int16_t device = -1;
    const Error e = Raised([&] { device = list.DialogSelectDevice("Prompt", "Instruction"); });
    EXPECT_EQ(e.Number(), c.number);
    if (c.number == 0) {
      EXPECT_EQ(device, c.device);
    } else {
      EXPECT_EQ(e.Source() + ": " + e.Description(), std::string("clsDeviceList: ") + kCancel);
    }
    EXPECT_EQ(boxes, c.boxes);
  }
}

TEST_F(SelectDevice, DesignRowsAndPrompts) {
  clsDeviceList list;
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByLocation});
  user = [](FakeWindow& w) {
    EXPECT_EQ(w.design.Caption, "Select FTDI Device");
    EXPECT_EQ(w.design.Headers, (std::array<std::string, 4>{"Device", "Location ID",
                                                            "Serial Number", "Description"}));
    EXPECT_EQ(w.design.ColumnWidths, (std::array<int, 4>{780, 1500, 1500, 2220}));
    EXPECT_EQ(At(w.layout, DialogControl::kRefresh), (ControlRect{4980, 2370, 1200, 315}));
    EXPECT_EQ(w.prompts, (std::vector<std::string>{"(hidden)", "Pick one"}));
    EXPECT_EQ(w.Texts().front(), "2|0x00000114|BV23H002|Single RS232-HS");
    EXPECT_EQ(w.Texts().back(), "1|Error!||");
    EXPECT_EQ(w.rows.back().tag, "6");
    EXPECT_EQ(w.current, 0);
    EXPECT_TRUE(w.okEnabled);
    w.SetSelectedItem(6);  // the failed device
    EXPECT_FALSE(w.okEnabled);
    w.events.DblClick();
    EXPECT_FALSE(w.hidden);
    w.events.OKClick();  // as Enter would, were OK not disabled
    EXPECT_FALSE(w.hidden);
  };
  EXPECT_EQ(Raised([&] { list.DialogSelectDevice("", "Pick one"); }).Number(), errDialogCancel);
  EXPECT_EQ(boxes, (std::vector<std::string>{std::string(kTitle) +
                                             "ERROR !6953: Error accessing device"}));
}

TEST_F(SelectDevice, RefreshSeesPluggingAndVanishing) {
  clsDeviceList list;
  while (bench->DeviceCount() > 0) bench->Unplug(0);
  user = [this](FakeWindow& w) {
    EXPECT_TRUE(w.rows.empty());
    EXPECT_FALSE(w.okEnabled);
    bench->AddPart(virt::PartKind::kFT2232H, "BV22H009", 0x0300);
    EXPECT_TRUE(w.rows.empty());  // nothing shows before a refresh
    w.events.RefreshClick();
    EXPECT_EQ(w.rows.size(), 2u);
    EXPECT_TRUE(w.okEnabled);
    // Channel B goes in the middle of the scan: counted, it stays as a failed row.
    bench->Faults().Add({.call = virt::Call::kListDevices,
                         .nth = bench->Faults().Calls(virt::Call::kListDevices) + 3,
                         .kind = virt::FaultKind::kVanish,
                         .device = 1});
    w.events.KeyUp(116, 0);
    EXPECT_EQ(w.Texts(),
              (std::vector<std::string>{"0|0x00000300|BV22H009A|Dual RS232-HS A", "1|Error!||"}));
    EXPECT_EQ(w.pointers, (std::vector<int>{11, 0, 11, 0}));
    w.events.OKClick();
  };
  EXPECT_EQ(list.DialogSelectDevice("a", "b"), 0);
}

TEST_F(SelectDevice, FormWithoutSelection) {
  frmSelectDevice form;
  const Error e = Raised([&] { form.Apply(); });
  EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80041B27));
  EXPECT_EQ(e.Source() + ": " + e.Description(), "frmSelectDevice: No device selected");
  EXPECT_FALSE(form.OK());
}

struct ResizeCase {
  int width, height;
  bool minimized;
  ControlRect list, refresh, ok;
};

TEST_F(SelectDevice, ResizeRules) {
  clsDeviceList list;
  const ResizeCase cases[] = {
      {9000, 6000, false, {120, 690, 8760, 4770}, {7680, 5580, 1200, 315}, {120, 5580, 1200, 315}},
      {1000, 500, false, {120, 690, 3840, 540}, {2760, 1350, 1200, 315}, {120, 1350, 1200, 315}},
      {9000, 6000, true, {120, 690, 6060, 1560}, {4980, 2370, 1200, 315}, {120, 2370, 1200, 315}},
  };
  for (const ResizeCase& c : cases) {
    user = [&c](FakeWindow& w) {
      w.width = c.width, w.height = c.height, w.minimized = c.minimized;
      w.events.Resize();
      EXPECT_EQ(At(w.layout, DialogControl::kList), c.list);
      EXPECT_EQ(At(w.layout, DialogControl::kRefresh), c.refresh);
      EXPECT_EQ(At(w.layout, DialogControl::kOK), c.ok);
      EXPECT_EQ(At(w.layout, DialogControl::kInstruction).Width, c.list.Width);
    };
    Raised([&] { list.DialogSelectDevice("", ""); });
  }
}

}  // namespace
}  // namespace brevant::testing
