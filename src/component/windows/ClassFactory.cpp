#include "component/windows/ClassFactory.h"

#include <atomic>

#include "component/windows/ComObject.h"
#include "component/windows/Module.h"

namespace brevant::com {

namespace {

struct Factory {
  void* const* vtable;
  std::atomic<ULONG> references;
  brevant_guid class_id;
};

HRESULT STDMETHODCALLTYPE FactoryQueryInterface(Factory* self, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!IsEqualGUID(iid, IID_IUnknown) && !IsEqualGUID(iid, IID_IClassFactory)) {
    return E_NOINTERFACE;
  }
  ++self->references;
  *out = self;
  return S_OK;
}

ULONG STDMETHODCALLTYPE FactoryAddRef(Factory* self) {
  return ++self->references;
}

ULONG STDMETHODCALLTYPE FactoryRelease(Factory* self) {
  const ULONG left = --self->references;
  if (left == 0) {
    delete self;
    ReleaseServerReference();
  }
  return left;
}

HRESULT STDMETHODCALLTYPE FactoryCreateInstance(Factory* self, IUnknown* outer, REFIID iid,
                                                void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (outer) return CLASS_E_NOAGGREGATION;
  return ComObject::Create(self->class_id, iid, out);
}

HRESULT STDMETHODCALLTYPE FactoryLockServer(Factory*, BOOL lock) {
  lock ? AddServerReference() : ReleaseServerReference();
  return S_OK;
}

void* const kFactoryVtable[] = {
    reinterpret_cast<void*>(&FactoryQueryInterface), reinterpret_cast<void*>(&FactoryAddRef),
    reinterpret_cast<void*>(&FactoryRelease), reinterpret_cast<void*>(&FactoryCreateInstance),
    reinterpret_cast<void*>(&FactoryLockServer)};

}  // namespace

HRESULT MakeClassFactory(const brevant_guid& class_id, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  auto* factory = new Factory{const_cast<void* const*>(kFactoryVtable), 1, class_id};
  AddServerReference();
  const HRESULT hr = FactoryQueryInterface(factory, iid, out);
  FactoryRelease(factory);
  return hr;
}

}  // namespace brevant::com
