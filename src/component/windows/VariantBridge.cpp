#include "component/windows/VariantBridge.h"

#include <cstdlib>
#include <cstring>

#include "component/windows/ComObject.h"
#include "component/windows/DispatchLog.h"
#include "component/windows/Module.h"
#include "component/windows/Text.h"

namespace brevant::com {

namespace {

// The VARIANT type of a scalar parameter type.
VARTYPE ScalarType(int32_t type) {
  switch (type) {
    case BREVANT_I2:
      return VT_I2;
    case BREVANT_I4:
      return VT_I4;
    case BREVANT_R8:
      return VT_R8;
    case BREVANT_STRING:
      return VT_BSTR;
    case BREVANT_BOOL:
      return VT_BOOL;
    case BREVANT_UI1:
      return VT_UI1;
    default:
      return VT_EMPTY;
  }
}

// The value behind any number of VT_BYREF|VT_VARIANT indirections.
const VARIANT& Unwrapped(const VARIANT& in) {
  const VARIANT* v = &in;
  while (V_VT(v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(v)) v = V_VARIANTREF(v);
  return *v;
}

HRESULT Scalar(const VARIANT& in, int32_t type, brevant_variant& out) {
  VARIANT converted;
  VariantInit(&converted);
  const HRESULT hr = VariantChangeType(&converted, const_cast<VARIANT*>(&in), 0, ScalarType(type));
  if (FAILED(hr)) return hr == DISP_E_OVERFLOW ? hr : DISP_E_TYPEMISMATCH;
  out.type = type;
  switch (type) {
    case BREVANT_I2:
      out.value.i2 = V_I2(&converted);
      break;
    case BREVANT_I4:
      out.value.i4 = V_I4(&converted);
      break;
    case BREVANT_R8:
      out.value.r8 = V_R8(&converted);
      break;
    case BREVANT_BOOL:
      out.value.boolean = V_BOOL(&converted) ? -1 : 0;
      break;
    case BREVANT_UI1:
      out.value.ui1 = V_UI1(&converted);
      break;
    case BREVANT_STRING: {
      out.type = BREVANT_EMPTY;
      if (brevant_variant_set_string(&out, Utf8(V_BSTR(&converted)).c_str()) != 0) {
        VariantClear(&converted);
        return E_OUTOFMEMORY;
      }
      break;
    }
  }
  VariantClear(&converted);
  return S_OK;
}

// A one-dimensional array of numbers, of bytes or of any VARIANTs that convert.
HRESULT NumberArray(const VARIANT& in, int32_t element, brevant_variant& out) {
  const VARTYPE vt = V_VT(&in);
  if (vt == VT_EMPTY || vt == VT_NULL) {
    out.type = BREVANT_ARRAY | element;
    out.value.array = brevant_array{};
    return S_OK;
  }
  if (!(vt & VT_ARRAY)) return DISP_E_TYPEMISMATCH;
  SAFEARRAY* array = (vt & VT_BYREF) ? *V_ARRAYREF(&in) : V_ARRAY(&in);
  if (!array) {
    out.type = BREVANT_ARRAY | element;
    out.value.array = brevant_array{};
    return S_OK;
  }
  if (SafeArrayGetDim(array) != 1) return DISP_E_TYPEMISMATCH;
  LONG low = 0, high = -1;
  SafeArrayGetLBound(array, 1, &low);
  SafeArrayGetUBound(array, 1, &high);
  const LONG count = high - low + 1;
  const size_t size = element == BREVANT_UI1 ? 1 : 2;
  std::vector<uint8_t> bytes(static_cast<size_t>(count) * size);
  const VARTYPE from = vt & VT_TYPEMASK;
  for (LONG i = 0; i < count; ++i) {
    LONG index = low + i;
    VARIANT item;
    VariantInit(&item);
    if (from == VT_VARIANT) {
      SafeArrayGetElement(array, &index, &item);
    } else {
      V_VT(&item) = from;
      if (from == VT_BSTR || from == VT_DISPATCH || from == VT_UNKNOWN || from == VT_RECORD ||
          from == VT_DECIMAL) {
        return DISP_E_TYPEMISMATCH;
      }
      SafeArrayGetElement(array, &index, &V_UI1(&item));
    }
    brevant_variant number{};
    const HRESULT hr = Scalar(item, element == BREVANT_UI1 ? BREVANT_UI1 : BREVANT_I2, number);
    VariantClear(&item);
    if (FAILED(hr)) return hr;
    if (element == BREVANT_UI1) {
      bytes[i] = number.value.ui1;
    } else {
      std::memcpy(&bytes[i * 2], &number.value.i2, 2);
    }
  }
  return brevant_variant_set_array(&out, element, bytes.data(), count, low) == 0 ? S_OK
                                                                                 : E_OUTOFMEMORY;
}

HRESULT Object(const VARIANT& in, const brevant_param_info& param, brevant_variant& out,
               CallHolds& holds) {
  out.type = BREVANT_OBJECT;
  out.value.object = 0;
  const VARTYPE vt = V_VT(&in);
  if (vt == VT_EMPTY || vt == VT_NULL) return S_OK;
  IUnknown* unknown = nullptr;
  if (vt == VT_DISPATCH)
    unknown = V_DISPATCH(&in);
  else if (vt == VT_UNKNOWN)
    unknown = V_UNKNOWN(&in);
  else if (vt == (VT_BYREF | VT_DISPATCH))
    unknown = *V_DISPATCHREF(&in);
  else if (vt == (VT_BYREF | VT_UNKNOWN))
    unknown = *V_UNKNOWNREF(&in);
  else
    return DISP_E_TYPEMISMATCH;
  if (!unknown) return S_OK;
  if (ComObject* ours = ComObject::From(unknown)) {
    out.value.object = ours->Handle();
    ours->Release();
    return S_OK;
  }
  // Anything else is a client's own object, which only a log sink can be.
  if (!param.type_name || std::strcmp(param.type_name, "icLog") != 0) return DISP_E_TYPEMISMATCH;
  brevant_object sink = 0;
  const HRESULT hr = MakeDispatchLog(unknown, &sink);
  if (FAILED(hr)) return hr;
  holds.Keep(sink);
  out.value.object = sink;
  return S_OK;
}

const brevant_record_info* RecordNamed(const char* name) {
  for (int32_t i = 0; name && i < brevant_record_count(); ++i) {
    if (std::strcmp(brevant_record_at(i)->name, name) == 0) return brevant_record_at(i);
  }
  return nullptr;
}

HRESULT Value(const VARIANT& in, int32_t type, const char* type_name, brevant_variant& out);

// Where each field of a record lies and what it holds, as the type library
// lays the record out; fields come in the order of the library's tables.
struct FieldPlace {
  ULONG offset;
  VARTYPE vt;
};

HRESULT FieldPlaces(IRecordInfo* info, std::vector<FieldPlace>& places) {
  ITypeInfo* type = nullptr;
  HRESULT hr = info->GetTypeInfo(&type);
  if (FAILED(hr)) return hr;
  TYPEATTR* attributes = nullptr;
  hr = type->GetTypeAttr(&attributes);
  for (WORD i = 0; SUCCEEDED(hr) && i < attributes->cVars; ++i) {
    VARDESC* field = nullptr;
    hr = type->GetVarDesc(i, &field);
    if (SUCCEEDED(hr)) {
      places.push_back({field->oInst, field->elemdescVar.tdesc.vt});
      type->ReleaseVarDesc(field);
    }
  }
  if (attributes) type->ReleaseTypeAttr(attributes);
  type->Release();
  return hr;
}

// A field as a VARIANT that borrows what the record holds (never cleared).
VARIANT ReadField(const char* record, const FieldPlace& place) {
  VARIANT value;
  VariantInit(&value);
  const char* at = record + place.offset;
  switch (place.vt) {
    case VT_I2:
      V_VT(&value) = VT_I2, V_I2(&value) = *reinterpret_cast<const SHORT*>(at);
      break;
    case VT_I4:
      V_VT(&value) = VT_I4, V_I4(&value) = *reinterpret_cast<const LONG*>(at);
      break;
    case VT_BOOL:
      V_VT(&value) = VT_BOOL, V_BOOL(&value) = *reinterpret_cast<const VARIANT_BOOL*>(at);
      break;
    case VT_BSTR:
      V_VT(&value) = VT_BSTR, V_BSTR(&value) = *reinterpret_cast<BSTR const*>(at);
      break;
    case VT_SAFEARRAY:
      V_VT(&value) = VT_ARRAY | VT_RECORD;
      V_ARRAY(&value) = *reinterpret_cast<SAFEARRAY* const*>(at);
      break;
  }
  return value;
}

// Moves `value` into a field of a record that holds nothing yet.
HRESULT WriteField(char* record, const FieldPlace& place, VARIANT& value) {
  char* at = record + place.offset;
  const VARTYPE want = place.vt == VT_SAFEARRAY ? V_VT(&value) : place.vt;
  if (V_VT(&value) == VT_EMPTY) return S_OK;
  if (V_VT(&value) != want) {
    const HRESULT hr = VariantChangeType(&value, &value, 0, want);
    if (FAILED(hr)) return hr;
  }
  switch (place.vt) {
    case VT_I2:
      *reinterpret_cast<SHORT*>(at) = V_I2(&value);
      break;
    case VT_I4:
      *reinterpret_cast<LONG*>(at) = V_I4(&value);
      break;
    case VT_BOOL:
      *reinterpret_cast<VARIANT_BOOL*>(at) = V_BOOL(&value);
      break;
    case VT_BSTR:
      *reinterpret_cast<BSTR*>(at) = V_BSTR(&value);
      break;
    case VT_SAFEARRAY:
      *reinterpret_cast<SAFEARRAY**>(at) = V_ARRAY(&value);
      break;
    default:
      return DISP_E_BADVARTYPE;
  }
  V_VT(&value) = VT_EMPTY;  // the record owns it now
  return S_OK;
}

// An array of records (a record's field may be one too), field by field
// through the type library's description of the record.
HRESULT RecordArray(const VARIANT& in, const char* type_name, brevant_variant& out) {
  out.type = BREVANT_ARRAY | BREVANT_RECORD;
  out.value.array = brevant_array{};
  const VARTYPE vt = V_VT(&in);
  if (vt == VT_EMPTY || vt == VT_NULL) return S_OK;
  if ((vt & ~VT_BYREF) != (VT_ARRAY | VT_RECORD)) return DISP_E_TYPEMISMATCH;
  SAFEARRAY* array = (vt & VT_BYREF) ? *V_ARRAYREF(&in) : V_ARRAY(&in);
  const brevant_record_info* record = RecordNamed(type_name);
  if (!array) return S_OK;
  IRecordInfo* info = nullptr;
  if (!record || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetRecordInfo(array, &info))) {
    return DISP_E_TYPEMISMATCH;
  }
  LONG low = 0, high = -1;
  SafeArrayGetLBound(array, 1, &low);
  SafeArrayGetUBound(array, 1, &high);
  const LONG count = high - low + 1;
  auto* records =
      static_cast<brevant_variant*>(std::calloc(count > 0 ? count : 1, sizeof(brevant_variant)));
  out.value.array = brevant_array{1, low, count, records};
  std::vector<FieldPlace> places;
  HRESULT hr = records ? FieldPlaces(info, places) : E_OUTOFMEMORY;
  if (SUCCEEDED(hr) && places.size() != static_cast<size_t>(record->field_count)) {
    hr = DISP_E_TYPEMISMATCH;
  }
  char* data = nullptr;
  SafeArrayAccessData(array, reinterpret_cast<void**>(&data));
  for (LONG i = 0; i < count && SUCCEEDED(hr); ++i) {
    brevant_variant& element = records[i];
    element.type = BREVANT_RECORD;
    element.value.record.fields =
        static_cast<brevant_variant*>(std::calloc(record->field_count, sizeof(brevant_variant)));
    element.value.record.field_count = element.value.record.fields ? record->field_count : 0;
    for (int32_t f = 0; f < element.value.record.field_count && SUCCEEDED(hr); ++f) {
      const brevant_param_info& field = record->fields[f];
      const VARIANT value = ReadField(data + i * array->cbElements, places[f]);
      hr = Value(value, field.type, field.type_name, element.value.record.fields[f]);
    }
  }
  SafeArrayUnaccessData(array);
  info->Release();
  return hr;
}

HRESULT RecordArrayToCom(brevant_variant& in, const char* type_name, VARIANT& out) {
  const brevant_array& from = in.value.array;
  const brevant_record_info* record = RecordNamed(type_name);
  if (!record) return DISP_E_TYPEMISMATCH;
  if (!from.allocated) return S_OK;
  IRecordInfo* info = nullptr;
  HRESULT hr = RecordInfoOf(type_name, &info);
  if (FAILED(hr)) return hr;
  SAFEARRAYBOUND bound{static_cast<ULONG>(from.count), from.lower_bound};
  SAFEARRAY* array = SafeArrayCreateEx(VT_RECORD, 1, &bound, info);
  if (!array) {
    info->Release();
    return E_OUTOFMEMORY;
  }
  std::vector<FieldPlace> places;
  hr = FieldPlaces(info, places);
  char* data = nullptr;
  SafeArrayAccessData(array, reinterpret_cast<void**>(&data));
  auto* records = static_cast<brevant_variant*>(from.data);
  for (int32_t i = 0; i < from.count && SUCCEEDED(hr); ++i) {
    brevant_record& fields = records[i].value.record;
    for (int32_t f = 0;
         f < fields.field_count && f < static_cast<int32_t>(places.size()) && SUCCEEDED(hr); ++f) {
      VARIANT value;
      hr = ToCom(fields.fields[f], record->fields[f].type_name, value);
      if (SUCCEEDED(hr)) hr = WriteField(data + i * array->cbElements, places[f], value);
      VariantClear(&value);
    }
  }
  SafeArrayUnaccessData(array);
  info->Release();
  if (FAILED(hr)) {
    SafeArrayDestroy(array);
    return hr;
  }
  V_VT(&out) = VT_ARRAY | VT_RECORD;
  V_ARRAY(&out) = array;
  return S_OK;
}

HRESULT ArrayToCom(const brevant_variant& in, VARIANT& out) {
  const int32_t element = in.type & ~BREVANT_ARRAY;
  if (element != BREVANT_UI1 && element != BREVANT_I2) return DISP_E_TYPEMISMATCH;
  const brevant_array& from = in.value.array;
  if (!from.allocated) return S_OK;  // Empty, as an unallocated array reads in a script
  const VARTYPE vt = element == BREVANT_UI1 ? VT_UI1 : VT_I2;
  SAFEARRAYBOUND bound{static_cast<ULONG>(from.count), from.lower_bound};
  SAFEARRAY* array = SafeArrayCreate(vt, 1, &bound);
  if (!array) return E_OUTOFMEMORY;
  void* data = nullptr;
  SafeArrayAccessData(array, &data);
  if (from.count)
    std::memcpy(data, from.data, static_cast<size_t>(from.count) * (vt == VT_UI1 ? 1 : 2));
  SafeArrayUnaccessData(array);
  V_VT(&out) = VT_ARRAY | vt;
  V_ARRAY(&out) = array;
  return S_OK;
}

// A value of any type but an object.
HRESULT Value(const VARIANT& in, int32_t type, const char* type_name, brevant_variant& out) {
  const VARIANT& value = Unwrapped(in);
  if (type == (BREVANT_ARRAY | BREVANT_RECORD)) return RecordArray(value, type_name, out);
  if (type & BREVANT_ARRAY) {
    const int32_t element = type & ~BREVANT_ARRAY;
    if (element != BREVANT_UI1 && element != BREVANT_I2) return DISP_E_TYPEMISMATCH;
    return NumberArray(value, element, out);
  }
  if (ScalarType(type) == VT_EMPTY) return DISP_E_TYPEMISMATCH;
  if (!(V_VT(&value) & VT_BYREF)) return Scalar(value, type, out);
  VARIANT copy;
  VariantInit(&copy);
  if (FAILED(VariantCopyInd(&copy, const_cast<VARIANT*>(&value)))) return DISP_E_TYPEMISMATCH;
  const HRESULT hr = Scalar(copy, type, out);
  VariantClear(&copy);
  return hr;
}

// A typed array as an array of VARIANTs: scripts index only those.
HRESULT ForScripts(VARIANT& value) {
  // Records stay typed: no script reads them, but VBA and .NET do.
  const VARTYPE element = V_VT(&value) & VT_TYPEMASK;
  if (!(V_VT(&value) & VT_ARRAY) || element == VT_VARIANT || element == VT_RECORD) return S_OK;
  SAFEARRAY* typed = V_ARRAY(&value);
  LONG low = 0, high = -1;
  SafeArrayGetLBound(typed, 1, &low);
  SafeArrayGetUBound(typed, 1, &high);
  SAFEARRAYBOUND bound{static_cast<ULONG>(high - low + 1), low};
  SAFEARRAY* variants = SafeArrayCreate(VT_VARIANT, 1, &bound);
  if (!variants) return E_OUTOFMEMORY;
  for (LONG i = low; i <= high; ++i) {
    VARIANT item;
    VariantInit(&item);
    V_VT(&item) = V_VT(&value) & VT_TYPEMASK;
    SafeArrayGetElement(typed, &i, &V_UI1(&item));
    SafeArrayPutElement(variants, &i, &item);
  }
  VariantClear(&value);
  V_VT(&value) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&value) = variants;
  return S_OK;
}

}  // namespace

CallHolds::~CallHolds() {
  for (brevant_object object : objects_) brevant_release(object);
}

HRESULT ToLibrary(const VARIANT& in, const brevant_param_info& param, brevant_variant& out,
                  CallHolds& holds) {
  const VARIANT& value = Unwrapped(in);
  if (V_VT(&value) == VT_ERROR && V_ERROR(&value) == DISP_E_PARAMNOTFOUND) {
    if (!param.optional) return DISP_E_PARAMNOTFOUND;
    VARIANT fallback;
    VariantInit(&fallback);
    V_VT(&fallback) = VT_I4;
    V_I4(&fallback) = param.default_value;
    return Scalar(fallback, param.type == BREVANT_EMPTY ? BREVANT_I4 : param.type, out);
  }
  if (param.type == BREVANT_OBJECT) return Object(value, param, out, holds);
  return Value(value, param.type, param.type_name, out);
}

HRESULT ToCom(brevant_variant& in, const char* type_name, VARIANT& out) {
  VariantInit(&out);
  switch (in.type) {
    case BREVANT_EMPTY:
      return S_OK;
    case BREVANT_I2:
      V_VT(&out) = VT_I2, V_I2(&out) = in.value.i2;
      return S_OK;
    case BREVANT_I4:
      V_VT(&out) = VT_I4, V_I4(&out) = in.value.i4;
      return S_OK;
    case BREVANT_R8:
      V_VT(&out) = VT_R8, V_R8(&out) = in.value.r8;
      return S_OK;
    case BREVANT_BOOL:
      V_VT(&out) = VT_BOOL, V_BOOL(&out) = in.value.boolean ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    case BREVANT_UI1:
      V_VT(&out) = VT_UI1, V_UI1(&out) = in.value.ui1;
      return S_OK;
    case BREVANT_STRING:
      V_VT(&out) = VT_BSTR;
      V_BSTR(&out) = SysAllocString(Wide(in.value.string).c_str());
      return V_BSTR(&out) ? S_OK : E_OUTOFMEMORY;
    case BREVANT_OBJECT: {
      V_VT(&out) = VT_DISPATCH;
      V_DISPATCH(&out) = nullptr;
      if (in.value.object) {
        V_DISPATCH(&out) = reinterpret_cast<IDispatch*>(ComObject::Wrap(in.value.object));
        in.value.object = 0;
      }
      return S_OK;
    }
    default:
      if (in.type == (BREVANT_ARRAY | BREVANT_RECORD)) return RecordArrayToCom(in, type_name, out);
      if (in.type & BREVANT_ARRAY) return ArrayToCom(in, out);
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT ToScript(brevant_variant& in, const char* type_name, VARIANT& out) {
  HRESULT hr = ToCom(in, type_name, out);
  if (SUCCEEDED(hr)) hr = ForScripts(out);
  return hr;
}

HRESULT WriteBack(brevant_variant& value, const char* type_name, const VARIANT& target) {
  const VARTYPE vt = V_VT(&target);
  if (!(vt & VT_BYREF)) return S_OK;
  VARIANT fresh;
  HRESULT hr = ToCom(value, type_name, fresh);
  if (FAILED(hr)) return hr;
  if (vt == (VT_BYREF | VT_VARIANT)) {
    hr = ForScripts(fresh);
    if (FAILED(hr)) {
      VariantClear(&fresh);
      return hr;
    }
    VARIANT* place = V_VARIANTREF(&target);
    while (V_VT(place) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(place))
      place = V_VARIANTREF(place);
    VariantClear(place);
    *place = fresh;
    return S_OK;
  }
  const VARTYPE base = vt & ~VT_BYREF;
  if (base & VT_ARRAY) {
    if (V_VT(&fresh) != VT_EMPTY && V_VT(&fresh) != base) {
      VariantClear(&fresh);
      return DISP_E_TYPEMISMATCH;
    }
    SAFEARRAY** place = V_ARRAYREF(&target);
    if (*place) SafeArrayDestroy(*place);
    *place = V_VT(&fresh) == VT_EMPTY ? nullptr : V_ARRAY(&fresh);
    return S_OK;
  }
  VARIANT typed;
  VariantInit(&typed);
  hr = VariantChangeType(&typed, &fresh, 0, base);
  VariantClear(&fresh);
  if (FAILED(hr)) return hr;
  switch (base) {
    case VT_I2:
      *V_I2REF(&target) = V_I2(&typed);
      break;
    case VT_I4:
      *V_I4REF(&target) = V_I4(&typed);
      break;
    case VT_R8:
      *V_R8REF(&target) = V_R8(&typed);
      break;
    case VT_BOOL:
      *V_BOOLREF(&target) = V_BOOL(&typed);
      break;
    case VT_UI1:
      *V_UI1REF(&target) = V_UI1(&typed);
      break;
    case VT_BSTR:
      SysFreeString(*V_BSTRREF(&target));
      *V_BSTRREF(&target) = V_BSTR(&typed);
      return S_OK;
    case VT_DISPATCH:
      if (*V_DISPATCHREF(&target)) (*V_DISPATCHREF(&target))->Release();
      *V_DISPATCHREF(&target) = V_DISPATCH(&typed);
      return S_OK;
    default:
      VariantClear(&typed);
      return DISP_E_TYPEMISMATCH;
  }
  return S_OK;
}

}  // namespace brevant::com
