#include "dialogs/frmSelectModule.h"

#include "brevant/clsDeviceList.h"
#include "dialogs/FakeDialog.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

const std::string kBox = "Error in FTDI Module Selection: ERROR !";

class SelectModule : public DialogTest {
 protected:
  // The numbers the client receives, or the error's number alone.
  std::vector<int32_t> Select(int32_t channels) {
    clsDeviceList list;
    std::vector<int32_t> devices;
    const Error e = Raised([&] {
      const Array<int16_t> result = list.DialogSelectModule(channels, "Prompt", "Instruction");
      for (int32_t i = 0; i < result.Count(); ++i) devices.push_back(result[i]);
    });
    if (e.Number() == errDialogCancel) {
      EXPECT_EQ(e.Description(), "Cancel was selected in the module selection dialog");
    }
    return e.Number() != 0 ? std::vector{e.Number()} : devices;
  }
};

// Rows on the default bench: the four-channel module, the two-channel module,
// then device 2, whose serial number has no channel letter.
struct Case {
  int32_t channels;
  const char* script;
  std::vector<int32_t> result;
  std::string box;
};

TEST_F(SelectModule, WhatTheClientReceives) {
  const Case cases[] = {
      {4, "ok", {3, 4, 5, 6}, ""},
      {2, "c1 ok", {0, 1}, ""},
      {2, "c1 dbl", {0, 1}, ""},
      {2,
       "ok cancel?",
       {errDialogCancel},
       kBox + "6965: Unexpected number of channels of the module"},
      {2, "c2 dbl ok cancel?", {errDialogCancel}, kBox + "6964: Item cannot be used"},
      {2, "bad0 cancel", {errDialogCancel}, kBox + "6963: Invalid module selection"},
      {0, "", {static_cast<int32_t>(0x80041B31)}, ""},  // "Invalid parameter", no window made
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    boxes.clear();
    windows = 0;
    user = c.channels > 0 ? Script(c.script) : [](FakeWindow&) { ADD_FAILURE() << "shown"; };
    EXPECT_EQ(Select(c.channels), c.result);
    EXPECT_EQ(windows, c.channels > 0 ? 1 : 0);
    EXPECT_EQ(boxes, c.box.empty() ? std::vector<std::string>{} : std::vector{c.box});
  }
}

TEST_F(SelectModule, RowTexts) {
  bench = std::make_shared<virt::Bench>();
  bench->AddPart(virt::PartKind::kFT2232H, "BV22H010", 0x012F);
  bench->AddPart(virt::PartKind::kFT232H, "BV23H011A", 0x0400);
  bench->AddDevice({"BV2MIX1A", "Left", 0x0500});
  bench->AddDevice({"BV2MIX1B", "Right", 0x0501});
  bench->AddDevice({"BV2MIX1C", "Gone", 0x0502});
  bench->Faults().AddListFault({.device = 5, .what = ft::kOpenByDescription});
  SetDriver(std::make_shared<virt::VirtualDriver>(bench));
  user = [](FakeWindow& w) {
    EXPECT_EQ(w.design.Caption, "Select FTDI Module");
    EXPECT_EQ(w.design.ColumnWidths, (std::array<int, 4>{900, 1500, 1500, 2220}));
    EXPECT_EQ(At(w.layout, DialogControl::kRefresh), (ControlRect{5100, 2370, 1200, 315}));
    EXPECT_EQ(w.Texts(),
              (std::vector<std::string>{"0, 1|0x0000012F-30|BV22H010|Dual RS232-HS",
                                        "2|0x00000400|BV23H011A|Single RS232-HS",
                                        "3, 4|0x00000500-1|BV2MIX1|Left, Right", "5|Error!||"}));
    EXPECT_FALSE(w.okEnabled);  // the first module has two channels, not one
    w.Run("c1 ok");
  };
  EXPECT_EQ(Select(1), std::vector<int32_t>{2});
}

TEST_F(SelectModule, RefreshAfterUnplugChoosesFirstRow) {
  user = [this](FakeWindow& w) {
    w.Run("c1");
    bench->Unplug(0);  // channel A of the two-channel part: B is left alone
    w.Run("f5");
    EXPECT_EQ(w.Texts(), (std::vector<std::string>{"2, 3, 4, 5|0x00000121-4|BV42H003|Quad RS232-HS",
                                                   "1|0x00000114|BV23H002|Single RS232-HS",
                                                   "0|0x00000232|BV22H001B|Dual RS232-HS B"}));
    EXPECT_TRUE(w.current == 0 && !w.okEnabled);
  };
  EXPECT_EQ(Select(2), std::vector<int32_t>{errDialogCancel});
}

}  // namespace
}  // namespace brevant::testing
