// The two selection dialogs of clsDeviceList, as the surface reaches them.
#pragma once

#include <cstdint>
#include <string>

#include "brevant/Array.h"
#include "brevant/clsDeviceList.h"

namespace brevant::component {

int16_t DialogSelectDevice(clsDeviceList& list, const std::string& Prompt,
                           const std::string& Instruction);
Array<int16_t> DialogSelectModule(clsDeviceList& list, int32_t ChannelCount,
                                  const std::string& Prompt, const std::string& Instruction);

}  // namespace brevant::component
