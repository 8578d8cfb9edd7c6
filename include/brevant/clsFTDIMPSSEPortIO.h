// Named pins of an MPSSE channel, by port and by signal, kept in shadow bytes.
//
// Both port commands of the chip write the levels and directions of eight pins
// at once, so the model keeps what each port should output, how its pins are
// directed and what was last read, and a change to one signal resends its port.
//
//   auto pins = mpsse.MPSSEPortIO();                 // from an open clsFTDIMPSSE
//   pins->GPIOLSignalDirection(brevant::eftGPIOL2, brevant::eb1);  // sends the low port
//   pins->GPIOLSignalOutput(brevant::eftGPIOL2, brevant::eb1);     // and again
//   pins->GPIOHPortOutput0(0x05);                    // staged in the shadow only
//   pins->Syncronize();                              // both ports out, then read back
//
// Members ending in 0 touch the shadow alone and work with or without a device;
// the others reach the chip through the channel's port members. Each group keeps
// its four signals in bits 0 to 3 of its own bytes; GPIOL is shifted to bits 4 to
// 7 of the low port only on the wire. The MPSSE signals are always directed 0x0B.
//
// The model can outlive its channel. Once the channel is gone, every member that
// would reach the chip raises what a closed device raises, kErrDeviceNotOpened
// from clsFTD2xx; the others go on working.
#pragma once

#include <cstdint>

#include "brevant/Error.h"
#include "brevant/Export.h"
#include "brevant/eBit.h"

namespace brevant {

class clsFTDIMPSSE;

// Signals of the low port's bits 0 to 3.
enum eFTDIMPSSE : int32_t {
  eftTCKSK = 1,
  eftTDIDO = 2,
  eftTDODI = 4,
  eftTMSCS = 8,
};

// GPIOL0-3, bits 4 to 7 of the low port, counted within their own group.
enum eFTDIGPIOL : int32_t {
  eftGPIOL0 = 1,
  eftGPIOL1 = 2,
  eftGPIOL2 = 4,
  eftGPIOL3 = 8,
};

// GPIOH0-3, bits 0 to 3 of the high port.
enum eFTDIGPIOH : int32_t {
  eftGPIOH0 = 1,
  eftGPIOH1 = 2,
  eftGPIOH2 = 4,
  eftGPIOH3 = 8,
};

class BREVANT_EXPORT clsFTDIMPSSEPortIO {
 public:
  clsFTDIMPSSEPortIO(const clsFTDIMPSSEPortIO&) = delete;
  clsFTDIMPSSEPortIO& operator=(const clsFTDIMPSSEPortIO&) = delete;

  // Shadow to chip, then chip to shadow: both ports, the low port, the high port.
  // Each stops at its first failing step.
  void Syncronize();
  void SyncMPSSEGPIOL();
  void SyncGPIOH();

  // Writes store the whole byte, then send the port with its high bits masked
  // off; reads read the port, then return the fresh shadow.
  void MPSSEPortOutput(uint8_t Value);
  uint8_t MPSSEPortInput();
  void GPIOLPortDirection(uint8_t Value);
  void GPIOLPortOutput(uint8_t Value);
  uint8_t GPIOLPortInput();
  void GPIOHPortDirection(uint8_t Value);
  void GPIOHPortOutput(uint8_t Value);
  uint8_t GPIOHPortInput();

  // The shadow alone: writes store the value masked to bits 0 to 3, reads return
  // the byte as stored.
  uint8_t MPSSEPortDirection0() const;
  uint8_t MPSSEPortInput0() const { return MPSSEInput; }
  void MPSSEPortOutput0(uint8_t Value);
  uint8_t MPSSEPortOutput0() const { return MPSSEOutput; }
  uint8_t GPIOLPortDirection0() const { return GPIOLDirection; }
  void GPIOLPortDirection0(uint8_t Value);
  uint8_t GPIOLPortInput0() const { return GPIOLInput; }
  void GPIOLPortOutput0(uint8_t Value);
  uint8_t GPIOLPortOutput0() const { return GPIOLOutput; }
  uint8_t GPIOHPortDirection0() const { return GPIOHDirection; }
  void GPIOHPortDirection0(uint8_t Value);
  uint8_t GPIOHPortInput0() const { return GPIOHInput; }
  void GPIOHPortOutput0(uint8_t Value);
  uint8_t GPIOHPortOutput0() const { return GPIOHOutput; }

  // One signal: a write changes its bit in the shadow and sends the port, a read
  // reads the port. `Signal` is not checked against its enum: a write whose
  // result is no byte raises error 6, a read of Signal 0 raises error 11.
  void MPSSESignalOutput(eFTDIMPSSE Signal, eBit Value);
  eBit MPSSESignalInput(eFTDIMPSSE Signal);
  void GPIOLSignalDirection(eFTDIGPIOL Signal, eBit Value);
  void GPIOLSignalOutput(eFTDIGPIOL Signal, eBit Value);
  eBit GPIOLSignalInput(eFTDIGPIOL Signal);
  void GPIOHSignalDirection(eFTDIGPIOH Signal, eBit Value);
  void GPIOHSignalOutput(eFTDIGPIOH Signal, eBit Value);
  eBit GPIOHSignalInput(eFTDIGPIOH Signal);

  // One signal in the shadow alone.
  eBit MPSSESignalDirection0(eFTDIMPSSE Signal) const;
  eBit MPSSESignalInput0(eFTDIMPSSE Signal) const;
  eBit MPSSESignalOutput0(eFTDIMPSSE Signal) const;
  void MPSSESignalOutput0(eFTDIMPSSE Signal, eBit Value);
  void GPIOLSignalDirection0(eFTDIGPIOL Signal, eBit Value);
  eBit GPIOLSignalDirection0(eFTDIGPIOL Signal) const;
  eBit GPIOLSignalInput0(eFTDIGPIOL Signal) const;
  eBit GPIOLSignalOutput0(eFTDIGPIOL Signal) const;
  void GPIOLSignalOutput0(eFTDIGPIOL Signal, eBit Value);
  void GPIOHSignalDirection0(eFTDIGPIOH Signal, eBit Value);
  eBit GPIOHSignalDirection0(eFTDIGPIOH Signal) const;
  eBit GPIOHSignalInput0(eFTDIGPIOH Signal) const;
  eBit GPIOHSignalOutput0(eFTDIGPIOH Signal) const;
  void GPIOHSignalOutput0(eFTDIGPIOH Signal, eBit Value);

 private:
  friend class clsFTDIMPSSE;
  clsFTDIMPSSEPortIO() = default;

  // Called by the channel: once at its creation, and with null at its end.
  void AttachChannel(clsFTDIMPSSE* Owner) { Channel = Owner; }

  void SyncOutputLow();
  void SyncOutputHigh();
  void SyncInputLow();
  void SyncInputHigh();
  clsFTDIMPSSE& Attached() const;

  // Not counted: the channel owns the model, and clears this when it ends, so a
  // model that a client keeps longer never reaches a channel that has gone.
  clsFTDIMPSSE* Channel = nullptr;
  uint8_t MPSSEOutput = 0;
  uint8_t MPSSEInput = 0;
  uint8_t GPIOLDirection = 0;
  uint8_t GPIOLOutput = 0;
  uint8_t GPIOLInput = 0;
  uint8_t GPIOHDirection = 0;
  uint8_t GPIOHOutput = 0;
  uint8_t GPIOHInput = 0;
};

}  // namespace brevant
