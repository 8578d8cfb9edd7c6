#include "component/I2cBusObject.h"

#include "brevant/Error.h"

namespace brevant::component {

double I2cBusObject::Open(std::shared_ptr<clsFTDIMPSSE> Channel, double Frequency) {
  if (!Channel) throw Error(kErrI2cParameter, "I2cBus", "Invalid channel");
  // A failed open leaves the bus as it was.
  auto bus = std::make_unique<I2cBus>(*Channel, Frequency);
  bus_.reset();
  channel_ = std::move(Channel);
  bus_ = std::move(bus);
  return bus_->Frequency();
}

I2cBus& I2cBusObject::Bus() {
  if (!bus_) throw Error(kErrDeviceNotOpened, "I2cBus", "Device not opened");
  return *bus_;
}

}  // namespace brevant::component
