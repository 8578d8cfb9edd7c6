#include "dialogs/RowTexts.h"

#include "gateway/Formating.h"

namespace brevant {

std::string LocationText(int32_t LocationID) {
  return TextSubstitute("0x%1", HexText(LocationID, 8));
}

std::array<std::string, 4> DeviceRowTexts(const tDeviceInfo& info) {
  if (info.Error) return {std::to_string(info.Device), "Error!", "", ""};
  return {std::to_string(info.Device), LocationText(info.LocationID), info.SerialNumber,
          info.Description};
}

}  // namespace brevant
