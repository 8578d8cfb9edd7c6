#include "dialogs/frmSelectDevice.h"

#include "brevant/clsDeviceList.h"
#include "dialogs/RowTexts.h"

namespace brevant {

namespace {

constexpr int32_t kErrNoDeviceSelected = kObjectErrorBase + 6951;
constexpr int32_t kErrInvalidDeviceSelection = kObjectErrorBase + 6952;
constexpr int32_t kErrErrorAccessingDevice = kObjectErrorBase + 6953;

DialogDesign DeviceDesign() {
  return {"Select FTDI Device",
          6300,
          2805,
          {"Device", "Location ID", "Serial Number", "Description"},
          {780, 1500, 1500, 2220},
          {{{120, 120, 6060, 195},
            {120, 390, 6060, 195},
            {120, 690, 6060, 1560},
            {120, 2370, 1200, 315},
            {1440, 2370, 1200, 315},
            {4980, 2370, 1200, 315}}}};
}

}  // namespace

frmSelectDevice::frmSelectDevice()
    : SelectionForm(DeviceDesign(), {"frmSelectDevice", "Error in FTDI Device Selection",
                                     kErrInvalidDeviceSelection, "Invalid device selection"}) {}

void frmSelectDevice::Setup(clsDeviceList& List, const std::string& Prompt,
                            const std::string& Instruction) {
  DeviceList = &List;
  SetPrompts(Prompt, Instruction);
  SyncDeviceList(*DeviceList);
  // The first row is chosen when the dialog opens, usable or not.
  SelectFirst();
}

void frmSelectDevice::SyncDeviceList(clsDeviceList& List) {
  int32_t count = 0;
  Array<tDeviceInfo> infos;
  List.ScanDevices(count, infos);
  DeviceInfos = std::move(infos);
  DeviceCount = count;
  ShowNewRows();
}

int16_t frmSelectDevice::Apply() const {
  const tDeviceInfo info = SelectedInfo();
  if (info.Error) Raise(kErrErrorAccessingDevice, "Error accessing device");
  return info.Device;
}

std::array<std::string, 4> frmSelectDevice::RowTexts(int32_t position) const {
  return DeviceRowTexts(DeviceInfos[position]);
}

bool frmSelectDevice::Usable(int32_t position) const {
  return !DeviceInfos[position].Error;
}

tDeviceInfo frmSelectDevice::SelectedInfo() const {
  if (!Selected) Raise(kErrNoDeviceSelected, "No device selected");
  return DeviceInfos[SelectedIndex];
}

}  // namespace brevant
