#include "virtual/Bench.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include "virtual/BitBangEngine.h"
#include "virtual/StateFile.h"
#include "virtual/mpsse/I2cEeprom.h"
#include "virtual/mpsse/MpsseBench.h"

namespace brevant::virt {

namespace {

constexpr uint8_t kSyncBitBangMode = 4;
constexpr uint8_t kMpsseMode = 2;
constexpr int64_t kNsPerUs = 1000;
// A microframe: the least transfer time of a high-speed part.
constexpr int64_t kHighSpeedTransferUs = 125;

// USB IDs are 0403 with the part's product ID. FIFO sizes are the larger figures published.
constexpr std::array<PartModel, 5> kModels = {{
    {"FT232H", 1, ft::kTypeFT232H, 0x04036014, "Single RS232-HS", 1024, 125, 0x0900, 128},
    {"FT2232D", 2, ft::kTypeFT2232D, 0x04036010, "Dual RS232", 384, 1000, 0x0500, 64},
    {"FT2232H", 2, ft::kTypeFT2232H, 0x04036010, "Dual RS232-HS", 4096, 125, 0x0700, 128},
    {"FT4232H", 4, ft::kTypeFT4232H, 0x04036011, "Quad RS232-HS", 2048, 125, 0x0800, 128},
    {"FT232R", 1, ft::kTypeFT232R, 0x04036001, "FT232R USB UART", 256, 1000, 0x0600, 64},
}};

// Serial numbers become file names only when they cannot climb out of the
// directory or hide in it: letters, digits, '-' and '_'.
bool IsSafeFileName(const std::string& serial) {
  return !serial.empty() && std::all_of(serial.begin(), serial.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
}

}  // namespace

const PartModel& ModelOf(PartKind kind) {
  return kModels[static_cast<size_t>(kind)];
}

const PartModel* ModelOfType(uint32_t type) {
  const auto found = std::find_if(kModels.begin(), kModels.end(),
                                  [type](const PartModel& model) { return model.type == type; });
  return found == kModels.end() ? nullptr : &*found;
}

void Bench::AddPart(PartKind kind, const std::string& serialBase, uint32_t locationId,
                    std::string_view description) {
  const PartModel& model = ModelOf(kind);
  const std::string text(description.empty() ? model.description : description);
  const auto eeprom = std::make_shared<ChipEeprom>(
      model.eepromWords, ChipEeprom::Identity{static_cast<uint16_t>(model.usbId), model.release,
                                              "FTDI", text, serialBase});
  for (int channel = 0; channel < model.channels; ++channel) {
    DeviceIdentity identity{serialBase, text, locationId + channel, model.type, model.usbId};
    if (model.channels > 1) {
      const char letter = static_cast<char>('A' + channel);
      identity.serialNumber += letter;
      identity.description += ' ';
      identity.description += letter;
    }
    Channel& device = AddDevice(std::move(identity));
    device.SetTransferUs(model.transferUs);
    if (model.transferUs > kHighSpeedTransferUs) {
      device.SetEngine(kSyncBitBangMode,
                       std::make_shared<BitBangEngine>(device.Board(), kFullSpeedPacketData));
    }
    device.SetReceiveBuffer(model.rxFifoBytes);
    device.SetEeprom(eeprom);
    InstallMpsse(device, kind, channel);
  }
}

Channel& Bench::AddDevice(DeviceIdentity identity) {
  devices_.push_back(std::make_shared<Channel>(std::move(identity), clock_));
  Channel& device = *devices_.back();
  device.SetEngine(kSyncBitBangMode,
                   std::make_shared<BitBangEngine>(device.Board(), kHighSpeedPacketData));
  return device;
}

void Bench::Unplug(int index) {
  if (index < 0 || index >= DeviceCount()) throw std::out_of_range("no such device to unplug");
  devices_[static_cast<size_t>(index)]->Unplug();
  devices_.erase(devices_.begin() + index);
}

void Bench::KeepMemories(const std::string& directory) {
  std::error_code error;
  if (!std::filesystem::is_directory(directory, error)) {
    throw StateError(directory + (std::filesystem::exists(directory, error)
                                      ? ": not a directory"
                                      : ": no such directory"));
  }
  std::map<std::string, int> owners;  // file name -> device
  for (int index = 0; index < DeviceCount(); ++index) {
    SpiFlash* flash = FlashOf(Device(index));
    if (flash == nullptr) continue;
    const std::string& serial = Device(index).Identity().serialNumber;
    const std::string name =
        (IsSafeFileName(serial) ? serial : "device" + std::to_string(index)) + ".flash";
    const std::string path = (std::filesystem::path(directory) / name).string();
    if (const auto [owner, added] = owners.emplace(name, index); !added) {
      throw StateError(path + ": devices " + std::to_string(owner->second) + " and " +
                       std::to_string(index) + " would share this file");
    }
    memories_.emplace_back(path, SharedDevice(index), *flash);
  }
  // An I2C EEPROM by the device its bus is on and its address:
  // BV42H003B-i2c-50.eeprom.
  for (int index = 0; index < DeviceCount(); ++index) {
    const I2cPins* bus = I2cOf(Device(index));
    if (bus == nullptr) continue;
    const std::string& serial = Device(index).Identity().serialNumber;
    for (const auto& target : bus->Targets()) {
      auto eeprom = std::dynamic_pointer_cast<I2cEeprom>(target);
      if (!eeprom) continue;
      char address[8];
      std::snprintf(address, sizeof address, "%02x", target->Address());
      const std::string name =
          (IsSafeFileName(serial) ? serial : "device" + std::to_string(index)) + "-i2c-" + address +
          ".eeprom";
      eeproms_.emplace_back((std::filesystem::path(directory) / name).string(), eeprom);
    }
  }
  // One file per part, named after its first channel.
  std::vector<const ChipEeprom*> kept;
  for (int index = 0; index < DeviceCount(); ++index) {
    const std::shared_ptr<ChipEeprom> eeprom = Device(index).SharedEeprom();
    if (!eeprom || std::find(kept.begin(), kept.end(), eeprom.get()) != kept.end()) continue;
    kept.push_back(eeprom.get());
    const std::string& serial = Device(index).Identity().serialNumber;
    const std::string name =
        (IsSafeFileName(serial) ? serial : "device" + std::to_string(index)) + ".eeprom";
    eeproms_.emplace_back((std::filesystem::path(directory) / name).string(), eeprom);
  }
}

bool Bench::SaveMemories() {
  bool saved = true;
  for (FlashFile& memory : memories_) saved = memory.Save() && saved;
  for (EepromFile& eeprom : eeproms_) saved = eeprom.Save() && saved;
  return saved;
}

Recording& Bench::Record(const std::vector<int>& devices) {
  if (!recording_) recording_ = std::make_unique<Recording>();
  std::vector<int> chosen = devices;
  if (chosen.empty()) {
    for (int index = 0; index < DeviceCount(); ++index) chosen.push_back(index);
  }
  for (const int index : chosen) {
    Channel& channel = Device(index);
    if (std::find(recorded_.begin(), recorded_.end(), &channel) != recorded_.end()) continue;
    recorded_.push_back(&channel);
    const std::string& serial = channel.Identity().serialNumber;
    const std::string scope = IsSafeFileName(serial) ? serial : "device" + std::to_string(index);
    if (auto* mpsse = dynamic_cast<MpsseEngine*>(channel.EngineFor(kMpsseMode))) {
      mpsse->RecordTo(recording_->Add(scope, mpsse->PinNames()), clock_.Now());
    }
    if (auto* bitBang = dynamic_cast<BitBangEngine*>(channel.EngineFor(kSyncBitBangMode))) {
      bitBang->RecordTo(recording_->Add(scope, {"D0", "D1", "D2", "D3", "D4", "D5", "D6", "D7"}),
                        clock_.Now());
    }
  }
  return *recording_;
}

void Bench::RecordTo(const std::string& path, const std::vector<int>& devices) {
  // Tried now, so that a path that cannot serve fails before anything runs; a
  // file already there stays as it is until the recording replaces it.
  const std::string trial = path + ".new";
  if (!std::ofstream(trial, std::ios::binary)) throw StateError(path + ": cannot write the file");
  std::error_code error;
  std::filesystem::remove(trial, error);
  recordPath_ = path;
  Record(devices);
}

bool Bench::SaveRecording() {
  if (recordPath_.empty()) return true;
  return ReplaceFile(recordPath_, [this](std::ostream& out) {
    recording_->WriteVcd(out, clock_.Now() * kNsPerUs);
  });
}

std::shared_ptr<Bench> MakeDefaultBench() {
  auto bench = std::make_shared<Bench>();
  bench->AddPart(PartKind::kFT2232H, "BV22H001", 0x0231);
  bench->AddPart(PartKind::kFT232H, "BV23H002", 0x0114);
  bench->AddPart(PartKind::kFT4232H, "BV42H003", 0x0121);
  // Bit-bang wiring: BV42H003C loops ADBUS0-3 back to ADBUS4-7, and the board
  // holds ADBUS4-7 of BV42H003D at 0, 1, 0, 1.
  for (int pin = 0; pin < 4; ++pin) {
    bench->Device(5).Board().Loop(pin, pin + 4);
    bench->Device(6).Board().Drive(pin + 4, pin % 2 == 1);
  }
  WireDefaultPeripherals(*bench);
  return bench;
}

}  // namespace brevant::virt
