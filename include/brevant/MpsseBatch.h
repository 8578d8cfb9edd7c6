// Many MPSSE commands in one USB round trip.
//
// A batch queues the operations of a clsFTDIMPSSE, with the very bytes its
// members send, and runs them with one driver write and, if any of them reads,
// one driver read, through the channel's own gateway (so the log and the errors
// are the channel's). A read gives a Reply at once; its bytes are there once
// the batch has run.
//
//   brevant::MpsseBatch batch(mpsse);                // an open clsFTDIMPSSE
//   batch.SetPortLow(0x00, 0x0B);                    // chip select down
//   batch.DataBytesOut(command, 4, brevant::embMSBfirst, brevant::emcNegEdge);
//   auto page = batch.DataBytesIn(256, brevant::embMSBfirst, brevant::emcPosEdge);
//   batch.SetPortLow(0x08, 0x0B);                    // chip select up
//   batch.Run();                                     // one write, one read
//   brevant::ByteArray data = page.Data();
//
// - Bad arguments raise at once, with the channel's numbers and texts, and queue
//   nothing.
// - The batch runs by itself before the next command would overfill the chip's
//   buffers (its receive FIFO, asked of the driver once per batch object); a
//   command larger than that goes alone, as the channel's member would send it.
// - Send immediate (0x87) ends a batch that reads, and only such a batch.
// - A failure while the batch runs by itself is kept: later commands are
//   ignored until Run raises it, once. Whatever failed, the driver's queues are
//   purged and the replies of the failed batch stay not ready.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "brevant/ByteArray.h"
#include "brevant/Error.h"
#include "brevant/Export.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant {

class clsFTD2xx;

// Raised, with Source "MpsseBatch", by a Reply read before its batch has run.
inline constexpr int32_t kErrBatchNotRun = kObjectErrorBase + 6310;
// Raised, with Source "MpsseBatch", when the chip refused a command of a batch;
// see CheckCommands.
inline constexpr int32_t kErrBadCommand = kObjectErrorBase + 6311;

class BREVANT_EXPORT MpsseBatch {
 public:
  // The answer of one or more queued reads, shared between the batch and the
  // client. Bits are packed from bit 0 of element 0 upward.
  class Reply {
   public:
    Reply();
    // True once every read queued into it has been answered.
    bool Ready() const;
    // What came, from element 0; kErrBatchNotRun while not ready. The bytes
    // stay the reply's: valid while it lives and no read is added to it.
    const ByteArray& Data() const;
    // Element 0 of Data, e.g. a port level or the bits of a TMS read; error 9
    // for a reply of no bytes.
    uint8_t Byte() const;

   private:
    friend class MpsseBatch;
    struct State;
    std::shared_ptr<State> state_;
  };

  // The channel must outlive the batch.
  explicit MpsseBatch(clsFTDIMPSSE& channel);
  // Commands that were not run are dropped; nothing is sent.
  ~MpsseBatch();
  MpsseBatch(const MpsseBatch&) = delete;
  MpsseBatch& operator=(const MpsseBatch&) = delete;

  // As the channel's members of the same names. The divisor is stored in the
  // channel when it is queued, as SetClockDivisor stores it before sending.
  // Each read appends its answer to `into`, a new Reply unless given, so that
  // several reads can make up one answer.
  void SetClockDivisor(int32_t Divisor);
  void SetPortLow(uint8_t Value, uint8_t Direction);
  void SetPortHigh(uint8_t Value, uint8_t Direction);
  Reply ReadPortLow(Reply into = {});
  Reply ReadPortHigh(Reply into = {});
  void DataBytesOut(const ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                    eFTMPSSEClockPolarity ClockPolarity);
  Reply DataBytesIn(int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                    eFTMPSSEClockPolarity ClockPolarity, Reply into = {});
  Reply DataBytesInOut(const ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                       eFTMPSSEClockPolarity ClockPolarityOut,
                       eFTMPSSEClockPolarity ClockPolarityIn, Reply into = {});
  void HardwareLoopback(bool Enable);
  void TMSBitsOut(uint8_t DataIn, uint8_t DataLength, eFTMPSSEClockPolarity ClockPolarity);
  // The reply gets DataLength bits, the first read in bit 0.
  Reply TMSBitsInOut(uint8_t DataIn, uint8_t DataLength, eFTMPSSEClockPolarity ClockPolarityOut,
                     eFTMPSSEClockPolarity ClockPolarityIn, Reply into = {});

  // 1 to 8 bits of Data (bits 7 down for MSB first, 0 up for LSB first); a
  // count of 0 queues nothing.
  void DataBitsOut(uint8_t Data, uint8_t BitCount, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity);
  // 1 to 8 bits in; the reply gets the chip's answer byte as it comes: MSB
  // first, the bits read are the low BitCount bits, the last in bit 0; LSB
  // first, the high ones, the last in bit 7.
  Reply DataBitsIn(uint8_t BitCount, eFTMPSSEBitOrder BitOrder, eFTMPSSEClockPolarity ClockPolarity,
                   Reply into = {});
  // Three-phase clocking: data stays on the pin for half a period after the
  // edge that would move it, so a bit takes one and a half periods. High-speed
  // parts only; on another part errParameter and nothing queued.
  void ThreePhaseClocking(bool Enable);
  // Pins (ADBUS in bits 0-7, ACBUS in 8-15) that drive only a 0 and let a 1
  // float, as open-drain outputs. The FT232H only; on another part errParameter
  // and nothing queued.
  void DriveZero(uint16_t Pins);
  // The driver's device type of the channel, asked once per batch.
  int32_t DeviceType();

  // Queues the fastest SCK not above Hz that the part makes and returns that
  // rate: FT232H, FT2232H and FT4232H from 30 MHz / (1 + divisor) with
  // divide-by-5 off (0x8A), down to 30 MHz / 65536, and below that from
  // 6 MHz / (1 + divisor) with it on (0x8B); any other part from the 6 MHz
  // rule, with the divisor command only. The divisor is stored as
  // SetClockDivisor stores it. A rate below the part's slowest, zero, negative
  // or NaN raises errParameter (Source "clsFTDIMPSSE") and queues nothing; a
  // failure of the first driver call that asks the part's type raises at once.
  double SetFrequency(double Hz);

  // Queues 0xAA, a command the chip does not know, whose answer FA AA marks a
  // point of the answer stream. If the answer there is anything else, Run looks
  // for the chip's bad-command answer (0xFA and the refused byte) where a read
  // began, raises kErrBadCommand naming the byte and its position in the batch's
  // write, and first brings the chip back in step: queues purged, then 0xAA and
  // 0xAB sent and their echoes read.
  void CheckCommands();

  // Sends what is queued and fills its replies; raises a kept failure instead,
  // once. Does nothing for an empty batch.
  void Run();

 private:
  // Where a queued read's answer lies and where it goes. A marker (CheckCommands)
  // has no target.
  struct Slot {
    std::shared_ptr<Reply::State> into = nullptr;
    size_t offset = 0;     // in the answer
    size_t count = 0;      // bytes of the answer
    uint8_t bits = 0;      // for a TMS read: the bits it holds; 0 for whole bytes
    size_t command = 0;    // where its command starts in the write
    size_t afterRead = 0;  // where the command of the read before it ended
  };

  // Queues one command (checked, without send immediate) whose answer, if
  // slot.count is not 0, goes where `slot` says; runs the batch first when it would
  // not fit. False when the command was dropped for a kept failure.
  bool Queue(std::vector<uint8_t>&& command, Slot slot);
  Reply QueueRead(std::vector<uint8_t>&& command, bool built, Reply into, size_t answer,
                  uint8_t bits = 0);
  void Flush();
  // Hands out the answer's bytes to the replies; may take `answer` over.
  static void Fill(const std::vector<Slot>& slots, ByteArray& answer);
  // The error to raise when a marker did not come back: the refused byte and its
  // position in `command` when the answer shows them.
  static std::optional<Error> BadCommand(const std::vector<Slot>& slots, const ByteArray& answer,
                                         int32_t got, const ByteArray& command);
  void Purge();
  void Resynchronise();

  clsFTDIMPSSE& channel_;
  clsFTD2xx& gateway_;
  std::optional<int32_t> type_;
  size_t limit_ = 0;  // 0 until asked
  std::vector<uint8_t> commands_;
  std::vector<Slot> slots_;
  size_t answerBytes_ = 0;
  size_t lastReadEnd_ = 0;
  bool markers_ = false;
  std::optional<Error> failure_;
};

}  // namespace brevant
