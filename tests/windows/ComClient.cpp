// A compiled COM client of Brevant.dll, run under Wine: what a script cannot
// show. Early-bound calls through the dual interfaces' vtables, earlier
// interface versions, the error object, a log sink implemented here, arrays
// with another lower bound, and the unload rule.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

// The interface used early-bound, declared as a client compiled against the
// type library sees it: IDispatch's slots, then the members in order.
// Outside the anonymous namespace: there the compiler would know that nothing
// here implements them and take the calls for unreachable.
struct _clsFTDI245FIFO : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Initialize(short DeviceNumber) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetTimeOuts(LONG TimeoutRead, LONG TimeoutWrite) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueueTx(LONG* Result) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueueRx(LONG* Result) = 0;
  virtual HRESULT STDMETHODCALLTYPE PurgeQueueTx() = 0;
  virtual HRESULT STDMETHODCALLTYPE PurgeQueueRx() = 0;
  virtual HRESULT STDMETHODCALLTYPE PurgeQueues() = 0;
  virtual HRESULT STDMETHODCALLTYPE DataWrite(SAFEARRAY** Buffer, LONG Length) = 0;
  virtual HRESULT STDMETHODCALLTYPE DataRead(SAFEARRAY** Buffer, LONG Length, LONG* BytesRead) = 0;
  virtual HRESULT STDMETHODCALLTYPE Terminate() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Log(IDispatch** Result) = 0;
  virtual HRESULT STDMETHODCALLTYPE putref_Log(IDispatch* Value) = 0;
};

namespace {

GUID Id(const wchar_t* text) {
  GUID id{};
  CLSIDFromString(text, &id);
  return id;
}

const GUID CLSID_clsFTDI245FIFO = Id(L"{260ADB86-AD2C-440C-8274-399001AA91C8}");
const GUID IID__clsFTDI245FIFO = Id(L"{B201F58A-E141-41C7-B72F-74A1649E0F72}");
const GUID IID_clsFTDI245FIFO___v0 = Id(L"{CCB0B2E2-AD0B-4A95-B8D3-4276C0CBA31F}");
const GUID IID__clsFTDIMPSSE = Id(L"{58A383BA-40B9-42F0-B528-8F096398D6E2}");

int failures = 0;

void Check(bool ok, const std::string& what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what.c_str());
  if (!ok) ++failures;
}

std::string Narrow(BSTR text) {
  std::string out;
  for (UINT i = 0; text && i < SysStringLen(text); ++i) out += static_cast<char>(text[i]);
  return out;
}

// The error object the last failed call left on this thread.
std::string LastError() {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK) return "(no error object)";
  BSTR source = nullptr, description = nullptr;
  info->GetSource(&source);
  info->GetDescription(&description);
  std::string text = Narrow(source) + ": " + Narrow(description);
  SysFreeString(source);
  SysFreeString(description);
  info->Release();
  return text;
}

// A log sink: any automation object whose dispatch id 0 takes (Level, Entry).
class Sink : public IDispatch {
 public:
  std::vector<std::string> lines;
  ULONG references = 1;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch)) {
      *out = this;
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                                   EXCEPINFO*, UINT*) override {
    if (id != 0 || params->cArgs != 2 || V_VT(&params->rgvarg[0]) != VT_BSTR) return E_INVALIDARG;
    lines.push_back(std::to_string(V_I4(&params->rgvarg[1])) + " " +
                    Narrow(V_BSTR(&params->rgvarg[0])));
    return S_OK;
  }
};

SAFEARRAY* Bytes(LONG lower_bound, const std::string& text) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(text.size()), lower_bound};
  SAFEARRAY* array = SafeArrayCreate(VT_UI1, 1, &bound);
  void* data = nullptr;
  SafeArrayAccessData(array, &data);
  memcpy(data, text.data(), text.size());
  SafeArrayUnaccessData(array);
  return array;
}

void EarlyBound() {
  _clsFTDI245FIFO* fifo = nullptr;
  Check(SUCCEEDED(CoCreateInstance(CLSID_clsFTDI245FIFO, nullptr, CLSCTX_INPROC_SERVER,
                                   IID__clsFTDI245FIFO, reinterpret_cast<void**>(&fifo))),
        "a clsFTDI245FIFO through its current interface");
  if (!fifo) return;

  // An earlier version's identifier gives the same interface.
  void* earlier = nullptr;
  Check(fifo->QueryInterface(IID_clsFTDI245FIFO___v0, &earlier) == S_OK && earlier == fifo,
        "clsFTDI245FIFO___v0 answers with the same interface");
  if (earlier) fifo->Release();
  void* other = nullptr;
  Check(fifo->QueryInterface(IID__clsFTDIMPSSE, &other) == E_NOINTERFACE,
        "another class's interface is refused");

  ISupportErrorInfo* support = nullptr;
  Check(fifo->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)) == S_OK &&
            support->InterfaceSupportsErrorInfo(IID__clsFTDI245FIFO) == S_OK,
        "ISupportErrorInfo for the class's interface");
  if (support) support->Release();

  // A failing member: its number as the HRESULT, Source and Description in
  // the error object.
  LONG queued = -1;
  const HRESULT failed = fifo->QueueTx(&queued);
  Check(failed == static_cast<HRESULT>(0x800417D6) && LastError() == "clsFTD2xx: Device not opened",
        "QueueTx before Initialize: 0x800417D6, clsFTD2xx, Device not opened");

  // The log sink, set through the vtable and called for each driver call.
  Sink sink;
  Check(fifo->putref_Log(&sink) == S_OK, "Log set to our sink");
  Check(fifo->Initialize(0) == S_OK, "Initialize(0)");
  Check(!sink.lines.empty() && sink.lines[0].rfind("3 FT_Open (0, ", 0) == 0,
        "the sink's first line is the open, at Level 3");
  Check(fifo->QueueTx(&queued) == S_OK && queued == 0, "QueueTx through the vtable");

  // Echo through the vtable, with a byte array of lower bound 0.
  SAFEARRAY* out = Bytes(0, "ping");
  Check(fifo->DataWrite(&out, 4) == S_OK, "DataWrite of 4 bytes");
  SAFEARRAY* in = Bytes(0, "....");
  LONG got = 0;
  std::string echoed;
  if (fifo->DataRead(&in, 4, &got) == S_OK) {
    for (LONG i = 0; i < got; ++i) {
      unsigned char b = 0;
      SafeArrayGetElement(in, &i, &b);
      echoed += static_cast<char>(b);
    }
  }
  Check(echoed == "ping", "DataRead gives the echo back");

  // An array whose lower bound is 1 has no element 0: error 9, no crash.
  SAFEARRAY* shifted = Bytes(1, "ping");
  Check(fifo->DataWrite(&shifted, 4) == MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, 9),
        "DataWrite of an array with lower bound 1 raises 9");
  SafeArrayDestroy(shifted);
  SafeArrayDestroy(out);
  SafeArrayDestroy(in);

  fifo->Terminate();
  const ULONG before = sink.references;
  fifo->Release();
  Check(sink.references < before, "releasing the channel lets the sink go");
}

// The version resource: the numbers and every text of the version block.
void Version() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(GetModuleHandleW(L"Brevant.dll"), path, MAX_PATH);
  std::vector<char> block(GetFileVersionInfoSizeW(path, nullptr));
  if (block.empty() ||
      !GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data())) {
    return Check(false, "Brevant.dll has a version resource");
  }
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT size = 0;
  VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &size);
  Check(fixed && fixed->dwFileVersionMS == 0x00010000 && fixed->dwFileVersionLS == 0x0000000A &&
            fixed->dwProductVersionMS == 0x00010000 && fixed->dwProductVersionLS == 0x0000000A,
        "file and product version 1.0.0.10");
  const struct {
    const wchar_t* item;
    const wchar_t* text;
  } items[] = {{L"FileVersion", L"1.00.0010"},           {L"ProductVersion", L"1.00.0010"},
               {L"ProductName", L"FTDI Device Library"}, {L"InternalName", L"Brevant"},
               {L"OriginalFilename", L"Brevant.dll"},    {L"OLESelfRegister", L""}};
  for (const auto& [item, text] : items) {
    wchar_t* value = nullptr;
    const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + item;
    const bool found =
        VerQueryValueW(block.data(), key.c_str(), reinterpret_cast<void**>(&value), &size);
    Check(found && value && std::wstring(value) == text,
          "version item " + std::string(item, item + wcslen(item)));
  }
}

// Every member of every creatable class called through Invoke with odd
// arguments: each call must come back with a status, never bring the host
// down. The members come from the object's own type information.
void OddArguments() {
  const wchar_t* classes[] = {
      L"{7F6DCBA9-B5FB-4229-BB5E-1D10961D6AD1}", L"{B3D6BD5A-97FB-431F-9842-158968A6D90B}",
      L"{ECFE44F5-011C-4D87-A734-C00D71F014AB}", L"{466C7478-A2FD-4E81-BB6B-DA1B77B6FE72}",
      L"{260ADB86-AD2C-440C-8274-399001AA91C8}", L"{4271C340-2343-40E2-9D1D-06A576EDCD98}"};
  SAFEARRAYBOUND square[2] = {{2, 0}, {2, 0}};
  SAFEARRAYBOUND one{2, 5};
  int calls = 0;
  for (int kind = 0; kind < 9; ++kind) {
    for (const wchar_t* id : classes) {
      IDispatch* object = nullptr;
      CoCreateInstance(Id(id), nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                       reinterpret_cast<void**>(&object));
      ITypeInfo* type = nullptr;
      TYPEATTR* attributes = nullptr;
      if (!object || FAILED(object->GetTypeInfo(0, 0, &type)) ||
          FAILED(type->GetTypeAttr(&attributes))) {
        return Check(false, "type information of every creatable class");
      }
      for (UINT f = 0; f < attributes->cFuncs; ++f) {
        FUNCDESC* function = nullptr;
        type->GetFuncDesc(f, &function);
        BSTR name = nullptr;
        type->GetDocumentation(function->memid, &name, nullptr, nullptr, nullptr);
        // Members of our own only, and no dialog: it would wait for a person.
        const bool skip = (function->memid & 0xF7FF0000) != 0x60030000 ||
                          Narrow(name).rfind("DialogSelect", 0) == 0;
        SysFreeString(name);
        if (skip) {
          type->ReleaseFuncDesc(function);
          continue;
        }
        std::vector<VARIANT> args(function->cParams);
        VARIANT target;
        VariantInit(&target);
        for (VARIANT& arg : args) {
          VariantInit(&arg);
          switch (kind) {
            case 1:
              V_VT(&arg) = VT_NULL;
              break;
            case 2:
              V_VT(&arg) = VT_I4, V_I4(&arg) = 0x7FFFFFFF;
              break;
            case 3:
              V_VT(&arg) = VT_BSTR, V_BSTR(&arg) = SysAllocString(L"x");
              break;
            case 4:
              V_VT(&arg) = VT_DISPATCH, V_DISPATCH(&arg) = object, object->AddRef();
              break;
            case 5:
              V_VT(&arg) = VT_ARRAY | VT_UI1, V_ARRAY(&arg) = SafeArrayCreate(VT_UI1, 2, square);
              break;
            case 6:
              V_VT(&arg) = VT_ARRAY | VT_BSTR, V_ARRAY(&arg) = SafeArrayCreate(VT_BSTR, 1, &one);
              break;
            case 7:
              V_VT(&arg) = VT_ERROR, V_ERROR(&arg) = DISP_E_PARAMNOTFOUND;
              break;
            case 8:
              V_VT(&arg) = VT_BYREF | VT_VARIANT, V_VARIANTREF(&arg) = &target;
              break;
          }
        }
        std::reverse(args.begin(), args.end());
        DISPID put = DISPID_PROPERTYPUT;
        const bool writes = function->invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF);
        DISPPARAMS params{args.data(), writes ? &put : nullptr, static_cast<UINT>(args.size()),
                          writes ? 1u : 0u};
        EXCEPINFO info{};
        UINT bad = 0;
        VARIANT result;
        VariantInit(&result);
        object->Invoke(function->memid, IID_NULL, 0, static_cast<WORD>(function->invkind), &params,
                       &result, &info, &bad);
        ++calls;
        VariantClear(&result);
        VariantClear(&target);
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        for (VARIANT& arg : args) VariantClear(&arg);
        type->ReleaseFuncDesc(function);
      }
      type->ReleaseTypeAttr(attributes);
      type->Release();
      object->Release();
    }
  }
  Check(calls > 0, "odd arguments to every member: " + std::to_string(calls) + " calls, no crash");
}

struct Outcome {
  IStream* stream;
  HRESULT result = E_FAIL;
  DWORD thread = 0;
};

// A thread of its own apartment that calls QueueTx on the marshaled object.
DWORD WINAPI CallFromOtherApartment(void* context) {
  auto& out = *static_cast<Outcome*>(context);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  _clsFTDI245FIFO* proxy = nullptr;
  if (SUCCEEDED(CoGetInterfaceAndReleaseStream(out.stream, IID__clsFTDI245FIFO,
                                               reinterpret_cast<void**>(&proxy)))) {
    LONG queued = 0;
    out.result = proxy->QueueTx(&queued);
    proxy->Release();
  }
  CoUninitialize();
  return 0;
}

// A call from another apartment travels through the automation marshaler,
// which finds the interface by its registration and the type library.
void OtherApartment() {
  _clsFTDI245FIFO* fifo = nullptr;
  IStream* stream = nullptr;
  CoCreateInstance(CLSID_clsFTDI245FIFO, nullptr, CLSCTX_INPROC_SERVER, IID__clsFTDI245FIFO,
                   reinterpret_cast<void**>(&fifo));
  if (!fifo || FAILED(CoMarshalInterThreadInterfaceInStream(IID__clsFTDI245FIFO, fifo, &stream))) {
    if (fifo) fifo->Release();
    return Check(false, "a clsFTDI245FIFO marshaled for another apartment");
  }
  Outcome outcome{stream, E_FAIL, 0};
  HANDLE thread = CreateThread(nullptr, 0, CallFromOtherApartment, &outcome, 0, &outcome.thread);
  // The object's apartment serves the call while it waits.
  while (MsgWaitForMultipleObjects(1, &thread, FALSE, 10000, QS_ALLINPUT) == WAIT_OBJECT_0 + 1) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
  CloseHandle(thread);
  fifo->Release();
  // Wine's channel does not carry the error object between apartments, so
  // only the number is checked here.
  Check(outcome.result == static_cast<HRESULT>(0x800417D6),
        "a call from another apartment gives its error number");
}

void Unload() {
  CoFreeUnusedLibraries();
  HMODULE module = GetModuleHandleW(L"Brevant.dll");
  using CanUnload = HRESULT(STDAPICALLTYPE*)();
  void* entry =
      module ? reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")) : nullptr;
  auto can_unload = reinterpret_cast<CanUnload>(entry);
  Check(!can_unload || can_unload() == S_OK, "DllCanUnloadNow once every object is gone");
}

}  // namespace

int main() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  EarlyBound();
  Version();
  OddArguments();
  OtherApartment();
  Unload();
  CoUninitialize();
  std::printf("%s: %d failure(s)\n", failures ? "FAIL" : "com client", failures);
  return failures ? 1 : 0;
}
