// The names under which the library's enums, records and object classes stand
// in the type information, and the fields of each record in their order.
#pragma once

#include <tuple>

#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "brevant/clsFTDISyncBitBang.h"
#include "brevant/eBit.h"
#include "brevant/icLog.h"
#include "brevant/tDeviceInfo.h"
#include "brevant/tModuleInfo.h"

namespace brevant::component {

template <class E>
struct EnumName;
template <>
struct EnumName<eBit> {
  static constexpr const char* kName = "eBit";
};
template <>
struct EnumName<eFTMPSSEBitOrder> {
  static constexpr const char* kName = "eFTMPSSEBitOrder";
};
template <>
struct EnumName<eFTMPSSEClockPolarity> {
  static constexpr const char* kName = "eFTMPSSEClockPolarity";
};
template <>
struct EnumName<eFTDIMPSSE> {
  static constexpr const char* kName = "eFTDIMPSSE";
};
template <>
struct EnumName<eFTDIGPIOL> {
  static constexpr const char* kName = "eFTDIGPIOL";
};
template <>
struct EnumName<eFTDIGPIOH> {
  static constexpr const char* kName = "eFTDIGPIOH";
};
template <>
struct EnumName<eFTDIChannel> {
  static constexpr const char* kName = "eFTDIChannel";
};

template <class C>
struct ClassName;
template <>
struct ClassName<icLog> {
  static constexpr const char* kName = "icLog";
};
template <>
struct ClassName<clsFTDIMPSSE> {
  static constexpr const char* kName = "clsFTDIMPSSE";
};
template <>
struct ClassName<clsFTDIMPSSEPortIO> {
  static constexpr const char* kName = "clsFTDIMPSSEPortIO";
};

template <class R, class T>
struct Field {
  const char* name;
  T R::*member;
};

template <class R>
struct RecordFields {
  static constexpr bool kRecord = false;
};
template <>
struct RecordFields<tDeviceInfo> {
  static constexpr bool kRecord = true;
  static constexpr const char* kName = "tDeviceInfo";
  static constexpr auto Fields() {
    using R = tDeviceInfo;
    return std::tuple{Field<R, int16_t>{"Device", &R::Device}, Field<R, bool>{"Error", &R::Error},
                      Field<R, std::string>{"SerialNumber", &R::SerialNumber},
                      Field<R, std::string>{"Description", &R::Description},
                      Field<R, int32_t>{"LocationID", &R::LocationID}};
  }
};
template <>
struct RecordFields<tModuleInfo> {
  static constexpr bool kRecord = true;
  static constexpr const char* kName = "tModuleInfo";
  static constexpr auto Fields() {
    using R = tModuleInfo;
    return std::tuple{Field<R, int32_t>{"DeviceCount", &R::DeviceCount},
                      Field<R, Array<tDeviceInfo>>{"DeviceInfos", &R::DeviceInfos},
                      Field<R, std::string>{"SerialNumber", &R::SerialNumber},
                      Field<R, std::string>{"Description", &R::Description}};
  }
};

}  // namespace brevant::component
