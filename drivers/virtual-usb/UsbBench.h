// A virtual bench's parts as USB devices, for programs that reach chips through
// libusb (libftdi, and so Brevant's libftdi backend). umockdev supplies the
// device files and sysfs; this class answers the kernel requests libusb makes of
// each part (usbdevfs ioctls: control and bulk transfers) from the bench's
// channels and their engines, as the chip would.
//
// The process must run under umockdev's preload library (umockdev-wrapper).
//
//   auto bench = virt::MakeDefaultBench();
//   virt::UsbBench usb(bench);               // bus 1: one USB device per part
//   brevant::SetDriver(std::make_shared<LibftdiDriver>());
//
// Parts sit on bus 1 at ports 1, 5, 9, ... in list order, so the location of
// the first part's channel A is 0x11. Each part answers as the chip does (see
// UsbPart): bulk transfers complete when the chip would, in the bench's time or,
// for an idle channel's latency timer, in real time.
#pragma once

#include <memory>
#include <vector>

#include "virtual/Bench.h"

typedef struct _UMockdevTestbed UMockdevTestbed;

namespace brevant::virt {

class UsbPart;

class UsbBench {
 public:
  // Plugs every part of `bench` into a fresh umockdev test bed. Channels of one
  // part follow each other in the bench's list, A first.
  explicit UsbBench(std::shared_ptr<Bench> bench);
  ~UsbBench();
  UsbBench(const UsbBench&) = delete;
  UsbBench& operator=(const UsbBench&) = delete;

  // True once a kept memory (see Bench::KeepMemories) could not be written.
  bool SaveFailed() const { return saveFailed_; }

 private:
  void Save();

  std::shared_ptr<Bench> bench_;
  UMockdevTestbed* testbed_;
  std::vector<std::unique_ptr<UsbPart>> parts_;
  bool saveFailed_ = false;
};

}  // namespace brevant::virt
