// The COM side of tests/component/out_values_test.py: runs one of its actions
// through Brevant.dll late-bound, with the by-reference variables a VB client
// declares, on the bench that BREVANT_DRIVER names, and prints the error
// number and the out values as a JSON list, as the test's other runners do.
//
//   wine ComOutValues.exe DiscernModules 1
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

GUID Id(const wchar_t* text) {
  GUID id{};
  CLSIDFromString(text, &id);
  return id;
}

const GUID kLibrary = Id(L"{AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2}");
const GUID kDeviceInfo = Id(L"{7C2BFBC4-FDC8-4FAA-9FF7-DB9860D62B57}");

std::string Json(BSTR text) {
  std::string out = "\"";
  for (UINT i = 0; text && i < SysStringLen(text); ++i) {
    if (text[i] == L'"' || text[i] == L'\\') out += '\\';
    out += static_cast<char>(text[i]);
  }
  return out + "\"";
}

std::string List(const std::vector<std::string>& items) {
  std::string out = "[";
  for (const std::string& item : items) out += (out.size() > 1 ? ", " : "") + item;
  return out + "]";
}

IDispatch* Create(const wchar_t* prog_id) {
  CLSID id{};
  IDispatch* object = nullptr;
  CLSIDFromProgID(prog_id, &id);
  CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                   reinterpret_cast<void**>(&object));
  if (!object) {
    std::fprintf(stderr, "cannot create %ls (is Brevant.dll registered?)\n", prog_id);
    std::exit(1);
  }
  return object;
}

// Calls member `name` with `args` in the member's order, and gives the error
// number a client sees, 0 on success.
LONG Call(IDispatch* object, const wchar_t* name, std::vector<VARIANT> args) {
  DISPID id = DISPID_UNKNOWN;
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  object->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
  std::vector<VARIANT> reversed(args.rbegin(), args.rend());
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  EXCEPINFO info{};
  HRESULT hr = object->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, &info, nullptr);
  if (hr == DISP_E_EXCEPTION) hr = info.scode;
  SysFreeString(info.bstrSource);
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrHelpFile);
  // The generic errors travel as 0x800A0000 plus their number, which clients show.
  return HRESULT_FACILITY(hr) == FACILITY_CONTROL ? HRESULT_CODE(hr) : hr;
}

VARIANT Value(VARTYPE type, LONG value) {
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_I4;
  V_I4(&v) = value;
  VariantChangeType(&v, &v, 0, type);
  return v;
}

VARIANT Ref(VARTYPE type, void* place) {
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_BYREF | type;
  V_BYREF(&v) = place;
  return v;
}

SAFEARRAY* Bytes(const std::vector<BYTE>& bytes) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(bytes.size()), 0};
  SAFEARRAY* array = SafeArrayCreate(VT_UI1, 1, &bound);
  for (LONG i = 0; i < static_cast<LONG>(bytes.size()); ++i) {
    SafeArrayPutElement(array, &i, const_cast<BYTE*>(&bytes[i]));
  }
  return array;
}

// A field of record `index` of an array of records, by reference to where the
// record holds it, which also serves a field that is an array.
VARIANT Field(SAFEARRAY* records, LONG index, const wchar_t* name) {
  VARIANT value;
  VariantInit(&value);
  IRecordInfo* info = nullptr;
  void* record = nullptr;
  void* place = nullptr;
  if (SUCCEEDED(SafeArrayGetRecordInfo(records, &info)) &&
      SUCCEEDED(SafeArrayPtrOfIndex(records, &index, &record))) {
    info->GetFieldNoCopy(record, name, &value, &place);
  }
  if (info) info->Release();
  return value;
}

std::string Text(SAFEARRAY* records, LONG index, const wchar_t* name) {
  VARIANT value = Field(records, index, name);
  return Json(V_VT(&value) == (VT_BYREF | VT_BSTR) ? *V_BSTRREF(&value) : nullptr);
}

LONG Number(SAFEARRAY* records, LONG index, const wchar_t* name) {
  VARIANT value = Field(records, index, name), number;
  VariantInit(&number);
  VariantChangeType(&number, &value, 0, VT_I4);
  return V_VT(&number) == VT_I4 ? V_I4(&number) : -1;
}

LONG Count(SAFEARRAY* array) {
  LONG low = 0, high = -1;
  if (array) {
    SafeArrayGetLBound(array, 1, &low);
    SafeArrayGetUBound(array, 1, &high);
  }
  return high - low + 1;
}

std::string Devices(SAFEARRAY* infos) {
  std::vector<std::string> out;
  for (LONG i = 0; i < Count(infos); ++i) {
    out.push_back(
        List({std::to_string(Number(infos, i, L"Device")),
              Number(infos, i, L"Error") ? "true" : "false", Text(infos, i, L"SerialNumber"),
              Text(infos, i, L"Description"), std::to_string(Number(infos, i, L"LocationID"))}));
  }
  return List(out);
}

std::string GetDeviceInfo(int) {
  IDispatch* list = Create(L"Brevant.clsDeviceList");
  BSTR serial = SysAllocString(L"old"), description = SysAllocString(L"old");
  LONG location = 7;
  const LONG error = Call(
      list, L"GetDeviceInfo",
      {Value(VT_I2, 0), Ref(VT_BSTR, &serial), Ref(VT_BSTR, &description), Ref(VT_I4, &location)});
  const std::string out =
      List({std::to_string(error), Json(serial), Json(description), std::to_string(location)});
  SysFreeString(serial);
  SysFreeString(description);
  list->Release();
  return out;
}

// One old record, laid out as the type library describes tDeviceInfo.
SAFEARRAY* OldRecord() {
  IRecordInfo* info = nullptr;
  if (FAILED(GetRecordInfoFromGuids(kLibrary, 1, 3, 0, kDeviceInfo, &info))) return nullptr;
  SAFEARRAYBOUND bound{1, 0};
  SAFEARRAY* array = SafeArrayCreateEx(VT_RECORD, 1, &bound, info);
  void* record = nullptr;
  LONG index = 0;
  SafeArrayPtrOfIndex(array, &index, &record);
  VARIANT old;
  V_VT(&old) = VT_BSTR;
  V_BSTR(&old) = SysAllocString(L"old");
  VARIANT device = Value(VT_I2, 9), location = Value(VT_I4, 7);
  info->PutField(INVOKE_PROPERTYPUT, record, L"Device", &device);
  info->PutField(INVOKE_PROPERTYPUT, record, L"SerialNumber", &old);
  info->PutField(INVOKE_PROPERTYPUT, record, L"Description", &old);
  info->PutField(INVOKE_PROPERTYPUT, record, L"LocationID", &location);
  VariantClear(&old);
  info->Release();
  return array;
}

std::string ScanDevices(int) {
  IDispatch* list = Create(L"Brevant.clsDeviceList");
  LONG count = 5;
  SAFEARRAY* infos = OldRecord();
  const LONG error =
      Call(list, L"ScanDevices", {Ref(VT_I4, &count), Ref(VT_ARRAY | VT_RECORD, &infos)});
  const std::string out = List({std::to_string(error), std::to_string(count), Devices(infos)});
  if (infos) SafeArrayDestroy(infos);
  list->Release();
  return out;
}

std::string DiscernModules(int extra) {
  IDispatch* list = Create(L"Brevant.clsDeviceList");
  VARIANT infos, found;
  VariantInit(&infos);
  VariantInit(&found);
  LONG count = 0, modules = -1;
  Call(list, L"ScanDevices", {Ref(VT_I4, &count), Ref(VT_VARIANT, &infos)});
  const LONG error = Call(list, L"DiscernModules",
                          {Value(VT_I4, count + extra), Ref(VT_VARIANT, &infos),
                           Ref(VT_I4, &modules), Ref(VT_VARIANT, &found)});
  std::vector<std::string> described;
  SAFEARRAY* array = V_VT(&found) == (VT_ARRAY | VT_RECORD) ? V_ARRAY(&found) : nullptr;
  for (LONG m = 0; m < Count(array); ++m) {
    VARIANT devices = Field(array, m, L"DeviceInfos");
    std::vector<std::string> numbers;
    // The type library describes the field as VT_SAFEARRAY.
    const VARTYPE vt = V_VT(&devices) & ~VT_BYREF;
    SAFEARRAY* held = (vt & VT_ARRAY) || vt == VT_SAFEARRAY ? *V_ARRAYREF(&devices) : nullptr;
    for (LONG d = 0; d < Count(held); ++d) {
      numbers.push_back(std::to_string(Number(held, d, L"Device")));
    }
    described.push_back(List({Text(array, m, L"SerialNumber"), Text(array, m, L"Description"),
                              std::to_string(Number(array, m, L"DeviceCount")), List(numbers)}));
  }
  VariantClear(&infos);
  VariantClear(&found);
  list->Release();
  return List({std::to_string(error), std::to_string(modules), List(described)});
}

std::string DataRead(int) {
  IDispatch* fifo = Create(L"Brevant.clsFTDI245FIFO");
  Call(fifo, L"Initialize", {Value(VT_I2, 0)});
  SAFEARRAY* sent = Bytes({0x80, 0x5A, 0x01});
  Call(fifo, L"DataWrite", {Ref(VT_ARRAY | VT_UI1, &sent), Value(VT_I4, 3)});
  SAFEARRAY* buffer = Bytes(std::vector<BYTE>(5, 0xEE));
  LONG read = -1;
  const LONG error = Call(fifo, L"DataRead",
                          {Ref(VT_ARRAY | VT_UI1, &buffer), Value(VT_I4, 5), Ref(VT_I4, &read)});
  std::string hex = "\"";
  for (LONG i = 0; i < Count(buffer); ++i) {
    BYTE byte = 0;
    SafeArrayGetElement(buffer, &i, &byte);
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", byte);
    hex += digits;
  }
  SafeArrayDestroy(sent);
  SafeArrayDestroy(buffer);
  fifo->Release();
  return List({std::to_string(error), hex + "\"", std::to_string(read)});
}

}  // namespace

int main(int argc, char** argv) {
  const std::string action = argc == 3 ? argv[1] : "";
  std::string (*run)(int) = action == "GetDeviceInfo"    ? GetDeviceInfo
                            : action == "ScanDevices"    ? ScanDevices
                            : action == "DiscernModules" ? DiscernModules
                            : action == "DataRead"       ? DataRead
                                                         : nullptr;
  if (!run) {
    std::fprintf(stderr,
                 "usage: ComOutValues GetDeviceInfo|ScanDevices|DiscernModules|DataRead EXTRA\n");
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::printf("%s\n", run(std::atoi(argv[2])).c_str());
  CoUninitialize();
  return 0;
}
