#include "FlashLink.h"

#include "ToolError.h"
#include "brevant/Error.h"

namespace brevant::tool {

FlashLink::FlashLink(int16_t device, double hz, std::shared_ptr<icLog> log)
    : device_(device), hz_(hz), log_(std::move(log)) {
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
  Open();
  const FlashGeometry now = flash_->Identify(std::to_string(device_));
  if (now.sizeBytes != geometry_.sizeBytes) {
    throw ToolError("device " + std::to_string(device_) + " answers with another flash now");
  }
}

void FlashLink::Close() {
  flash_.reset();
  mpsse_->Terminate();
  mpsse_.reset();
}

}  // namespace brevant::tool
