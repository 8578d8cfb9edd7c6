// The C++ side of out_values_test.py: runs one of its actions through the C++
// classes on the bench that BREVANT_DRIVER names, and prints the error number
// and the out values as a JSON list, as the test's C ABI and Python runners do.
//
//   brevant-out-values DiscernModules 1
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

#include "brevant/Error.h"
#include "brevant/clsDeviceList.h"
#include "brevant/clsFTDI245FIFO.h"

namespace {

using nlohmann::json;
using namespace brevant;

int32_t Failure(const std::function<void()>& call) {
  try {
    call();
    return 0;
  } catch (const Error& e) {
    return e.Number();
  }
}

json Records(const Array<tDeviceInfo>& infos) {
  json out = json::array();
  for (const tDeviceInfo& i : infos.Elements()) {
    out.push_back(json::array({i.Device, i.Error, i.SerialNumber, i.Description, i.LocationID}));
  }
  return out;
}

json GetDeviceInfo(int) {
  clsDeviceList list;
  std::string serial = "old", description = "old";
  int32_t location = 7;
  const int32_t error = Failure([&] { list.GetDeviceInfo(0, serial, description, location); });
  return json::array({error, serial, description, location});
}

json ScanDevices(int) {
  clsDeviceList list;
  int32_t count = 5;
  Array<tDeviceInfo> infos{{9, false, "old", "old", 7}};
  const int32_t error = Failure([&] { list.ScanDevices(count, infos); });
  return json::array({error, count, Records(infos)});
}

json DiscernModules(int extra) {
  clsDeviceList list;
  int32_t count = 0, modules = -1;
  Array<tDeviceInfo> infos;
  Array<tModuleInfo> found;
  list.ScanDevices(count, infos);
  const int32_t error = Failure([&] { list.DiscernModules(count + extra, infos, modules, found); });
  json out = json::array();
  for (const tModuleInfo& m : found.Elements()) {
    json devices = json::array();
    for (const tDeviceInfo& d : m.DeviceInfos.Elements()) devices.push_back(d.Device);
    out.push_back(json::array({m.SerialNumber, m.Description, m.DeviceCount, devices}));
  }
  return json::array({error, modules, out});
}

json DataRead(int) {
  clsFTDI245FIFO fifo;
  fifo.Initialize(0);
  ByteArray sent{0x80, 0x5A, 0x01};
  fifo.DataWrite(sent, sent.Count());
  ByteArray buffer{0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  int32_t read = -1;
  const int32_t error = Failure([&] { fifo.DataRead(buffer, 5, read); });
  std::string hex;
  for (uint8_t byte : buffer.Elements()) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", byte);
    hex += digits;
  }
  return json::array({error, hex, read});
}

}  // namespace

int main(int argc, char** argv) {
  const std::string action = argc == 3 ? argv[1] : "";
  json (*run)(int) = action == "GetDeviceInfo"    ? GetDeviceInfo
                     : action == "ScanDevices"    ? ScanDevices
                     : action == "DiscernModules" ? DiscernModules
                     : action == "DataRead"       ? DataRead
                                                  : nullptr;
  if (!run) {
    std::cerr << "usage: brevant-out-values GetDeviceInfo|ScanDevices|DiscernModules|DataRead "
                 "EXTRA\n";
    return 2;
  }
  std::cout << run(std::stoi(argv[2])).dump() << "\n";
  return 0;
}
