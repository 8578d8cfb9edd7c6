// A chip channel as an eight-pin port in synchronous bit-bang mode (bit mode 4).
//
//   brevant::clsFTDISyncBitBang port;
//   port.Initialize(5);                 // open device 5; no bit mode yet
//   port.PortDirection(0x0F);           // D0-D3 outputs: enters bit mode 4
//   port.PortOutput(0x05);              // one driver write
//   uint8_t pins = port.PortInput();    // the pins now, not the receive queue
//
//   port.BufferInitialize();            // a sequence, led by the pins' value
//   port.BufferPortOutput(0x01);
//   port.BufferSignalOutput(brevant::eftD1, brevant::eb1);
//   port.BufferTransfer();              // one write, one read of the samples
//   while (port.BufferInputCount() > 0) pins = port.BufferPortInput();
//
// Three shadow bytes hold direction, output and input. Members ending in 0 touch
// a shadow only; the others reach the chip. Writes store in the shadow before
// they send, so after a driver failure the shadow keeps the new value and
// SyncDirection or SyncValue sends it later. Initialize and Terminate leave the
// shadows and the buffer alone.
//
// Every failure is a brevant::Error: a driver failure with Source "clsFTD2xx",
// the buffer's own with Source "clsFTDISyncBitBang" and a number of
// errFTDISyncBitBang.
#pragma once

#include <cstdint>
#include <memory>

#include "brevant/ByteArray.h"
#include "brevant/Export.h"
#include "brevant/eBit.h"
#include "brevant/icLog.h"

namespace brevant {

class clsFTD2xx;

enum errFTDISyncBitBang : int32_t {
  _errFTDISyncBitBang = static_cast<int32_t>(0x80041838),
  errArgumentInvalid = static_cast<int32_t>(0x80041839),  // "Invalid parameter"
  errReadError = static_cast<int32_t>(0x8004183A),        // "FTDI read error (timeout)"
  errBufferNotInit = static_cast<int32_t>(0x8004183B),    // "Write buffer not initialized"
  errBufferEmpty = static_cast<int32_t>(0x8004183C),      // "Read buffer empty"
};

// The eight pins by their bit value: the Signal of every signal member.
enum eFTDIChannel : int32_t {
  eftD0 = 1,
  eftD1 = 2,
  eftD2 = 4,
  eftD3 = 8,
  eftD4 = 16,
  eftD5 = 32,
  eftD6 = 64,
  eftD7 = 128,
};

class BREVANT_EXPORT clsFTDISyncBitBang {
 public:
  clsFTDISyncBitBang();
  // Closes a device that is still open; every error on the way is ignored.
  ~clsFTDISyncBitBang();
  clsFTDISyncBitBang(const clsFTDISyncBitBang&) = delete;
  clsFTDISyncBitBang& operator=(const clsFTDISyncBitBang&) = delete;

  // Members in the order of the interface's slots.

  // Opens the device by the driver's index, then time-outs 2000/2000 ms and
  // latency 1 ms. No bit mode: the first direction call sets it. A failure
  // after the open leaves the device open.
  void Initialize(int16_t DeviceNumber);
  // Passed to the driver as it is, neither checked nor kept. The chip clocks
  // bit-bang bytes at a multiple of it.
  void SetBaudRate(int32_t BaudRate);
  // Sends the direction shadow as the mask of bit mode 4.
  void SyncDirection();
  // Sends the output shadow, then reads the pins into the input shadow.
  void SyncValue();
  // Stores, then sends as the mask of bit mode 4 (1 = output).
  void PortDirection(uint8_t Value);
  // Stores, then writes one byte; its sample stays in the receive queue.
  void PortOutput(uint8_t Value);
  // The pins now (the driver's get-bit-mode), kept in the input shadow.
  uint8_t PortInput();
  void PortDirection0(uint8_t Value);
  uint8_t PortDirection0() const;
  uint8_t PortInput0() const;
  void PortOutput0(uint8_t Value);
  uint8_t PortOutput0() const;

  // Signal writes change the bits of Signal in the shadow's byte to bit 0 of
  // Value and go through the port member of the same family; a byte beyond
  // 0..255 raises 6 before anything is stored. Signal reads give
  // (byte / Signal) and 1; Signal 0 raises 11.
  void SignalDirection(eFTDIChannel Signal, eBit Value);
  void SignalOutput(eFTDIChannel Signal, eBit Value);
  eBit SignalInput(eFTDIChannel Signal);
  eBit SignalDirection0(eFTDIChannel Signal) const;
  void SignalDirection0(eFTDIChannel Signal, eBit Value);
  eBit SignalInput0(eFTDIChannel Signal) const;
  eBit SignalOutput0(eFTDIChannel Signal) const;
  void SignalOutput0(eFTDIChannel Signal, eBit Value);

  // Starts a sequence: room for InitialSize bytes behind a leading byte, the
  // output shadow, growing by SizeIncrement when full. Either below 1 raises
  // errArgumentInvalid; the old buffer stays as it was on any failure.
  void BufferInitialize(int32_t InitialSize = 1024, int32_t SizeIncrement = 1024);
  // Adds one value; memory only, no open device needed.
  void BufferPortOutput(uint8_t Value);
  // Adds the last value with the bits of Signal set to bit 0 of Value.
  void BufferSignalOutput(eFTDIChannel Signal, eBit Value);
  // Purges the receive queue, writes the sequence in one driver write and reads
  // as many samples back into the same array. The first sample, the pins
  // before the leading byte, is skipped: the k-th input shows the pins just
  // before the client's k-th byte.
  void BufferTransfer();
  // Inputs left to read; never below 0.
  int32_t BufferInputCount() const;
  // The next input; errBufferEmpty when there is none.
  uint8_t BufferPortInput();
  // One bit of the next input: each call consumes a whole sample.
  eBit BufferSignalInput(eFTDIChannel Signal);

  // Closes the device if it is open; does nothing otherwise.
  void Terminate();
  // Driver time-outs in milliseconds, until the next Initialize.
  void SetTimeOuts(int32_t TimeoutRead, int32_t TimeoutWrite);
  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

 private:
  // Tests read the buffer's bookkeeping through it.
  friend class SyncBitBangInspector;

  void WriteDirection();
  void WriteBaudRate(int32_t BaudRate);
  void WriteValue();
  void ReadValue();
  void TransferBuffer();

  std::unique_ptr<clsFTD2xx> Gateway;
  uint8_t Direction = 0;
  uint8_t Output = 0;
  uint8_t Input = 0;
  // One array holds the sequence before a transfer and the samples after it.
  ByteArray Buffer;
  int32_t BufferSize = 0;
  int32_t SizeIncrement = 1024;
  int32_t WriteCount = 0;
  int32_t ReadPosition = 0;
};

}  // namespace brevant
