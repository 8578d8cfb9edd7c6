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
#include "virtual/Bench.h"
#include "virtual/VirtualClock.h"

namespace brevant::virt {

namespace {

constexpr uint16_t kVendorId = 0x0403;
// Modem status bytes at the start of every bulk IN packet: CTS and DSR set,
// transmitter empty.
constexpr uint8_t kModemStatus[] = {0x32, 0x60};
constexpr int kStatusBytes = 2;

// Requests of the chip's control endpoint.
constexpr uint8_t kStandardIn = 0x80;
constexpr uint8_t kVendorOut = 0x40;
constexpr uint8_t kVendorIn = 0xC0;
constexpr uint8_t kGetDescriptor = 0x06;
constexpr uint8_t kGetConfiguration = 0x08;
constexpr uint8_t kReset = 0x00;
constexpr uint8_t kSetBaudRate = 0x03;
constexpr uint8_t kPollModemStatus = 0x05;
constexpr uint8_t kSetLatency = 0x09;
constexpr uint8_t kGetLatency = 0x0A;
constexpr uint8_t kSetBitMode = 0x0B;
constexpr uint8_t kReadPins = 0x0C;
constexpr uint8_t kReadEeprom = 0x90;
constexpr uint8_t kWriteEeprom = 0x91;
constexpr uint8_t kEraseEeprom = 0x92;
// Values of the reset request: the whole channel, the data from the host not yet
// run, the data for the host not yet read.
constexpr uint16_t kResetSio = 0;
constexpr uint16_t kPurgeFromHost = 1;
constexpr uint16_t kPurgeToHost = 2;

constexpr int64_t kUsPerMs = 1000;

void Put16(std::vector<uint8_t>& bytes, unsigned value) {
  bytes.push_back(static_cast<uint8_t>(value));
  bytes.push_back(static_cast<uint8_t>(value >> 8));
}

std::vector<uint8_t> StringDescriptor(const std::string& text) {
  std::vector<uint8_t> bytes{static_cast<uint8_t>(2 + 2 * text.size()), 3};
  for (char c : text) Put16(bytes, static_cast<uint8_t>(c));
  return bytes;
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

// The rate a set-baud-rate divisor gives: 14 bits of integer and a fraction
// code in eighths of a 3 MHz clock, or of 12 MHz with bit 17 on a high-speed
// part; 0 and 1 stand for the divisors 1 and 1.5.
uint32_t RateOf(uint32_t encoded, bool highSpeed) {
  constexpr uint32_t kEighths[8] = {0, 4, 2, 1, 3, 5, 6, 7};
  uint32_t eighths = (encoded & 0x3FFF) * 8 + kEighths[encoded >> 14 & 7];
  if (eighths == 0)
    eighths = 8;
  else if (eighths == 8)
    eighths = 12;
  const uint64_t clock = highSpeed && (encoded & 1u << 17) ? 12'000'000 : 3'000'000;
  return static_cast<uint32_t>((clock * 8 + eighths / 2) / eighths);
}

}  // namespace

UsbPart::UsbPart(std::vector<std::shared_ptr<Channel>> channels, VirtualClock& clock, int devnum,
                 int port, std::function<void()> changed)
    : channels_(std::move(channels)),
      clock_(clock),
      devnum_(devnum),
      port_(port),
      changed_(std::move(changed)),
      serialNumber_(channels_[0]->Identity().serialNumber),
      description_(channels_[0]->Identity().description),
      handler_(umockdev_ioctl_base_new()) {
  const DeviceIdentity& identity = channels_[0]->Identity();
  const PartModel* model = ModelOfType(identity.type);
  // High-speed parts move 512-byte packets, full-speed ones 64.
  packetSize_ = model && model->transferUs > 125 ? 64 : 512;
  // Channel A's texts without their channel letter are the part's.
  if (channels_.size() > 1) {
    serialNumber_.pop_back();
    description_.resize(description_.size() - 2);
  }
  device_ = {18, 1, 0x00, 0x02, 0, 0, 0, 64};
  Put16(device_, kVendorId);
  Put16(device_, identity.usbId & 0xFFFF);
  Put16(device_, model ? model->release : 0x0900);
  // A part without a serial number has no string for it.
  device_.insert(device_.end(), {1, 2, static_cast<uint8_t>(serialNumber_.empty() ? 0 : 3), 1});

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
  for (auto& [client, urbs] : held_) {
    for (Urb& urb : urbs) {
      if (urb.buffer) g_object_unref(urb.buffer);
      g_object_unref(urb.data);
    }
  }
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
    case USBDEVFS_RESET:
      part.ResetChannels();
      break;
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_DISCONNECT_CLAIM:
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_CLEAR_HALT:
      break;
    case USBDEVFS_SUBMITURB:
      part.Submit(client, arg);
      break;
    case USBDEVFS_REAPURB:
    case USBDEVFS_REAPURBNDELAY: {
      part.Serve(client);
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
      error = part.Discard(client, arg);
      result = error ? -1 : 0;
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

void UsbPart::Submit(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
  Urb urb;
  urb.data = umockdev_ioctl_data_resolve(arg, 0, sizeof(usbdevfs_urb), nullptr);
  auto* header = reinterpret_cast<usbdevfs_urb*>(urb.data->data);
  if (header->buffer_length > 0) {
    urb.buffer = umockdev_ioctl_data_resolve(urb.data, offsetof(usbdevfs_urb, buffer),
                                             static_cast<size_t>(header->buffer_length), nullptr);
  }
  if (header->type == USBDEVFS_URB_TYPE_CONTROL) {
    int actual = 0;
    const int status =
        urb.buffer ? Control(urb.buffer->data, header->buffer_length, actual) : -EINVAL;
    urb.done = actual;
    return Finish(client, urb, status);
  }
  // Channel A has endpoints 0x81 and 0x02, B 0x83 and 0x04, ...
  urb.in = header->endpoint & 0x80;
  urb.channel = ChannelOf(urb.in ? ((header->endpoint & 0x7F) - 1) / 2 : header->endpoint / 2 - 1);
  if (header->type != USBDEVFS_URB_TYPE_BULK || urb.channel == nullptr) {
    return Finish(client, urb, header->type == USBDEVFS_URB_TYPE_BULK ? -EPIPE : -EINVAL);
  }
  if (urb.in) {
    const int latencyMs = std::max<int>(urb.channel->Settings().latencyMs, 1);
    urb.idleUntil = WallClock::now() + std::chrono::milliseconds(latencyMs);
  }
  // Transfers on one endpoint finish in the order they were submitted.
  std::deque<Urb>& held = held_[client];
  const bool queued = std::any_of(held.begin(), held.end(), [&urb](const Urb& earlier) {
    return earlier.channel == urb.channel && earlier.in == urb.in;
  });
  if (!queued && Progress(urb)) return Finish(client, urb, 0);
  held.push_back(urb);
}

bool UsbPart::Progress(Urb& urb) {
  auto* header = reinterpret_cast<usbdevfs_urb*>(urb.data->data);
  Channel& channel = *urb.channel;
  if (!urb.in) {
    const int room = static_cast<int>(std::min<uint32_t>(
        channel.ReceiveRoom(), static_cast<uint32_t>(header->buffer_length - urb.done)));
    if (room > 0) {
      // Bytes move with the next USB frame at the earliest.
      clock_.Advance(channel.TransferUs());
      channel.HostWrite({urb.buffer->data + urb.done, static_cast<size_t>(room)});
      urb.done += room;
      changed_();
    }
    return urb.done == header->buffer_length;
  }
  const bool idle = !channel.Sending();
  if (idle && WallClock::now() < urb.idleUntil) return false;
  // What reaches the host within one latency period, behind the status bytes of
  // each packet; an idle chip sends the status bytes alone.
  const int payload = packetSize_ - kStatusBytes;
  const int packets = std::max(header->buffer_length / packetSize_, 1);
  std::vector<uint8_t> data(static_cast<size_t>(
      std::max(0, std::min(packets * payload, header->buffer_length - kStatusBytes))));
  // An answer waits for a USB frame to carry it.
  const int64_t earliest = clock_.Now() + channel.TransferUs();
  const uint32_t saved = channel.Settings().readTimeoutMs;
  channel.Settings().readTimeoutMs = std::max<uint8_t>(channel.Settings().latencyMs, 1);
  data.resize(idle ? 0 : channel.HostRead(data));
  channel.Settings().readTimeoutMs = saved;
  if (idle) clock_.Advance(int64_t{channel.Settings().latencyMs} * kUsPerMs);
  clock_.AdvanceTo(earliest);
  size_t taken = 0;
  uint8_t* out = urb.buffer->data;
  do {
    const size_t chunk = std::min(data.size() - taken, static_cast<size_t>(payload));
    std::memcpy(out + urb.done, kModemStatus, sizeof kModemStatus);
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(taken), chunk,
                out + urb.done + kStatusBytes);
    urb.done += static_cast<int>(kStatusBytes + chunk);
    taken += chunk;
  } while (taken < data.size());
  return true;
}

void UsbPart::Serve(UMockdevIoctlClient* client) {
  std::deque<Urb>& held = held_[client];
  // Transfers on one endpoint finish in order; the first unfinished one holds
  // up the rest behind it.
  for (auto urb = held.begin(); urb != held.end();) {
    const bool blocked = std::any_of(held.begin(), urb, [&](const Urb& earlier) {
      return earlier.channel == urb->channel && earlier.in == urb->in;
    });
    if (!blocked && Progress(*urb)) {
      Finish(client, *urb, 0);
      urb = held.erase(urb);
    } else {
      ++urb;
    }
  }
}

void UsbPart::Finish(UMockdevIoctlClient* client, Urb& urb, int status) {
  auto* header = reinterpret_cast<usbdevfs_urb*>(urb.data->data);
  header->status = status;
  header->actual_length = urb.done;
  if (urb.buffer) g_object_unref(urb.buffer);
  done_[client].push_back(urb.data);
}

int UsbPart::Discard(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
  // The argument is the client's address of the URB.
  gulong address = 0;
  std::memcpy(&address, arg->data,
              std::min<size_t>(sizeof address, static_cast<size_t>(arg->data_len)));
  std::deque<Urb>& held = held_[client];
  const auto found = std::find_if(held.begin(), held.end(), [address](const Urb& urb) {
    return urb.data->client_addr == address;
  });
  // Not in flight: done already, or never submitted.
  if (found == held.end()) return EINVAL;
  Finish(client, *found, -ENOENT);
  held.erase(found);
  return 0;
}

void UsbPart::ResetChannels() {
  for (const auto& channel : channels_) {
    channel->Reset();
    channel->PurgeTransmit();
  }
}

void UsbPart::SetBaudRate(unsigned value, unsigned index) {
  // Parts with more than one channel carry its number in the index's low byte
  // and the divisor's high bits above it; one-channel parts the bits alone.
  const bool several = channels_.size() > 1;
  Channel* channel = ChannelOf(several ? std::max<int>(index & 0xFF, 1) - 1 : 0);
  if (channel == nullptr) return;
  const unsigned high = several ? index >> 8 : index;
  const bool highSpeed = packetSize_ == 512;
  channel->Settings().baudRate = RateOf(value | high << 16, highSpeed);
}

bool UsbPart::VendorOut(Channel& channel, uint8_t request, unsigned value, unsigned index) {
  ChipEeprom* eeprom = channels_[0]->Eeprom();
  switch (request) {
    case kReset:
      if (value == kResetSio) {
        channel.Reset();
      } else if (value == kPurgeFromHost) {
        channel.PurgeTransmit();
      } else if (value == kPurgeToHost) {
        channel.PurgeReceive();
      }
      return true;
    case kSetBaudRate:
      SetBaudRate(value, index);
      return true;
    case kSetLatency:
      channel.Settings().latencyMs = static_cast<uint8_t>(value);
      return true;
    case kSetBitMode:
      channel.SetBitMode(value & 0xFF, static_cast<uint8_t>(value >> 8));
      return true;
    case kWriteEeprom:
      if (eeprom == nullptr) return false;
      eeprom->WriteWord(index, static_cast<uint16_t>(value));
      changed_();
      return true;
    case kEraseEeprom:
      if (eeprom == nullptr) return false;
      eeprom->Erase();
      changed_();
      return true;
    default:
      // Requests this bench has no model for (flow control, characters, ...)
      // are taken and change nothing.
      return true;
  }
}

int UsbPart::Control(uint8_t* setup, int length, int& actual) {
  if (length < 8) return -EINVAL;
  const uint8_t requestType = setup[0];
  const uint8_t request = setup[1];
  const unsigned value = setup[2] | setup[3] << 8;
  const unsigned index = setup[4] | setup[5] << 8;
  const int room = std::min<int>(setup[6] | setup[7] << 8, length - 8);
  // The channel is in the index's low byte, from 1; 0 means A too. The EEPROM
  // requests' index is a word address instead.
  Channel* channel = ChannelOf(std::max<int>(index & 0xFF, 1) - 1);
  if (request >= kReadEeprom) channel = channels_[0].get();
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
        if (string == 3 && serialNumber_.empty()) return -EPIPE;
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
    if (!VendorOut(*channel, request, value, index)) return -EPIPE;
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
      case kReadEeprom: {
        const ChipEeprom* eeprom = channels_[0]->Eeprom();
        const uint16_t word = eeprom ? eeprom->ReadWord(index) : 0xFFFF;
        reply = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)};
        break;
      }
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
