#include "component/windows/Errors.h"

#include "brevant/brevant.h"
#include "component/windows/Text.h"

namespace brevant::com {

HRESULT ResultOf(int32_t number) {
  if (number > 0 && number <= 0xFFFF) return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number);
  return static_cast<HRESULT>(number);
}

HRESULT Raise(const IID& iid, EXCEPINFO* info, HRESULT result, const char* source,
              const std::string& description) {
  ICreateErrorInfo* create = nullptr;
  if (SUCCEEDED(CreateErrorInfo(&create))) {
    create->SetGUID(iid);
    create->SetSource(const_cast<LPOLESTR>(Wide(source).c_str()));
    create->SetDescription(const_cast<LPOLESTR>(Wide(description.c_str()).c_str()));
    IErrorInfo* error = nullptr;
    if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&error)))) {
      SetErrorInfo(0, error);
      error->Release();
    }
    create->Release();
  }
  if (!info) return result;
  *info = EXCEPINFO{};
  info->bstrSource = NewBstr(source);
  info->bstrDescription = NewBstr(description.c_str());
  info->scode = result;
  return DISP_E_EXCEPTION;
}

HRESULT Raise(const IID& iid, EXCEPINFO* info) {
  return Raise(iid, info, ResultOf(brevant_error_number()), brevant_error_source(),
               brevant_error_description());
}

}  // namespace brevant::com
