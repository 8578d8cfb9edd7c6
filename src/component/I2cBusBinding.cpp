#include "component/Classes.h"
#include "component/Guid.h"
#include "component/I2cBusObject.h"

namespace brevant::component {

const ClassBinding& I2cBusBinding() {
  using C = I2cBusObject;
  using B = Rows<C>;
  static const ClassBinding binding = MakeClass(
      Identity("I2cBus", "_I2cBus", Guid("C63A40D2-DC80-4412-B0E5-79545AE3A8A7"),
               Guid("269981EE-EACB-4B37-A619-859B96EA0EFB"), 1, 0),
      {},
      {
          B::Method("Open", 1, {"Channel", "Frequency"}, &C::Open),
          B::Get("Frequency", 2, &C::Frequency),
          B::Method("Write", 3, {"Address", "Data"}, &C::Write),
          B::Method("Read", 4, {"Address", "Count"}, &C::Read),
          B::Method("WriteRead", 5, {"Address", "Data", "Count"}, &C::WriteRead),
          B::Method("WriteRegister", 6, {"Address", "Register", "Data"}, &C::WriteRegister),
          B::Method("ReadRegister", 7, {"Address", "Register", "Count"}, &C::ReadRegister),
          B::Method("Probe", 8, {"Address"}, &C::Probe),
          B::Method("Scan", 9, &C::Scan),
          B::Method("Recover", 10, &C::Recover),
      },
      Create<C>);
  return binding;
}

}  // namespace brevant::component
