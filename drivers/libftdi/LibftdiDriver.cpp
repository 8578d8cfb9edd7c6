#include "libftdi/LibftdiDriver.h"

#include <libftdi1/ftdi.h>
#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <chrono>

namespace brevant {

namespace {

using Lock = std::lock_guard<std::mutex>;
using Clock = std::chrono::steady_clock;

constexpr int kStringSize = ft::kTextBufferSize;
// Longest USB port path libusb reports.
constexpr int kMaxPorts = 7;
// One bulk read waits this long for the chip. An idle chip answers with a
// status-only packet every latency period, so only a dead one runs into it.
constexpr int kBulkReadMs = 1000;
// A queue-status poll takes what one read brings, up to a FIFO's worth.
constexpr int kPollBytes = 4096;

// libusb's codes, as transfers and enumeration return them.
FtStatus UsbStatus(int code) {
  switch (code) {
    case LIBUSB_SUCCESS:
      return ft::kOk;
    case LIBUSB_ERROR_NOT_FOUND:
      return ft::kDeviceNotFound;
    case LIBUSB_ERROR_ACCESS:
    case LIBUSB_ERROR_BUSY:
      return ft::kDeviceNotOpened;
    case LIBUSB_ERROR_NO_MEM:
      return ft::kInsufficientResources;
    case LIBUSB_ERROR_INVALID_PARAM:
      return ft::kInvalidParameter;
    case LIBUSB_ERROR_NOT_SUPPORTED:
      return ft::kNotSupported;
    case LIBUSB_ERROR_IO:
    case LIBUSB_ERROR_NO_DEVICE:
    case LIBUSB_ERROR_PIPE:
    case LIBUSB_ERROR_OVERFLOW:
    case LIBUSB_ERROR_TIMEOUT:
    case LIBUSB_ERROR_INTERRUPTED:
      return ft::kIoError;
    default:
      return ft::kOtherError;
  }
}

// libftdi's control requests (bit mode, latency, pins, resets, purges) fail
// with codes of their own, all meaning the request did not reach the chip.
FtStatus ControlStatus(int code) {
  return code < 0 ? ft::kIoError : ft::kOk;
}

// libftdi's chip types as the vendor driver numbers them.
uint32_t VendorType(ftdi_chip_type type) {
  switch (type) {
    case TYPE_AM:
      return ft::kTypeFT232AM;
    case TYPE_BM:
      return ft::kTypeFT232BM;
    case TYPE_2232C:
      return ft::kTypeFT2232D;
    case TYPE_R:
      return ft::kTypeFT232R;
    case TYPE_2232H:
      return ft::kTypeFT2232H;
    case TYPE_4232H:
      return ft::kTypeFT4232H;
    case TYPE_232H:
      return ft::kTypeFT232H;
    case TYPE_230X:
      return ft::kTypeFTX;
  }
  return ft::kTypeUnknown;
}

uint32_t LocationOf(libusb_device* usb) {
  uint8_t ports[kMaxPorts];
  const int depth = libusb_get_port_numbers(usb, ports, kMaxPorts);
  uint32_t location = libusb_get_bus_number(usb);
  for (int i = 0; i < depth; ++i) location = location << 4 | (ports[i] & 0xF);
  return location;
}

int ChannelCount(libusb_device* usb) {
  libusb_config_descriptor* config = nullptr;
  if (libusb_get_config_descriptor(usb, 0, &config) != LIBUSB_SUCCESS) return 1;
  const int count = std::max<int>(config->bNumInterfaces, 1);
  libusb_free_config_descriptor(config);
  return count;
}

}  // namespace

// The USB devices of the list belong to the lister's libusb context, so it is
// the last thing to go.
LibftdiDriver::LibftdiDriver() : lister_(ftdi_new()) {}

LibftdiDriver::~LibftdiDriver() {
  for (auto& [handle, device] : open_) {
    ftdi_usb_close(device->ftdi);
    ftdi_free(device->ftdi);
    libusb_unref_device(device->entry.usb);
  }
  open_.clear();
  ForgetScan();
  if (lister_) ftdi_free(lister_);
}

void LibftdiDriver::ForgetScan() {
  for (Entry& entry : entries_) libusb_unref_device(entry.usb);
  entries_.clear();
}

FtStatus LibftdiDriver::Scan() {
  // Without a USB context (no USB on the machine at all) the list is empty.
  if (lister_ == nullptr) return ft::kOtherError;
  ForgetScan();
  ftdi_device_list* list = nullptr;
  const int found = ftdi_usb_find_all(lister_, &list, 0, 0);
  if (found < 0) return ft::kIoError;
  for (ftdi_device_list* item = list; item != nullptr; item = item->next) {
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(item->dev, &descriptor);
    char description[kStringSize] = "", serial[kStringSize] = "";
    const int strings = ftdi_usb_get_strings(lister_, item->dev, nullptr, 0, description,
                                             kStringSize, serial, kStringSize);
    const int channels = ChannelCount(item->dev);
    for (int channel = 0; channel < channels; ++channel) {
      Entry entry{libusb_ref_device(item->dev),
                  channel,
                  serial,
                  description,
                  LocationOf(item->dev) + static_cast<uint32_t>(channel),
                  static_cast<uint32_t>(descriptor.idVendor) << 16 | descriptor.idProduct,
                  strings < 0 ? ft::kIoError : ft::kOk};
      if (channels > 1) {
        const char letter = static_cast<char>('A' + channel);
        entry.serialNumber += letter;
        entry.description += ' ';
        entry.description += letter;
      }
      entries_.push_back(std::move(entry));
    }
  }
  ftdi_list_free(&list);
  // libusb's order follows nothing a user sees; by location, a device keeps its
  // number from run to run while the plugging stays the same.
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.locationId < b.locationId; });
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_ListDevices(void* arg1, void* arg2, uint32_t flags) {
  Lock lock(mutex_);
  if (flags & ft::kListNumberOnly) {
    if (arg1 == nullptr) return ft::kInvalidParameter;
    if (const FtStatus status = Scan(); status != ft::kOk) return status;
    *static_cast<uint32_t*>(arg1) = static_cast<uint32_t>(entries_.size());
    return ft::kOk;
  }
  if (!(flags & ft::kListByIndex) || arg2 == nullptr) return ft::kInvalidParameter;
  const size_t index = reinterpret_cast<uintptr_t>(arg1);
  if (index >= entries_.size()) return ft::kDeviceNotFound;
  const Entry& entry = entries_[index];
  switch (flags & ~ft::kListByIndex) {
    case ft::kOpenBySerialNumber:
      if (entry.strings != ft::kOk) return entry.strings;
      ft::CopyText(entry.serialNumber, static_cast<char*>(arg2));
      return ft::kOk;
    case ft::kOpenByDescription:
      if (entry.strings != ft::kOk) return entry.strings;
      ft::CopyText(entry.description, static_cast<char*>(arg2));
      return ft::kOk;
    case ft::kOpenByLocation: {
      // As with the vendor's driver, a channel in use has no location.
      *static_cast<uint32_t*>(arg2) = InUse(entry) ? 0 : entry.locationId;
      return ft::kOk;
    }
    default:
      return ft::kInvalidParameter;
  }
}

bool LibftdiDriver::InUse(const Entry& entry) const {
  return std::any_of(open_.begin(), open_.end(), [&](const auto& item) {
    return item.second->entry.usb == entry.usb && item.second->entry.channel == entry.channel;
  });
}

FtStatus LibftdiDriver::FT_Open(int index, FtHandle* handle) {
  Lock lock(mutex_);
  if (handle == nullptr) return ft::kInvalidParameter;
  if (entries_.empty()) Scan();
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) return ft::kDeviceNotFound;
  // libusb would let this process claim the interface twice.
  if (InUse(entries_[static_cast<size_t>(index)])) return ft::kDeviceNotOpened;
  auto device = std::make_unique<Device>();
  device->entry = entries_[static_cast<size_t>(index)];
  device->ftdi = ftdi_new();
  if (device->ftdi == nullptr) return ft::kInsufficientResources;
  const auto interface = static_cast<ftdi_interface>(INTERFACE_A + device->entry.channel);
  if (ftdi_set_interface(device->ftdi, interface) < 0 ||
      ftdi_usb_open_dev(device->ftdi, device->entry.usb) < 0) {
    // Claimed by another handle or process, no permission, or gone.
    ftdi_free(device->ftdi);
    return ft::kDeviceNotOpened;
  }
  // The entry shares the scan's reference to the USB device; the handle needs
  // its own, for the scan may be redone while it is open.
  libusb_ref_device(device->entry.usb);
  device->ftdi->usb_read_timeout = kBulkReadMs;
  device->ftdi->usb_write_timeout = 0;
  *handle = device.get();
  open_[*handle] = std::move(device);
  return ft::kOk;
}

LibftdiDriver::Device* LibftdiDriver::Find(FtHandle handle) const {
  const auto found = open_.find(handle);
  return found == open_.end() ? nullptr : found->second.get();
}

FtStatus LibftdiDriver::FT_Close(FtHandle handle) {
  Lock lock(mutex_);
  const auto found = open_.find(handle);
  if (found == open_.end()) return ft::kInvalidHandle;
  Device& device = *found->second;
  ftdi_usb_close(device.ftdi);
  ftdi_free(device.ftdi);
  libusb_unref_device(device.entry.usb);
  open_.erase(found);
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_ResetDevice(FtHandle handle) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  device->received.clear();
  return ControlStatus(ftdi_usb_reset(device->ftdi));
}

// libftdi has no hub port control; the chip's own reset is the nearest.
FtStatus LibftdiDriver::FT_ResetPort(FtHandle handle) {
  return FT_ResetDevice(handle);
}

// A USB reset of the part makes it enumerate again, as a port cycle does.
FtStatus LibftdiDriver::FT_CyclePort(FtHandle handle) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  device->received.clear();
  return UsbStatus(libusb_reset_device(device->ftdi->usb_dev));
}

FtStatus LibftdiDriver::FT_SetTimeouts(FtHandle handle, uint32_t readTimeout,
                                       uint32_t writeTimeout) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  device->readTimeoutMs = readTimeout;
  // libusb's 0 also means no limit.
  device->ftdi->usb_write_timeout = static_cast<int>(std::min<uint32_t>(writeTimeout, INT32_MAX));
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                         char* serialNumber, char* description,
                                         void* /*reserved*/) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (type) *type = VendorType(device->ftdi->type);
  if (id) *id = device->entry.usbId;
  if (serialNumber) ft::CopyText(device->entry.serialNumber, serialNumber);
  if (description) ft::CopyText(device->entry.description, description);
  return ft::kOk;
}

FtStatus LibftdiDriver::Fill(Device& device, uint32_t wanted, int waitMs) {
  device.ftdi->usb_read_timeout = std::max(waitMs, 1);
  const size_t before = device.received.size();
  device.received.resize(before + wanted);
  const int got =
      ftdi_read_data(device.ftdi, device.received.data() + before, static_cast<int>(wanted));
  device.received.resize(before + static_cast<size_t>(std::max(got, 0)));
  // A bulk read that timed out brought nothing; the caller decides whether to
  // wait longer.
  if (got == LIBUSB_ERROR_TIMEOUT) return ft::kOk;
  return got < 0 ? UsbStatus(got) : ft::kOk;
}

FtStatus LibftdiDriver::FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                     uint32_t* eventStatus) {
  if (rxBytes == nullptr || txBytes == nullptr || eventStatus == nullptr) {
    return ft::kInvalidParameter;
  }
  if (const FtStatus status = FT_GetQueueStatus(handle, rxBytes); status != ft::kOk) {
    return status;
  }
  // libftdi's writes return once the chip has taken the bytes.
  *txBytes = 0;
  *eventStatus = 0;
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (rxBytes == nullptr) return ft::kInvalidParameter;
  if (const FtStatus status = Fill(*device, kPollBytes, kBulkReadMs); status != ft::kOk) {
    return status;
  }
  *rxBytes = static_cast<uint32_t>(device->received.size());
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_Purge(FtHandle handle, uint32_t mask) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (mask & ft::kPurgeRx) {
    device->received.clear();
    if (const int code = ftdi_tciflush(device->ftdi); code < 0) return ControlStatus(code);
  }
  if (mask & ft::kPurgeTx) return ControlStatus(ftdi_tcoflush(device->ftdi));
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                                 uint32_t* written) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (written == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
  *written = 0;
  if (count == 0) return ft::kOk;
  const int sent = ftdi_write_data(device->ftdi, static_cast<const unsigned char*>(buffer),
                                   static_cast<int>(std::min<uint32_t>(count, INT32_MAX)));
  // libftdi does not say how much of a timed-out write went out; the vendor's
  // driver reports a time-out as a short count, here none.
  if (sent == LIBUSB_ERROR_TIMEOUT) return ft::kOk;
  if (sent < 0) return UsbStatus(sent);
  *written = static_cast<uint32_t>(sent);
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (read == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
  const bool limited = device->readTimeoutMs != 0;
  const Clock::time_point deadline =
      Clock::now() + std::chrono::milliseconds(device->readTimeoutMs);
  while (device->received.size() < count) {
    const Clock::time_point now = Clock::now();
    if (limited && now >= deadline) break;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
    const int wait = limited ? static_cast<int>(std::min<int64_t>(left, kBulkReadMs)) : kBulkReadMs;
    const FtStatus status =
        Fill(*device, count - static_cast<uint32_t>(device->received.size()), wait);
    if (status != ft::kOk) return status;
  }
  const size_t given = std::min<size_t>(count, device->received.size());
  std::copy_n(device->received.begin(), given, static_cast<uint8_t*>(buffer));
  device->received.erase(device->received.begin(), device->received.begin() + given);
  *read = static_cast<uint32_t>(given);
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_SetBaudRate(FtHandle handle, uint32_t baudRate) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  const int code =
      ftdi_set_baudrate(device->ftdi, static_cast<int>(std::min<uint32_t>(baudRate, INT32_MAX)));
  // -1 is libftdi's "invalid baudrate"; the others failed on the bus.
  if (code == -1) return ft::kInvalidBaudRate;
  return ControlStatus(code);
}

FtStatus LibftdiDriver::FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (timer == nullptr) return ft::kInvalidParameter;
  return ControlStatus(ftdi_get_latency_timer(device->ftdi, timer));
}

FtStatus LibftdiDriver::FT_SetLatencyTimer(FtHandle handle, uint8_t timer) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  return ControlStatus(ftdi_set_latency_timer(device->ftdi, timer));
}

FtStatus LibftdiDriver::FT_GetBitMode(FtHandle handle, uint8_t* pins) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  if (pins == nullptr) return ft::kInvalidParameter;
  return ControlStatus(ftdi_read_pins(device->ftdi, pins));
}

FtStatus LibftdiDriver::FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) {
  Lock lock(mutex_);
  Device* device = Find(handle);
  if (device == nullptr) return ft::kInvalidHandle;
  return ControlStatus(ftdi_set_bitmode(device->ftdi, mask, mode));
}

}  // namespace brevant
