#include "brevant/Process.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

const ClassBinding& ProcessBinding() {
  using C = Process;
  using B = Rows<C>;
  static const ClassBinding binding =
      MakeClass(Identity("Process", "_Process", Guid("ECFE44F5-011C-4D87-A734-C00D71F014AB"),
                         Guid("8BFCEE81-BF12-490E-A444-746758266D1C"), 1, 0),
                {},

                {
                    B::Get("Major", 2, &C::Major),
                    B::Get("Minor", 1, &C::Minor),
                    B::Get("Revision", 0, &C::Revision),
                },
                Create<C>);
  return binding;
}

}  // namespace brevant::component
