#include "virtual/mpsse/JtagTap.h"

#include <array>
#include <cstddef>

namespace brevant::virt {

namespace {

using S = TapState;

// The next state for TMS 0 and TMS 1, by state.
constexpr std::array<std::array<S, 2>, 16> kNext = {{
    {S::kRunTestIdle, S::kTestLogicReset},  // Test-Logic-Reset
    {S::kRunTestIdle, S::kSelectDr},        // Run-Test/Idle
    {S::kCaptureDr, S::kSelectIr},          // Select-DR-Scan
    {S::kShiftDr, S::kExit1Dr},             // Capture-DR
    {S::kShiftDr, S::kExit1Dr},             // Shift-DR
    {S::kPauseDr, S::kUpdateDr},            // Exit1-DR
    {S::kPauseDr, S::kExit2Dr},             // Pause-DR
    {S::kShiftDr, S::kUpdateDr},            // Exit2-DR
    {S::kRunTestIdle, S::kSelectDr},        // Update-DR
    {S::kCaptureIr, S::kTestLogicReset},    // Select-IR-Scan
    {S::kShiftIr, S::kExit1Ir},             // Capture-IR
    {S::kShiftIr, S::kExit1Ir},             // Shift-IR
    {S::kPauseIr, S::kUpdateIr},            // Exit1-IR
    {S::kPauseIr, S::kExit2Ir},             // Pause-IR
    {S::kShiftIr, S::kUpdateIr},            // Exit2-IR
    {S::kRunTestIdle, S::kSelectDr},        // Update-IR
}};

// Capture-IR loads ...01 into the instruction shift register, which is how a
// host finds the IR lengths of an unknown chain.
constexpr uint32_t kIrCapture = 0x1;

}  // namespace

JtagTap::JtagTap(int irLength, uint32_t idcode, uint32_t idcodeInstruction)
    : irLength_(irLength),
      idcode_(idcode),
      idcodeInstruction_(idcodeInstruction),
      instruction_(idcodeInstruction) {}

void JtagTap::Rise(bool tms, bool tdi) {
  switch (state_) {
    case S::kCaptureDr:
      if (instruction_ == idcodeInstruction_) {
        drShift_ = idcode_;
        drLength_ = 32;
      } else {
        drShift_ = 0;  // BYPASS captures a 0
        drLength_ = 1;
      }
      break;
    case S::kShiftDr:
      drShift_ = drShift_ >> 1 | uint64_t{tdi} << (drLength_ - 1);
      break;
    case S::kCaptureIr:
      irShift_ = kIrCapture;
      break;
    case S::kShiftIr:
      irShift_ = irShift_ >> 1 | uint32_t{tdi} << (irLength_ - 1);
      break;
    default:
      break;
  }
  state_ = kNext[static_cast<std::size_t>(state_)][tms ? 1 : 0];
  if (state_ == S::kTestLogicReset) instruction_ = idcodeInstruction_;
}

void JtagTap::Fall() {
  if (state_ == S::kUpdateIr) instruction_ = irShift_;
  driving_ = state_ == S::kShiftDr || state_ == S::kShiftIr;
  if (driving_) tdo_ = (state_ == S::kShiftDr ? drShift_ : irShift_) & 1;
}

}  // namespace brevant::virt
