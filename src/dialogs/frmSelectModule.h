// The module selection dialog: the user picks a module with the number of
// channels the client asked for, and clsDeviceList::DialogSelectModule returns
// its channels' device numbers, channel A first.
#pragma once

#include <cstdint>
#include <string>

#include "brevant/Array.h"
#include "brevant/tDeviceInfo.h"
#include "brevant/tModuleInfo.h"
#include "dialogs/SelectionForm.h"

namespace brevant {

// One row of the list: a module, or a device that belongs to none.
struct tModuleRow {
  bool IsModule = false;
  tModuleInfo Module;
  tDeviceInfo Device;
};

class frmSelectModule : public SelectionForm {
 public:
  frmSelectModule();

  // Raises "Invalid parameter" when ChannelCount is below 1. Checked before the
  // window is made, so that a machine without a display is told the same.
  void CheckChannelCount(int32_t ChannelCount) const;
  // Raises "Invalid parameter" before anything else when ChannelCount is below 1.
  void Setup(int32_t ChannelCount, clsDeviceList& DeviceList, const std::string& Prompt,
             const std::string& Instruction);
  void SyncDeviceList(clsDeviceList& DeviceList) override;
  // The chosen module's device numbers, elements 0 to ChannelCount - 1.
  Array<int16_t> Apply() const;

 protected:
  int32_t Count() const override { return RowCount; }
  std::array<std::string, 4> RowTexts(int32_t position) const override;
  bool Usable(int32_t position) const override;
  void CheckApply() const override { Apply(); }

 private:
  tModuleRow SelectedRow() const;

  int32_t ChannelCount = 0;
  Array<tModuleRow> Rows;
  int32_t RowCount = 0;
};

}  // namespace brevant
