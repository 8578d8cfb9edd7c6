// Grouping of scan records into modules: the three signs (letter, stem, location
// one up) and the description rules, then what happens to the caller's arrays
// and the two generic errors.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "brevant/clsDeviceList.h"
#include "support/BenchTest.h"
#include "support/Raised.h"

namespace brevant::testing {
namespace {

struct Module {
  std::string serial;
  std::string description;
  std::vector<int16_t> devices;  // channel A first
};

struct DiscernCase {
  std::string name;
  std::vector<tDeviceInfo> records;  // scan order; Device is the position unless given
  std::vector<Module> expected;
  friend void PrintTo(const DiscernCase& c, std::ostream* os) { *os << c.name; }
};

tDeviceInfo D(std::string serial, std::string description, int32_t location, int16_t device = -1,
              bool error = false) {
  return {device, error, std::move(serial), std::move(description), location};
}

const DiscernCase kCases[] = {
    {"WorkedExample",
     {D("QX17A", "Twin Port A", 0x0131, 2), D("QX17B", "Twin Port B", 0x0132, 3),
      D("ZK4406TR", "Cable", 0x0211, 0), D("MM900A", "Sensor", 0x0341, 1)},
     {{"QX17", "Twin Port", {2, 3}}, {"MM900", "Sensor", {1}}}},
    {"FourChannels",
     {D("Q4A", "Quad A", 0x121), D("Q4B", "Quad B", 0x122), D("Q4C", "Quad C", 0x123),
      D("Q4D", "Quad D", 0x124)},
     {{"Q4", "Quad", {0, 1, 2, 3}}}},
    {"ChannelBFailed",
     {D("Q4A", "Quad A", 0x121), D("Q4B", "Quad B", 0x122, -1, true), D("Q4C", "Quad C", 0x123),
      D("Q4D", "Quad D", 0x124)},
     {{"Q4", "Quad", {0}}}},
    {"ChannelBEmptySerial",
     {D("Q4A", "Quad A", 0x121), D("", "Quad B", 0x122), D("Q4C", "Quad C", 0x123)},
     {{"Q4", "Quad", {0}}}},
    {"LocationGap", {D("T1A", "Twin A", 0x121), D("T1B", "Twin B", 0x123)}, {{"T1", "Twin", {0}}}},
    {"BBeforeA", {D("T1B", "Twin B", 0x121), D("T1A", "Twin A", 0x122)}, {{"T1", "Twin", {1}}}},
    {"TwoPartsBackToBack",
     {D("X1A", "Twin A", 0x121), D("X1B", "Twin B", 0x122), D("X2A", "Twin A", 0x123),
      D("X2B", "Twin B", 0x124)},
     {{"X1", "Twin", {0, 1}}, {"X2", "Twin", {2, 3}}}},
    {"OtherLetterOrDigit", {D("SN1234", "Cable", 0x121), D("SNR", "Cable", 0x131)}, {}},
    {"LowerCaseLetters",
     {D("ab12a", "Twin a", 0x121), D("ab12b", "Twin B", 0x122)},
     {{"ab12", "Twin", {0, 1}}}},
    {"StemCountsCase",
     {D("AB12A", "Twin A", 0x121), D("ab12B", "Twin B", 0x122)},
     {{"AB12", "Twin", {0}}}},
    {"OneCharacterSerial", {D("A", "Bare", 0x121)}, {{"", "Bare", {0}}}},
    {"SuffixOfOtherLetterStays", {D("Q1A", "Twin B", 0x121)}, {{"Q1", "Twin B", {0}}}},
    {"SuffixNeedsBlank", {D("Q1A", "TwinA", 0x121)}, {{"Q1", "TwinA", {0}}}},
    {"DescriptionsDifferStayEmpty",
     {D("Q4A", "Left A", 0x121), D("Q4B", "Right B", 0x122), D("Q4C", "Left C", 0x123)},
     {{"Q4", "", {0, 1, 2}}}},
};

class DiscernTest : public BenchTest, public ::testing::WithParamInterface<DiscernCase> {
 protected:
  static Array<tDeviceInfo> Records(std::vector<tDeviceInfo> records) {
    for (size_t i = 0; i < records.size(); ++i) {
      if (records[i].Device < 0) records[i].Device = static_cast<int16_t>(i);
    }
    return Array<tDeviceInfo>(std::span<const tDeviceInfo>(records));
  }

  clsDeviceList list;
  int32_t moduleCount = -1;
  Array<tModuleInfo> modules{{7, {}, "", ""}, {8, {}, "", ""}, {9, {}, "", ""}};
};

TEST_P(DiscernTest, FindsModules) {
  const DiscernCase& c = GetParam();
  const Array<tDeviceInfo> records = Records(c.records);
  for (int run = 0; run < 2; ++run) {  // a second run on the same arrays agrees
    list.DiscernModules(records.Count(), records, moduleCount, modules);
    ASSERT_EQ(moduleCount, static_cast<int32_t>(c.expected.size()));
    if (moduleCount == 0) {
      EXPECT_EQ(modules.Count(), 3);  // the caller's array, untouched
      continue;
    }
    ASSERT_EQ(modules.Count(), moduleCount);
    for (int32_t m = 0; m < moduleCount; ++m) {
      SCOPED_TRACE(m);
      const tModuleInfo& module = modules[m];
      EXPECT_EQ(module.SerialNumber, c.expected[m].serial);
      EXPECT_EQ(module.Description, c.expected[m].description);
      ASSERT_EQ(module.DeviceCount, static_cast<int32_t>(c.expected[m].devices.size()));
      ASSERT_EQ(module.DeviceInfos.Count(), module.DeviceCount);
      for (int32_t k = 0; k < module.DeviceCount; ++k) {
        EXPECT_EQ(module.DeviceInfos[k].Device, c.expected[m].devices[k]);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Topologies, DiscernTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

// Nothing to read leaves ModuleInfos as passed. Running past the records raises 9,
// and a module ending at the largest location raises 6 on the next device tested;
// both keep what was built.
TEST_F(DiscernTest, ShortCountsAndGenericErrors) {
  const Array<tDeviceInfo> one = Records({D("Q1A", "One", 0x121)});
  const struct {
    Array<tDeviceInfo> records;
    int32_t count, number, modulesBuilt;
  } cases[] = {
      {one, 0, 0, 0},
      {one, -1, 0, 0},
      {one, 2, kErrSubscriptOutOfRange, 1},
      {Array<tDeviceInfo>(), 1, kErrSubscriptOutOfRange, 0},
      {Records({D("Q1A", "One", INT32_MAX), D("Q1B", "One", 0)}), 2, kErrOverflow, 1},
  };
  for (const auto& c : cases) {
    const Error e = Raised([&] { list.DiscernModules(c.count, c.records, moduleCount, modules); });
    EXPECT_EQ(e.Number(), c.number) << c.count;
    EXPECT_EQ(e.Source(), c.number ? "Brevant.clsDeviceList" : "");
    EXPECT_EQ(moduleCount, c.modulesBuilt);
    if (c.number == 0) {
      EXPECT_EQ(modules.Count(), 3);
    }
  }
}

}  // namespace
}  // namespace brevant::testing
