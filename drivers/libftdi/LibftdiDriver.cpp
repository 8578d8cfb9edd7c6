#include "libftdi/LibftdiDriver.h"

#include <libftdi1/ftdi.h>
#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include "libftdi/BaudDivisor.h"

namespace brevant {

namespace {

using Lock = std::lock_guard<std::mutex>;
using Clock = std::chrono::steady_clock;

constexpr int kStringSize = ft::kTextBufferSize;
// Longest USB port path libusb reports.
constexpr int kMaxPorts = 7;
// Control requests get this long, whatever the client's data time-outs are.
constexpr int kControlMs = 1000;
// A chip answers an IN transfer within its latency timer, with status bytes
// alone if it has nothing; a transfer gets this much longer before it gives up.
constexpr int kAnswerMarginMs = 50;
// A queue-status poll takes what one transfer brings, up to a FIFO's worth.
constexpr uint32_t kPollBytes = 4096;
// The most packets one IN transfer asks for.
constexpr uint32_t kMaxPackets = 128;
// Each bulk IN packet starts with two modem status bytes.
constexpr unsigned kStatusBytes = 2;
constexpr uint8_t kLatencyAfterReset = 16;

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

// The vendor's device type, from the release number each kind of part reports.
uint32_t TypeOf(uint16_t release) {
  switch (release) {
    case 0x0200:
      return ft::kTypeFT232AM;
    case 0x0400:
      return ft::kTypeFT232BM;
    case 0x0500:
      return ft::kTypeFT2232D;
    case 0x0600:
      return ft::kTypeFT232R;
    case 0x0700:
      return ft::kTypeFT2232H;
    case 0x0800:
      return ft::kTypeFT4232H;
    case 0x0900:
      return ft::kTypeFT232H;
    case 0x1000:
      return ft::kTypeFTX;
    default:
      return ft::kTypeUnknown;
  }
}

bool HasFastClock(uint32_t type) {
  return type == ft::kTypeFT2232H || type == ft::kTypeFT4232H || type == ft::kTypeFT232H;
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

// A string descriptor as ASCII; a part may have no string at an index of 0.
int ReadString(libusb_device_handle* usb, uint8_t index, std::string& text) {
  text.clear();
  if (index == 0) return LIBUSB_SUCCESS;
  unsigned char buffer[kStringSize];
  const int length = libusb_get_string_descriptor_ascii(usb, index, buffer, kStringSize);
  if (length < 0) return length;
  text.assign(reinterpret_cast<char*>(buffer), static_cast<size_t>(length));
  return LIBUSB_SUCCESS;
}

// Channel A's endpoints are 0x81 (IN) and 0x02 (OUT), B's 0x83 and 0x04, ...
unsigned char InEndpoint(int channel) {
  return static_cast<unsigned char>(0x81 + 2 * channel);
}
unsigned char OutEndpoint(int channel) {
  return static_cast<unsigned char>(0x02 + 2 * channel);
}

std::vector<UsbId> IdsToList() {
  const char* extra = std::getenv("BREVANT_USB_IDS");
  try {
    return UsbIdsToList(extra == nullptr ? "" : extra);
  } catch (const std::invalid_argument& e) {
    throw DriverUnavailable(std::string("BREVANT_USB_IDS: ") + e.what());
  }
}

}  // namespace

// The USB devices of the list belong to the lister's libusb context, so it is
// the last thing to go.
LibftdiDriver::LibftdiDriver() : ids_(IdsToList()), lister_(ftdi_new()) {}

LibftdiDriver::~LibftdiDriver() {
  for (auto& [handle, device] : open_) Release(*device);
  open_.clear();
  ForgetScan();
  if (lister_) ftdi_free(lister_);
}

void LibftdiDriver::Release(Device& device) {
  device.closed = true;
  ftdi_usb_close(device.ftdi);
  ftdi_free(device.ftdi);
  libusb_unref_device(device.entry.usb);
}

void LibftdiDriver::ForgetScan() {
  for (Entry& entry : entries_) libusb_unref_device(entry.usb);
  entries_.clear();
}

FtStatus LibftdiDriver::Scan() {
  // Without a USB context (no USB on the machine at all) the list is empty.
  if (lister_ == nullptr || lister_->usb_ctx == nullptr) return ft::kOtherError;
  ForgetScan();
  libusb_device** list = nullptr;
  const ssize_t found = libusb_get_device_list(lister_->usb_ctx, &list);
  if (found < 0) return UsbStatus(static_cast<int>(found));
  for (ssize_t i = 0; i < found; ++i) {
    libusb_device_descriptor descriptor{};
    if (libusb_get_device_descriptor(list[i], &descriptor) != LIBUSB_SUCCESS) continue;
    const UsbId id = static_cast<UsbId>(descriptor.idVendor) << 16 | descriptor.idProduct;
    if (std::find(ids_.begin(), ids_.end(), id) == ids_.end()) continue;
    // Each string on its own: a part without a serial number still has a name.
    std::string description, serial;
    libusb_device_handle* usb = nullptr;
    int strings = libusb_open(list[i], &usb);
    if (strings == LIBUSB_SUCCESS) {
      strings = ReadString(usb, descriptor.iProduct, description);
      if (strings == LIBUSB_SUCCESS) strings = ReadString(usb, descriptor.iSerialNumber, serial);
      libusb_close(usb);
    }
    const int channels = ChannelCount(list[i]);
    for (int channel = 0; channel < channels; ++channel) {
      Entry entry{libusb_ref_device(list[i]),
                  channel,
                  channels,
                  serial,
                  description,
                  LocationOf(list[i]) + static_cast<uint32_t>(channel),
                  id,
                  TypeOf(descriptor.bcdDevice),
                  strings < 0 ? ft::kIoError : ft::kOk};
      if (channels > 1) {
        const char letter = static_cast<char>('A' + channel);
        if (!entry.serialNumber.empty()) entry.serialNumber += letter;
        entry.description += ' ';
        entry.description += letter;
      }
      entries_.push_back(std::move(entry));
    }
  }
  libusb_free_device_list(list, 1);
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
  auto device = std::make_shared<Device>();
  device->entry = entries_[static_cast<size_t>(index)];
  device->ftdi = ftdi_new();
  if (device->ftdi == nullptr) return ft::kInsufficientResources;
  // The channel is claimed here rather than by libftdi's open, which resets the
  // chip and sets 9600 baud, on a two-channel full-speed part on channel A
  // whichever channel it opens; the vendor's open leaves the chip as it is.
  libusb_device_handle* usb = nullptr;
  const int channel = device->entry.channel;
  if (libusb_open(device->entry.usb, &usb) != LIBUSB_SUCCESS) {
    ftdi_free(device->ftdi);
    return ft::kDeviceNotOpened;
  }
  // The kernel's serial driver lets go of the channel, if it has it.
  libusb_detach_kernel_driver(usb, channel);
  if (libusb_claim_interface(usb, channel) != LIBUSB_SUCCESS ||
      ftdi_set_interface(device->ftdi, static_cast<ftdi_interface>(INTERFACE_A + channel)) < 0) {
    // Claimed by another handle or process, or gone.
    libusb_close(usb);
    ftdi_free(device->ftdi);
    return ft::kDeviceNotOpened;
  }
  ftdi_set_usbdev(device->ftdi, usb);
  const int packet = libusb_get_max_packet_size(device->entry.usb, InEndpoint(channel));
  device->ftdi->max_packet_size = packet > 0 ? static_cast<unsigned>(packet) : 64;
  // The entry shares the scan's reference to the USB device; the handle needs
  // its own, for the scan may be redone while it is open.
  libusb_ref_device(device->entry.usb);
  device->ftdi->usb_read_timeout = kControlMs;
  device->ftdi->usb_write_timeout = kControlMs;
  // Another program may have left the latency timer elsewhere.
  uint8_t latency = kLatencyAfterReset;
  if (ftdi_get_latency_timer(device->ftdi, &latency) == 0) device->latencyMs = latency;
  *handle = device.get();
  open_[*handle] = std::move(device);
  return ft::kOk;
}

template <class Call>
FtStatus LibftdiDriver::OnDevice(FtHandle handle, Call call) {
  std::shared_ptr<Device> device;
  {
    Lock lock(mutex_);
    const auto found = open_.find(handle);
    if (found == open_.end()) return ft::kInvalidHandle;
    device = found->second;
  }
  Lock lock(device->mutex);
  // Closed by another thread while this one waited.
  if (device->closed) return ft::kInvalidHandle;
  return call(*device);
}

FtStatus LibftdiDriver::FT_Close(FtHandle handle) {
  std::shared_ptr<Device> device;
  {
    Lock lock(mutex_);
    const auto found = open_.find(handle);
    if (found == open_.end()) return ft::kInvalidHandle;
    device = std::move(found->second);
    open_.erase(found);
  }
  // Waits for a call still running on the handle.
  Lock lock(device->mutex);
  Release(*device);
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_ResetDevice(FtHandle handle) {
  return OnDevice(handle, [](Device& device) {
    device.received.clear();
    return ControlStatus(ftdi_usb_reset(device.ftdi));
  });
}

// A reset of the USB port: the part starts afresh, in mode 0 with its power-up
// latency, and stays the same device.
FtStatus LibftdiDriver::FT_ResetPort(FtHandle handle) {
  return OnDevice(handle, [](Device& device) {
    device.received.clear();
    const int code = libusb_reset_device(device.ftdi->usb_dev);
    if (code != LIBUSB_SUCCESS) return UsbStatus(code);
    device.ftdi->bitbang_enabled = 0;
    device.latencyMs = kLatencyAfterReset;
    return ft::kOk;
  });
}

// libusb cannot make a part leave the bus and come back.
FtStatus LibftdiDriver::FT_CyclePort(FtHandle handle) {
  return OnDevice(handle, [](Device&) { return ft::kNotSupported; });
}

FtStatus LibftdiDriver::FT_SetTimeouts(FtHandle handle, uint32_t readTimeout,
                                       uint32_t writeTimeout) {
  return OnDevice(handle, [&](Device& device) {
    device.readTimeoutMs = readTimeout;
    device.writeTimeoutMs = writeTimeout;
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                         char* serialNumber, char* description,
                                         void* /*reserved*/) {
  return OnDevice(handle, [&](Device& device) {
    if (type) *type = device.entry.type;
    if (id) *id = device.entry.usbId;
    if (serialNumber) ft::CopyText(device.entry.serialNumber, serialNumber);
    if (description) ft::CopyText(device.entry.description, description);
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::Fill(Device& device, uint32_t wanted, int waitMs) {
  const uint32_t packet = std::max(device.ftdi->max_packet_size, 8u);
  const uint32_t payload = packet - kStatusBytes;
  const uint32_t packets = std::clamp((wanted + payload - 1) / payload, 1u, kMaxPackets);
  device.packets.resize(packets * packet);
  const int timeout = std::max(waitMs, device.latencyMs + kAnswerMarginMs);
  int got = 0;
  const int code = libusb_bulk_transfer(
      device.ftdi->usb_dev, InEndpoint(device.entry.channel), device.packets.data(),
      static_cast<int>(device.packets.size()), &got, static_cast<unsigned>(timeout));
  // Whatever came is kept, a transfer cut short by its time-out included.
  for (uint32_t at = 0; at + kStatusBytes < static_cast<uint32_t>(got); at += packet) {
    const auto first = device.packets.begin() + at + kStatusBytes;
    device.received.insert(device.received.end(), first,
                           device.packets.begin() + std::min<uint32_t>(at + packet, got));
  }
  return code == LIBUSB_ERROR_TIMEOUT ? ft::kOk : UsbStatus(code);
}

FtStatus LibftdiDriver::FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                     uint32_t* eventStatus) {
  if (rxBytes == nullptr || txBytes == nullptr || eventStatus == nullptr) {
    return ft::kInvalidParameter;
  }
  if (const FtStatus status = FT_GetQueueStatus(handle, rxBytes); status != ft::kOk) {
    return status;
  }
  // Writes return once the chip has taken the bytes.
  *txBytes = 0;
  *eventStatus = 0;
  return ft::kOk;
}

FtStatus LibftdiDriver::FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) {
  return OnDevice(handle, [&](Device& device) {
    if (rxBytes == nullptr) return ft::kInvalidParameter;
    if (const FtStatus status = Fill(device, kPollBytes, 0); status != ft::kOk) return status;
    *rxBytes = static_cast<uint32_t>(device.received.size());
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_Purge(FtHandle handle, uint32_t mask) {
  return OnDevice(handle, [&](Device& device) {
    if (mask & ft::kPurgeRx) {
      device.received.clear();
      if (const int code = ftdi_tciflush(device.ftdi); code < 0) return ControlStatus(code);
    }
    if (mask & ft::kPurgeTx) return ControlStatus(ftdi_tcoflush(device.ftdi));
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                                 uint32_t* written) {
  return OnDevice(handle, [&](Device& device) {
    if (written == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
    *written = 0;
    const bool limited = device.writeTimeoutMs != 0;
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(device.writeTimeoutMs);
    auto* bytes = static_cast<unsigned char*>(const_cast<void*>(buffer));
    while (*written < count) {
      unsigned timeout = 0;  // libusb's 0 waits without limit
      if (limited) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) break;
        timeout = static_cast<unsigned>(left.count());
      }
      const int chunk = static_cast<int>(std::min<uint32_t>(count - *written, INT32_MAX));
      int sent = 0;
      const int code = libusb_bulk_transfer(device.ftdi->usb_dev, OutEndpoint(device.entry.channel),
                                            bytes + *written, chunk, &sent, timeout);
      *written += static_cast<uint32_t>(sent);
      // A time-out is a short count with status OK, as the vendor's driver has it.
      if (code == LIBUSB_ERROR_TIMEOUT) break;
      if (code != LIBUSB_SUCCESS) return UsbStatus(code);
    }
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) {
  return OnDevice(handle, [&](Device& device) {
    if (read == nullptr || (buffer == nullptr && count > 0)) return ft::kInvalidParameter;
    const bool limited = device.readTimeoutMs != 0;
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(device.readTimeoutMs);
    while (device.received.size() < count) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (limited && left.count() <= 0) break;
      const uint32_t missing = count - static_cast<uint32_t>(device.received.size());
      const FtStatus status = Fill(device, missing, limited ? static_cast<int>(left.count()) : 0);
      if (status != ft::kOk) return status;
    }
    const size_t given = std::min<size_t>(count, device.received.size());
    std::copy_n(device.received.begin(), given, static_cast<uint8_t*>(buffer));
    device.received.erase(device.received.begin(), device.received.begin() + given);
    *read = static_cast<uint32_t>(given);
    return ft::kOk;
  });
}

// The request is made here rather than by libftdi, which multiplies the rate in
// bit-bang modes and leaves the channel out of the request on a two-channel
// full-speed part; the vendor's driver passes the rate through to the channel.
FtStatus LibftdiDriver::FT_SetBaudRate(FtHandle handle, uint32_t baudRate) {
  return OnDevice(handle, [&](Device& device) {
    const std::optional<BaudDivisor> divisor =
        DivisorFor(baudRate, HasFastClock(device.entry.type));
    if (!divisor) return ft::kInvalidBaudRate;
    const int channel = device.entry.channels > 1 ? device.entry.channel + 1 : 0;
    constexpr uint8_t kVendorOut = 0x40;
    constexpr uint8_t kSetBaudRate = 0x03;
    const int code =
        libusb_control_transfer(device.ftdi->usb_dev, kVendorOut, kSetBaudRate, divisor->Value(),
                                divisor->Index(channel), nullptr, 0, kControlMs);
    if (code < 0) return UsbStatus(code);
    device.ftdi->baudrate = static_cast<int>(divisor->actualRate);
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) {
  return OnDevice(handle, [&](Device& device) {
    if (timer == nullptr) return ft::kInvalidParameter;
    return ControlStatus(ftdi_get_latency_timer(device.ftdi, timer));
  });
}

FtStatus LibftdiDriver::FT_SetLatencyTimer(FtHandle handle, uint8_t timer) {
  return OnDevice(handle, [&](Device& device) {
    // The chip would never send a short packet with a timer of 0.
    if (timer == 0) return ft::kInvalidParameter;
    const FtStatus status = ControlStatus(ftdi_set_latency_timer(device.ftdi, timer));
    if (status == ft::kOk) device.latencyMs = timer;
    return status;
  });
}

FtStatus LibftdiDriver::FT_GetBitMode(FtHandle handle, uint8_t* pins) {
  return OnDevice(handle, [&](Device& device) {
    if (pins == nullptr) return ft::kInvalidParameter;
    return ControlStatus(ftdi_read_pins(device.ftdi, pins));
  });
}

FtStatus LibftdiDriver::FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) {
  return OnDevice(handle, [&](Device& device) {
    return ControlStatus(ftdi_set_bitmode(device.ftdi, mask, mode));
  });
}

// The vendor's EEPROM requests, made directly: libftdi's word functions refuse
// the checksummed area and chips other than a 93C66, and the vendor's driver
// does neither. The word address goes in the index, a word to write in the value.
namespace {
constexpr uint8_t kVendorIn = 0xC0;
constexpr uint8_t kVendorOut = 0x40;
constexpr uint8_t kReadEeprom = 0x90;
constexpr uint8_t kWriteEeprom = 0x91;
constexpr uint8_t kEraseEeprom = 0x92;
// The chips decode at most 8 address bits (a 93C66 has 256 words).
constexpr uint32_t kEepromAddressMask = 0xFF;
}  // namespace

FtStatus LibftdiDriver::FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) {
  return OnDevice(handle, [&](Device& device) {
    if (value == nullptr) return ft::kInvalidParameter;
    uint8_t word[2] = {};
    const int code = libusb_control_transfer(device.ftdi->usb_dev, kVendorIn, kReadEeprom, 0,
                                             static_cast<uint16_t>(wordOffset & kEepromAddressMask),
                                             word, sizeof word, kControlMs);
    if (code < 0) return UsbStatus(code);
    if (code != sizeof word) return ft::kEepromReadFailed;
    *value = static_cast<uint16_t>(word[0] | word[1] << 8);
    return ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) {
  return OnDevice(handle, [&](Device& device) {
    const int code = libusb_control_transfer(device.ftdi->usb_dev, kVendorOut, kWriteEeprom, value,
                                             static_cast<uint16_t>(wordOffset & kEepromAddressMask),
                                             nullptr, 0, kControlMs);
    return code < 0 ? UsbStatus(code) : ft::kOk;
  });
}

FtStatus LibftdiDriver::FT_EraseEE(FtHandle handle) {
  return OnDevice(handle, [&](Device& device) {
    const int code = libusb_control_transfer(device.ftdi->usb_dev, kVendorOut, kEraseEeprom, 0, 0,
                                             nullptr, 0, kControlMs);
    return code < 0 ? UsbStatus(code) : ft::kOk;
  });
}

}  // namespace brevant
