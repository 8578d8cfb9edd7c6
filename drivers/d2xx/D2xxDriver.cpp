#include "d2xx/D2xxDriver.h"

namespace brevant {

namespace {

// Resolves `name` in `library` into `slot`, or names what is missing.
template <class Fn>
void Resolve(const SharedLibrary& library, const std::string& path, const char* name, Fn& slot) {
  void* symbol = library.Symbol(name);
  if (symbol == nullptr) {
    throw DriverUnavailable("The driver library " + path + " has no function " + name);
  }
  slot = reinterpret_cast<Fn>(symbol);
}

}  // namespace

D2xxDriver::D2xxDriver(const std::string& library) : library_(library), fn_{} {
  if (!library_.Loaded()) {
    throw DriverUnavailable("Cannot load the driver library " + library + ": " +
                            library_.Problem());
  }
  Resolve(library_, library, "FT_ListDevices", fn_.listDevices);
  Resolve(library_, library, "FT_Open", fn_.open);
  Resolve(library_, library, "FT_Close", fn_.close);
  Resolve(library_, library, "FT_ResetDevice", fn_.resetDevice);
  // Linux builds of the vendor's library may lack the two port resets; the
  // library is still worth loading, and those calls are then unsupported.
  fn_.resetPort = reinterpret_cast<decltype(fn_.resetPort)>(library_.Symbol("FT_ResetPort"));
  fn_.cyclePort = reinterpret_cast<decltype(fn_.cyclePort)>(library_.Symbol("FT_CyclePort"));
  Resolve(library_, library, "FT_SetTimeouts", fn_.setTimeouts);
  Resolve(library_, library, "FT_GetDeviceInfo", fn_.getDeviceInfo);
  Resolve(library_, library, "FT_GetStatus", fn_.getStatus);
  Resolve(library_, library, "FT_GetQueueStatus", fn_.getQueueStatus);
  Resolve(library_, library, "FT_Purge", fn_.purge);
  Resolve(library_, library, "FT_Write", fn_.write);
  Resolve(library_, library, "FT_Read", fn_.read);
  Resolve(library_, library, "FT_SetBaudRate", fn_.setBaudRate);
  Resolve(library_, library, "FT_GetLatencyTimer", fn_.getLatencyTimer);
  Resolve(library_, library, "FT_SetLatencyTimer", fn_.setLatencyTimer);
  Resolve(library_, library, "FT_GetBitMode", fn_.getBitMode);
  Resolve(library_, library, "FT_SetBitMode", fn_.setBitMode);
  // Programs that never touch the EEPROM run on a library without these too.
  fn_.readEE = reinterpret_cast<decltype(fn_.readEE)>(library_.Symbol("FT_ReadEE"));
  fn_.writeEE = reinterpret_cast<decltype(fn_.writeEE)>(library_.Symbol("FT_WriteEE"));
  fn_.eraseEE = reinterpret_cast<decltype(fn_.eraseEE)>(library_.Symbol("FT_EraseEE"));
}

D2xxDriver::~D2xxDriver() = default;

FtStatus D2xxDriver::FT_ListDevices(void* arg1, void* arg2, uint32_t flags) {
  return fn_.listDevices(arg1, arg2, flags);
}
FtStatus D2xxDriver::FT_Open(int index, FtHandle* handle) {
  return fn_.open(index, handle);
}
FtStatus D2xxDriver::FT_Close(FtHandle handle) {
  return fn_.close(handle);
}
FtStatus D2xxDriver::FT_ResetDevice(FtHandle handle) {
  return fn_.resetDevice(handle);
}
FtStatus D2xxDriver::FT_ResetPort(FtHandle handle) {
  return fn_.resetPort ? fn_.resetPort(handle) : ft::kNotSupported;
}
FtStatus D2xxDriver::FT_CyclePort(FtHandle handle) {
  return fn_.cyclePort ? fn_.cyclePort(handle) : ft::kNotSupported;
}
FtStatus D2xxDriver::FT_SetTimeouts(FtHandle handle, uint32_t readTimeout, uint32_t writeTimeout) {
  return fn_.setTimeouts(handle, readTimeout, writeTimeout);
}
FtStatus D2xxDriver::FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                      char* serialNumber, char* description, void* reserved) {
  return fn_.getDeviceInfo(handle, type, id, serialNumber, description, reserved);
}
FtStatus D2xxDriver::FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                  uint32_t* eventStatus) {
  return fn_.getStatus(handle, rxBytes, txBytes, eventStatus);
}
FtStatus D2xxDriver::FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) {
  return fn_.getQueueStatus(handle, rxBytes);
}
FtStatus D2xxDriver::FT_Purge(FtHandle handle, uint32_t mask) {
  return fn_.purge(handle, mask);
}
FtStatus D2xxDriver::FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                              uint32_t* written) {
  return fn_.write(handle, buffer, count, written);
}
FtStatus D2xxDriver::FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) {
  return fn_.read(handle, buffer, count, read);
}
FtStatus D2xxDriver::FT_SetBaudRate(FtHandle handle, uint32_t baudRate) {
  return fn_.setBaudRate(handle, baudRate);
}
FtStatus D2xxDriver::FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) {
  return fn_.getLatencyTimer(handle, timer);
}
FtStatus D2xxDriver::FT_SetLatencyTimer(FtHandle handle, uint8_t timer) {
  return fn_.setLatencyTimer(handle, timer);
}
FtStatus D2xxDriver::FT_GetBitMode(FtHandle handle, uint8_t* pins) {
  return fn_.getBitMode(handle, pins);
}
FtStatus D2xxDriver::FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) {
  return fn_.setBitMode(handle, mask, mode);
}
FtStatus D2xxDriver::FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) {
  return fn_.readEE ? fn_.readEE(handle, wordOffset, value) : ft::kNotSupported;
}
FtStatus D2xxDriver::FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) {
  return fn_.writeEE ? fn_.writeEE(handle, wordOffset, value) : ft::kNotSupported;
}
FtStatus D2xxDriver::FT_EraseEE(FtHandle handle) {
  return fn_.eraseEE ? fn_.eraseEE(handle) : ft::kNotSupported;
}

}  // namespace brevant
