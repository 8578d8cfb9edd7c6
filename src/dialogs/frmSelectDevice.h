// The device selection dialog: the user picks one device of a scan, and
// clsDeviceList::DialogSelectDevice returns its number.
#pragma once

#include <cstdint>
#include <string>

#include "brevant/Array.h"
#include "brevant/tDeviceInfo.h"
#include "dialogs/SelectionForm.h"

namespace brevant {

class frmSelectDevice : public SelectionForm {
 public:
  frmSelectDevice();

  void Setup(clsDeviceList& DeviceList, const std::string& Prompt, const std::string& Instruction);
  void SyncDeviceList(clsDeviceList& DeviceList) override;
  // The chosen record's Device; raises when nothing or a failed record is chosen.
  int16_t Apply() const;

 protected:
  int32_t Count() const override { return DeviceCount; }
  std::array<std::string, 4> RowTexts(int32_t position) const override;
  bool Usable(int32_t position) const override;
  void CheckApply() const override { Apply(); }

 private:
  tDeviceInfo SelectedInfo() const;

  Array<tDeviceInfo> DeviceInfos;
  int32_t DeviceCount = 0;
};

}  // namespace brevant
