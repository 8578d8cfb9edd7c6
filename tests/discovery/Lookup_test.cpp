// FindDevice and FindModule on the default bench and on benches with look-alikes:
// counts, the first match by location, outputs untouched on no match, and the
// argument checks that come before any driver call.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "brevant/clsDeviceList.h"
#include "support/BenchTest.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

using virt::PartKind;

struct LookupCase {
  std::string name;
  std::function<void(virt::Bench&)> extra;  // changes to the default bench
  int32_t channels;                         // 0: FindDevice
  std::string description;
  int32_t found;
  std::vector<int16_t> devices;  // the first match's numbers
  friend void PrintTo(const LookupCase& c, std::ostream* os) { *os << c.name; }
};

void Empty(virt::Bench& b) {
  while (b.DeviceCount() > 0) b.Unplug(0);
}
void TwoProbes(virt::Bench& b) {
  b.AddDevice({"P1", "Probe", 0x0300});
  b.AddDevice({"P2", "Probe", 0x0200});
}
void ProbeUnreadable(virt::Bench& b) {
  b.AddDevice({"P1", "Probe", 0x0300});
  b.Faults().AddListFault({.device = 7, .what = ft::kOpenByLocation});
}
void TwinThenQuadProbe(virt::Bench& b) {
  b.AddPart(PartKind::kFT2232H, "PT", 0x0411, "Probe");
  b.AddPart(PartKind::kFT4232H, "PQ", 0x0421, "Probe");
}
void TwoTwinProbes(virt::Bench& b) {
  b.AddPart(PartKind::kFT2232H, "PT", 0x0411, "Probe");
  b.AddPart(PartKind::kFT2232H, "PS", 0x0311, "Probe");
}
void Disagreeing(virt::Bench& b) {
  b.AddDevice({"MXA", "Mixed", 0x0511});
  b.AddDevice({"MXB", "Other", 0x0512});
}

const LookupCase kCases[] = {
    {"DeviceOnEmptyMachine", Empty, 0, "Single RS232-HS", 0, {}},
    {"ModuleOnEmptyMachine", Empty, 2, "Dual RS232-HS", 0, {}},
    {"DeviceUnique", nullptr, 0, "Single RS232-HS", 1, {2}},
    {"DeviceWithChannelSuffix", nullptr, 0, "Quad RS232-HS C", 1, {5}},
    {"DeviceCaseDiffers", nullptr, 0, "single rs232-hs", 0, {}},
    {"DeviceOnlyStartOfText", nullptr, 0, "Single RS232", 0, {}},
    {"DeviceTwiceFirstByLocation", TwoProbes, 0, "Probe", 2, {8}},
    {"DeviceFailedNeverCounted", ProbeUnreadable, 0, "Probe", 0, {}},
    {"ModuleOfTwo", nullptr, 2, "Dual RS232-HS", 1, {0, 1}},
    {"ModuleOfFour", nullptr, 4, "Quad RS232-HS", 1, {3, 4, 5, 6}},
    {"ModuleOtherChannelCount", nullptr, 1, "Dual RS232-HS", 0, {}},
    {"ModuleWithChannelSuffix", nullptr, 2, "Dual RS232-HS A", 0, {}},
    {"DeviceOfNoModuleInvisible", nullptr, 1, "Single RS232-HS", 0, {}},
    {"ModuleTwiceFirstByLocation", TwoTwinProbes, 2, "Probe", 2, {9, 10}},
    {"ModuleOnlySecondHasChannels", TwinThenQuadProbe, 4, "Probe", 1, {9, 10, 11, 12}},
    {"ModuleWithoutDescription", Disagreeing, 2, "Mixed", 0, {}},
};

class LookupTest : public BenchTest, public ::testing::WithParamInterface<LookupCase> {};

TEST_P(LookupTest, CountsAndGivesFirstMatch) {
  const LookupCase& c = GetParam();
  if (c.extra) c.extra(*bench);
  clsDeviceList list;
  int16_t device = 77;
  Array<int16_t> devices{42};
  const int32_t found = c.channels == 0 ? list.FindDevice(c.description, device)
                                        : list.FindModule(c.channels, c.description, devices);
  EXPECT_EQ(found, c.found);
  if (c.found == 0) {
    EXPECT_EQ(device, 77);
    EXPECT_EQ(devices, Array<int16_t>{42});
  } else if (c.channels == 0) {
    EXPECT_EQ(device, c.devices[0]);
  } else {
    EXPECT_EQ(devices, Array<int16_t>(std::span<const int16_t>(c.devices)));
  }
}

INSTANTIATE_TEST_SUITE_P(Benches, LookupTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

TEST_F(LookupTest, BadArgumentsRaiseBeforeTheDriver) {
  clsDeviceList list;
  int16_t device = 77;
  Array<int16_t> devices{42};
  const std::function<void()> calls[] = {
      [&] { list.FindDevice("", device); },
      [&] { list.FindModule(2, "", devices); },
      [&] { list.FindModule(0, "Dual RS232-HS", devices); },
      [&] { list.FindModule(-1, "Dual RS232-HS", devices); },
  };
  for (const auto& call : calls) {
    const Error e = Raised(call);
    EXPECT_EQ(e.Number(), errParameter);
    EXPECT_EQ(e.Source(), "clsDeviceList");
    EXPECT_EQ(e.Description(), "Invalid parameter");
  }
  EXPECT_EQ(bench->Faults().Calls(virt::Call::kListDevices), 0);
  EXPECT_EQ(device, 77);
  EXPECT_EQ(devices, Array<int16_t>{42});
}

}  // namespace
}  // namespace brevant::testing
