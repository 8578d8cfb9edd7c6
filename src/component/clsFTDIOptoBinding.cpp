#include "brevant/clsFTDIOpto.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& clsFTDIOptoBinding() {
  using C = clsFTDIOpto;
  using B = Rows<C>;
  static const ClassBinding binding = MakeClass(
      Identity("clsFTDIOpto", "_clsFTDIOpto", Guid("466C7478-A2FD-4E81-BB6B-DA1B77B6FE72"),
               Guid("907A626B-2D83-4E3E-9535-3A89DE15B37E"), 1, 1),
      {{"clsFTDIOpto___v0", 1, 0, Guid("C25D4D92-6B47-47E7-857D-E698DFCFDC35")}},

      {
          B::Method("Initialize", 1, {"DeviceNumber"}, &C::Initialize),
          B::Method("SetTimeOuts", 2, {"TimeoutRead", "TimeoutWrite"}, &C::SetTimeOuts),
          B::Method("Reset", 3, {"Value"}, &C::Reset),
          B::Method("PurgeQueueTx", 4, &C::PurgeQueueTx),
          B::Method("PurgeQueueRx", 5, &C::PurgeQueueRx),
          B::Method("PurgeQueues", 6, &C::PurgeQueues),
          B::Method("DataWrite", 7, {"Buffer", "Length"}, &C::DataWrite),
          B::Method("DataRead", 8, {"Buffer", "Length", "BytesRead"}, &C::DataRead),
          B::Method("Terminate", 9, &C::Terminate),
          B::Get("Log", 0xA, [](C& o) { return o.Log(); }),
          B::Put("Log", 0xA, {"Value"}, [](C& o, std::shared_ptr<icLog> v) { o.Log(v); }),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
