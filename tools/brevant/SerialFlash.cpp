#include "SerialFlash.h"

#include <algorithm>
#include <chrono>

#include "ToolError.h"
#include "brevant/MpsseTransactions.h"
#include "brevant/clsFTDIMPSSEPortIO.h"

namespace brevant::tool {

namespace {

constexpr uint8_t kReadId = 0x9F;
constexpr uint8_t kRead = 0x03;
constexpr uint8_t kWriteEnable = 0x06;
constexpr uint8_t kReadStatus = 0x05;
constexpr uint8_t kPageProgram = 0x02;
constexpr uint8_t kSectorErase = 0x20;
constexpr uint8_t kBusy = 0x01;
// Sector erases take up to about 400 ms on common parts; this leaves room.
constexpr auto kBusyLimit = std::chrono::seconds(5);

// Command byte and 24-bit address, most significant byte first, then `count`
// bytes of payload room.
ByteArray Command(uint8_t command, uint32_t address, size_t count = 0) {
  ByteArray data(0, static_cast<int32_t>(4 + count));
  data[0] = command;
  data[1] = static_cast<uint8_t>(address >> 16);
  data[2] = static_cast<uint8_t>(address >> 8);
  data[3] = static_cast<uint8_t>(address);
  return data;
}

}  // namespace

SerialFlash::SerialFlash(clsFTDIMPSSE& mpsse) : mpsse_(mpsse), batch_(mpsse) {
  // 6 MHz, the fastest clock every MPSSE part has.
  mpsse_.SetClockDivisor(0);
  // CS idles high, and SK low for mode 0, before the first clock.
  mpsse_.MPSSEPortIO()->MPSSEPortOutput(eftTMSCS);
}

ByteArray SerialFlash::Transaction(const ByteArray& out, int32_t inLength) {
  // CS on ADBUS3 with SK, DO and CS driven: the usual wiring.
  const MpsseBatch::Reply reply = SpiTransaction(batch_, SpiWiring{}, out, inLength);
  batch_.Run();
  return inLength > 0 ? reply.Data() : ByteArray{};
}

uint32_t SerialFlash::JedecId() {
  const ByteArray id = Transaction(ByteArray{kReadId}, 3);
  return static_cast<uint32_t>(id[0] << 16 | id[1] << 8 | id[2]);
}

void SerialFlash::Read(uint32_t address, std::span<uint8_t> into) {
  const ByteArray data = Transaction(Command(kRead, address), static_cast<int32_t>(into.size()));
  std::copy_n(data.Elements().begin(), into.size(), into.begin());
}

void SerialFlash::EraseSector(uint32_t address) {
  WriteEnable();
  Transaction(Command(kSectorErase, address));
  WaitWhileBusy();
}

void SerialFlash::ProgramPage(uint32_t address, std::span<const uint8_t> data) {
  WriteEnable();
  ByteArray command = Command(kPageProgram, address, data.size());
  std::copy(data.begin(), data.end(), command.FromElementZero().begin() + 4);
  Transaction(command);
  WaitWhileBusy();
}

void SerialFlash::WriteEnable() {
  Transaction(ByteArray{kWriteEnable});
}

void SerialFlash::WaitWhileBusy() {
  const auto deadline = std::chrono::steady_clock::now() + kBusyLimit;
  for (;;) {
    if ((Transaction(ByteArray{kReadStatus}, 1)[0] & kBusy) == 0) return;
    if (std::chrono::steady_clock::now() > deadline) {
      throw ToolError("the flash stayed busy for 5 s");
    }
  }
}

}  // namespace brevant::tool
