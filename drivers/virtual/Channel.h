// One channel of a virtual part: one device in the driver's list.
//
// It holds what the driver knows of the device (identity, open state, time-outs,
// latency, bit mode) and the receive queue the host reads from. Bytes the host
// writes go to the engine of the current bit mode; its replies are queued with
// the virtual time at which they reach the host.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "virtual/ChannelEngine.h"
#include "virtual/ChipEeprom.h"
#include "virtual/StreamPeer.h"
#include "virtual/VirtualClock.h"
#include "virtual/Wires.h"

namespace brevant::virt {

// What FT_ListDevices and FT_GetDeviceInfo tell of a device.
struct DeviceIdentity {
  std::string serialNumber;
  std::string description;
  uint32_t locationId = 0;
  uint32_t type = 0;   // driver's device type, e.g. 6 for a two-channel high-speed part
  uint32_t usbId = 0;  // vendor << 16 | product
};

// The driver-side settings of a channel after power-up.
struct ChannelSettings {
  uint32_t readTimeoutMs = 0;  // 0: wait without limit
  uint32_t writeTimeoutMs = 0;
  uint8_t latencyMs = 16;
  uint32_t baudRate = 9600;
  uint8_t mode = 0;
  uint8_t mask = 0;
};

class Channel {
 public:
  Channel(DeviceIdentity identity, VirtualClock& clock);

  const DeviceIdentity& Identity() const { return identity_; }
  ChannelSettings& Settings() { return settings_; }
  const ChannelSettings& Settings() const { return settings_; }

  bool IsOpen() const { return open_; }
  void SetOpen(bool open) { open_ = open; }
  // The least virtual time that an FT_Write or FT_Read moving data takes: the
  // USB frame it waits for. 125 us (a high-speed microframe) unless set.
  int64_t TransferUs() const { return transferUs_; }
  void SetTransferUs(int64_t us) { transferUs_ = us; }

  // The part's configuration EEPROM, shared by its channels; null on a device
  // added alone.
  ChipEeprom* Eeprom() const { return eeprom_.get(); }
  std::shared_ptr<ChipEeprom> SharedEeprom() const { return eeprom_; }
  void SetEeprom(std::shared_ptr<ChipEeprom> eeprom) { eeprom_ = std::move(eeprom); }

  // The chip's buffer for bytes from the host: a write waits while it is full.
  void SetReceiveBuffer(uint32_t bytes) { receiveBuffer_ = bytes; }
  // Bytes the buffer can take now: less only while the engine is stuck.
  uint32_t ReceiveRoom() const;

  // False once unplugged: the handle then fails every call but FT_Close.
  bool IsPresent() const { return present_; }
  void Unplug() { present_ = false; }

  // The stream peer, engine of bit mode 0 (245 FIFO) and 0x10 (opto).
  StreamPeer& Peer() { return *peer_; }
  // What the board wires to the channel's pins (ADBUS 0-7, ACBUS 8-15); every
  // engine of the channel reads its pins through it.
  Wires& Board() { return board_; }
  const Wires& Board() const { return board_; }
  // Puts `engine` behind the channel in bit mode `mode`.
  void SetEngine(uint8_t mode, std::shared_ptr<ChannelEngine> engine);
  // The engine of bit mode `mode`, or null.
  ChannelEngine* EngineFor(uint8_t mode) const;

  // Host side, called by the driver.
  void SetBitMode(uint8_t mask, uint8_t mode);
  // The engine runs them in virtual time; the clock moves on to when the last
  // byte found room in the chip's buffer.
  void HostWrite(std::span<const uint8_t> bytes);
  // Fills `out` from the receive queue, waiting in virtual time up to the read
  // time-out; returns how many bytes it gave.
  uint32_t HostRead(std::span<uint8_t> out);
  // Bytes that have reached the host by now.
  uint32_t Available() const;
  // True while anything is on its way to the host, arrived or not.
  bool Sending() const { return !pending_.empty(); }
  void PurgeReceive() { pending_.clear(); }
  // Drops what the host sent that the engine has not run yet.
  void PurgeTransmit();
  // Back to power-up settings with empty queues; the driver's time-outs stay.
  void Reset();
  uint8_t Pins() const;

  // Engine side: queue bytes for the host, arriving after the latency timer,
  // `delayUs` later still when the engine needs that long to make them.
  void Deliver(std::span<const uint8_t> bytes, int64_t delayUs = 0);
  // Queue bytes that reach the host at `arrivalUs`. Bytes leave the chip in
  // order, so anything queued earlier arrives no later than these; with no
  // bytes, only that.
  void DeliverAt(int64_t arrivalUs, std::span<const uint8_t> bytes);
  int64_t Now() const { return clock_.Now(); }

 private:
  struct Pending {
    int64_t arrivalUs;
    std::vector<uint8_t> bytes;
    size_t taken = 0;
  };

  ChannelEngine* CurrentEngine() const;

  DeviceIdentity identity_;
  VirtualClock& clock_;
  ChannelSettings settings_;
  bool open_ = false;
  bool present_ = true;
  int64_t transferUs_ = 125;
  uint32_t receiveBuffer_ = 4096;
  std::shared_ptr<ChipEeprom> eeprom_;
  Wires board_;
  std::shared_ptr<StreamPeer> peer_;
  std::map<uint8_t, std::shared_ptr<ChannelEngine>> engines_;
  std::deque<Pending> pending_;
};

}  // namespace brevant::virt
