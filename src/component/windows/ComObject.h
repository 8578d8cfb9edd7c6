// One object of the library as COM sees it: a dual interface whose first
// seven slots are IDispatch's and whose others are the class's members in
// slot order, plus ISupportErrorInfo. Both ways in end in the same call
// through the library's late-bound entry, so the two cannot disagree.
//
// The vtables are built at run time from the type information, one per class;
// each member slot is a small thunk that collects its native arguments by the
// calling convention of the build: x64, or stdcall on 32-bit Windows.
#pragma once

#include <windows.h>

#include <atomic>
#include <span>
#include <string>

#include "brevant/brevant.h"

namespace brevant::com {

class ComObject {
 public:
  // The COM object of a library reference, which it takes over: the object
  // already standing for the same C++ object, or a new one. Counted once more.
  // Null for a reference that is no object of a public class.
  static ComObject* Wrap(brevant_object handle);
  // `unknown` if it is one of ours, counted once more; else null.
  static ComObject* From(IUnknown* unknown);
  // A new object of the class with `class_id`, as interface `iid`.
  static HRESULT Create(const brevant_guid& class_id, REFIID iid, void** out);
  // Empty when every class's members fit a vtable; else which class does not.
  // Registration and the class factory refuse a build with such a class.
  static std::string SlotLimitProblem();

  brevant_object Handle() const { return handle_; }
  // The index of the object's class for brevant_class_at.
  int32_t ClassIndex() const { return class_; }
  ULONG AddRef();
  ULONG Release();
  HRESULT QueryInterface(REFIID iid, void** out);
  HRESULT GetTypeInfo(ITypeInfo** out);
  HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, DISPID* ids);
  HRESULT Invoke(DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                 UINT* bad_argument);
  // A member slot called through the vtable; `raw` are its native arguments,
  // each widened to 64 bits.
  HRESULT CallNative(int32_t slot, const uint64_t* raw);
  bool SupportsErrorInfo(REFIID iid) const;

 private:
  ComObject(brevant_object handle, int32_t class_index, const void* identity);
  ~ComObject();

  // Calls `slot` with `args` in the member's order, writing by-reference
  // arguments back; `bad_argument` takes the position of a refused argument.
  HRESULT Call(int32_t slot, std::span<VARIANT* const> args, brevant_variant* result,
               EXCEPINFO* info, UINT* bad_argument);
  // The slot of the member with dispatch id `id` and call kind `kind`, or -1.
  int32_t FindSlot(DISPID id, int32_t kind) const;
  const GUID& Iid() const;

  // Must come first: a pointer to the object is a pointer to its interface.
  void* const* vtable_;
  struct ErrorSupport {
    void* const* vtable;
    ComObject* owner;
  } support_;
  std::atomic<ULONG> references_{1};
  brevant_object handle_;
  int32_t class_;
  const void* identity_;
};

}  // namespace brevant::com
