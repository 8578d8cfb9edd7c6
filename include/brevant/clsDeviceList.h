// What is on the machine: a scan of the driver's device list, the grouping of
// multi-channel parts into modules, and lookup by description. Nothing here opens
// a device; every member asks the driver anew and keeps nothing between calls.
//
//   brevant::clsDeviceList list;
//   brevant::Array<int16_t> channels;
//   if (list.FindModule(2, "Dual RS232-HS", channels) == 1) {
//     mpsseA.Initialize(channels[0]);   // channel A
//     mpsseB.Initialize(channels[1]);   // channel B
//   }
//
// Driver failures during a scan are no error: a device that cannot be read is
// kept with Error set, behind the readable ones, and a failed count is an empty
// scan. Bad arguments raise errParameter (Source "clsDeviceList").
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "brevant/Array.h"
#include "brevant/Export.h"
#include "brevant/icLog.h"
#include "brevant/tDeviceInfo.h"
#include "brevant/tModuleInfo.h"

namespace brevant {

class clsFTD2xx;

enum errDeviceList : int32_t {
  _errDeviceList = static_cast<int32_t>(0x80041AF4),
  errParameter = static_cast<int32_t>(0x80041AF5),
  errDialogCancel = static_cast<int32_t>(0x80041AF6),
};

class BREVANT_EXPORT clsDeviceList {
 public:
  clsDeviceList();
  // Releases the gateway; it is never opened, so nothing reaches the driver.
  ~clsDeviceList();
  clsDeviceList(const clsDeviceList&) = delete;
  clsDeviceList& operator=(const clsDeviceList&) = delete;

  // The sink receives one Level 3 line for each driver call of a scan.
  std::shared_ptr<icLog> Log() const;
  void Log(std::shared_ptr<icLog> Value);

  // The driver's device count; a driver failure is raised.
  int32_t GetDeviceCount();
  // Serial number, description and location of one index of the driver's list,
  // each stored as soon as it is read. A failure is raised and leaves the values
  // read before it in place.
  void GetDeviceInfo(int16_t Device, std::string& SerialNumber, std::string& Description,
                     int32_t& LocationID);
  // Every device, readable ones first by ascending (signed) location, failed ones
  // behind in the driver's order. No devices leave DeviceInfos unallocated.
  void ScanDevices(int32_t& DeviceCount, Array<tDeviceInfo>& DeviceInfos);
  // Groups the first DeviceCount records of a scan into modules, in the order
  // given. ModuleInfos is only touched once a module is found, so read
  // ModuleCount, not its bounds. Error 9 when DeviceInfos has fewer records, 6
  // when a location one above the largest would be needed.
  void DiscernModules(int32_t DeviceCount, const Array<tDeviceInfo>& DeviceInfos,
                      int32_t& ModuleCount, Array<tModuleInfo>& ModuleInfos);
  // How many readable devices have exactly this description; Device gets the
  // first by location, and is left alone when there is none.
  int32_t FindDevice(const std::string& Description, int16_t& Device);
  // How many modules of ChannelCount channels have exactly this description
  // (without channel suffix); Devices gets the first one's numbers, channel A
  // first, and is left alone when there is none.
  int32_t FindModule(int32_t ChannelCount, const std::string& Description, Array<int16_t>& Devices);
  // The selection dialogs. Each makes a new scan, blocks until the user ends it
  // and returns what the user confirmed. Cancel, Esc and closing the window raise
  // errDialogCancel; any other error reaches the caller unchanged. Without a
  // window system built in they raise 0x80041AF7. See docs/dialogs.md.
  //
  // "Select FTDI Device": the Device number of the chosen record.
  int16_t DialogSelectDevice(const std::string& Prompt, const std::string& Instruction);
  // "Select FTDI Module": the channels' Device numbers, elements 0 (channel A) to
  // ChannelCount - 1. A ChannelCount below 1 raises "Invalid parameter" (Source
  // "frmSelectModule") and no window is shown.
  Array<int16_t> DialogSelectModule(int32_t ChannelCount, const std::string& Prompt,
                                    const std::string& Instruction);

 private:
  std::unique_ptr<clsFTD2xx> Gateway;
};

}  // namespace brevant
