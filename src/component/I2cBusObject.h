// The I2C controller as automation clients get it: created empty by name or
// identifier, then opened on a clsFTDIMPSSE object, which it keeps alive for
// as long as it is open. Every other member raises "Device not opened" before
// Open.
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/ByteArray.h"
#include "brevant/I2cBus.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant::component {

class I2cBusObject {
 public:
  // The SCL rate the chip makes; a null channel raises kErrI2cParameter.
  double Open(std::shared_ptr<clsFTDIMPSSE> Channel, double Frequency);
  double Frequency() { return Bus().Frequency(); }
  void Write(uint8_t Address, ByteArray& Data) { Bus().Write(Address, Data); }
  ByteArray Read(uint8_t Address, int32_t Count) { return Bus().Read(Address, Count); }
  ByteArray WriteRead(uint8_t Address, ByteArray& Data, int32_t Count) {
    return Bus().WriteRead(Address, Data, Count);
  }
  void WriteRegister(uint8_t Address, uint8_t Register, ByteArray& Data) {
    Bus().WriteRegister(Address, Register, Data);
  }
  ByteArray ReadRegister(uint8_t Address, uint8_t Register, int32_t Count) {
    return Bus().ReadRegister(Address, Register, Count);
  }
  bool Probe(uint8_t Address) { return Bus().Probe(Address); }
  ByteArray Scan() { return Bus().Scan(); }
  void Recover() { Bus().Recover(); }

 private:
  I2cBus& Bus();

  // Declared first so that the bus goes before its channel.
  std::shared_ptr<clsFTDIMPSSE> channel_;
  std::unique_ptr<I2cBus> bus_;
};

}  // namespace brevant::component
