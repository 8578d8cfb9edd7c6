#include "component/windows/ComObject.h"

#include <array>
#include <bit>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "component/Objects.h"
#include "component/windows/Errors.h"
#include "component/windows/Module.h"
#include "component/windows/Text.h"
#include "component/windows/VariantBridge.h"

namespace brevant::com {

namespace {

static_assert(sizeof(GUID) == sizeof(brevant_guid));

const GUID& AsGuid(const brevant_guid& id) {
  return *reinterpret_cast<const GUID*>(&id);
}

// Answers QueryInterface for our own objects only, so that an argument can be
// recognised as one of the library's objects.
constexpr GUID kIidComObject = {
    0x5b1f0c1e, 0x7d4a, 0x4c2b, {0x9e, 0x31, 0x6a, 0x02, 0xd8, 0x4f, 0x17, 0xc3}};

// One COM object per C++ object, so that identity holds in the client.
std::mutex live_mutex;
std::unordered_map<const void*, ComObject*> live;

// --- The vtable entries. `self` is the object, since its vtable comes first.

HRESULT STDMETHODCALLTYPE QueryInterfaceEntry(ComObject* self, REFIID iid, void** out) {
  return self->QueryInterface(iid, out);
}
ULONG STDMETHODCALLTYPE AddRefEntry(ComObject* self) {
  return self->AddRef();
}
ULONG STDMETHODCALLTYPE ReleaseEntry(ComObject* self) {
  return self->Release();
}
HRESULT STDMETHODCALLTYPE GetTypeInfoCountEntry(ComObject*, UINT* count) {
  if (!count) return E_POINTER;
  *count = 1;
  return S_OK;
}
HRESULT STDMETHODCALLTYPE GetTypeInfoEntry(ComObject* self, UINT index, LCID, ITypeInfo** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return index == 0 ? self->GetTypeInfo(out) : DISP_E_BADINDEX;
}
HRESULT STDMETHODCALLTYPE GetIDsOfNamesEntry(ComObject* self, REFIID, LPOLESTR* names, UINT count,
                                             LCID, DISPID* ids) {
  return self->GetIDsOfNames(names, count, ids);
}
HRESULT STDMETHODCALLTYPE InvokeEntry(ComObject* self, DISPID id, REFIID, LCID, WORD flags,
                                      DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                                      UINT* bad_argument) {
  return self->Invoke(id, flags, params, result, info, bad_argument);
}

using Raw = uint64_t;

// One thunk per slot position is made at compile time, so a class can have at
// most this many members; SlotLimitProblem keeps a larger one from being served.
constexpr int32_t kMaxSlots = 64;
constexpr int32_t kMaxNativeArguments = 11;
using AnyFunction = void (*)();

bool IsDouble(const brevant_param_info& param) {
  return param.type == BREVANT_R8 && !param.by_ref;
}

#ifdef _WIN64

template <class T>
Raw Bits(T value) {
  if constexpr (std::is_same_v<T, double>) {
    return std::bit_cast<Raw>(value);
  } else {
    return value;
  }
}

// A member slot. The first three arguments after `self` come in registers,
// where a double takes a floating-point register, so each of them is either an
// integer or a double; later ones are read from the stack as 8 bytes each.
template <int32_t Slot, class A1, class A2, class A3>
HRESULT STDMETHODCALLTYPE SlotEntry(ComObject* self, A1 a1, A2 a2, A3 a3, Raw a4, Raw a5, Raw a6,
                                    Raw a7, Raw a8, Raw a9, Raw a10, Raw a11) {
  const Raw raw[] = {Bits(a1), Bits(a2), Bits(a3), a4, a5, a6, a7, a8, a9, a10, a11};
  return self->CallNative(Slot, raw);
}

// A slot's thunk is chosen by which of its first three arguments are doubles.
constexpr int32_t kShapes = 8;
using Shapes = std::array<AnyFunction, kShapes>;

template <int32_t Slot>
Shapes SlotShapes() {
  using R = Raw;
  using D = double;
  return {reinterpret_cast<AnyFunction>(&SlotEntry<Slot, R, R, R>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, D, R, R>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, R, D, R>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, D, D, R>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, R, R, D>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, D, R, D>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, R, D, D>),
          reinterpret_cast<AnyFunction>(&SlotEntry<Slot, D, D, D>)};
}

int32_t Shape(const brevant_member_info& member) {
  int32_t shape = 0;
  for (int32_t i = 0; i < member.param_count && i < 3; ++i) {
    if (IsDouble(member.params[i])) shape |= 1 << i;
  }
  return shape;
}

#else

// stdcall: every argument is on the stack in 4-byte words, a double in two,
// and the callee removes them, so a thunk must know how many words its slot
// takes. One is made for each slot and each count of words.
constexpr int32_t kShapes = 2 * kMaxNativeArguments + 1;
using Shapes = std::array<AnyFunction, kShapes>;

template <size_t Count>
struct Words {
  uint32_t word[Count];
};

// The native arguments as the 64-bit places that CallNative reads.
HRESULT CallFromStack(ComObject* self, int32_t slot, const uint32_t* words) {
  const brevant_member_info& member = *brevant_slot_at(self->ClassIndex(), slot);
  const int32_t places = member.param_count + (member.result.type != BREVANT_EMPTY ? 1 : 0);
  Raw raw[kMaxNativeArguments] = {};
  for (int32_t i = 0, w = 0; i < places && i < kMaxNativeArguments; ++i) {
    const bool wide = i < member.param_count && IsDouble(member.params[i]);
    raw[i] = words[w] | (wide ? Raw{words[w + 1]} << 32 : 0);
    w += wide ? 2 : 1;
  }
  return self->CallNative(slot, raw);
}

template <int32_t Slot, size_t Count>
HRESULT STDMETHODCALLTYPE SlotEntry(ComObject* self, Words<Count> words) {
  return CallFromStack(self, Slot, words.word);
}

template <int32_t Slot>
HRESULT STDMETHODCALLTYPE SlotEntryWithoutArguments(ComObject* self) {
  return CallFromStack(self, Slot, nullptr);
}

template <int32_t Slot, size_t Count>
AnyFunction Entry() {
  if constexpr (Count == 0) {
    return reinterpret_cast<AnyFunction>(&SlotEntryWithoutArguments<Slot>);
  } else {
    return reinterpret_cast<AnyFunction>(&SlotEntry<Slot, Count>);
  }
}

template <int32_t Slot>
Shapes SlotShapes() {
  return []<size_t... Count>(std::index_sequence<Count...>) {
    return Shapes{Entry<Slot, Count>()...};
  }
  (std::make_index_sequence<kShapes>{});
}

int32_t Shape(const brevant_member_info& member) {
  int32_t words = member.result.type != BREVANT_EMPTY ? 1 : 0;
  for (int32_t i = 0; i < member.param_count; ++i) words += IsDouble(member.params[i]) ? 2 : 1;
  return words;
}

#endif

template <int32_t... S>
std::array<Shapes, sizeof...(S)> AllSlots(std::integer_sequence<int32_t, S...>) {
  return {SlotShapes<S>()...};
}

// The class's vtable: IDispatch, then one thunk per slot. Made once per class.
void* const* VtableOf(int32_t class_index) {
  static const auto slots = AllSlots(std::make_integer_sequence<int32_t, kMaxSlots>{});
  static std::vector<std::vector<void*>> tables(brevant_class_count());
  static std::once_flag once;
  std::call_once(once, [] {
    for (int32_t c = 0; c < brevant_class_count(); ++c) {
      std::vector<void*>& table = tables[c];
      table = {reinterpret_cast<void*>(&QueryInterfaceEntry),
               reinterpret_cast<void*>(&AddRefEntry),
               reinterpret_cast<void*>(&ReleaseEntry),
               reinterpret_cast<void*>(&GetTypeInfoCountEntry),
               reinterpret_cast<void*>(&GetTypeInfoEntry),
               reinterpret_cast<void*>(&GetIDsOfNamesEntry),
               reinterpret_cast<void*>(&InvokeEntry)};
      const int32_t count = brevant_class_at(c)->slot_count;
      for (int32_t s = 0; s < count; ++s) {
        const int32_t shape = Shape(*brevant_slot_at(c, s));
        // SlotLimitProblem refuses a member without a thunk of its shape.
        table.push_back(shape < kShapes ? reinterpret_cast<void*>(slots.at(s)[shape]) : nullptr);
      }
    }
  });
  return tables[class_index].data();
}

// --- ISupportErrorInfo, the object's second interface.

ComObject* Owner(void* support) {
  return *reinterpret_cast<ComObject**>(static_cast<char*>(support) + sizeof(void*));
}
HRESULT STDMETHODCALLTYPE SupportQueryInterface(void* support, REFIID iid, void** out) {
  return Owner(support)->QueryInterface(iid, out);
}
ULONG STDMETHODCALLTYPE SupportAddRef(void* support) {
  return Owner(support)->AddRef();
}
ULONG STDMETHODCALLTYPE SupportRelease(void* support) {
  return Owner(support)->Release();
}
HRESULT STDMETHODCALLTYPE SupportInterfaceSupportsErrorInfo(void* support, REFIID iid) {
  return Owner(support)->SupportsErrorInfo(iid) ? S_OK : S_FALSE;
}
void* const kSupportVtable[] = {reinterpret_cast<void*>(&SupportQueryInterface),
                                reinterpret_cast<void*>(&SupportAddRef),
                                reinterpret_cast<void*>(&SupportRelease),
                                reinterpret_cast<void*>(&SupportInterfaceSupportsErrorInfo)};

// The VARIANT type a native argument of `param` stands for: a pointer for
// anything by reference and for arrays, which automation always passes so.
VARTYPE NativeType(const brevant_param_info& param) {
  VARTYPE vt = VT_EMPTY;
  switch (param.type & ~BREVANT_ARRAY) {
    case BREVANT_I2:
      vt = VT_I2;
      break;
    case BREVANT_I4:
      vt = VT_I4;
      break;
    case BREVANT_R8:
      vt = VT_R8;
      break;
    case BREVANT_STRING:
      vt = VT_BSTR;
      break;
    case BREVANT_BOOL:
      vt = VT_BOOL;
      break;
    case BREVANT_UI1:
      vt = VT_UI1;
      break;
    case BREVANT_OBJECT:
      vt = VT_DISPATCH;
      break;
    case BREVANT_RECORD:
      if (!(param.type & BREVANT_ARRAY)) return VT_EMPTY;
      vt = VT_RECORD;
      break;
    default:
      return VT_EMPTY;
  }
  if (param.type & BREVANT_ARRAY) return VT_BYREF | VT_ARRAY | vt;
  return param.by_ref ? VT_BYREF | vt : vt;
}

// A native argument as a VARIANT that borrows it (never cleared).
bool Borrow(const brevant_param_info& param, Raw raw, VARIANT& out) {
  VariantInit(&out);
  const VARTYPE vt = NativeType(param);
  if (vt == VT_EMPTY) return false;
  V_VT(&out) = vt;
  if (vt & VT_BYREF) {
    V_BYREF(&out) = reinterpret_cast<void*>(static_cast<uintptr_t>(raw));
    return V_BYREF(&out) != nullptr;
  }
  switch (vt) {
    case VT_I2:
      V_I2(&out) = static_cast<SHORT>(raw);
      break;
    case VT_I4:
      V_I4(&out) = static_cast<LONG>(raw);
      break;
    case VT_R8:
      V_R8(&out) = std::bit_cast<double>(raw);
      break;
    case VT_BSTR:
      V_BSTR(&out) = reinterpret_cast<BSTR>(static_cast<uintptr_t>(raw));
      break;
    case VT_BOOL:
      V_BOOL(&out) = static_cast<VARIANT_BOOL>(raw);
      break;
    case VT_UI1:
      V_UI1(&out) = static_cast<BYTE>(raw);
      break;
    case VT_DISPATCH:
      V_DISPATCH(&out) = reinterpret_cast<IDispatch*>(static_cast<uintptr_t>(raw));
      break;
  }
  return true;
}

size_t NativeSize(VARTYPE vt) {
  switch (vt) {
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_BOOL:
      return 2;
    case VT_I4:
      return 4;
    case VT_R8:
      return 8;
    default:
      // A string, an object or an array: a pointer.
      return sizeof(void*);
  }
}

bool SameName(const wchar_t* name, const char* member) {
  return name && CompareStringOrdinal(name, -1, Wide(member).c_str(), -1, TRUE) == CSTR_EQUAL;
}

}  // namespace

ComObject::ComObject(brevant_object handle, int32_t class_index, const void* identity)
    : vtable_(VtableOf(class_index)),
      support_{const_cast<void* const*>(kSupportVtable), this},
      handle_(handle),
      class_(class_index),
      identity_(identity) {
  AddServerReference();
}

ComObject::~ComObject() {
  brevant_release(handle_);
  ReleaseServerReference();
}

ComObject* ComObject::Wrap(brevant_object handle) {
  int32_t class_index = -1;
  if (brevant_class_of(handle, &class_index) != 0 || class_index < 0) {
    // Only objects of the public classes travel to clients.
    brevant_release(handle);
    return nullptr;
  }
  const void* identity = component::Objects::Find(handle).self.get();
  std::lock_guard lock(live_mutex);
  if (auto found = live.find(identity); found != live.end()) {
    ComObject* object = found->second;
    // An object on its way out (count already 0) is replaced, not revived.
    ULONG count = object->references_.load();
    while (count != 0 && !object->references_.compare_exchange_weak(count, count + 1)) {
    }
    if (count != 0) {
      brevant_release(handle);
      return object;
    }
  }
  auto* object = new ComObject(handle, class_index, identity);
  live[identity] = object;
  return object;
}

std::string ComObject::SlotLimitProblem() {
  for (int32_t c = 0; c < brevant_class_count(); ++c) {
    const brevant_class_info& info = *brevant_class_at(c);
    if (info.slot_count > kMaxSlots) {
      return std::string(info.name) + " has " + std::to_string(info.slot_count) +
             " members, more than the " + std::to_string(kMaxSlots) +
             " that a vtable of this build can hold (kMaxSlots in ComObject.cpp)";
    }
    for (int32_t s = 0; s < info.slot_count; ++s) {
      const brevant_member_info& member = *brevant_slot_at(c, s);
      if (Shape(member) >= kShapes) {
        return std::string(info.name) + "." + member.name +
               " takes more arguments than a vtable thunk of this build can (kMaxNativeArguments "
               "in ComObject.cpp)";
      }
    }
  }
  return {};
}

ComObject* ComObject::From(IUnknown* unknown) {
  ComObject* object = nullptr;
  if (!unknown ||
      FAILED(unknown->QueryInterface(kIidComObject, reinterpret_cast<void**>(&object)))) {
    return nullptr;
  }
  return object;
}

HRESULT ComObject::Create(const brevant_guid& class_id, REFIID iid, void** out) {
  brevant_object handle = 0;
  if (brevant_create(&class_id, &handle) != 0) return ResultOf(brevant_error_number());
  ComObject* object = Wrap(handle);
  if (!object) return E_UNEXPECTED;
  const HRESULT hr = object->QueryInterface(iid, out);
  object->Release();
  return hr;
}

ULONG ComObject::AddRef() {
  return ++references_;
}

ULONG ComObject::Release() {
  const ULONG left = --references_;
  if (left == 0) {
    {
      std::lock_guard lock(live_mutex);
      if (auto found = live.find(identity_); found != live.end() && found->second == this) {
        live.erase(found);
      }
    }
    delete this;
  }
  return left;
}

int32_t ComObject::FindSlot(DISPID id, int32_t kind) const {
  for (int32_t s = 0; s < brevant_class_at(class_)->slot_count; ++s) {
    const brevant_member_info* member = brevant_slot_at(class_, s);
    if (member->dispid == id && member->kind == kind) return s;
  }
  return -1;
}

const GUID& ComObject::Iid() const {
  return AsGuid(brevant_class_at(class_)->iid);
}

bool ComObject::SupportsErrorInfo(REFIID iid) const {
  const brevant_class_info& info = *brevant_class_at(class_);
  if (IsEqualGUID(iid, AsGuid(info.iid))) return true;
  for (int32_t i = 0; i < info.alias_count; ++i) {
    if (IsEqualGUID(iid, AsGuid(info.aliases[i].iid))) return true;
  }
  return false;
}

HRESULT ComObject::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch) ||
      IsEqualGUID(iid, kIidComObject) || SupportsErrorInfo(iid)) {
    *out = this;
  } else if (IsEqualGUID(iid, IID_ISupportErrorInfo)) {
    *out = &support_;
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

HRESULT ComObject::GetTypeInfo(ITypeInfo** out) {
  return TypeInfoOf(Iid(), out);
}

HRESULT ComObject::GetIDsOfNames(LPOLESTR* names, UINT count, DISPID* ids) {
  if (!names || !ids || count == 0) return E_POINTER;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  const brevant_member_info* member = nullptr;
  for (int32_t s = 0; s < brevant_class_at(class_)->slot_count && !member; ++s) {
    const brevant_member_info* candidate = brevant_slot_at(class_, s);
    if (SameName(names[0], candidate->name)) member = candidate;
  }
  if (!member) return DISP_E_UNKNOWNNAME;
  ids[0] = member->dispid;
  // Named arguments are numbered by their position.
  HRESULT hr = S_OK;
  for (UINT i = 1; i < count; ++i) {
    for (int32_t p = 0; p < member->param_count; ++p) {
      if (SameName(names[i], member->params[p].name)) ids[i] = p;
    }
    if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
  }
  return hr;
}

HRESULT ComObject::Invoke(DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result,
                          EXCEPINFO* info, UINT* bad_argument) {
  if (!params) return E_POINTER;
  const bool put = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
  // A script's "x = o.Member" asks for a method or a property read at once.
  int32_t slot = put ? FindSlot(id, BREVANT_PUT) : -1;
  if (!put && (flags & DISPATCH_METHOD)) slot = FindSlot(id, BREVANT_METHOD);
  if (!put && slot < 0 && (flags & DISPATCH_PROPERTYGET)) slot = FindSlot(id, BREVANT_GET);
  if (slot < 0) return DISP_E_MEMBERNOTFOUND;
  if ((params->cArgs && !params->rgvarg) || (params->cNamedArgs && !params->rgdispidNamedArgs)) {
    return E_POINTER;
  }
  // Only a property write names its value; other named arguments are refused.
  if (params->cNamedArgs > (put ? 1u : 0u) ||
      (put && (params->cNamedArgs != 1 || params->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT))) {
    return DISP_E_NONAMEDARGS;
  }
  // The arguments arrive last first; the value of a write comes first of all.
  std::vector<VARIANT*> ordered;
  const UINT count = params->cArgs;
  const UINT positional = count - params->cNamedArgs;
  for (UINT i = 0; i < positional; ++i) ordered.push_back(&params->rgvarg[count - 1 - i]);
  if (put) ordered.push_back(&params->rgvarg[0]);
  brevant_variant value{};
  UINT bad = 0;
  HRESULT hr = Call(slot, ordered, &value, info, &bad);
  if (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_PARAMNOTFOUND || hr == DISP_E_OVERFLOW) {
    // `bad` counts in the member's order; the caller's array runs backwards.
    if (bad_argument) *bad_argument = put && bad + 1 == ordered.size() ? 0 : count - 1 - bad;
  }
  if (SUCCEEDED(hr) && result) {
    hr = ToScript(value, brevant_slot_at(class_, slot)->result.type_name, *result);
  } else if (value.type == BREVANT_OBJECT && value.value.object) {
    brevant_release(value.value.object);
  }
  brevant_variant_clear(&value);
  return hr;
}

HRESULT ComObject::Call(int32_t slot, std::span<VARIANT* const> args, brevant_variant* result,
                        EXCEPINFO* info, UINT* bad_argument) {
  const brevant_member_info& member = *brevant_slot_at(class_, slot);
  if (args.size() > static_cast<size_t>(member.param_count)) return DISP_E_BADPARAMCOUNT;
  for (size_t i = args.size(); i < static_cast<size_t>(member.param_count); ++i) {
    if (!member.params[i].optional) return DISP_E_BADPARAMCOUNT;
  }
  CallHolds holds;
  std::vector<brevant_variant> values(args.size());
  auto clear = [&] {
    for (brevant_variant& v : values) brevant_variant_clear(&v);
  };
  for (size_t i = 0; i < args.size(); ++i) {
    const HRESULT hr = ToLibrary(*args[i], member.params[i], values[i], holds);
    if (FAILED(hr)) {
      clear();
      *bad_argument = static_cast<UINT>(i);
      return Raise(Iid(), nullptr, hr, "Brevant",
                   std::string("Argument ") + member.params[i].name + " of " + member.name +
                       " has the wrong type or is missing");
    }
  }
  const int32_t status = brevant_invoke(handle_, member.dispid, member.kind,
                                        static_cast<int32_t>(values.size()), values.data(), result);
  // What a failing member stored into its by-reference arguments before it
  // raised reaches the client too; the error is taken before anything else runs.
  const HRESULT raised = status != 0 ? Raise(Iid(), info) : S_OK;
  HRESULT hr = S_OK;
  for (size_t i = 0; i < args.size(); ++i) {
    if (member.params[i].by_ref && SUCCEEDED(hr))
      hr = WriteBack(values[i], member.params[i].type_name, *args[i]);
  }
  clear();
  return FAILED(raised) ? raised : hr;
}

HRESULT ComObject::CallNative(int32_t slot, const uint64_t* raw) {
  const brevant_member_info& member = *brevant_slot_at(class_, slot);
  const bool returns = member.result.type != BREVANT_EMPTY;
  if (member.param_count + (returns ? 1 : 0) > kMaxNativeArguments) return E_NOTIMPL;
  std::vector<VARIANT> borrowed(member.param_count);
  std::vector<VARIANT*> args;
  for (int32_t i = 0; i < member.param_count; ++i) {
    if (!Borrow(member.params[i], raw[i], borrowed[i])) {
      return Raise(Iid(), nullptr, E_NOTIMPL, "Brevant",
                   std::string(member.name) + " can only be called late-bound (IDispatch)");
    }
    args.push_back(&borrowed[i]);
  }
  VARIANT out;
  if (returns) {
    if (!Borrow(brevant_param_info{nullptr, member.result.type, nullptr, 1, 0, 0},
                raw[member.param_count], out)) {
      return E_POINTER;
    }
    // The out-parameter arrives uninitialised.
    std::memset(V_BYREF(&out), 0, NativeSize(V_VT(&out) & ~VT_BYREF));
  }
  brevant_variant value{};
  UINT bad = 0;
  HRESULT hr = Call(slot, args, &value, nullptr, &bad);
  if (SUCCEEDED(hr) && returns) hr = WriteBack(value, member.result.type_name, out);
  if (value.type == BREVANT_OBJECT && value.value.object) brevant_release(value.value.object);
  brevant_variant_clear(&value);
  return hr;
}

}  // namespace brevant::com
