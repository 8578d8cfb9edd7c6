#include "dialogs/frmSelectModule.h"

#include <vector>

#include "brevant/clsDeviceList.h"
#include "dialogs/RowTexts.h"
#include "gateway/Formating.h"

namespace brevant {

namespace {

constexpr int32_t kErrInvalidParameter = kObjectErrorBase + 6961;
constexpr int32_t kErrNoModuleSelected = kObjectErrorBase + 6962;
constexpr int32_t kErrInvalidModuleSelection = kObjectErrorBase + 6963;
constexpr int32_t kErrItemCannotBeUsed = kObjectErrorBase + 6964;
constexpr int32_t kErrUnexpectedChannels = kObjectErrorBase + 6965;
constexpr char kSource[] = "frmSelectModule";

DialogDesign ModuleDesign() {
  return {"Select FTDI Module",
          6420,
          2805,
          {"Devices", "Location IDs", "Serial Number", "Description"},
          {900, 1500, 1500, 2220},
          {{{120, 120, 6180, 195},
            {120, 390, 6180, 195},
            {120, 690, 6180, 1560},
            {120, 2370, 1200, 315},
            {1440, 2370, 1200, 315},
            {5100, 2370, 1200, 315}}}};
}

// Appends `item`, with ", " before it unless nothing is written yet.
void Join(std::string& text, const std::string& item) {
  if (!text.empty()) text += ", ";
  text += item;
}

// First and last location, the last without the characters it shares with the
// first from the left: 0x00000121-2, 0x0000012F-30.
std::string LocationRange(int32_t first, int32_t last) {
  const std::string from = LocationText(first);
  std::string to = LocationText(last);
  size_t same = 0;
  while (same < to.size() && same < from.size() && to[same] == from[same]) ++same;
  return TextSubstitute("%1-%2", from, to.substr(same));
}

std::array<std::string, 4> ModuleRowTexts(const tModuleInfo& module) {
  const Array<tDeviceInfo>& channels = module.DeviceInfos;
  if (module.DeviceCount == 1) return DeviceRowTexts(channels[0]);
  std::string devices;
  std::string descriptions;
  for (int32_t k = 0; k < module.DeviceCount; ++k) {
    Join(devices, std::to_string(channels[k].Device));
    Join(descriptions, channels[k].Description);
  }
  return {devices,
          LocationRange(channels[0].LocationID, channels[module.DeviceCount - 1].LocationID),
          module.SerialNumber, module.Description.empty() ? descriptions : module.Description};
}

}  // namespace

frmSelectModule::frmSelectModule()
    : SelectionForm(ModuleDesign(), {kSource, "Error in FTDI Module Selection",
                                     kErrInvalidModuleSelection, "Invalid module selection"}) {}

void frmSelectModule::CheckChannelCount(int32_t Channels) const {
  if (Channels < 1) Raise(kErrInvalidParameter, "Invalid parameter");
}

void frmSelectModule::Setup(int32_t Channels, clsDeviceList& List, const std::string& Prompt,
                            const std::string& Instruction) {
  CheckChannelCount(Channels);
  DeviceList = &List;
  ChannelCount = Channels;
  SetPrompts(Prompt, Instruction);
  SyncDeviceList(*DeviceList);
  // No search for a fitting module: the first row is chosen, usable or not.
  SelectFirst();
}

void frmSelectModule::SyncDeviceList(clsDeviceList& List) {
  int32_t deviceCount = 0;
  Array<tDeviceInfo> deviceInfos;
  List.ScanDevices(deviceCount, deviceInfos);
  int32_t moduleCount = 0;
  Array<tModuleInfo> moduleInfos;
  List.DiscernModules(deviceCount, deviceInfos, moduleCount, moduleInfos);

  std::vector<tModuleRow> rows;
  for (int32_t m = 0; m < moduleCount; ++m) rows.push_back({true, moduleInfos[m], {}});
  // Devices that are a module's channel are shown with it already.
  for (int32_t i = 0; i < deviceCount; ++i) {
    const tDeviceInfo& device = deviceInfos[i];
    bool inModule = false;
    for (int32_t m = 0; m < moduleCount && !inModule; ++m) {
      const tModuleInfo& module = moduleInfos[m];
      for (int32_t k = 0; k < module.DeviceCount && !inModule; ++k) {
        inModule = module.DeviceInfos[k].Device == device.Device;
      }
    }
    if (!inModule) rows.push_back({false, {}, device});
  }
  RowCount = static_cast<int32_t>(rows.size());
  Rows = Array<tModuleRow>(std::move(rows));
  ShowNewRows();
}

Array<int16_t> frmSelectModule::Apply() const {
  const tModuleRow row = SelectedRow();
  if (!row.IsModule) Raise(kErrItemCannotBeUsed, "Item cannot be used");
  if (row.Module.DeviceCount != ChannelCount) {
    Raise(kErrUnexpectedChannels, "Unexpected number of channels of the module");
  }
  Array<int16_t> devices(0, row.Module.DeviceCount);
  for (int32_t k = 0; k < row.Module.DeviceCount; ++k) {
    devices[k] = row.Module.DeviceInfos[k].Device;
  }
  return devices;
}

std::array<std::string, 4> frmSelectModule::RowTexts(int32_t position) const {
  const tModuleRow& row = Rows[position];
  return row.IsModule ? ModuleRowTexts(row.Module) : DeviceRowTexts(row.Device);
}

bool frmSelectModule::Usable(int32_t position) const {
  const tModuleRow& row = Rows[position];
  return row.IsModule && row.Module.DeviceCount == ChannelCount;
}

tModuleRow frmSelectModule::SelectedRow() const {
  if (!Selected) Raise(kErrNoModuleSelected, "No module selected");
  return Rows[SelectedIndex];
}

}  // namespace brevant
