#include "brevant/clsFTDI245FIFO.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& clsFTDI245FIFOBinding() {
  using C = clsFTDI245FIFO;
  using B = Rows<C>;
  static const ClassBinding binding = MakeClass(
      Identity("clsFTDI245FIFO", "_clsFTDI245FIFO", Guid("260ADB86-AD2C-440C-8274-399001AA91C8"),
               Guid("B201F58A-E141-41C7-B72F-74A1649E0F72"), 1, 1),
      {{"clsFTDI245FIFO___v0", 1, 0, Guid("CCB0B2E2-AD0B-4A95-B8D3-4276C0CBA31F")}},

      {
          B::Method("Initialize", 1, {"DeviceNumber"}, &C::Initialize),
          B::Method("SetTimeOuts", 2, {"TimeoutRead", "TimeoutWrite"}, &C::SetTimeOuts),
          B::Method("QueueTx", 3, &C::QueueTx),
          B::Method("QueueRx", 4, &C::QueueRx),
          B::Method("PurgeQueueTx", 5, &C::PurgeQueueTx),
          B::Method("PurgeQueueRx", 6, &C::PurgeQueueRx),
          B::Method("PurgeQueues", 7, &C::PurgeQueues),
          B::Method("DataWrite", 8, {"Buffer", "Length"}, &C::DataWrite),
          B::Method("DataRead", 9, {"Buffer", "Length", "BytesRead"}, &C::DataRead),
          B::Method("Terminate", 0xA, &C::Terminate),
          B::Get("Log", 0xB, [](C& o) { return o.Log(); }),
          B::Put("Log", 0xB, {"Value"}, [](C& o, std::shared_ptr<icLog> v) { o.Log(v); }),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
