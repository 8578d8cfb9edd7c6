#include "brevant/clsDeviceList.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& clsDeviceListBinding() {
  using C = clsDeviceList;
  using B = Rows<C>;
  static const ClassBinding binding = MakeClass(
      Identity("clsDeviceList", "_clsDeviceList", Guid("4271C340-2343-40E2-9D1D-06A576EDCD98"),
               Guid("1E5F2A75-C9DD-41EC-84F2-44831916629C"), 1, 0),
      {},

      {
          B::Get("Log", 1, [](C& o) { return o.Log(); }),
          B::Put("Log", 1, {"Value"}, [](C& o, std::shared_ptr<icLog> v) { o.Log(v); }),
          B::Method("GetDeviceCount", 2, &C::GetDeviceCount),
          B::Method("GetDeviceInfo", 3, {"Device", "SerialNumber", "Description", "LocationID"},
                    &C::GetDeviceInfo),
          B::Method("ScanDevices", 4, {"DeviceCount", "DeviceInfos"}, &C::ScanDevices),
          // The records come in and go back out, as the class's interface has it.
          B::Method(
              "DiscernModules", 5, {"DeviceCount", "DeviceInfos", "ModuleCount", "ModuleInfos"},
              [](C& o, int32_t count, Array<tDeviceInfo>& devices, int32_t& modules,
                 Array<tModuleInfo>& infos) { o.DiscernModules(count, devices, modules, infos); }),
          B::Method("FindDevice", 6, {"Description", "Device"}, &C::FindDevice),
          B::Method("FindModule", 7, {"ChannelCount", "Description", "Devices"}, &C::FindModule),
          B::Method("DialogSelectDevice", 8, {"Prompt", "Instruction"}, &C::DialogSelectDevice),
          B::Method("DialogSelectModule", 9, {"ChannelCount", "Prompt", "Instruction"},
                    &C::DialogSelectModule),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
