// The driver functions on the chip vendor's own shared library, loaded with
// dlopen and called through the C functions it exports by name.
//
//   auto driver = std::make_shared<D2xxDriver>("libftd2xx.so");
//
// Any library exporting the 18 functions with the vendor's C signatures will
// do; the tests load the virtual D2XX library this way.
#pragma once

#include <string>

#include "gateway/Ftd2xx.h"

namespace brevant {

class D2xxDriver : public Ftd2xx {
 public:
  // Loads `library` (a file name the dynamic linker searches for, or a path)
  // and resolves every function. Throws brevant::Error naming the library, or
  // the first function it lacks.
  explicit D2xxDriver(const std::string& library);
  ~D2xxDriver() override;
  D2xxDriver(const D2xxDriver&) = delete;
  D2xxDriver& operator=(const D2xxDriver&) = delete;

  FtStatus FT_ListDevices(void* arg1, void* arg2, uint32_t flags) override;
  FtStatus FT_Open(int index, FtHandle* handle) override;
  FtStatus FT_Close(FtHandle handle) override;
  FtStatus FT_ResetDevice(FtHandle handle) override;
  FtStatus FT_ResetPort(FtHandle handle) override;
  FtStatus FT_CyclePort(FtHandle handle) override;
  FtStatus FT_SetTimeouts(FtHandle handle, uint32_t readTimeout, uint32_t writeTimeout) override;
  FtStatus FT_GetDeviceInfo(FtHandle handle, uint32_t* type, uint32_t* id, char* serialNumber,
                            char* description, void* reserved) override;
  FtStatus FT_GetStatus(FtHandle handle, uint32_t* rxBytes, uint32_t* txBytes,
                        uint32_t* eventStatus) override;
  FtStatus FT_GetQueueStatus(FtHandle handle, uint32_t* rxBytes) override;
  FtStatus FT_Purge(FtHandle handle, uint32_t mask) override;
  FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                    uint32_t* written) override;
  FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) override;
  FtStatus FT_SetBaudRate(FtHandle handle, uint32_t baudRate) override;
  FtStatus FT_GetLatencyTimer(FtHandle handle, uint8_t* timer) override;
  FtStatus FT_SetLatencyTimer(FtHandle handle, uint8_t timer) override;
  FtStatus FT_GetBitMode(FtHandle handle, uint8_t* pins) override;
  FtStatus FT_SetBitMode(FtHandle handle, uint8_t mask, uint8_t mode) override;

 private:
  // The library's C functions, as it exports them.
  struct Functions {
    FtStatus (*listDevices)(void*, void*, uint32_t);
    FtStatus (*open)(int, FtHandle*);
    FtStatus (*close)(FtHandle);
    FtStatus (*resetDevice)(FtHandle);
    FtStatus (*resetPort)(FtHandle);
    FtStatus (*cyclePort)(FtHandle);
    FtStatus (*setTimeouts)(FtHandle, uint32_t, uint32_t);
    FtStatus (*getDeviceInfo)(FtHandle, uint32_t*, uint32_t*, char*, char*, void*);
    FtStatus (*getStatus)(FtHandle, uint32_t*, uint32_t*, uint32_t*);
    FtStatus (*getQueueStatus)(FtHandle, uint32_t*);
    FtStatus (*purge)(FtHandle, uint32_t);
    FtStatus (*write)(FtHandle, const void*, uint32_t, uint32_t*);
    FtStatus (*read)(FtHandle, void*, uint32_t, uint32_t*);
    FtStatus (*setBaudRate)(FtHandle, uint32_t);
    FtStatus (*getLatencyTimer)(FtHandle, uint8_t*);
    FtStatus (*setLatencyTimer)(FtHandle, uint8_t);
    FtStatus (*getBitMode)(FtHandle, uint8_t*);
    FtStatus (*setBitMode)(FtHandle, uint8_t, uint8_t);
  };

  void* library_;
  Functions fn_;
};

}  // namespace brevant
