// Arguments and results between COM's VARIANT and the library's variant,
// steered by the parameter's declared type. Scripts pass loosely typed values
// (a VBScript array is an array of VARIANT, a number may come as a string);
// they are coerced here as automation would, and refused with a DISP_E_ code
// otherwise.
#pragma once

#include <windows.h>

#include <vector>

#include "brevant/brevant.h"

namespace brevant::com {

// Library references made for one call (a client's log sink) and dropped after it.
class CallHolds {
 public:
  CallHolds() = default;
  CallHolds(const CallHolds&) = delete;
  CallHolds& operator=(const CallHolds&) = delete;
  ~CallHolds();
  void Keep(brevant_object object) { objects_.push_back(object); }

 private:
  std::vector<brevant_object> objects_;
};

// `in` may be by reference (VT_BYREF); an absent optional argument
// (VT_ERROR DISP_E_PARAMNOTFOUND) takes the parameter's default.
HRESULT ToLibrary(const VARIANT& in, const brevant_param_info& param, brevant_variant& out,
                  CallHolds& holds);
// A new VARIANT for `in`; an object reference is handed over to its wrapper.
// `type_name` names the record of an array of records.
HRESULT ToCom(brevant_variant& in, const char* type_name, VARIANT& out);
// The same, for a script: a typed array becomes an array of VARIANTs.
HRESULT ToScript(brevant_variant& in, const char* type_name, VARIANT& out);
// Writes a by-reference argument back to where the client's VARIANT points
// (as for a script when that is a VARIANT); a value passed by value is left alone.
HRESULT WriteBack(brevant_variant& value, const char* type_name, const VARIANT& target);

}  // namespace brevant::com
