// Faults to inject into a bench's driver calls: the n-th call of a function
// returns a status, writes or reads short, or a device vanishes before it runs.
//
//   bench.Faults().Add({.call = Call::kWrite, .nth = 2, .status = ft::kIoError});
//   bench.Faults().Add({.call = Call::kRead, .nth = 1, .kind = FaultKind::kShortRead,
//                       .count = 3});
//   bench.Faults().AddListFault({.device = 1, .what = ft::kOpenByDescription});
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "driver/Ftd2xx.h"

namespace brevant::virt {

// The driver functions, one each.
enum class Call {
  kListDevices,
  kOpen,
  kClose,
  kResetDevice,
  kResetPort,
  kCyclePort,
  kSetTimeouts,
  kGetDeviceInfo,
  kGetStatus,
  kGetQueueStatus,
  kPurge,
  kWrite,
  kRead,
  kSetBaudRate,
  kGetLatencyTimer,
  kSetLatencyTimer,
  kGetBitMode,
  kSetBitMode,
  kReadEE,
  kWriteEE,
  kEraseEE,
};
inline constexpr int kCallCount = 21;

// Their names, in the order of Call, as bench files and the log write them.
inline constexpr std::array<std::string_view, kCallCount> kCallNames = {
    "FT_ListDevices", "FT_Open",           "FT_Close",           "FT_ResetDevice",
    "FT_ResetPort",   "FT_CyclePort",      "FT_SetTimeouts",     "FT_GetDeviceInfo",
    "FT_GetStatus",   "FT_GetQueueStatus", "FT_Purge",           "FT_Write",
    "FT_Read",        "FT_SetBaudRate",    "FT_GetLatencyTimer", "FT_SetLatencyTimer",
    "FT_GetBitMode",  "FT_SetBitMode",     "FT_ReadEE",          "FT_WriteEE",
    "FT_EraseEE"};
static_assert(static_cast<int>(Call::kEraseEE) + 1 == kCallCount && !kCallNames.back().empty(),
              "one name for each driver function");

enum class FaultKind {
  kStatus,      // the call does nothing and returns `status`
  kShortWrite,  // FT_Write takes only `count` bytes and reports kOk
  kShortRead,   // FT_Read returns at most `count` bytes and reports kOk
  kVanish,      // device `device` of the list is unplugged, then the call runs
};

struct Fault {
  Call call = Call::kWrite;
  int nth = 1;  // counted from 1, per function, over the whole bench
  FaultKind kind = FaultKind::kStatus;
  FtStatus status = ft::kIoError;
  uint32_t count = 0;
  int device = 0;
};

// A device whose entry in the driver's list cannot be read: every FT_ListDevices
// by index for list position `device` asking for `what` (ft::kOpenBySerialNumber,
// ft::kOpenByDescription or ft::kOpenByLocation) returns `status`.
struct ListFault {
  int device = 0;
  uint32_t what = ft::kOpenBySerialNumber;
  FtStatus status = ft::kIoError;
};

class FaultPlan {
 public:
  void Add(const Fault& fault) { faults_.push_back(fault); }
  void AddListFault(const ListFault& fault) { list_faults_.push_back(fault); }
  void Clear();
  // Counts one more call of `call` and returns the fault planned for it, if any.
  std::optional<Fault> Next(Call call);
  // The status planned for reading `what` of list position `device`, if any.
  std::optional<FtStatus> ListFaultFor(int device, uint32_t what) const;
  // How often `call` was made since the bench was built or cleared.
  int Calls(Call call) const { return calls_[static_cast<int>(call)]; }

 private:
  std::vector<Fault> faults_;
  std::vector<ListFault> list_faults_;
  std::array<int, kCallCount> calls_{};
};

}  // namespace brevant::virt
