#include "virtual-usb/UsbPart.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <umockdev.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "driver/Ftd2xx.h"

namespace brevant::virt {

namespace {

constexpr uint16_t kVendorId = 0x0403;
// Modem status bytes at the start of every bulk IN packet: CTS and DSR set,
// transmitter empty.
constexpr uint8_t kModemStatus[] = {0x32, 0x60};

// Requests of the chip's control endpoint.
constexpr uint8_t kStandardIn = 0x80;
constexpr uint8_t kVendorOut = 0x40;
constexpr uint8_t kVendorIn = 0xC0;
constexpr uint8_t kGetDescriptor = 0x06;
constexpr uint8_t kGetConfiguration = 0x08;
constexpr uint8_t kReset = 0x00;
constexpr uint8_t kPollModemStatus = 0x05;
constexpr uint8_t kSetLatency = 0x09;
constexpr uint8_t kGetLatency = 0x0A;
constexpr uint8_t kSetBitMode = 0x0B;
constexpr uint8_t kReadPins = 0x0C;
constexpr uint8_t kReadEeprom = 0x90;
constexpr uint16_t kResetSio = 0;
constexpr uint16_t kPurgeRx = 1;

void Put16(std::vector<uint8_t>& bytes, unsigned value) {
  bytes.push_back(static_cast<uint8_t>(value));
  bytes.push_back(static_cast<uint8_t>(value >> 8));
}

std::vector<uint8_t> StringDescriptor(const std::string& text) {
  std::vector<uint8_t> bytes{static_cast<uint8_t>(2 + 2 * text.size()), 3};
  for (char c : text) Put16(bytes, static_cast<uint8_t>(c));
  return bytes;
}

// Release number, as libftdi tells the chip kinds apart, and USB speed.
struct Kind {
  uint16_t bcdDevice;
  int packetSize;
};

Kind KindOf(uint32_t type) {
  switch (type) {
    case ft::kTypeFT2232D:
      return {0x0500, 64};
    case ft::kTypeFT2232H:
      return {0x0700, 512};
    case ft::kTypeFT4232H:
      return {0x0800, 512};
    default:  // ft::kTypeFT232H
      return {0x0900, 512};
  }
}

std::string Hex(const std::vector<uint8_t>& bytes) {
  std::string text;
  char digits[3];
  for (uint8_t b : bytes) {
    std::snprintf(digits, sizeof digits, "%02X", b);
    text += digits;
  }
  return text;
}

}  // namespace

UsbPart::UsbPart(std::vector<std::shared_ptr<Channel>> channels, int devnum, int port)
    : channels_(std::move(channels)),
      devnum_(devnum),
      port_(port),
      packetSize_(KindOf(channels_[0]->Identity().type).packetSize),
      serialNumber_(channels_[0]->Identity().serialNumber),
      description_(channels_[0]->Identity().description),
      handler_(umockdev_ioctl_base_new()) {
  const DeviceIdentity& identity = channels_[0]->Identity();
  // Channel A's texts without their channel letter are the part's.
  if (channels_.size() > 1) {
    serialNumber_.pop_back();
    description_.resize(description_.size() - 2);
  }
  device_ = {18, 1, 0x00, 0x02, 0, 0, 0, 64};
  Put16(device_, kVendorId);
  Put16(device_, identity.usbId & 0xFFFF);
  Put16(device_, KindOf(identity.type).bcdDevice);
  device_.insert(device_.end(), {1, 2, 3, 1});

  const auto count = static_cast<uint8_t>(channels_.size());
  config_ = {9, 2};
  Put16(config_, 9 + count * 23);
  config_.insert(config_.end(), {count, 1, 0, 0x80, 50});
  for (uint8_t i = 0; i < count; ++i) {
    config_.insert(config_.end(), {9, 4, i, 0, 2, 0xFF, 0xFF, 0xFF, 2});
    for (uint8_t endpoint : {static_cast<uint8_t>(0x81 + 2 * i), static_cast<uint8_t>(2 + 2 * i)}) {
      config_.insert(config_.end(), {7, 5, endpoint, 2});
      Put16(config_, static_cast<unsigned>(packetSize_));
      config_.push_back(0);
    }
  }
  g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(HandleIoctl), this);
}

UsbPart::~UsbPart() {
  for (auto& [client, urbs] : done_) {
    for (UMockdevIoctlData* urb : urbs) g_object_unref(urb);
  }
  g_object_unref(handler_);
}

std::string UsbPart::DeviceNode() const {
  char node[32];
  std::snprintf(node, sizeof node, "/dev/bus/usb/001/%03d", devnum_);
  return node;
}

std::string UsbPart::Description() const {
  std::vector<uint8_t> descriptors = device_;
  descriptors.insert(descriptors.end(), config_.begin(), config_.end());
  const std::string hex = Hex(descriptors);
  const std::string node = DeviceNode();
  return "P: /devices/pci0000:00/0000:00:14.0/usb1/1-" + std::to_string(port_) +
         "\nN: " + node.substr(5) + "=" + hex +
         "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=" + node +
         "\nA: busnum=1\nA: devnum=" + std::to_string(devnum_) +
         "\nA: speed=" + (packetSize_ == 64 ? "12" : "480") +
         "\nA: bConfigurationValue=1\nH: descriptors=" + hex + "\n";
}

Channel* UsbPart::ChannelOf(int number) const {
  if (number < 0 || number >= static_cast<int>(channels_.size())) return nullptr;
  return channels_[static_cast<size_t>(number)].get();
}

int UsbPart::HandleIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
  UsbPart& part = *static_cast<UsbPart*>(self);
  std::lock_guard lock(part.mutex_);
  const unsigned long request = umockdev_ioctl_client_get_request(client);
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
  long result = 0;
  int error = 0;
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES: {
      const uint32_t caps = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
                            USBDEVFS_CAP_BULK_SCATTER_GATHER;
      UMockdevIoctlData* out = umockdev_ioctl_data_resolve(arg, 0, sizeof caps, nullptr);
      std::memcpy(out->data, &caps, sizeof caps);
      g_object_unref(out);
      break;
    }
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_RESET:
    case USBDEVFS_CLEAR_HALT:
      break;
    case USBDEVFS_SUBMITURB: {
      // Every URB finishes at once; it waits for libusb to reap it.
      UMockdevIoctlData* urbData =
          umockdev_ioctl_data_resolve(arg, 0, sizeof(usbdevfs_urb), nullptr);
      auto* urb = reinterpret_cast<usbdevfs_urb*>(urbData->data);
      UMockdevIoctlData* buffer =
          urb->buffer_length > 0
              ? umockdev_ioctl_data_resolve(urbData, offsetof(usbdevfs_urb, buffer),
                                            static_cast<size_t>(urb->buffer_length), nullptr)
              : nullptr;
      int actual = 0;
      urb->status = part.Transfer(urb->type, urb->endpoint, buffer ? buffer->data : nullptr,
                                  urb->buffer_length, actual);
      urb->actual_length = actual;
      if (buffer) g_object_unref(buffer);
      part.done_[client].push_back(urbData);
      break;
    }
    case USBDEVFS_REAPURB:
    case USBDEVFS_REAPURBNDELAY: {
      std::deque<UMockdevIoctlData*>& done = part.done_[client];
      if (done.empty()) {
        result = -1;
        error = EAGAIN;
        break;
      }
      UMockdevIoctlData* out = umockdev_ioctl_data_resolve(arg, 0, sizeof(void*), nullptr);
      umockdev_ioctl_data_set_ptr(out, 0, done.front());
      g_object_unref(done.front());
      g_object_unref(out);
      done.pop_front();
      break;
    }
    case USBDEVFS_DISCARDURB:
      // Nothing is ever in flight to cancel.
      result = -1;
      error = EINVAL;
      break;
    default:
      // No kernel driver to ask about or detach (USBDEVFS_GETDRIVER, _IOCTL).
      result = -1;
      error = ENODATA;
      break;
  }
  umockdev_ioctl_client_complete(client, result, error);
  return TRUE;
}

int UsbPart::Transfer(uint8_t type, uint8_t endpoint, uint8_t* buffer, int length, int& actual) {
  if (type == USBDEVFS_URB_TYPE_CONTROL) return Control(buffer, length, actual);
  if (type != USBDEVFS_URB_TYPE_BULK) return -EINVAL;
  // Channel A has endpoints 0x81 and 0x02, B 0x83 and 0x04, ...
  const bool in = endpoint & 0x80;
  Channel* channel = ChannelOf(in ? ((endpoint & 0x7F) - 1) / 2 : endpoint / 2 - 1);
  if (channel == nullptr) return -EPIPE;
  if (!in) {
    channel->HostWrite({buffer, static_cast<size_t>(length)});
    actual = length;
    return 0;
  }
  // What reaches the host within one latency period, behind the status bytes
  // of each packet.
  const int payload = packetSize_ - 2;
  const int packets = std::max(length / packetSize_, 1);
  std::vector<uint8_t> data(static_cast<size_t>(std::min(packets * payload, length - 2)));
  channel->Settings().readTimeoutMs = std::max<uint8_t>(channel->Settings().latencyMs, 1);
  data.resize(channel->HostRead(data));
  size_t taken = 0;
  do {
    const size_t chunk = std::min(data.size() - taken, static_cast<size_t>(payload));
    std::memcpy(buffer + actual, kModemStatus, sizeof kModemStatus);
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(taken), chunk, buffer + actual + 2);
    actual += static_cast<int>(2 + chunk);
    taken += chunk;
  } while (taken < data.size());
  return 0;
}

int UsbPart::Control(uint8_t* setup, int length, int& actual) {
  const uint8_t requestType = setup[0];
  const uint8_t request = setup[1];
  const unsigned value = setup[2] | setup[3] << 8;
  const unsigned index = setup[4] | setup[5] << 8;
  const int room = std::min<int>(setup[6] | setup[7] << 8, length - 8);
  // libftdi numbers the channels from 1 in the index; 0 means A too.
  Channel* channel = ChannelOf(std::max<int>(index & 0xFF, 1) - 1);
  std::vector<uint8_t> reply;
  if (requestType == kStandardIn && request == kGetDescriptor) {
    switch (value >> 8) {
      case 1:
        reply = device_;
        break;
      case 2:
        reply = config_;
        break;
      case 3: {
        const unsigned string = value & 0xFF;
        reply = string == 0   ? std::vector<uint8_t>{4, 3, 0x09, 0x04}  // US English
                : string == 1 ? StringDescriptor("FTDI")
                : string == 2 ? StringDescriptor(description_)
                              : StringDescriptor(serialNumber_);
        break;
      }
      default:
        return -EPIPE;
    }
  } else if (requestType == kStandardIn && request == kGetConfiguration) {
    reply = {1};
  } else if (requestType == kVendorOut && channel) {
    if (request == kReset && value == kResetSio) channel->Reset();
    if (request == kReset && value == kPurgeRx) channel->PurgeReceive();
    if (request == kSetLatency) channel->Settings().latencyMs = static_cast<uint8_t>(value);
    if (request == kSetBitMode) channel->SetBitMode(value & 0xFF, static_cast<uint8_t>(value >> 8));
  } else if (requestType == kVendorIn && channel) {
    switch (request) {
      case kGetLatency:
        reply = {channel->Settings().latencyMs};
        break;
      case kPollModemStatus:
        reply = {kModemStatus[0], kModemStatus[1]};
        break;
      case kReadPins:
        reply = {channel->Pins()};
        break;
      case kReadEeprom:  // a blank EEPROM
        reply = {0xFF, 0xFF};
        break;
      default:
        return -EPIPE;
    }
  } else {
    return -EPIPE;
  }
  actual = std::min<int>(static_cast<int>(reply.size()), room);
  std::copy_n(reply.begin(), actual, setup + 8);
  return 0;
}

}  // namespace brevant::virt
