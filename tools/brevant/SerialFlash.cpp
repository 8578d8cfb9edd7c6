#include "SerialFlash.h"

#include <algorithm>
#include <chrono>

#include "ToolError.h"
#include "brevant/MpsseTransactions.h"
#include "brevant/clsFTDIMPSSEPortIO.h"

namespace brevant::tool {

namespace {

constexpr uint8_t kReadId = 0x9F;
constexpr uint8_t kReadSfdp = 0x5A;
constexpr uint8_t kWriteEnable = 0x06;
constexpr uint8_t kReadStatus = 0x05;
// Read, page program and 4 KiB erase, with 3-byte and with 4-byte addresses.
constexpr uint8_t kRead = 0x03;
constexpr uint8_t kRead4 = 0x13;
constexpr uint8_t kPageProgram = 0x02;
constexpr uint8_t kPageProgram4 = 0x12;
constexpr uint8_t kSectorErase4 = 0x21;
constexpr uint8_t kBusy = 0x01;
// Sector erases take up to about 400 ms on common parts; this leaves room.
constexpr auto kBusyLimit = std::chrono::seconds(5);
// The channel's read time-out is 500 ms; a read piece takes at most a fifth of it.
constexpr double kPieceSeconds = 0.1;

}  // namespace

SerialFlash::SerialFlash(clsFTDIMPSSE& mpsse, double hz) : mpsse_(mpsse), batch_(mpsse) {
  clockHz_ = batch_.SetFrequency(hz);
  batch_.Run();
  // CS idles high, and SK low for mode 0, before the first clock.
  mpsse_.MPSSEPortIO()->MPSSEPortOutput(eftTMSCS);
}

uint32_t SerialFlash::ReadPiece() const {
  const double bytes = clockHz_ / 8 * kPieceSeconds;
  return static_cast<uint32_t>(std::clamp(bytes, double{kPageBytes}, double{kMaxReadBytes}));
}

ByteArray SerialFlash::Transaction(const ByteArray& out, int32_t inLength) {
  // CS on ADBUS3 with SK, DO and CS driven: the usual wiring.
  const MpsseBatch::Reply reply = SpiTransaction(batch_, SpiWiring{}, out, inLength);
  batch_.Run();
  return inLength > 0 ? reply.Data() : ByteArray{};
}

ByteArray SerialFlash::Command(uint8_t threeByte, uint8_t fourByte, uint64_t address,
                               size_t payload) const {
  const int addressBytes = geometry_.fourByteAddresses ? 4 : 3;
  ByteArray data(0, static_cast<int32_t>(1 + addressBytes + payload));
  data[0] = geometry_.fourByteAddresses ? fourByte : threeByte;
  for (int i = 0; i < addressBytes; ++i) {
    data[1 + i] = static_cast<uint8_t>(address >> (8 * (addressBytes - 1 - i)));
  }
  return data;
}

uint32_t SerialFlash::JedecId() {
  const ByteArray id = Transaction(ByteArray{kReadId}, 3);
  return static_cast<uint32_t>(id[0] << 16 | id[1] << 8 | id[2]);
}

const FlashGeometry& SerialFlash::Identify(const std::string& device) {
  // The ID first: it tells whether a flash answers at all.
  const FlashGeometry fromId = GeometryFromJedecId(JedecId(), device);
  // SFDP: the command, a 3-byte address and a dummy byte.
  const ByteArray table = Transaction(ByteArray{kReadSfdp, 0, 0, 0, 0}, kSfdpBytes);
  geometry_ = GeometryFromSfdp(table.Elements()).value_or(fromId);
  geometry_.jedecId = fromId.jedecId;
  return geometry_;
}

void SerialFlash::Read(uint64_t address, std::span<uint8_t> into) {
  const uint32_t piece = ReadPiece();
  for (size_t done = 0; done < into.size(); done += piece) {
    const auto part = into.subspan(done, std::min<size_t>(piece, into.size() - done));
    const ByteArray data =
        Transaction(Command(kRead, kRead4, address + done), static_cast<int32_t>(part.size()));
    std::copy_n(data.Elements().begin(), part.size(), part.begin());
  }
}

void SerialFlash::EraseSector(uint64_t address) {
  WriteEnable();
  Transaction(Command(geometry_.sectorErase, kSectorErase4, address));
  WaitWhileBusy();
}

void SerialFlash::ProgramPage(uint64_t address, std::span<const uint8_t> data) {
  WriteEnable();
  ByteArray command = Command(kPageProgram, kPageProgram4, address, data.size());
  const size_t header = static_cast<size_t>(command.Count()) - data.size();
  std::copy(data.begin(), data.end(), command.FromElementZero().begin() + header);
  Transaction(command);
  WaitWhileBusy();
}

void SerialFlash::WriteEnable() {
  Transaction(ByteArray{kWriteEnable});
}

void SerialFlash::WaitWhileBusy() {
  // The flash repeats its status for as long as CS stays low, so a longer read
  // waits longer in one round trip. Doubling the read from one byte keeps the
  // round trips of a 45 ms erase to a dozen or so while a short program still
  // ends after a few; no read takes more than a piece's time.
  const auto deadline = std::chrono::steady_clock::now() + kBusyLimit;
  for (uint32_t bytes = 1;; bytes = std::min(bytes * 2, ReadPiece())) {
    const ByteArray status = Transaction(ByteArray{kReadStatus}, static_cast<int32_t>(bytes));
    if ((status[status.UpperBound()] & kBusy) == 0) return;
    if (std::chrono::steady_clock::now() > deadline) {
      throw ToolError("the flash stayed busy for 5 s");
    }
  }
}

}  // namespace brevant::tool
