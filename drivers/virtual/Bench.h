// A virtual machine with FTDI parts plugged in: what the virtual driver lists,
// opens and talks to. Build one in code, or take the default bench:
//
//   auto bench = std::make_shared<virt::Bench>();
//   bench->AddPart(virt::PartKind::kFT2232H, "BV22H001", 0x0231);  // devices 0, 1
//   brevant::SetDriver(std::make_shared<virt::VirtualDriver>(bench));
//
// A bench is not locked by itself: change it only while no driver call runs (the
// virtual driver serialises its own calls).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "virtual/Channel.h"
#include "virtual/EepromFile.h"
#include "virtual/FaultPlan.h"
#include "virtual/FlashFile.h"
#include "virtual/Recording.h"
#include "virtual/VirtualClock.h"

namespace brevant::virt {

// Data bytes of one bulk IN packet once the driver strips the two modem status
// bytes: 512-byte packets on high-speed parts, 64-byte ones on full-speed parts.
inline constexpr size_t kHighSpeedPacketData = 510;
inline constexpr size_t kFullSpeedPacketData = 62;

enum class PartKind { kFT232H, kFT2232D, kFT2232H, kFT4232H, kFT232R };

// Facts of a part: channel count, the driver's device type, USB ID, factory
// description, the size of its receive FIFO (host to chip, per channel), the
// least time a USB transfer takes (a microframe on high-speed parts, a frame on
// full-speed ones), the release number it reports on USB, and the words of its
// configuration EEPROM.
struct PartModel {
  std::string_view name;
  int channels;
  uint32_t type;
  uint32_t usbId;
  std::string_view description;
  uint32_t rxFifoBytes;
  int64_t transferUs;
  uint16_t release;
  size_t eepromWords;
};

const PartModel& ModelOf(PartKind kind);
// The model of the part whose channels have driver type `type`, or null.
const PartModel* ModelOfType(uint32_t type);

class Bench {
 public:
  // Plugs in a part: one device per channel at the end of the driver's list.
  // Channels of a multi-channel part get serial numbers `serialBase` + "A", "B",
  // ..., descriptions with " A", " B", ... behind the part's description, and
  // consecutive location IDs from `locationId`. A one-channel part takes both as
  // they are. An empty `description` means the factory one.
  void AddPart(PartKind kind, const std::string& serialBase, uint32_t locationId,
               std::string_view description = {});
  // Plugs in one device with exactly this identity, for odd topologies.
  Channel& AddDevice(DeviceIdentity identity);

  // Devices in the driver's list now.
  int DeviceCount() const { return static_cast<int>(devices_.size()); }
  Channel& Device(int index) { return *devices_.at(static_cast<size_t>(index)); }
  std::shared_ptr<Channel> SharedDevice(int index) {
    return devices_.at(static_cast<size_t>(index));
  }
  // Takes device `index` off the list; later devices move up one place.
  void Unplug(int index);

  VirtualClock& Clock() { return clock_; }
  FaultPlan& Faults() { return faults_; }

  // Keeps the memory of every SPI flash in `directory`, one file per chip named
  // after its device's serial number (device<N> where that is empty or no safe
  // file name), and each part's EEPROM (<serial of channel A>.eeprom): loads
  // them now, and SaveMemories writes what changed. Throws StateError naming the
  // path that cannot serve.
  void KeepMemories(const std::string& directory);
  // Brings the kept files up to date; false if one could not be written. The
  // driver calls it after every call that can change a memory.
  bool SaveMemories();

  // Records every pin change of the channels at list positions `devices` (all
  // when empty) from now on: the MPSSE pins as SK, DO, DI, CS, GPIOL0-3,
  // GPIOH0-7, the bit-bang pins as D0-D7, in a scope named after the channel's
  // serial number. Recording again adds the channels not yet recorded.
  // Recording costs nothing while it is off; while it is on, transfers take the
  // engines' bit-by-bit path, which gives the same results.
  Recording& Record(const std::vector<int>& devices = {});
  // Records, and has SaveRecording write the Value Change Dump to `path`.
  // Throws StateError when no file can be made there.
  void RecordTo(const std::string& path, const std::vector<int>& devices = {});
  // Writes the file named in RecordTo whole, up to the virtual time now; true
  // when there is none. The driver calls it whenever its last open handle closes.
  bool SaveRecording();

 private:
  VirtualClock clock_;
  FaultPlan faults_;
  std::vector<std::shared_ptr<Channel>> devices_;
  std::vector<FlashFile> memories_;
  std::vector<EepromFile> eeproms_;
  std::unique_ptr<Recording> recording_;
  std::vector<const Channel*> recorded_;
  std::string recordPath_;
};

// The built-in bench: a two-channel, a one-channel and a four-channel high-speed
// part, listed in an order that their locations do not follow.
std::shared_ptr<Bench> MakeDefaultBench();

}  // namespace brevant::virt
