#include "libftdi/BaudDivisor.h"

#include <cstdlib>

namespace brevant {

namespace {

constexpr uint32_t kSlowClock = 3'000'000;
constexpr uint32_t kFastClock = 12'000'000;
constexpr uint32_t kFastFlag = 1u << 17;
// The largest divisor: 0x3FFF and seven eighths.
constexpr uint64_t kMaxEighths = 0x3FFFull * 8 + 7;
// Fraction in eighths -> the code the chip expects for it.
constexpr uint32_t kFractionCode[8] = {0, 3, 2, 4, 1, 5, 6, 7};

// The divisor in eighths nearest to clock / rate, as the chip can take it.
uint64_t NearestEighths(uint32_t clock, uint32_t rate) {
  uint64_t eighths = (uint64_t{clock} * 8 + rate / 2) / rate;
  // Below 2 only 1 and 1.5 exist, and they have codes of their own.
  if (eighths < 10) return 8;
  if (eighths < 14) return 12;
  return eighths > kMaxEighths ? kMaxEighths : eighths;
}

uint32_t Encode(uint64_t eighths) {
  if (eighths == 8) return 0;
  if (eighths == 12) return 1;
  return static_cast<uint32_t>(eighths >> 3) | kFractionCode[eighths & 7] << 14;
}

}  // namespace

std::optional<BaudDivisor> DivisorFor(uint32_t rate, bool highSpeedPart) {
  if (rate == 0) return std::nullopt;
  // The fast clock cannot reach the slowest rates; the slow one serves them.
  const bool fast = highSpeedPart && uint64_t{rate} * kMaxEighths >= uint64_t{kFastClock} * 8;
  const uint32_t clock = fast ? kFastClock : kSlowClock;
  const uint64_t eighths = NearestEighths(clock, rate);
  const auto actual = static_cast<uint32_t>((uint64_t{clock} * 8 + eighths / 2) / eighths);
  if (std::llabs(int64_t{actual} - rate) * 100 > int64_t{rate} * 3) return std::nullopt;
  return BaudDivisor{Encode(eighths) | (fast ? kFastFlag : 0), actual};
}

}  // namespace brevant
