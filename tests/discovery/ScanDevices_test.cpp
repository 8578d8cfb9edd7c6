// The scan on benches built for it: sorting by signed location, failed devices
// last, a failed count, a device that vanishes between the count and its reads;
// the log of a scan; the O(n log n) sort against the exchange of neighbours.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "brevant/clsDeviceList.h"
#include "discovery/ScanOrder.h"
#include "support/BenchTest.h"
#include "support/Raised.h"
#include "support/RecordingLog.h"

namespace brevant::testing {
namespace {

using virt::Call;
using virt::FaultKind;

struct ScanCase {
  std::string name;
  std::vector<uint32_t> locations;  // device i: serial "S<i>", description "D<i>"
  std::vector<virt::ListFault> listFaults;
  std::vector<virt::Fault> faults;
  std::vector<std::pair<int16_t, bool>> expected;  // Device and Error, by position
  friend void PrintTo(const ScanCase& c, std::ostream* os) { *os << c.name; }
};

const virt::Fault kCountFails{.call = Call::kListDevices, .nth = 1, .status = ft::kIoError};
// The second list call is the first read, so device 2 is gone before any read.
const virt::Fault kThirdVanishes{
    .call = Call::kListDevices, .nth = 2, .kind = FaultKind::kVanish, .device = 2};

const ScanCase kScanCases[] = {
    {"EmptyMachine", {}, {}, {}, {}},
    {"SortsByLocation", {0x0322, 0x0121, 0x0122}, {}, {}, {{1, false}, {2, false}, {0, false}}},
    {"FailedLowestIndexGoesLast",
     {0x0101, 0x0322, 0x0121},
     {{.device = 0, .what = ft::kOpenByDescription}},
     {},
     {{2, false}, {1, false}, {0, true}}},
    {"AllFailedKeepDriverOrder",
     {0x0300, 0x0200, 0x0100},
     {{.device = 0, .what = ft::kOpenBySerialNumber},
      {.device = 1, .what = ft::kOpenByDescription, .status = ft::kDeviceNotFound},
      {.device = 2, .what = ft::kOpenByLocation, .status = ft::kOtherError}},
     {},
     {{0, true}, {1, true}, {2, true}}},
    {"TopBitSortsFirst", {0x0121, 0x80000001}, {}, {}, {{1, false}, {0, false}}},
    {"EqualLocationsKeepDriverOrder",
     {0x0205, 0x0205, 0x0103, 0x0205},
     {},
     {},
     {{2, false}, {0, false}, {1, false}, {3, false}}},
    {"CountFails", {0x0121, 0x0122}, {}, {kCountFails}, {}},
    {"UnpluggedBetweenCountAndReads",
     {0x0300, 0x0200, 0x0100},
     {},
     {kThirdVanishes},
     {{1, false}, {0, false}, {2, true}}},
};

class ScanTest : public BenchTest, public ::testing::WithParamInterface<ScanCase> {
 protected:
  ScanTest() { bench = std::make_shared<virt::Bench>(); }

  void Plug(const std::vector<uint32_t>& locations) {
    for (size_t i = 0; i < locations.size(); ++i) {
      bench->AddDevice({"S" + std::to_string(i), "D" + std::to_string(i), locations[i]});
    }
  }
};

TEST_P(ScanTest, GivesDevicesInScanOrder) {
  const ScanCase& c = GetParam();
  Plug(c.locations);
  for (const auto& fault : c.listFaults) bench->Faults().AddListFault(fault);
  for (const auto& fault : c.faults) bench->Faults().Add(fault);

  clsDeviceList list;
  int32_t count = 99;  // an output only
  Array<tDeviceInfo> infos(1, 3);
  list.ScanDevices(count, infos);

  ASSERT_EQ(count, static_cast<int32_t>(c.expected.size()));
  EXPECT_EQ(infos.Allocated(), count > 0);
  for (int32_t i = 0; i < count; ++i) {
    SCOPED_TRACE(i);
    const tDeviceInfo& info = infos[i];
    EXPECT_EQ(info.Device, c.expected[i].first);
    EXPECT_EQ(info.Error, c.expected[i].second);
    if (info.Error) continue;
    const std::string n = std::to_string(info.Device);
    EXPECT_EQ(info.SerialNumber, "S" + n);
    EXPECT_EQ(info.Description, "D" + n);
    EXPECT_EQ(static_cast<uint32_t>(info.LocationID), c.locations[info.Device]);
  }
}

INSTANTIATE_TEST_SUITE_P(Benches, ScanTest, ::testing::ValuesIn(kScanCases),
                         [](const auto& info) { return info.param.name; });

// Every driver call of a scan is one Level 3 line; a failed read adds its Level 1
// line and ends that device's reads, and the scan goes on with the next.
TEST_F(ScanTest, LogsEachDriverCall) {
  bench->AddDevice({"Q7", "Probe %1", 0x80000121});
  bench->AddDevice({"", "Bare", 0x0114});
  bench->Faults().AddListFault({.device = 1, .what = ft::kOpenByDescription});
  auto log = std::make_shared<RecordingLog>();
  clsDeviceList list;
  list.Log(log);
  int32_t count = 0;
  Array<tDeviceInfo> infos;
  list.ScanDevices(count, infos);
  EXPECT_EQ(log->lines, (std::vector<LogLine>{
                            {3, "FT_ListDevices (2, vbNullString, 0x80000000) = 0"},
                            {3, "FT_ListDevices (0, \"Q7\", 0x40000001) = 0"},
                            {3, "FT_ListDevices (0, \"Probe %1\", 0x40000002) = 0"},
                            {3, "FT_ListDevices (0, 0x80000121, 0x40000004) = 0"},
                            {3, "FT_ListDevices (1, \"\", 0x40000001) = 0"},
                            {3, "FT_ListDevices (1, \"\", 0x40000002) = 4"},
                            {1, "FTD2XX ERROR 4: FT I/O error"},
                        }));
  EXPECT_EQ(bench->Faults().Calls(Call::kListDevices), 6);
}

// Called directly, the reads raise; values read before a failure stay written.
TEST_F(ScanTest, DirectReadsRaiseAndKeepWhatWasRead) {
  Plug({0x0121});
  bench->Faults().AddListFault({.device = 0, .what = ft::kOpenByDescription, .status = 2});
  clsDeviceList list;
  EXPECT_EQ(list.GetDeviceCount(), 1);
  std::string serial = "old", description = "old";
  int32_t location = 7;
  const Error e = Raised([&] { list.GetDeviceInfo(0, serial, description, location); });
  EXPECT_EQ(e.Number(), kErrDriverStatus);
  EXPECT_EQ(e.Description(), "FT device handle not found");
  EXPECT_EQ(std::tie(serial, description, location), std::make_tuple("S0", "old", 7));
  bench->Faults().Add(
      {.call = Call::kListDevices, .nth = bench->Faults().Calls(Call::kListDevices) + 1});
  EXPECT_EQ(Raised([&] { list.GetDeviceCount(); }).Number(), kErrDriverStatus);
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
