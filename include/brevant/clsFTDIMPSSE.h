// A chip channel in MPSSE mode: clock, the low and high ports, serial data
// transfers, TMS transfers and the internal loopback, each as one command.
//
//   brevant::clsFTDIMPSSE mpsse;
//   mpsse.Initialize(0);                              // open device 0, MPSSE mode
//   mpsse.SetClockDivisor(mpsse.ClockDivisorFromFrequency(1e6));
//   brevant::ByteArray data{0x9F, 0, 0, 0};
//   mpsse.DataBytesInOut(data, 4, brevant::embMSBfirst, brevant::emcNegEdge,
//                        brevant::emcPosEdge);        // data now holds what came in
//   auto pins = mpsse.MPSSEPortIO();                  // named pins, see clsFTDIMPSSEPortIO
//   mpsse.Terminate();
//
// Every member that touches the chip writes its whole command in one driver
// write and, if it reads, takes the whole answer in one driver read. Bad
// arguments raise errFTDIMPSSE::errParameter before any device access; an answer
// shorter than asked raises errFTDIMPSSE::errReadError and leaves the late bytes
// queued for the next read. A driver failure passes through with Source "clsFTD2xx".
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/ByteArray.h"
#include "brevant/Export.h"
#include "brevant/icLog.h"

namespace brevant {

class clsFTD2xx;
class clsFTDIMPSSEPortIO;
class MpsseBatch;

// Scoped, because the bit-bang channel and the device list have members of
// the same names in their own error enums.
enum class errFTDIMPSSE : int32_t {
  _errFTDIMPSSE = static_cast<int32_t>(0x8004189C),
  errParameter = static_cast<int32_t>(0x8004189D),
  errReadError = static_cast<int32_t>(0x8004189E),
};

enum eFTMPSSEBitOrder : int32_t {
  embMSBfirst = 0,
  emdLSBfirst = 1,
};

// The clock edge on which data change (out) or are sampled (in).
enum eFTMPSSEClockPolarity : int32_t {
  emcPosEdge = 0,
  emcNegEdge = 1,
};

class BREVANT_EXPORT clsFTDIMPSSE {
 public:
  clsFTDIMPSSE();
  // Detaches the port model, then releases the gateway, which closes a device
  // that is still open. Every error on the way is ignored.
  ~clsFTDIMPSSE();
  clsFTDIMPSSE(const clsFTDIMPSSE&) = delete;
  clsFTDIMPSSE& operator=(const clsFTDIMPSSE&) = delete;

  // Opens the device by the driver's index: bit mode 2 with mask 0, time-outs
  // 500/500 ms, latency 1 ms. Sends no MPSSE byte. A failure after the open
  // leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // The channel's one port model, the same object on every call.
  std::shared_ptr<clsFTDIMPSSEPortIO> MPSSEPortIO() const { return PortIO; }

  // Stores the divisor (0..65535), then sends it; the clock is 6 MHz / (divisor + 1).
  void SetClockDivisor(int32_t Divisor);
  // What SetClockDivisor stored last; the chip is not asked.
  int32_t GetClockDivisor() const { return ClockDivisor; }
  // Pure arithmetic, no device needed. A tie rounds to the even quotient.
  int32_t ClockDivisorFromFrequency(double Frequency) const;
  double ClockDivisorToFrequency(int32_t Divisor) const;

  // Value before Direction on the wire; 1 in Direction is an output.
  void SetPortLow(uint8_t Value, uint8_t Direction);
  void SetPortHigh(uint8_t Value, uint8_t Direction);
  // The level of all eight pins, whatever their direction.
  uint8_t ReadPortLow();
  uint8_t ReadPortHigh();

  // Clock DataLength (0..65535) bytes from element 0 of Data out, in, or both
  // ways. A DataLength of 0 does nothing. Reading members resize Data to exactly
  // DataLength elements from 0 and read into it. Data that has no element 0 or
  // fewer than DataLength bytes from it raises error 9.
  void DataBytesOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                    eFTMPSSEClockPolarity ClockPolarity);
  void DataBytesIn(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                   eFTMPSSEClockPolarity ClockPolarity);
  void DataBytesInOut(ByteArray& Data, int32_t DataLength, eFTMPSSEBitOrder BitOrder,
                      eFTMPSSEClockPolarity ClockPolarityOut,
                      eFTMPSSEClockPolarity ClockPolarityIn);

  // Connects TDI to TDO inside the chip, or disconnects them.
  void HardwareLoopback(bool Enable);
  // Closes the device if it is open; the chip is left as it is.
  void Terminate();
  // Driver time-outs in milliseconds, until the next Initialize.
  void SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite);

  // Clock DataLength (0..8) bits of DataIn out on TMS, bit 0 first; bit 7 is held
  // on TDI. TMSBitsInOut puts the bits read on TDO in DataOut, the first in bit 0.
  void TMSBitsOut(uint8_t DataIn, uint8_t DataLength, eFTMPSSEClockPolarity ClockPolarity);
  void TMSBitsInOut(uint8_t DataIn, uint8_t& DataOut, uint8_t DataLength,
                    eFTMPSSEClockPolarity ClockPolarityOut, eFTMPSSEClockPolarity ClockPolarityIn);

  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

 private:
  // A batch sends through this channel's gateway and stores the divisor it queues.
  friend class MpsseBatch;

  // One whole command in one driver write.
  void Send(ByteArray& command);
  // One driver read of `count` bytes into `into` from element 0; fewer raise
  // errReadError.
  void Receive(ByteArray& into, int32_t count);
  // Sends a transfer command and reads its answer straight into Data, which
  // ends with lower bound 0 and DataLength elements: what came, then zeros.
  void SendAndReadInto(ByteArray& command, ByteArray& Data, int32_t DataLength);
  void SetPort(bool high, uint8_t Value, uint8_t Direction);
  uint8_t ReadPort(bool high);

  // Declared first so that it ends last: the port model is let go before it.
  std::unique_ptr<clsFTD2xx> Gateway;
  std::shared_ptr<clsFTDIMPSSEPortIO> PortIO;
  int32_t ClockDivisor = 0;
};

}  // namespace brevant
