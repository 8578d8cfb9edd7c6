#include "JtagCommand.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

#include "Number.h"
#include "ToolError.h"
#include "brevant/ByteArray.h"
#include "brevant/MpsseBatch.h"
#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"

namespace brevant::tool {

namespace {

// Longer chains than this are taken for a stuck TDO.
constexpr int kMaxTaps = 32;
constexpr uint32_t kNoTap = 0xFFFFFFFF;

// TMS sequences, first bit in bit 0.
constexpr uint8_t kToReset = 0x1F;         // five ones reach Test-Logic-Reset from anywhere
constexpr uint8_t kResetToShiftDr = 0x02;  // 0, 1, 0, 0: Idle, Select-DR, Capture-DR, Shift-DR

class BitReader {
 public:
  explicit BitReader(const ByteArray& bytes) : bytes_(bytes) {}
  size_t Left() const { return static_cast<size_t>(bytes_.Count()) * 8 - position_; }
  bool Next() {
    const bool bit = (bytes_[static_cast<int32_t>(position_ / 8)] >> (position_ % 8)) & 1;
    ++position_;
    return bit;
  }

 private:
  const ByteArray& bytes_;
  size_t position_ = 0;
};

// A TAP's IDCODE, or nothing for one in BYPASS.
using Tap = std::optional<uint32_t>;

// Splits the shifted-out bits into TAPs: an IDCODE starts with 1, BYPASS is a
// lone 0. The ones shifted in behind the last TAP end the chain.
std::vector<Tap> SplitChain(const ByteArray& bits) {
  BitReader reader(bits);
  std::vector<Tap> taps;
  while (reader.Left() >= 32) {
    if (!reader.Next()) {
      taps.emplace_back();
      continue;
    }
    uint32_t idcode = 1;
    for (int bit = 1; bit < 32; ++bit) idcode |= uint32_t{reader.Next()} << bit;
    if (idcode == kNoTap) return taps;
    taps.emplace_back(idcode);
  }
  throw ToolError("no end of the JTAG chain within " + std::to_string(kMaxTaps) +
                  " TAPs: is TDO stuck?");
}

}  // namespace

JtagCommand::JtagCommand(CLI::App& app)
    : command_(app.add_subcommand("jtag", "list the TAPs of a JTAG chain by IDCODE")),
      device_(*command_) {
  command_
      ->add_option("-f,--frequency", frequency_,
                   "TCK in Hz, at most (default 30e6: the fastest the part makes up to 30 MHz)")
      ->check(Frequency());
}

void JtagCommand::Run(const std::shared_ptr<icLog>& log) const {
  const int16_t device = device_.Resolve(log);
  clsFTDIMPSSE mpsse;
  mpsse.Log(log);
  mpsse.Initialize(device);
  {
    MpsseBatch clock(mpsse);
    clock.SetFrequency(frequency_);
    clock.Run();
  }
  // TCK low, TDI and TMS high; the port model directs TCK, TDI and TMS out.
  mpsse.MPSSEPortIO()->MPSSEPortOutput(eftTDIDO | eftTMSCS);
  // TAPs sample on the rising edge of TCK and change TDO on the falling one.
  mpsse.TMSBitsOut(kToReset, 5, emcNegEdge);
  mpsse.TMSBitsOut(kResetToShiftDr, 4, emcNegEdge);
  // Ones in: each TAP's register, then ones again once the chain has passed.
  const int32_t length = (kMaxTaps + 1) * 4;
  ByteArray bits(0, length);
  std::ranges::fill(bits.Elements(), 0xFF);
  mpsse.DataBytesInOut(bits, length, emdLSBfirst, emcNegEdge, emcPosEdge);
  mpsse.TMSBitsOut(kToReset, 5, emcNegEdge);
  mpsse.Terminate();

  const std::vector<Tap> taps = SplitChain(bits);
  if (taps.empty()) {
    throw ToolError("no TAP answers on device " + std::to_string(device) + " (TDO reads high)",
                    ExitStatus::kMismatch);
  }
  std::printf("TAP  IDCODE      Version  Part    Manufacturer\n");
  for (size_t i = 0; i < taps.size(); ++i) {
    if (!taps[i]) {
      std::printf("%-3zu  BYPASS\n", i);
      continue;
    }
    const uint32_t id = *taps[i];
    std::printf("%-3zu  0x%08X  %-7u  0x%04X  0x%03X\n", i, id, id >> 28, (id >> 12) & 0xFFFF,
                (id >> 1) & 0x7FF);
  }
  std::printf("TAP 0 is nearest TDO.\n");
}

}  // namespace brevant::tool
