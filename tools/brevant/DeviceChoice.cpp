#include "DeviceChoice.h"

#include <charconv>
#include <functional>
#include <vector>

#include "ListCommand.h"
#include "Number.h"
#include "ToolError.h"
#include "brevant/clsDeviceList.h"

namespace brevant::tool {

namespace {

using Match = std::function<bool(const tDeviceInfo&)>;

[[noreturn]] void Refuse(const std::string& why) {
  throw ToolError(why, ExitStatus::kUsage);
}

std::string Listed(int32_t count) {
  if (count == 0) return "the driver lists no devices";
  if (count == 1) return "the driver lists 1 device, 0";
  return "the driver lists " + std::to_string(count) + " devices, 0 to " +
         std::to_string(count - 1);
}

int16_t ByNumber(clsDeviceList& list, const std::string& text) {
  int64_t number = -1;
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  if (text.empty() || error != std::errc{} || end != last) {
    Refuse("-d " + text + ": give a device number, serial=S, description=D or location=L");
  }
  const int32_t count = list.GetDeviceCount();
  if (number < 0 || number >= count) Refuse("device " + text + ": " + Listed(count));
  return static_cast<int16_t>(number);
}

Match MatchOf(const std::string& key, const std::string& value) {
  if (key == "serial") return [value](const tDeviceInfo& d) { return d.SerialNumber == value; };
  if (key == "description") {
    return [value](const tDeviceInfo& d) { return d.Description == value; };
  }
  if (key == "location") {
    const uint32_t location = ParseNumber(value, "-d location");
    // The driver's location is unsigned; the library keeps it signed.
    return [location](const tDeviceInfo& d) {
      return static_cast<uint32_t>(d.LocationID) == location;
    };
  }
  Refuse("-d " + key + "=...: the forms are a number, serial=S, description=D and location=L");
}

}  // namespace

DeviceChoice::DeviceChoice(CLI::App& command) {
  command
      .add_option("-d,--device", text_,
                  "the device: its number (see `brevant list`), serial=S, description=D or "
                  "location=L")
      ->required();
}

int16_t DeviceChoice::Resolve(const std::shared_ptr<icLog>& log) const {
  clsDeviceList list;
  list.Log(log);
  const size_t equals = text_.find('=');
  if (equals == std::string::npos) return ByNumber(list, text_);
  const Match match = MatchOf(text_.substr(0, equals), text_.substr(equals + 1));

  int32_t count = 0;
  Array<tDeviceInfo> devices;
  list.ScanDevices(count, devices);
  std::vector<tDeviceInfo> readable;
  std::vector<tDeviceInfo> found;
  for (const tDeviceInfo& device : devices.Elements().first(static_cast<size_t>(count))) {
    // An unreadable device's fields mean nothing, so it matches nothing.
    if (device.Error) continue;
    readable.push_back(device);
    if (match(device)) found.push_back(device);
  }
  if (found.size() == 1) return found.front().Device;
  std::string table = DeviceTable(found.empty() ? readable : found);
  table.pop_back();
  if (!found.empty()) {
    Refuse("-d " + text_ + " fits " + std::to_string(found.size()) +
           " devices; choose one by number:\n" + table);
  }
  if (readable.empty()) Refuse("no device has " + text_ + ": the driver lists none it can read");
  Refuse("no device has " + text_ + "; the devices are:\n" + table);
}

}  // namespace brevant::tool
