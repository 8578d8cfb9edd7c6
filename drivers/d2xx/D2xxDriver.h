// The driver functions on the chip vendor's own shared library, loaded with
// dlopen and called through the C functions it exports by name.
//
//   auto driver = std::make_shared<D2xxDriver>("libftd2xx.so");
//
// Any library exporting the 18 functions with the vendor's C signatures will
// do; the tests load the virtual D2XX library this way. FT_ResetPort and
// FT_CyclePort may be missing (some Linux builds of the vendor's library lack
// them): those two then answer FT_NOT_SUPPORTED. So may the three EEPROM
// functions, which a stand-in library need not have.
#pragma once

#include <string>

#include "driver/Ftd2xx.h"
#include "platform/SharedLibrary.h"

// The vendor's functions use the platform's API calling convention.
#ifdef _WIN32
#define BREVANT_D2XX_CALL __stdcall
#else
#define BREVANT_D2XX_CALL
#endif

namespace brevant {

class D2xxDriver : public Ftd2xx {
 public:
  // Loads `library` (a file name the dynamic linker searches for, or a path)
  // and resolves its functions. Throws DriverUnavailable naming the library, or
  // the first function it lacks that cannot be done without.
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
  FtStatus FT_ReadEE(FtHandle handle, uint32_t wordOffset, uint16_t* value) override;
  FtStatus FT_WriteEE(FtHandle handle, uint32_t wordOffset, uint16_t value) override;
  FtStatus FT_EraseEE(FtHandle handle) override;

 private:
  // The library's C functions, as it exports them.
  struct Functions {
    FtStatus(BREVANT_D2XX_CALL* listDevices)(void*, void*, uint32_t);
    FtStatus(BREVANT_D2XX_CALL* open)(int, FtHandle*);
    FtStatus(BREVANT_D2XX_CALL* close)(FtHandle);
    FtStatus(BREVANT_D2XX_CALL* resetDevice)(FtHandle);
    FtStatus(BREVANT_D2XX_CALL* resetPort)(FtHandle);
    FtStatus(BREVANT_D2XX_CALL* cyclePort)(FtHandle);
    FtStatus(BREVANT_D2XX_CALL* setTimeouts)(FtHandle, uint32_t, uint32_t);
    FtStatus(BREVANT_D2XX_CALL* getDeviceInfo)(FtHandle, uint32_t*, uint32_t*, char*, char*, void*);
    FtStatus(BREVANT_D2XX_CALL* getStatus)(FtHandle, uint32_t*, uint32_t*, uint32_t*);
    FtStatus(BREVANT_D2XX_CALL* getQueueStatus)(FtHandle, uint32_t*);
    FtStatus(BREVANT_D2XX_CALL* purge)(FtHandle, uint32_t);
    FtStatus(BREVANT_D2XX_CALL* write)(FtHandle, const void*, uint32_t, uint32_t*);
    FtStatus(BREVANT_D2XX_CALL* read)(FtHandle, void*, uint32_t, uint32_t*);
    FtStatus(BREVANT_D2XX_CALL* setBaudRate)(FtHandle, uint32_t);
    FtStatus(BREVANT_D2XX_CALL* getLatencyTimer)(FtHandle, uint8_t*);
    FtStatus(BREVANT_D2XX_CALL* setLatencyTimer)(FtHandle, uint8_t);
    FtStatus(BREVANT_D2XX_CALL* getBitMode)(FtHandle, uint8_t*);
    FtStatus(BREVANT_D2XX_CALL* setBitMode)(FtHandle, uint8_t, uint8_t);
    FtStatus(BREVANT_D2XX_CALL* readEE)(FtHandle, uint32_t, uint16_t*);
    FtStatus(BREVANT_D2XX_CALL* writeEE)(FtHandle, uint32_t, uint16_t);
    FtStatus(BREVANT_D2XX_CALL* eraseEE)(FtHandle);
  };

  SharedLibrary library_;
  Functions fn_;
};

}  // namespace brevant
