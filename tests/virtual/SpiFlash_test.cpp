// The SPI flash driven on its pins: the SFDP table byte by byte against the
// JESD216 layout, 4-byte addressing on a 256 Mbit part, and a 32 Mbit part that
// ignores the 4-byte commands.
#include "virtual/mpsse/SpiFlash.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace brevant::testing {
namespace {

using namespace virt::mpsse_pin;
using Bytes = std::vector<uint8_t>;

// SPI mode 0 by hand: CS low; per bit DO set while SK is low, DI sampled, SK up
// and down; CS high. Sends `out`, then `in` zero bytes, and returns what DI gave
// during those. Each transaction is 1 us of time after the last.
class Pins {
 public:
  explicit Pins(virt::SpiFlash& flash) : flash_(flash) {}

  Bytes Transact(const Bytes& out, size_t in) {
    flash_.Sense(kSelect, ++now_);
    flash_.Sense(0, now_);
    Bytes answer;
    for (size_t i = 0; i < out.size() + in; ++i) {
      const uint8_t sent = i < out.size() ? out[i] : 0;
      uint8_t got = 0;
      for (int bit = 7; bit >= 0; --bit) {
        const uint16_t data = (sent >> bit & 1) ? kDataOut : 0;
        flash_.Sense(data, now_);
        got = static_cast<uint8_t>(got << 1 | ((flash_.DrivenLevels() & kDataIn) ? 1 : 0));
        flash_.Sense(data | kClock, now_);
        flash_.Sense(data, now_);
      }
      if (i >= out.size()) answer.push_back(got);
    }
    flash_.Sense(kSelect, now_);
    return answer;
  }
  void Wait(int64_t us) { now_ += us; }

 private:
  virt::SpiFlash& flash_;
  int64_t now_ = 0;
};

// The header and parameter header, then the basic table at 0x80, as the
// standard lays them out: LSB first within each DWORD.
const Bytes kHeaders = {0x53, 0x46, 0x44, 0x50,   // "SFDP"
                        0x00, 0x01, 0x00, 0xFF,   // revision 1.0, one header, legacy access
                        0x00, 0x00, 0x01, 0x09,   // ID 0x00, revision 1.0, 9 DWORDs
                        0x80, 0x00, 0x00, 0xFF};  // at 0x000080, ID MSB 0xFF

Bytes BasicTable(uint8_t addressBits, std::array<uint8_t, 4> density) {
  return {0xE5,       0x20,       addressBits, 0xFF,        // 4 KiB erase 0x20; address bytes 18:17
          density[0], density[1], density[2],  density[3],  //
          0x00,       0x00,       0x00,        0x00,        // no 1-4-4 / 1-1-4 reads
          0x00,       0x00,       0x00,        0x00,        // no 1-2-2 / 1-1-2 reads
          0xEE,       0xFF,       0xFF,        0xFF,        // no 2-2-2 / 4-4-4 reads
          0xFF,       0xFF,       0x00,        0x00,        //
          0xFF,       0xFF,       0x00,        0x00,        //
          0x0C,       0x20,       0x00,        0xFF,        // erase type 1: 2^12 bytes with 0x20
          0x00,       0xFF,       0x00,        0xFF};
}

TEST(SpiFlash, SfdpTableFollowsJesd216) {
  const struct {
    const char* name;
    uint32_t bytes;
    Bytes table;
  } cases[] = {
      // Up to 2 Gbit the density is bits less one; above it 2^N with bit 31 set.
      {"Flash4MiB3ByteOnly", 4u << 20, BasicTable(0x80, {0xFF, 0xFF, 0xFF, 0x01})},
      {"Flash16MiB3ByteOnly", 16u << 20, BasicTable(0x80, {0xFF, 0xFF, 0xFF, 0x07})},
      {"Flash32MiB3Or4Byte", 32u << 20, BasicTable(0x82, {0xFF, 0xFF, 0xFF, 0x0F})},
      {"Flash2GbitLastBitsLessOne", 256u << 20, BasicTable(0x82, {0xFF, 0xFF, 0xFF, 0x7F})},
      {"Flash4GbitAsPowerOfTwo", 512u << 20, BasicTable(0x82, {0x20, 0x00, 0x00, 0x80})},
      {"Flash8Gbit", 1u << 30, BasicTable(0x82, {0x21, 0x00, 0x00, 0x80})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    virt::SpiFlash flash({0xEF, 0x40, 0x16}, c.bytes, true);
    Pins pins(flash);
    // Opcode, three address bytes, one dummy byte.
    EXPECT_EQ(pins.Transact({0x5A, 0x00, 0x00, 0x00, 0x00}, 16), kHeaders);
    Bytes table = c.table;
    table.insert(table.end(), {0xFF, 0xFF});  // past the table's end
    EXPECT_EQ(pins.Transact({0x5A, 0x00, 0x00, 0x80, 0x00}, table.size()), table);
    EXPECT_EQ(pins.Transact({0x5A, 0x00, 0x00, 0x10, 0x00}, 1), Bytes{0xFF});
  }
  virt::SpiFlash plain({0xEF, 0x40, 0x19}, 32u << 20);
  EXPECT_EQ(Pins(plain).Transact({0x5A, 0x00, 0x00, 0x00, 0x00}, 4), Bytes(4, 0xFF));
}

struct Step {
  const char* name;
  Bytes out;
  Bytes in;
};

void RunSteps(virt::SpiFlash& flash, const std::vector<Step>& steps) {
  Pins pins(flash);
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    EXPECT_EQ(pins.Transact(step.out, step.in.size()), step.in);
    pins.Wait(virt::SpiFlash::kEraseUs);
  }
}

TEST(SpiFlash, LargePartAddressesWithFourBytes) {
  virt::SpiFlash flash({0xEF, 0x40, 0x19}, 32u << 20);
  RunSteps(flash, {
                      {"WriteEnable", {0x06}, {}},
                      {"Program4AtUpperHalf", {0x12, 0x01, 0x00, 0x00, 0x00, 0xA1, 0x5A}, {}},
                      {"Read4", {0x13, 0x01, 0x00, 0x00, 0x00}, {0xA1, 0x5A}},
                      // Three address bytes never reach the upper half.
                      {"Read3StaysLow", {0x03, 0x00, 0x00, 0x00}, {0xFF}},
                      {"WriteEnable", {0x06}, {}},
                      {"Program3", {0x02, 0x00, 0x00, 0x00, 0x81}, {}},
                      {"Read3WrapsAt16MiB", {0x03, 0xFF, 0xFF, 0xFF}, {0xFF, 0x81}},
                      {"Read4CrossesIntoUpperHalf", {0x13, 0x00, 0xFF, 0xFF, 0xFF}, {0xFF, 0xA1}},
                      {"Read4WrapsAtEnd", {0x13, 0x01, 0xFF, 0xFF, 0xFF}, {0xFF, 0x81}},
                      {"Enter4ByteMode", {0xB7}, {}},
                      {"Read3TakesFour", {0x03, 0x01, 0x00, 0x00, 0x01}, {0x5A}},
                      {"WriteEnable", {0x06}, {}},
                      {"Erase3TakesFour", {0x20, 0x01, 0x00, 0x0F, 0xFF}, {}},
                      {"UpperErased", {0x13, 0x01, 0x00, 0x00, 0x00}, {0xFF, 0xFF}},
                      {"LowerKept", {0x03, 0x00, 0x00, 0x00, 0x00}, {0x81}},
                      {"Exit4ByteMode", {0xE9}, {}},
                      {"WriteEnable", {0x06}, {}},
                      {"Erase4InThreeByteMode", {0x21, 0x00, 0x00, 0x00, 0x00}, {}},
                      {"LowerErased", {0x03, 0x00, 0x00, 0x00}, {0xFF}},
                  });
  EXPECT_EQ(flash.UsedSectors(), 0u);
}

TEST(SpiFlash, SmallPartIgnoresFourByteCommands) {
  virt::SpiFlash flash({0xEF, 0x40, 0x16}, 4u << 20);
  flash.Load(0x000001, Bytes{0x3C});
  RunSteps(flash, {
                      {"Read4Ignored", {0x13, 0x00, 0x00, 0x00, 0x01}, {0xFF}},
                      {"Enter4ByteIgnored", {0xB7}, {}},
                      {"Read3StillThree", {0x03, 0x00, 0x00, 0x01}, {0x3C}},
                      {"WriteEnable", {0x06}, {}},
                      {"Erase4Ignored", {0x21, 0x00, 0x00, 0x00, 0x00}, {}},
                      {"Program4Ignored", {0x12, 0x00, 0x00, 0x00, 0x01, 0x00}, {}},
                      // Neither started, so write enable is still set.
                      {"WelKept", {0x05}, {0x02}},
                      {"Kept", {0x03, 0x00, 0x00, 0x01}, {0x3C}},
                  });
}

}  // namespace
}  // namespace brevant::testing
