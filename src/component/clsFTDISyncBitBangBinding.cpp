#include "brevant/clsFTDISyncBitBang.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& clsFTDISyncBitBangBinding() {
  using C = clsFTDISyncBitBang;
  using B = Rows<C>;
  using S = eFTDIChannel;
  static const ClassBinding binding = MakeClass(
      Identity("clsFTDISyncBitBang", "_clsFTDISyncBitBang",
               Guid("B3D6BD5A-97FB-431F-9842-158968A6D90B"),
               Guid("F31E5BE7-64BF-412B-9052-BB309C1F7226"), 1, 2),
      {{"clsFTDISyncBitBang___v0", 1, 0, Guid("5A86936F-D33B-48CC-93E8-340933160EBE")},
       {"clsFTDISyncBitBang___v1", 1, 1, Guid("BC977133-6757-4EB8-ABCD-8883F901E8DA")}},

      {
          B::Method("Initialize", 1, {"DeviceNumber"}, &C::Initialize),
          B::Method("SetBaudRate", 2, {"BaudRate"}, &C::SetBaudRate),
          B::Method("SyncDirection", 3, &C::SyncDirection),
          B::Method("SyncValue", 4, &C::SyncValue),
          B::Put("PortDirection", 5, {"Value"}, &C::PortDirection),
          B::Put("PortOutput", 6, {"Value"}, &C::PortOutput),
          B::Get("PortInput", 7, &C::PortInput),
          B::Put("PortDirection0", 8, {"Value"}, [](C& o, uint8_t v) { o.PortDirection0(v); }),
          B::Get("PortDirection0", 8, [](C& o) { return o.PortDirection0(); }),
          B::Get("PortInput0", 9, &C::PortInput0),
          B::Put("PortOutput0", 10, {"Value"}, [](C& o, uint8_t v) { o.PortOutput0(v); }),
          B::Get("PortOutput0", 10, [](C& o) { return o.PortOutput0(); }),
          B::Put("SignalDirection", 11, {"Signal", "Value"}, &C::SignalDirection),
          B::Put("SignalOutput", 12, {"Signal", "Value"}, &C::SignalOutput),
          B::Get("SignalInput", 13, {"Signal"}, &C::SignalInput),
          B::Get("SignalDirection0", 14, {"Signal"},
                 [](C& o, S s) { return o.SignalDirection0(s); }),
          B::Put("SignalDirection0", 14, {"Signal", "Value"},
                 [](C& o, S s, eBit v) { o.SignalDirection0(s, v); }),
          B::Get("SignalInput0", 15, {"Signal"}, &C::SignalInput0),
          B::Get("SignalOutput0", 16, {"Signal"}, [](C& o, S s) { return o.SignalOutput0(s); }),
          B::Put("SignalOutput0", 16, {"Signal", "Value"},
                 [](C& o, S s, eBit v) { o.SignalOutput0(s, v); }),
          // Both sizes may be left out; they then take 1024 bytes.
          Optional(B::Method("BufferInitialize", 17, {"InitialSize", "SizeIncrement"},
                             &C::BufferInitialize),
                   2, 1024),
          B::Method("BufferPortOutput", 18, {"Value"}, &C::BufferPortOutput),
          B::Method("BufferSignalOutput", 19, {"Signal", "Value"}, &C::BufferSignalOutput),
          B::Method("BufferTransfer", 20, &C::BufferTransfer),
          B::Get("BufferInputCount", 21, &C::BufferInputCount),
          B::Method("BufferPortInput", 22, &C::BufferPortInput),
          B::Method("BufferSignalInput", 23, {"Signal"}, &C::BufferSignalInput),
          B::Method("Terminate", 24, &C::Terminate),
          B::Method("SetTimeOuts", 25, {"TimeoutRead", "TimeoutWrite"}, &C::SetTimeOuts),
          B::Get("Log", 26, [](C& o) { return o.Log(); }),
          B::Put("Log", 26, {"Value"}, [](C& o, std::shared_ptr<icLog> v) { o.Log(v); }),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
