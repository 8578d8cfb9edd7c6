// One FTDI part on the emulated USB bus: its descriptors, and the answer to each
// usbdevfs request libusb makes on its device file.
//
// It is as strict as the chip. A bulk IN transfer completes once data is on its
// way to the host (the bench's clock moves on to its arrival) or, with nothing
// coming at all, when the latency timer runs out in real time, with the status
// bytes alone. A bulk OUT transfer takes what the chip's buffer has room for and
// waits for room for the rest, which never comes while the engine hangs. Both
// can be cancelled; a cancelled transfer ends with -ENOENT and what it moved.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
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

class VirtualClock;

class UsbPart {
 public:
  // `channels` are the part's channels, A first, all of one kind. `changed` is
  // called after every request that may have changed a memory of the part.
  UsbPart(std::vector<std::shared_ptr<Channel>> channels, VirtualClock& clock, int devnum, int port,
          std::function<void()> changed);
  ~UsbPart();
  UsbPart(const UsbPart&) = delete;
  UsbPart& operator=(const UsbPart&) = delete;

  // The part in umockdev's device description format.
  std::string Description() const;
  std::string DeviceNode() const;
  UMockdevIoctlBase* Handler() const { return handler_; }

 private:
  using WallClock = std::chrono::steady_clock;
  // A submitted URB and what is known of it.
  struct Urb {
    UMockdevIoctlData* data = nullptr;    // the usbdevfs_urb, as resolved
    UMockdevIoctlData* buffer = nullptr;  // its buffer, or null
    Channel* channel = nullptr;           // null for control transfers
    bool in = false;
    int done = 0;                     // bytes moved so far
    WallClock::time_point idleUntil;  // an idle IN answers then
  };

  static int HandleIoctl(UMockdevIoctlBase* base, UMockdevIoctlClient* client, void* self);
  void Submit(UMockdevIoctlClient* client, UMockdevIoctlData* arg);
  // Moves held URBs of `client` on, as far as the chip would have by now.
  void Serve(UMockdevIoctlClient* client);
  // True once the URB is complete.
  bool Progress(Urb& urb);
  void Finish(UMockdevIoctlClient* client, Urb& urb, int status);
  int Discard(UMockdevIoctlClient* client, UMockdevIoctlData* arg);
  // Fills a control transfer's reply and returns its status (0 or -errno).
  int Control(uint8_t* setup, int length, int& actual);
  bool VendorOut(Channel& channel, uint8_t request, unsigned value, unsigned index);
  void SetBaudRate(unsigned value, unsigned index);
  // The channel a vendor request's index names (1 = A; 0 also A).
  Channel* ChannelOf(int number) const;
  // A part reset: every channel back to power-up.
  void ResetChannels();

  std::vector<std::shared_ptr<Channel>> channels_;
  VirtualClock& clock_;
  int devnum_;
  int port_;
  int packetSize_;
  std::function<void()> changed_;
  std::vector<uint8_t> device_;  // device descriptor
  std::vector<uint8_t> config_;  // configuration with its interfaces and endpoints
  std::string serialNumber_;
  std::string description_;
  UMockdevIoctlBase* handler_;
  // umockdev answers requests on a thread of its own.
  std::mutex mutex_;
  // Per open file of the device: URBs in flight, and finished ones to reap.
  std::map<UMockdevIoctlClient*, std::deque<Urb>> held_;
  std::map<UMockdevIoctlClient*, std::deque<UMockdevIoctlData*>> done_;
};

}  // namespace brevant::virt
