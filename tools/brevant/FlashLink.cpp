#include "FlashLink.h"

#include "ToolError.h"
#include "brevant/Error.h"
#include "brevant/clsDeviceList.h"

namespace brevant::tool {

FlashLink::FlashLink(int16_t device, double hz, std::shared_ptr<icLog> log)
    : device_(device), hz_(hz), log_(std::move(log)) {
  // Read before opening: an open device shows no location.
  clsDeviceList list;
  tDeviceInfo info;
  info.Device = device_;
  try {
    list.GetDeviceInfo(device_, info.SerialNumber, info.Description, info.LocationID);
    identity_ = info;
  } catch (const Error&) {  // the device may still open; only a repair needs this
  }
  Open();
  geometry_ = flash_->Identify(std::to_string(device_));
}

FlashLink::~FlashLink() {
  try {
    if (mpsse_) mpsse_->Terminate();
  } catch (const Error&) {  // nothing more can be done with the channel
  }
}

void FlashLink::Open() {
  flash_.reset();
  mpsse_ = std::make_unique<clsFTDIMPSSE>();
  mpsse_->Log(log_);
  mpsse_->Initialize(device_);
  flash_ = std::make_unique<SerialFlash>(*mpsse_, hz_);
}

void FlashLink::Reopen() {
  try {
    mpsse_->Terminate();
  } catch (const Error&) {  // the channel is opened afresh next
  }
  device_ = Find();
  Open();
  // An erase or program cut short by the failure may still be running.
  flash_->WaitWhileBusy();
  const FlashGeometry now = flash_->Identify(std::to_string(device_));
  if (now.jedecId != geometry_.jedecId || now.sizeBytes != geometry_.sizeBytes) {
    throw ToolError("device " + std::to_string(device_) + " answers with another flash now");
  }
}

int16_t FlashLink::Find() const {
  const std::string device = "device " + std::to_string(device_);
  if (!identity_) throw ToolError(device + " could not be read from the driver's list before");
  clsDeviceList list;
  int32_t count = 0;
  Array<tDeviceInfo> devices;
  list.ScanDevices(count, devices);
  for (const tDeviceInfo& info : devices.Elements().first(static_cast<size_t>(count))) {
    // A serial number tells channels apart; without one only the location can.
    if (!info.Error && info.SerialNumber == identity_->SerialNumber &&
        info.Description == identity_->Description &&
        (!info.SerialNumber.empty() || info.LocationID == identity_->LocationID)) {
      return info.Device;
    }
  }
  throw ToolError(device + " (serial number \"" + identity_->SerialNumber +
                  "\") is no longer in the driver's list");
}

void FlashLink::Close() {
  flash_.reset();
  mpsse_->Terminate();
  mpsse_.reset();
}

}  // namespace brevant::tool
