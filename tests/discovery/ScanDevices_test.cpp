// The scan on benches built for it: sorting by signed location, failed devices
// last, a failed count, a device that vanishes between the count and its reads;
// the log of a scan; the O(n log n) sort against the exchange of neighbours.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "brevant/clsDeviceList.h"
#include "discovery/ScanOrder.h"
#include "support/BenchTest.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;
using virt::FaultKind;

struct ScanCase {
  std::string name;
  std::vector<uint32_t> locations;  // device i: serial "S<i>", description "D<i>"
  std::vector<int16_t> expected;    // Device by position
  size_t failed = 0;                // how many of them, at the end, have Error set
  std::vector<virt::ListFault> listFaults = {};
  std::vector<virt::Fault> faults = {};
  friend void PrintTo(const ScanCase& c, std::ostream* os) { *os << c.name; }
};

const ScanCase kScanCases[] = {
    {"EmptyMachine", {}, {}},
    {"SortsByLocation", {0x0322, 0x0121, 0x0122}, {1, 2, 0}},
    {"FailedLowestIndexGoesLast",
     {0x0101, 0x0322, 0x0121},
     {2, 1, 0},
     1,
     {{.device = 0, .what = ft::kOpenByDescription}}},
    {"AllFailedKeepDriverOrder",
     {0x0300, 0x0200, 0x0100},
     {0, 1, 2},
     3,
     {{.device = 0, .what = ft::kOpenBySerialNumber},
      {.device = 1, .what = ft::kOpenByDescription, .status = ft::kDeviceNotFound},
      {.device = 2, .what = ft::kOpenByLocation, .status = ft::kOtherError}}},
    {"TopBitSortsFirst", {0x0121, 0x80000001}, {1, 0}},
    {"CountFails", {0x0121, 0x0122}, {}, 0, {}, {{.call = Call::kListDevices, .nth = 1}}},
    // The second list call is the first read: device 2 is gone before any read.
    {"UnpluggedBetweenCountAndReads",
     {0x0300, 0x0200, 0x0100},
     {1, 0, 2},
     1,
     {},
     {{.call = Call::kListDevices, .nth = 2, .kind = FaultKind::kVanish, .device = 2}}},
};

class ScanTest : public BenchTest, public ::testing::WithParamInterface<ScanCase> {
 protected:
  ScanTest() { bench = std::make_shared<virt::Bench>(); }
};

TEST_P(ScanTest, GivesDevicesInScanOrder) {
  const ScanCase& c = GetParam();
  for (size_t i = 0; i < c.locations.size(); ++i) {
    bench->AddDevice({"S" + std::to_string(i), "D" + std::to_string(i), c.locations[i]});
  }
  for (const auto& fault : c.listFaults) bench->Faults().AddListFault(fault);
  for (const auto& fault : c.faults) bench->Faults().Add(fault);

  clsDeviceList list;
  int32_t count = 99;  // an output only
  Array<tDeviceInfo> infos(1, 3);
  list.ScanDevices(count, infos);

  ASSERT_EQ(count, static_cast<int32_t>(c.expected.size()));
  EXPECT_EQ(infos.Allocated(), count > 0);
  for (int32_t i = 0; i < count; ++i) {
    const tDeviceInfo& info = infos[i];
    const std::string n = std::to_string(info.Device);
    EXPECT_EQ(info.Device, c.expected[i]) << i;
    EXPECT_EQ(info.Error, static_cast<size_t>(i) >= c.expected.size() - c.failed) << i;
    if (!info.Error) {
      EXPECT_EQ(std::tie(info.SerialNumber, info.Description, info.LocationID),
                std::make_tuple("S" + n, "D" + n, static_cast<int32_t>(c.locations[info.Device])));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Benches, ScanTest, ::testing::ValuesIn(kScanCases),
                         [](const auto& info) { return info.param.name; });

// Every driver call of a scan is one Level 3 line; a failed read adds its Level 1
// line and ends that device's reads. The lines themselves are the gateway's.
TEST_F(ScanTest, LogsEachDriverCall) {
  bench->AddDevice({"Q7", "Probe", 0x0121});
  bench->AddDevice({"Q8", "Bare", 0x0114});
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByDescription});
  auto log = std::make_shared<RecordingLog>();
  clsDeviceList list;
  list.Log(log);
  int32_t count = 0;
  Array<tDeviceInfo> infos;
  list.ScanDevices(count, infos);
  EXPECT_EQ(bench->Faults().Calls(Call::kListDevices), 6);
  ASSERT_EQ(log->lines.size(), 7u);
  EXPECT_EQ(log->lines[0], (LogLine{3, "FT_ListDevices (2, vbNullString, 0x80000000) = 0"}));
  EXPECT_EQ(log->lines[3], (LogLine{3, "FT_ListDevices (0, 0x00000121, 0x40000004) = 0"}));
  EXPECT_EQ(log->lines[6], (LogLine{1, "FTD2XX ERROR 4: FT I/O error"}));
}

// The exchange of neighbours, pass after pass, exactly as the scan order is defined.
void ExchangeSort(std::vector<tDeviceInfo>& r) {
  for (size_t k = r.size(); k-- > 0;) {
    for (size_t j = 1; j <= k; ++j) {
      const tDeviceInfo &a = r[j - 1], &b = r[j];
      if ((a.LocationID > b.LocationID && !a.Error && !b.Error) || (a.Error && !b.Error)) {
        std::swap(r[j - 1], r[j]);
      }
    }
  }
}

TEST(ScanOrder, SameOutcomeAsExchangeOfNeighbours) {
  std::mt19937 random(5);
  const int32_t locations[] = {INT32_MIN, -1, 0, 0x121, 0x122, 0x322, INT32_MAX};
  for (int round = 0; round < 500; ++round) {
    std::vector<tDeviceInfo> records(random() % 40);
    for (size_t i = 0; i < records.size(); ++i) {
      records[i].Device = static_cast<int16_t>(i);
      records[i].Error = random() % 4 == 0;
      records[i].LocationID = locations[random() % std::size(locations)];
    }
    std::vector<tDeviceInfo> expected = records;
    ExchangeSort(expected);
    SortScan(records);
    ASSERT_EQ(records, expected) << "round " << round;
  }
}

}  // namespace
}  // namespace brevant::testing
