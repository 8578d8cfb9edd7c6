#include "virtual-usb/UsbBench.h"

#include <umockdev.h>

#include <stdexcept>

#include "virtual-usb/UsbPart.h"

namespace brevant::virt {

namespace {

// Parts sit this many ports apart, so that the locations of one part's
// channels never run into the next part's.
constexpr int kPortStep = 4;

}  // namespace

UsbBench::UsbBench(std::shared_ptr<Bench> bench)
    : bench_(std::move(bench)), testbed_(umockdev_testbed_new()) {
  int devnum = 2;
  int port = 1;
  for (int index = 0; index < bench_->DeviceCount();) {
    const PartModel* model = ModelOfType(bench_->Device(index).Identity().type);
    const int count = model ? model->channels : 1;
    std::vector<std::shared_ptr<Channel>> channels;
    for (int c = 0; c < count && index < bench_->DeviceCount(); ++c) {
      channels.push_back(bench_->SharedDevice(index++));
    }
    auto part = std::make_unique<UsbPart>(std::move(channels), bench_->Clock(), devnum++, port,
                                          [this] { Save(); });
    port += kPortStep;
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(testbed_, part->Description().c_str(), &error) ||
        !umockdev_testbed_attach_ioctl(testbed_, part->DeviceNode().c_str(), part->Handler(),
                                       &error)) {
      const std::string text = error ? error->message : "no reason given";
      g_clear_error(&error);
      g_object_unref(testbed_);
      throw std::runtime_error("umockdev refused a part: " + text);
    }
    parts_.push_back(std::move(part));
  }
}

void UsbBench::Save() {
  if (!bench_->SaveMemories()) saveFailed_ = true;
}

UsbBench::~UsbBench() {
  for (const auto& part : parts_) {
    umockdev_testbed_detach_ioctl(testbed_, part->DeviceNode().c_str(), nullptr);
  }
  g_object_unref(testbed_);
}

}  // namespace brevant::virt
