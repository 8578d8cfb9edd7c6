#include "brevant/icLog.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

// Never created here: its objects are clients' sinks (brevant_log_create).
const ClassBinding& icLogBinding() {
  using C = icLog;
  using B = Rows<C>;
  static const ClassBinding binding =
      MakeClass(Identity("icLog", "_icLog", Guid("9455F0E1-B80D-48A0-8C90-770E02634203"),
                         Guid("662EF0C1-CE79-4463-A8C7-6E20CCD299C0"), 1, 0),
                {}, {B::Method("LogEntry", 0, {"Level", "Entry"}, &C::LogEntry)}, nullptr);
  return binding;
}

}  // namespace brevant::component
