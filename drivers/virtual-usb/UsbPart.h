// One FTDI part on the emulated USB bus: its descriptors, and the answer to each
// usbdevfs request libusb makes on its device file.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "virtual/Channel.h"

typedef struct _UMockdevIoctlBase UMockdevIoctlBase;
typedef struct _UMockdevIoctlClient UMockdevIoctlClient;
typedef struct _UMockdevIoctlData UMockdevIoctlData;

namespace brevant::virt {

class UsbPart {
 public:
  // `channels` are the part's channels, A first, all of one kind.
  UsbPart(std::vector<std::shared_ptr<Channel>> channels, int devnum, int port);
  ~UsbPart();
  UsbPart(const UsbPart&) = delete;
  UsbPart& operator=(const UsbPart&) = delete;

  // The part in umockdev's device description format.
  std::string Description() const;
  std::string DeviceNode() const;
  UMockdevIoctlBase* Handler() const { return handler_; }

 private:
  static int HandleIoctl(UMockdevIoctlBase* base, UMockdevIoctlClient* client, void* self);
  // Fills in a submitted URB and returns its status (0 or -errno).
  int Transfer(uint8_t type, uint8_t endpoint, uint8_t* buffer, int length, int& actual);
  int Control(uint8_t* setup, int length, int& actual);
  Channel* ChannelOf(int number) const;

  std::vector<std::shared_ptr<Channel>> channels_;
  int devnum_;
  int port_;
  int packetSize_;
  std::vector<uint8_t> device_;  // device descriptor
  std::vector<uint8_t> config_;  // configuration with its interfaces and endpoints
  std::string serialNumber_;
  std::string description_;
  UMockdevIoctlBase* handler_;
  // umockdev answers requests on a thread of its own.
  std::mutex mutex_;
  // Finished URBs waiting to be reaped, per open file of the device.
  std::map<UMockdevIoctlClient*, std::deque<UMockdevIoctlData*>> done_;
};

}  // namespace brevant::virt
