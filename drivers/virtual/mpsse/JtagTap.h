// One test access port: the 16-state TAP controller of IEEE 1149.1 with an
// instruction register of its own length and two data registers, IDCODE
// (32 bits) and BYPASS (1 bit). Reset selects IDCODE; the all-ones instruction
// and any other one the TAP does not know select BYPASS.
#pragma once

#include <cstdint>

namespace brevant::virt {

enum class TapState {
  kTestLogicReset,
  kRunTestIdle,
  kSelectDr,
  kCaptureDr,
  kShiftDr,
  kExit1Dr,
  kPauseDr,
  kExit2Dr,
  kUpdateDr,
  kSelectIr,
  kCaptureIr,
  kShiftIr,
  kExit1Ir,
  kPauseIr,
  kExit2Ir,
  kUpdateIr,
};

class JtagTap {
 public:
  // `idcode` must have bit 0 set, as the standard asks of every IDCODE.
  JtagTap(int irLength, uint32_t idcode, uint32_t idcodeInstruction);

  // TCK rises: registers capture or shift, then the state follows TMS.
  void Rise(bool tms, bool tdi);
  // TCK falls: a new instruction takes effect, TDO shows the next bit.
  void Fall();
  // TDO drives only while a register shifts; otherwise it floats.
  bool Driving() const { return driving_; }
  bool Tdo() const { return tdo_; }

  TapState State() const { return state_; }
  uint32_t Instruction() const { return instruction_; }
  int IrLength() const { return irLength_; }
  uint32_t Idcode() const { return idcode_; }

 private:
  const int irLength_;
  const uint32_t idcode_;
  const uint32_t idcodeInstruction_;

  TapState state_ = TapState::kTestLogicReset;
  uint32_t instruction_;
  uint32_t irShift_ = 0;
  uint64_t drShift_ = 0;
  int drLength_ = 1;
  bool driving_ = false;
  bool tdo_ = true;
};

}  // namespace brevant::virt
