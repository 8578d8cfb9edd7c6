#include "brevant/clsFTDIMPSSE.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& clsFTDIMPSSEBinding() {
  using C = clsFTDIMPSSE;
  using B = Rows<C>;
  static const ClassBinding binding = MakeClass(
      Identity("clsFTDIMPSSE", "_clsFTDIMPSSE", Guid("7F6DCBA9-B5FB-4229-BB5E-1D10961D6AD1"),
               Guid("58A383BA-40B9-42F0-B528-8F096398D6E2"), 1, 3),
      {{"clsFTDIMPSSE___v0", 1, 0, Guid("B1051F2C-B5A2-49C1-BFB6-431238D31B8D")},
       {"clsFTDIMPSSE___v1", 1, 1, Guid("B8B6E8C5-7F0D-466B-96E1-B4DFB54E01EB")},
       {"clsFTDIMPSSE___v2", 1, 2, Guid("11671144-D50F-4698-8A81-F3833CFE4842")}},

      {
          B::Method("Initialize", 1, {"DeviceNumber"}, &C::Initialize),
          B::Method("MPSSEPortIO", 2, &C::MPSSEPortIO),
          B::Method("SetClockDivisor", 3, {"ClockDivisor"}, &C::SetClockDivisor),
          B::Method("GetClockDivisor", 4, &C::GetClockDivisor),
          B::Method("ClockDivisorFromFrequency", 5, {"Frequency"}, &C::ClockDivisorFromFrequency),
          B::Method("ClockDivisorToFrequency", 6, {"ClockDivisor"}, &C::ClockDivisorToFrequency),
          B::Method("SetPortLow", 7, {"Value", "Direction"}, &C::SetPortLow),
          B::Method("SetPortHigh", 8, {"Value", "Direction"}, &C::SetPortHigh),
          B::Method("ReadPortLow", 9, &C::ReadPortLow),
          B::Method("ReadPortHigh", 10, &C::ReadPortHigh),
          B::Method("DataBytesOut", 11, {"Data", "DataLength", "BitOrder", "ClockPolarity"},
                    &C::DataBytesOut),
          B::Method("DataBytesIn", 12, {"Data", "DataLength", "BitOrder", "ClockPolarity"},
                    &C::DataBytesIn),
          B::Method("DataBytesInOut", 13,
                    {"Data", "DataLength", "BitOrder", "ClockPolarityOut", "ClockPolarityIn"},
                    &C::DataBytesInOut),
          B::Method("HardwareLoopback", 14, {"Enable"}, &C::HardwareLoopback),
          B::Method("Terminate", 15, &C::Terminate),
          B::Method("SetTimeOuts", 16, {"TimeoutRead", "TimeoutWrite"}, &C::SetTimeOuts),
          B::Method("TMSBitsOut", 17, {"DataIn", "DataLength", "ClockPolarity"}, &C::TMSBitsOut),
          B::Method("TMSBitsInOut", 18,
                    {"DataIn", "DataOut", "DataLength", "ClockPolarityOut", "ClockPolarityIn"},
                    &C::TMSBitsInOut),
          B::Get("Log", 19, [](C& o) { return o.Log(); }),
          B::Put("Log", 19, {"Value"}, [](C& o, std::shared_ptr<icLog> v) { o.Log(v); }),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
