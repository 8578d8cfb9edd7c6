// libbrevant-virtual-d2xx.so: the vendor driver's 18 C functions and its three EEPROM
// functions on a virtual bench, so that a program, or Brevant's d2xx backend, loads it in place of
// the vendor's library and runs with no chip. The bench is the default one, or the bench file named
// by BREVANT_BENCH, made at the first call.
//
// Only the C functions are exported; the bench code inside stays private to
// this library even when a program links its own copy.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "virtual/Bench.h"
#include "virtual/BenchFile.h"
#include "virtual/VirtualDriver.h"

#ifdef _WIN32
#define EXPORT extern "C" __declspec(dllexport)
#define CALL __stdcall
#else
#define EXPORT extern "C" __attribute__((visibility("default")))
#define CALL
#endif

namespace {

using brevant::FtHandle;
using brevant::FtStatus;
using brevant::virt::Bench;
using brevant::virt::VirtualDriver;

std::mutex driver_mutex;
std::shared_ptr<VirtualDriver> driver;

// The driver, made on first use. A bench file that fails to load is reported
// once on stderr; the library then serves an empty bench, as a machine with no
// chip would.
VirtualDriver& Driver() {
  std::lock_guard lock(driver_mutex);
  if (!driver) {
    std::shared_ptr<Bench> bench;
    const char* path = std::getenv("BREVANT_BENCH");
    try {
      bench =
          path && *path ? brevant::virt::LoadBenchFile(path) : brevant::virt::MakeDefaultBench();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "brevant-virtual-d2xx: %s\n", e.what());
      bench = std::make_shared<Bench>();
    }
    driver = std::make_shared<VirtualDriver>(std::move(bench));
  }
  return *driver;
}

}  // namespace

// Puts the bench that `bench` (a std::shared_ptr<virt::Bench>*) holds behind the
// functions, with no device open. Tests built from the same sources use it to
// run their scenarios through this library on a bench they still reach.
EXPORT void BrevantVirtualD2xxUseBench(void* bench) {
  std::lock_guard lock(driver_mutex);
  driver = std::make_shared<VirtualDriver>(*static_cast<std::shared_ptr<Bench>*>(bench));
}

EXPORT FtStatus CALL FT_ListDevices(void* arg1, void* arg2, uint32_t flags) {
  return Driver().FT_ListDevices(arg1, arg2, flags);
}
EXPORT FtStatus CALL FT_Open(int index, FtHandle* handle) {
  return Driver().FT_Open(index, handle);
}
EXPORT FtStatus CALL FT_Close(FtHandle handle) {
  return Driver().FT_Close(handle);
}
EXPORT FtStatus CALL FT_ResetDevice(FtHandle handle) {
  return Driver().FT_ResetDevice(handle);
}
// Some Linux builds of the vendor's library lack these two; a variant of this
// library without them stands in for such a build.
#ifndef BREVANT_WITHOUT_OPTIONAL_FUNCTIONS
EXPORT FtStatus CALL FT_ResetPort(FtHandle handle) {
  return Driver().FT_ResetPort(handle);
}
EXPORT FtStatus CALL FT_CyclePort(FtHandle handle) {
  return Driver().FT_CyclePort(handle);
}
#endif
EXPORT FtStatus CALL FT_SetTimeouts(FtHandle handle, uint32_t readTimeout, uint32_t writeTimeout) {
  return Driver().FT_SetTimeouts(handle, readTimeout, writeTimeout);
}
EXPORT FtStatus CALL FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id,
                                      char* serialNumber, char* description, void* reserved) {
  return Driver().FT_GetDeviceInfo(handle, type, id, serialNumber, description, reserved);
}
EXPORT FtStatus CALL FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                                  uint32_t* eventStatus) {
  return Driver().FT_GetStatus(handle, rxBytes, txBytes, eventStatus);
}
EXPORT FtStatus CALL FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) {
  return Driver().FT_GetQueueStatus(handle, rxBytes);
}
EXPORT FtStatus CALL FT_Purge(FtHandle handle, uint32_t mask) {
  return Driver().FT_Purge(handle, mask);
}
// The vendor declares the buffer without const; the call is the same.
EXPORT FtStatus CALL FT_Write(FtHandle handle, void* buffer, uint32_t count, uint32_t* written) {
  return Driver().FT_Write(handle, buffer, count, written);
}
EXPORT FtStatus CALL FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) {
  return Driver().FT_Read(handle, buffer, count, read);
}
EXPORT FtStatus CALL FT_SetBaudRate(FtHandle handle, uint32_t baudRate) {
  return Driver().FT_SetBaudRate(handle, baudRate);
}
EXPORT FtStatus CALL FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) {
  return Driver().FT_GetLatencyTimer(handle, timer);
}
EXPORT FtStatus CALL FT_SetLatencyTimer(FtHandle handle, uint8_t timer) {
  return Driver().FT_SetLatencyTimer(handle, timer);
}
EXPORT FtStatus CALL FT_GetBitMode(FtHandle handle, uint8_t* pins) {
  return Driver().FT_GetBitMode(handle, pins);
}
EXPORT FtStatus CALL FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) {
  return Driver().FT_SetBitMode(handle, mask, mode);
}
#ifndef BREVANT_WITHOUT_OPTIONAL_FUNCTIONS
EXPORT FtStatus CALL FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) {
  return Driver().FT_ReadEE(handle, wordOffset, value);
}
EXPORT FtStatus CALL FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) {
  return Driver().FT_WriteEE(handle, wordOffset, value);
}
EXPORT FtStatus CALL FT_EraseEE(FtHandle handle) {
  return Driver().FT_EraseEE(handle);
}
#endif
