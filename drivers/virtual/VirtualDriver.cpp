#include "virtual/VirtualDriver.h"

#include <algorithm>

namespace brevant::virt {

namespace {

// A USB round trip is never free; charging each call lets a client that polls
// the queue see its data arrive.
constexpr int64_t kCallCostUs = 50;
// Handles look like the small numbers the vendor driver hands out.
constexpr uintptr_t kFirstHandle = 0xA3C;
constexpr uintptr_t kHandleStep = 0x20;
constexpr uint32_t kMaxBaudRate = 12000000;

using Lock = std::lock_guard<std::mutex>;

bool IsFault(const std::optional<Fault>& fault, FaultKind kind) {
  return fault && fault->kind == kind;
}

}  // namespace

VirtualDriver::VirtualDriver(std::shared_ptr<Bench> bench)
    : bench_(std::move(bench)), next_handle_(kFirstHandle) {}

std::optional<Fault> VirtualDriver::Begin(Call call) {
  bench_->Clock().Advance(kCallCostUs);
  std::optional<Fault> fault = bench_->Faults().Next(call);
  if (IsFault(fault, FaultKind::kVanish)) {
    if (fault->device < bench_->DeviceCount()) bench_->Unplug(fault->device);
    return std::nullopt;
  }
  return fault;
}

FtStatus VirtualDriver::Enter(Call call, FtHandle handle, Channel*& channel,
                              std::optional<Fault>* fault) {
  std::optional<Fault> planned = Begin(call);
  if (IsFault(planned, FaultKind::kStatus)) return planned->status;
  if (fault) *fault = planned;
  return Find(handle, channel);
}

FtStatus VirtualDriver::Find(FtHandle handle, Channel*& channel) const {
  const auto found = handles_.find(reinterpret_cast<uintptr_t>(handle));
  if (found == handles_.end()) return ft::kInvalidHandle;
  channel = found->second.get();
  // An unplugged device fails every transfer until its handle is closed.
  return channel->IsPresent() ? ft::kOk : ft::kIoError;
}

FtStatus VirtualDriver::FT_ListDevices(void* arg1, void* arg2, uint32_t flags) {
  Lock lock(mutex_);
  if (auto fault = Begin(Call::kListDevices); IsFault(fault, FaultKind::kStatus)) {
    return fault->status;
  }
  if (flags & ft::kListNumberOnly) {
    if (arg1 == nullptr) return ft::kInvalidParameter;
    *static_cast<uint32_t*>(arg1) = static_cast<uint32_t>(bench_->DeviceCount());
    return ft::kOk;
  }
  if (!(flags & ft::kListByIndex) || arg2 == nullptr) return ft::kInvalidParameter;
  const uint32_t index = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(arg1));
  if (index >= static_cast<uint32_t>(bench_->DeviceCount())) return ft::kDeviceNotFound;
  const uint32_t what = flags & ~ft::kListByIndex;
  if (auto status = bench_->Faults().ListFaultFor(static_cast<int>(index), what)) return *status;
  const Channel& device = bench_->Device(static_cast<int>(index));
  switch (what) {
    case ft::kOpenBySerialNumber:
      ft::CopyText(device.Identity().serialNumber, static_cast<char*>(arg2));
      return ft::kOk;
    case ft::kOpenByDescription:
      ft::CopyText(device.Identity().description, static_cast<char*>(arg2));
      return ft::kOk;
    case ft::kOpenByLocation:
      // The vendor driver cannot read the location of a device in use.
      *static_cast<uint32_t*>(arg2) = device.IsOpen() ? 0 : device.Identity().locationId;
      return ft::kOk;
    default:
      return ft::kInvalidParameter;
  }
}

FtStatus VirtualDriver::FT_Open(int index, FtHandle* handle) {
  Lock lock(mutex_);
  if (auto fault = Begin(Call::kOpen); IsFault(fault, FaultKind::kStatus)) return fault->status;
  if (handle == nullptr) return ft::kInvalidParameter;
  if (index < 0 || index >= bench_->DeviceCount()) return ft::kDeviceNotFound;
  std::shared_ptr<Channel> device = bench_->SharedDevice(index);
  if (device->IsOpen()) return ft::kDeviceNotOpened;
  device->SetOpen(true);
  // Time-outs belong to the handle; a new one starts without them.
  device->Settings().readTimeoutMs = 0;
  device->Settings().writeTimeoutMs = 0;
  const uintptr_t value = next_handle_;
  next_handle_ += kHandleStep;
  handles_[value] = std::move(device);
  *handle = reinterpret_cast<FtHandle>(value);
  return ft::kOk;
}

FtStatus VirtualDriver::FT_Close(FtHandle handle) {
  Lock lock(mutex_);
  if (auto fault = Begin(Call::kClose); IsFault(fault, FaultKind::kStatus)) return fault->status;
  const auto found = handles_.find(reinterpret_cast<uintptr_t>(handle));
  if (found == handles_.end()) return ft::kInvalidHandle;
  found->second->SetOpen(false);
  handles_.erase(found);
  // A recording is complete whenever the program has nothing open.
  if (handles_.empty() && !bench_->SaveRecording()) return ft::kIoError;
  return ft::kOk;
}

FtStatus VirtualDriver::Reset(FtHandle handle, Call call) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(call, handle, channel); status != ft::kOk) return status;
  channel->Reset();
  return ft::kOk;
}

FtStatus VirtualDriver::FT_ResetDevice(FtHandle handle) {
  return Reset(handle, Call::kResetDevice);
}

FtStatus VirtualDriver::FT_ResetPort(FtHandle handle) {
  return Reset(handle, Call::kResetPort);
}

// A real port cycle re-enumerates the part; the bench keeps the handle and
// treats it as a reset.
FtStatus VirtualDriver::FT_CyclePort(FtHandle handle) {
  return Reset(handle, Call::kCyclePort);
}

FtStatus VirtualDriver::FT_SetTimeouts(FtHandle handle, uint32_t readTimeout,
                                       uint32_t writeTimeout) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kSetTimeouts, handle, channel); status != ft::kOk)
    return status;
  channel->Settings().readTimeoutMs = readTimeout;
  channel->Settings().writeTimeoutMs = writeTimeout;
  return ft::kOk;
}

FtStatus VirtualDriver::FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                         char* serialNumber, char* description,
                                         void* /*reserved*/) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kGetDeviceInfo, handle, channel); status != ft::kOk)
    return status;
  const DeviceIdentity& identity = channel->Identity();
  if (type) *type = identity.type;
  if (id) *id = identity.usbId;
  if (serialNumber) ft::CopyText(identity.serialNumber, serialNumber);
  if (description) ft::CopyText(identity.description, description);
  return ft::kOk;
}

FtStatus VirtualDriver::FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                     uint32_t* eventStatus) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kGetStatus, handle, channel); status != ft::kOk)
    return status;
  if (rxBytes == nullptr || txBytes == nullptr || eventStatus == nullptr) {
    return ft::kInvalidParameter;
  }
  *rxBytes = channel->Available();
  // Writes reach the chip at once on the bench, so nothing waits to go out.
  *txBytes = 0;
  *eventStatus = 0;
  return ft::kOk;
}

FtStatus VirtualDriver::FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kGetQueueStatus, handle, channel); status != ft::kOk)
    return status;
  if (rxBytes == nullptr) return ft::kInvalidParameter;
  *rxBytes = channel->Available();
  return ft::kOk;
}

FtStatus VirtualDriver::FT_Purge(FtHandle handle, uint32_t mask) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kPurge, handle, channel); status != ft::kOk)
    return status;
  if (mask & ft::kPurgeRx) channel->PurgeReceive();
  if (mask & ft::kPurgeTx) channel->PurgeTransmit();
  return ft::kOk;
}

FtStatus VirtualDriver::FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                                 uint32_t* written) {
  Lock lock(mutex_);
  std::optional<Fault> fault;
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kWrite, handle, channel, &fault); status != ft::kOk) {
    return status;
  }
  if (written == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
  const uint32_t taken =
      IsFault(fault, FaultKind::kShortWrite) ? std::min(count, fault->count) : count;
  // The bytes reach the chip with the next USB frame.
  if (taken > 0) bench_->Clock().Advance(channel->TransferUs());
  channel->HostWrite({static_cast<const uint8_t*>(buffer), taken});
  *written = taken;
  // Only written bytes reach a peripheral, so only here can a memory change; a
  // flash is non-volatile, so its file is current before the call returns.
  return bench_->SaveMemories() ? ft::kOk : ft::kIoError;
}

FtStatus VirtualDriver::FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) {
  Lock lock(mutex_);
  std::optional<Fault> fault;
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kRead, handle, channel, &fault); status != ft::kOk) {
    return status;
  }
  if (read == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
  const uint32_t wanted =
      IsFault(fault, FaultKind::kShortRead) ? std::min(count, fault->count) : count;
  // Data that is already there still waits for a USB frame to carry it; a read
  // that waits for its data or its time-out has spent that frame meanwhile.
  const int64_t earliest = bench_->Clock().Now() + channel->TransferUs();
  *read = channel->HostRead({static_cast<uint8_t*>(buffer), wanted});
  if (*read > 0) bench_->Clock().AdvanceTo(earliest);
  return ft::kOk;
}

FtStatus VirtualDriver::FT_SetBaudRate(FtHandle handle, uint32_t baudRate) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kSetBaudRate, handle, channel); status != ft::kOk)
    return status;
  if (baudRate == 0 || baudRate > kMaxBaudRate) return ft::kInvalidBaudRate;
  channel->Settings().baudRate = baudRate;
  return ft::kOk;
}

FtStatus VirtualDriver::FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kGetLatencyTimer, handle, channel); status != ft::kOk)
    return status;
  if (timer == nullptr) return ft::kInvalidParameter;
  *timer = channel->Settings().latencyMs;
  return ft::kOk;
}

FtStatus VirtualDriver::FT_SetLatencyTimer(FtHandle handle, uint8_t timer) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kSetLatencyTimer, handle, channel); status != ft::kOk)
    return status;
  channel->Settings().latencyMs = timer;
  return ft::kOk;
}

FtStatus VirtualDriver::FT_GetBitMode(FtHandle handle, uint8_t* pins) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kGetBitMode, handle, channel); status != ft::kOk)
    return status;
  if (pins == nullptr) return ft::kInvalidParameter;
  *pins = channel->Pins();
  return ft::kOk;
}

FtStatus VirtualDriver::FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kSetBitMode, handle, channel); status != ft::kOk)
    return status;
  channel->SetBitMode(mask, mode);
  return ft::kOk;
}

// A device added alone has no EEPROM; the channels of a part share one.
FtStatus VirtualDriver::FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kReadEE, handle, channel); status != ft::kOk)
    return status;
  if (value == nullptr) return ft::kInvalidParameter;
  if (channel->Eeprom() == nullptr) return ft::kEepromNotPresent;
  *value = channel->Eeprom()->ReadWord(wordOffset);
  return ft::kOk;
}

FtStatus VirtualDriver::FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kWriteEE, handle, channel); status != ft::kOk)
    return status;
  if (channel->Eeprom() == nullptr) return ft::kEepromNotPresent;
  channel->Eeprom()->WriteWord(wordOffset, value);
  // Kept files are current before the call returns, as for a flash.
  return bench_->SaveMemories() ? ft::kOk : ft::kIoError;
}

FtStatus VirtualDriver::FT_EraseEE(FtHandle handle) {
  Lock lock(mutex_);
  Channel* channel = nullptr;
  if (const FtStatus status = Enter(Call::kEraseEE, handle, channel); status != ft::kOk)
    return status;
  if (channel->Eeprom() == nullptr) return ft::kEepromNotPresent;
  channel->Eeprom()->Erase();
  return bench_->SaveMemories() ? ft::kOk : ft::kIoError;
}

}  // namespace brevant::virt
