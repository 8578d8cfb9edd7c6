#include "brevant/clsDeviceList.h"

#include <cstdint>

#include "brevant/Error.h"
#include "discovery/ScanOrder.h"
#include "gateway/clsFTD2xx.h"

namespace brevant {

namespace {

constexpr char kSource[] = "clsDeviceList";

[[noreturn]] void InvalidParameter() {
  throw Error(errParameter, kSource, "Invalid parameter");
}

// Only the channel letter and the description's suffix ignore case, and only
// for plain letters: the driver's text is 8-bit and carries no locale.
unsigned char Upper(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code >= 'a' && code <= 'z' ? static_cast<unsigned char>(code - ('a' - 'A')) : code;
}

// The description without a trailing blank and channel letter, when it has them.
std::string BaseDescription(const std::string& description, unsigned char letter) {
  const size_t size = description.size();
  if (size >= 2 && description[size - 2] == ' ' && Upper(description[size - 1]) == letter) {
    return description.substr(0, size - 2);
  }
  return description;
}

}  // namespace

clsDeviceList::clsDeviceList() : Gateway(std::make_unique<clsFTD2xx>()) {}

clsDeviceList::~clsDeviceList() = default;

std::shared_ptr<icLog> clsDeviceList::Log() const {
  return Gateway->Log();
}
void clsDeviceList::Log(std::shared_ptr<icLog> Value) {
  Gateway->Log(std::move(Value));
}

int32_t clsDeviceList::GetDeviceCount() {
  return Gateway->FTListNumDevices();
}

void clsDeviceList::GetDeviceInfo(int16_t Device, std::string& SerialNumber,
                                  std::string& Description, int32_t& LocationID) {
  SerialNumber = Gateway->FTListSerialNumber(Device);
  Description = Gateway->FTListDescription(Device);
  LocationID = Gateway->FTListLocationID(Device);
}

void clsDeviceList::ScanDevices(int32_t& DeviceCount, Array<tDeviceInfo>& DeviceInfos) {
  DeviceCount = 0;
  // A driver that cannot count is an empty machine to the caller. Only the
  // library's own errors are dropped: a sink must not throw, and if it does the
  // caller hears of it.
  try {
    DeviceCount = GetDeviceCount();
  } catch (const Error&) {
  }
  // Device numbers are 16-bit; a count past them cannot be told apart.
  if (DeviceCount > INT16_MAX + 1) throw Error::Generic(kErrOverflow, kSource);
  if (DeviceCount > 0) {
    DeviceInfos.Redim(0, DeviceCount);
  } else {
    DeviceInfos.Erase();
  }
  for (int32_t i = 0; i < DeviceCount; ++i) {
    tDeviceInfo& info = DeviceInfos[i];
    info.Device = static_cast<int16_t>(i);
    try {
      GetDeviceInfo(info.Device, info.SerialNumber, info.Description, info.LocationID);
    } catch (const Error&) {
      info.Error = true;
    }
  }
  SortScan(DeviceInfos.FromElementZero());
}

void clsDeviceList::DiscernModules(int32_t DeviceCount, const Array<tDeviceInfo>& DeviceInfos,
                                   int32_t& ModuleCount, Array<tModuleInfo>& ModuleInfos) {
  ModuleCount = 0;
  for (int32_t i = 0; i < DeviceCount; ++i) {
    if (!DeviceInfos.Has(i)) throw Error::Generic(kErrSubscriptOutOfRange, kSource);
    const tDeviceInfo& device = DeviceInfos[i];
    if (device.SerialNumber.empty() || device.Error) continue;

    const unsigned char letter = Upper(device.SerialNumber.back());
    const std::string baseSerial = device.SerialNumber.substr(0, device.SerialNumber.size() - 1);
    const int32_t channelIndex = letter - 'A';
    const std::string baseDescription = BaseDescription(device.Description, letter);

    // A channel can only extend the last module, at exactly its next place.
    bool found = false;
    if (ModuleCount > 0) {
      tModuleInfo& module = ModuleInfos[ModuleCount - 1];
      const int32_t lastLocation = module.DeviceInfos[module.DeviceCount - 1].LocationID;
      if (lastLocation == INT32_MAX) throw Error::Generic(kErrOverflow, kSource);
      if (device.LocationID == lastLocation + 1 && module.SerialNumber == baseSerial &&
          channelIndex == module.DeviceCount) {
        module.DeviceInfos.RedimPreserve(0, module.DeviceCount + 1);
        module.DeviceInfos[module.DeviceCount] = device;
        ++module.DeviceCount;
        // Once the channels disagree the module has no name, whatever follows.
        if (module.Description != baseDescription) module.Description.clear();
        found = true;
      }
    }
    if (!found && channelIndex == 0) {
      ModuleInfos.RedimPreserve(0, ModuleCount + 1);
      ModuleInfos[ModuleCount] = tModuleInfo{1, {device}, baseSerial, baseDescription};
      ++ModuleCount;
    }
  }
}

int32_t clsDeviceList::FindDevice(const std::string& Description, int16_t& Device) {
  if (Description.empty()) InvalidParameter();
  int32_t deviceCount = 0;
  Array<tDeviceInfo> deviceInfos;
  ScanDevices(deviceCount, deviceInfos);

  int32_t matches = 0;
  for (int32_t i = 0; i < deviceCount; ++i) {
    const tDeviceInfo& info = deviceInfos[i];
    if (info.Error || info.Description != Description) continue;
    if (matches == 0) Device = info.Device;
    ++matches;
  }
  return matches;
}

int32_t clsDeviceList::FindModule(int32_t ChannelCount, const std::string& Description,
                                  Array<int16_t>& Devices) {
  if (Description.empty() || ChannelCount < 1) InvalidParameter();
  int32_t deviceCount = 0;
  Array<tDeviceInfo> deviceInfos;
  ScanDevices(deviceCount, deviceInfos);
  int32_t moduleCount = 0;
  Array<tModuleInfo> moduleInfos;
  DiscernModules(deviceCount, deviceInfos, moduleCount, moduleInfos);

  int32_t matches = 0;
  for (int32_t m = 0; m < moduleCount; ++m) {
    const tModuleInfo& module = moduleInfos[m];
    // A module whose channels disagree has no name and cannot be asked for.
    if (module.Description.empty() || module.Description != Description ||
        module.DeviceCount != ChannelCount) {
      continue;
    }
    if (matches == 0) {
      Devices.Redim(0, module.DeviceCount);
      for (int32_t k = 0; k < module.DeviceCount; ++k) Devices[k] = module.DeviceInfos[k].Device;
    }
    ++matches;
  }
  return matches;
}

}  // namespace brevant
