#include "dialogs/frmSelectModule.h"

#include "brevant/clsDeviceList.h"
#include "dialogs/FakeDialog.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using Script = std::function<void(FakeWindow&)>;
using virt::PartKind;
constexpr char kTitle[] = "Error in FTDI Module Selection: ";

// Rows on the default bench: the four-channel module, the two-channel module,
// then device 2, whose serial number has no channel letter.
class SelectModule : public DialogTest {
 protected:
  std::vector<int16_t> Select(int32_t channels, Error& error) {
    clsDeviceList list;
    std::vector<int16_t> devices;
    error = Raised([&] {
      const Array<int16_t> result = list.DialogSelectModule(channels, "Prompt", "Instruction");
      for (int32_t i = result.LowerBound(); i <= result.UpperBound(); ++i)
        devices.push_back(result[i]);
    });
    return devices;
  }
};

struct Case {
  const char* name;
  int32_t channels;
  Script user;
  std::vector<int16_t> devices;
  int32_t number;
  std::vector<std::string> boxes;
};

TEST_F(SelectModule, WhatTheClientReceives) {
  const auto ok = [](int row) {
    return [row](FakeWindow& w) {
      w.SetSelectedItem(row), w.events.OKClick();
      if (!w.hidden) w.events.CancelClick();
    };
  };
  const Case cases[] = {
      {"four channels, first row", 4, ok(0), {3, 4, 5, 6}, 0, {}},
      {"two channels, clicked", 2, ok(1), {0, 1}, 0, {}},
      {"double click on a usable row",
       2,
       [](FakeWindow& w) { w.SetSelectedItem(1), w.events.DblClick(); },
       {0, 1},
       0,
       {}},
      {"module of other size",
       2,
       ok(0),
       {},
       errDialogCancel,
       {std::string(kTitle) + "ERROR !6965: Unexpected number of channels of the module"}},
      {"single device",
       2,
       ok(2),
       {},
       errDialogCancel,
       {std::string(kTitle) + "ERROR !6964: Item cannot be used"}},
      {"bad tag",
       2,
       [](FakeWindow& w) { w.rows[0].tag = "0x", w.events.ItemClick(0); },
       {},
       errDialogCancel,
       {std::string(kTitle) + "ERROR !6963: Invalid module selection"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    boxes.clear();
    user = c.user;
    Error e(0, "", "");
    EXPECT_EQ(Select(c.channels, e), c.devices);
    EXPECT_EQ(e.Number(), c.number);
    if (c.number != 0) {
      EXPECT_EQ(e.Description(), "Cancel was selected in the module selection dialog");
    }
    EXPECT_EQ(boxes, c.boxes);
  }
}

TEST_F(SelectModule, ChannelCountBelowOneRaisesBeforeShowing) {
  user = [](FakeWindow&) { ADD_FAILURE() << "shown"; };
  Error e(0, "", "");
  Select(0, e);
  EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80041B31));
  EXPECT_EQ(e.Source() + ": " + e.Description(), "frmSelectModule: Invalid parameter");
  EXPECT_FALSE(window->shown);
}

TEST_F(SelectModule, RowTexts) {
  bench = std::make_shared<virt::Bench>();
  bench->AddPart(PartKind::kFT2232H, "BV22H010", 0x012F);
  bench->AddPart(PartKind::kFT232H, "BV23H011A", 0x0400);
  bench->AddDevice({"BV2MIX1A", "Left", 0x0500});
  bench->AddDevice({"BV2MIX1B", "Right", 0x0501});
  bench->AddDevice({"BV2MIX1C", "Gone", 0x0502});
  bench->Faults().AddListFault({.device = 5, .what = ft::kOpenByDescription});
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  user = [](FakeWindow& w) {
    EXPECT_EQ(w.design.Caption, "Select FTDI Module");
    EXPECT_EQ(w.design.Headers, (std::array<std::string, 4>{"Devices", "Location IDs",
                                                            "Serial Number", "Description"}));
    EXPECT_EQ(w.design.ColumnWidths, (std::array<int, 4>{900, 1500, 1500, 2220}));
    EXPECT_EQ(At(w.layout, DialogControl::kRefresh), (ControlRect{5100, 2370, 1200, 315}));
    EXPECT_EQ(w.Texts(),
              (std::vector<std::string>{"0, 1|0x0000012F-30|BV22H010|Dual RS232-HS",
                                        "2|0x00000400|BV23H011A|Single RS232-HS",
                                        "3, 4|0x00000500-1|BV2MIX1|Left, Right", "5|Error!||"}));
    EXPECT_FALSE(w.okEnabled);  // the first module has two channels, not one
    w.SetSelectedItem(1);
    EXPECT_TRUE(w.okEnabled);
    w.events.OKClick();
  };
  Error e(0, "", "");
  EXPECT_EQ(Select(1, e), std::vector<int16_t>{2});
}

TEST_F(SelectModule, RefreshAfterUnplugChoosesFirstRow) {
  user = [this](FakeWindow& w) {
    w.SetSelectedItem(1);
    bench->Unplug(0);  // channel A of the two-channel part: B is left alone
    w.events.RefreshClick();
    EXPECT_EQ(w.Texts(), (std::vector<std::string>{"2, 3, 4, 5|0x00000121-4|BV42H003|Quad RS232-HS",
                                                   "1|0x00000114|BV23H002|Single RS232-HS",
                                                   "0|0x00000232|BV22H001B|Dual RS232-HS B"}));
    EXPECT_EQ(w.current, 0);
    EXPECT_FALSE(w.okEnabled);
    w.events.CancelClick();
  };
  Error e(0, "", "");
  Select(2, e);
  EXPECT_EQ(e.Number(), errDialogCancel);
}

}  // namespace
}  // namespace brevant::testing
