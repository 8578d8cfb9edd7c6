#include "ListCommand.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "brevant/clsDeviceList.h"

namespace brevant::tool {

namespace {

using Row = std::vector<std::string>;

// Columns as wide as their widest cell, two blanks apart, no trailing blanks.
void PrintTable(std::ostream& out, const Row& headings, const std::vector<Row>& rows) {
  std::vector<size_t> widths(headings.size());
  for (size_t c = 0; c < headings.size(); ++c) widths[c] = headings[c].size();
  for (const Row& row : rows) {
    for (size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
  }
  const auto print = [&](const Row& row) {
    std::string line;
    for (size_t c = 0; c < row.size(); ++c) {
      line += row[c];
      if (c + 1 < row.size()) line += std::string(widths[c] - row[c].size() + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
  };
  print(headings);
  for (const Row& row : rows) print(row);
}

std::string Location(int32_t locationId) {
  char text[11];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<uint32_t>(locationId));
  return text;
}

std::string Numbers(const tModuleInfo& module) {
  std::string text;
  for (int32_t k = 0; k < module.DeviceCount; ++k) {
    if (k > 0) text += ", ";
    text += std::to_string(module.DeviceInfos[k].Device);
  }
  return text;
}

void PrintModules(std::ostream& out, int32_t moduleCount, const Array<tModuleInfo>& modules) {
  if (moduleCount == 0) {
    out << "No modules.\n";
    return;
  }
  std::vector<Row> rows;
  for (int32_t m = 0; m < moduleCount; ++m) {
    const tModuleInfo& module = modules[m];
    rows.push_back({std::to_string(m), std::to_string(module.DeviceCount), module.SerialNumber,
                    module.Description, Numbers(module)});
  }
  PrintTable(out, {"Module", "Channels", "Serial number", "Description", "Devices"}, rows);
}

void PrintJson(std::ostream& out, int32_t deviceCount, const Array<tDeviceInfo>& devices,
               int32_t moduleCount, const Array<tModuleInfo>& modules) {
  using Json = nlohmann::ordered_json;
  Json root = {{"devices", Json::array()}, {"modules", Json::array()}};
  for (int32_t i = 0; i < deviceCount; ++i) {
    const tDeviceInfo& d = devices[i];
    Json device = {{"device", d.Device}, {"error", d.Error}};
    if (!d.Error) {
      device["serialNumber"] = d.SerialNumber;
      device["description"] = d.Description;
      // The driver's location is unsigned; the library only compares it signed.
      device["locationId"] = static_cast<uint32_t>(d.LocationID);
    }
    root["devices"].push_back(device);
  }
  for (int32_t m = 0; m < moduleCount; ++m) {
    const tModuleInfo& module = modules[m];
    Json numbers = Json::array();
    for (int32_t k = 0; k < module.DeviceCount; ++k)
      numbers.push_back(module.DeviceInfos[k].Device);
    root["modules"].push_back({{"serialNumber", module.SerialNumber},
                               {"description", module.Description},
                               {"devices", numbers}});
  }
  // Driver texts are 8-bit and need not be UTF-8; replace what is not.
  out << root.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace

std::string DeviceTable(std::span<const tDeviceInfo> devices) {
  std::vector<Row> rows;
  for (const tDeviceInfo& d : devices) {
    // A device that could not be read has nothing worth showing but its number.
    rows.push_back(d.Error ? Row{std::to_string(d.Device), "unreadable", "", ""}
                           : Row{std::to_string(d.Device), Location(d.LocationID), d.SerialNumber,
                                 d.Description});
  }
  std::ostringstream out;
  PrintTable(out, {"Device", "Location", "Serial number", "Description"}, rows);
  return out.str();
}

void ListDevices(std::ostream& out, bool asJson, const std::shared_ptr<icLog>& log) {
  clsDeviceList list;
  list.Log(log);
  int32_t deviceCount = 0;
  Array<tDeviceInfo> devices;
  list.ScanDevices(deviceCount, devices);
  int32_t moduleCount = 0;
  Array<tModuleInfo> modules;
  list.DiscernModules(deviceCount, devices, moduleCount, modules);
  if (asJson) {
    PrintJson(out, deviceCount, devices, moduleCount, modules);
  } else if (deviceCount == 0) {
    out << "No devices.\n";
  } else {
    out << DeviceTable(devices.Elements().first(static_cast<size_t>(deviceCount))) << '\n';
    PrintModules(out, moduleCount, modules);
  }
}

}  // namespace brevant::tool
