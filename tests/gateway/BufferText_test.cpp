// The data dump of the transfer lines, across the block boundaries of the
// vectorised encoder and over every byte value.
#include <gtest/gtest.h>

#include <vector>

#include "gateway/Formating.h"

namespace brevant {
namespace {

// Byte by byte, the slow and obvious way.
std::string Reference(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i) text += (i ? " " : "") + HexText(bytes[i], 2);
  return text;
}

TEST(FTBufferText, MatchesByteByByteAtEveryBlockBoundary) {
  // Blocks are 32 bytes and a block is only taken when a byte follows it.
  for (const size_t length :
       {1u, 2u, 31u, 32u, 33u, 64u, 65u, 96u, 97u, 256u, 300u}) {  // 256: every value
    std::vector<uint8_t> bytes(length);
    for (size_t i = 0; i < length; ++i)
      bytes[i] = static_cast<uint8_t>(i * 151 + length);  // odd step: all 256 values
    SCOPED_TRACE(length);
    EXPECT_EQ(FTBufferText(bytes), Reference(bytes));
  }
}

}  // namespace
}  // namespace brevant
