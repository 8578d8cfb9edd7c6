// The two dialog members of clsDeviceList. Each form is a local: whether the
// call returns or raises, the form and its window are gone when it ends, and an
// error travels on unchanged, with its number, source and texts.
#include "brevant/clsDeviceList.h"
#include "dialogs/frmSelectDevice.h"
#include "dialogs/frmSelectModule.h"

namespace brevant {

int16_t clsDeviceList::DialogSelectDevice(const std::string& Prompt,
                                          const std::string& Instruction) {
  frmSelectDevice form;
  form.Load();
  form.Setup(*this, Prompt, Instruction);
  form.Show();
  if (!form.OK()) {
    throw Error(errDialogCancel, "clsDeviceList",
                "Cancel was selected in the device selection dialog");
  }
  return form.Apply();
}

Array<int16_t> clsDeviceList::DialogSelectModule(int32_t ChannelCount, const std::string& Prompt,
                                                 const std::string& Instruction) {
  frmSelectModule form;
  form.CheckChannelCount(ChannelCount);
  form.Load();
  form.Setup(ChannelCount, *this, Prompt, Instruction);
  form.Show();
  if (!form.OK()) {
    throw Error(errDialogCancel, "clsDeviceList",
                "Cancel was selected in the module selection dialog");
  }
  return form.Apply();
}

}  // namespace brevant
