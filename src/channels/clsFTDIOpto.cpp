#include "brevant/clsFTDIOpto.h"

#include "gateway/clsFTD2xx.h"

namespace brevant {

namespace {

// Opto mode is bit mode 0x10; the mask 0xEC stays the same whether the mode is
// switched on or reset to 0.
constexpr uint8_t kOptoMask = 0xEC;
constexpr uint8_t kOptoMode = 0x10;
constexpr uint8_t kResetMode = 0x00;

}  // namespace

void clsFTDIOpto::Initialize(int16_t DeviceNumber) {
  Start(DeviceNumber, kOptoMask, kOptoMode);
}

void clsFTDIOpto::Reset(bool Value) {
  Gateway->FTSetBitMode(kOptoMask, Value ? kOptoMode : kResetMode);
}

}  // namespace brevant
