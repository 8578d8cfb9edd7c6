// TypeLibCheck <Brevant.tlb or Brevant.dll>: reads the type library back through
// the platform's own loader and compares it with the C ABI's tables, which
// dispatch runs on. Types are spelled from the loaded VARTYPEs here, apart from
// brevant-idl's spelling, so that a mistake there cannot agree with itself.
// Prints one line per difference and exits 1, or a summary line and exits 0.

// windows.h first: oleauto.h builds on it.
#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "../../tools/idl/TypeLibConstants.h"
#include "brevant/brevant.h"

namespace {

int differences = 0;

void Expect(const std::string& what, const std::string& expected, const std::string& found) {
  if (expected == found) return;
  ++differences;
  std::printf("%s: expected %s, found %s\n", what.c_str(), expected.c_str(), found.c_str());
}

// Names and texts of the library are ASCII.
std::string Ascii(const wchar_t* text) {
  std::string out;
  for (; text && *text; ++text) out += static_cast<char>(*text);
  return out;
}

std::string Text(const brevant_guid& id) {
  char text[39];
  brevant_guid_format(&id, text);
  return text;
}

std::string Text(const GUID& id) {
  wchar_t text[39];
  StringFromGUID2(id, text, 39);
  return Ascii(text);
}

std::string Version(int major, int minor) {
  return std::to_string(major) + "." + std::to_string(minor);
}

std::string Hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", value);
  return text;
}

// Holds one reference to a COM object.
template <class T>
struct Ref {
  T* p = nullptr;
  Ref() = default;
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() {
    if (p) p->Release();
  }
  T* operator->() const { return p; }
};

std::string Name(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  std::string out = Ascii(name);
  SysFreeString(name);
  return out;
}

// The type in IDL spelling, as brevant-idl writes it.
std::string Spell(const TYPEDESC& t, ITypeInfo* info) {
  switch (t.vt) {
    case VT_PTR:
      return Spell(*t.lptdesc, info) + "*";
    case VT_SAFEARRAY:
      return "SAFEARRAY(" + Spell(*t.lptdesc, info) + ")";
    case VT_USERDEFINED: {
      Ref<ITypeInfo> type;
      if (FAILED(info->GetRefTypeInfo(t.hreftype, &type.p))) return "(bad reference)";
      return Name(type.p, MEMBERID_NIL);
    }
    case VT_I2:
      return "short";
    case VT_I4:
      return "long";
    case VT_R8:
      return "double";
    case VT_BSTR:
      return "BSTR";
    case VT_BOOL:
      return "VARIANT_BOOL";
    case VT_UI1:
      return "unsigned char";
    case VT_HRESULT:
      return "HRESULT";
    default:
      return "VARTYPE " + std::to_string(t.vt);
  }
}

// The expected spelling of a C ABI type.
std::string Spell(int32_t type, const char* typeName) {
  if (type & BREVANT_ARRAY) return "SAFEARRAY(" + Spell(type & ~BREVANT_ARRAY, typeName) + ")";
  if (type == BREVANT_OBJECT) {
    for (int32_t i = 0; i < brevant_class_count(); ++i) {
      if (std::string_view(brevant_class_at(i)->name) == typeName) {
        return std::string(brevant_class_at(i)->interface_name) + "*";
      }
    }
  }
  if (typeName) return typeName;
  const TYPEDESC t{{nullptr}, static_cast<VARTYPE>(type)};
  return Spell(t, nullptr);
}

// One type information and its attributes.
struct Type {
  Ref<ITypeInfo> info;
  TYPEATTR* attr = nullptr;
  ~Type() {
    if (attr) info->ReleaseTypeAttr(attr);
  }
};

// Finds `name` and checks its kind and identifier; false when it is missing.
bool Find(ITypeLib* library, const std::string& name, TYPEKIND kind, const std::string& id,
          Type& out) {
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    Ref<ITypeInfo> info;
    library->GetTypeInfo(i, &info.p);
    if (Name(info.p, MEMBERID_NIL) != name) continue;
    std::swap(info.p, out.info.p);
    out.info->GetTypeAttr(&out.attr);
    Expect(name + " kind", std::to_string(kind), std::to_string(out.attr->typekind));
    Expect(name + " identifier", id, Text(out.attr->guid));
    return true;
  }
  Expect(name, "present", "missing");
  return false;
}

void ExpectFlags(const std::string& what, const TYPEATTR* attr, WORD flags) {
  Expect(what + " flags", Hex(flags), Hex(attr->wTypeFlags & flags));
}

void ExpectVersion(const std::string& what, const TYPEATTR* attr, int major, int minor) {
  Expect(what + " version", Version(major, minor), Version(attr->wMajorVerNum, attr->wMinorVerNum));
}

// The names that GetNames gives for one function: its own, then its parameters'.
std::string Names(ITypeInfo* info, MEMBERID id) {
  BSTR names[16];
  UINT count = 0;
  info->GetNames(id, names, 16, &count);
  std::string out;
  for (UINT i = 0; i < count; ++i) {
    out += (i ? " " : "") + Ascii(names[i]);
    SysFreeString(names[i]);
  }
  return out;
}

std::string ParamFlags(const brevant_param_info& p) {
  if (p.by_ref) return Hex(PARAMFLAG_FIN | PARAMFLAG_FOUT);
  if (p.optional) return Hex(PARAMFLAG_FIN | PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT);
  return Hex(PARAMFLAG_FIN);
}

// One slot against the vtable interface's function at the same index.
void CheckFunction(ITypeInfo* info, int index, const brevant_member_info& m, bool firstOfId,
                   const std::string& where) {
  FUNCDESC* f = nullptr;
  if (FAILED(info->GetFuncDesc(index, &f))) return Expect(where, "a function", "none");
  const std::string what = where + "." + m.name;
  Expect(what + " name", m.name, Name(info, f->memid));
  Expect(what + " dispatch id", Hex(m.dispid), Hex(f->memid));
  const bool objectPut =
      m.kind == BREVANT_PUT && m.params[m.param_count - 1].type == BREVANT_OBJECT;
  const int invoke = m.kind == BREVANT_METHOD ? INVOKE_FUNC
                     : m.kind == BREVANT_GET  ? INVOKE_PROPERTYGET
                     : objectPut              ? INVOKE_PROPERTYPUTREF
                                              : INVOKE_PROPERTYPUT;
  Expect(what + " invoke kind", std::to_string(invoke), std::to_string(f->invkind));
  Expect(what + " vtable offset", std::to_string((7 + index) * sizeof(void*)),
         std::to_string(f->oVft));
  Expect(what + " result", "HRESULT", Spell(f->elemdescFunc.tdesc, info));
  const bool retval = m.result.type != BREVANT_EMPTY;
  Expect(what + " parameter count", std::to_string(m.param_count + retval),
         std::to_string(f->cParams));
  // Get and put of one property share an id, and GetNames answers with the
  // first of them, so only that one's parameter names can be read; for a put
  // it leaves out the value's.
  std::string names = m.name;
  for (int i = 0; i < m.param_count - (m.kind == BREVANT_PUT); ++i) {
    names += std::string(" ") + m.params[i].name;
  }
  if (firstOfId) Expect(what + " names", names + (retval ? " Result" : ""), Names(info, f->memid));
  for (int i = 0; i < f->cParams && i < m.param_count + retval; ++i) {
    const ELEMDESC& e = f->lprgelemdescParam[i];
    const std::string param = what + " parameter " + std::to_string(i + 1);
    const bool isResult = i == m.param_count;
    const brevant_param_info& p = isResult ? m.result : m.params[i];
    const std::string flags = isResult ? Hex(PARAMFLAG_FOUT | PARAMFLAG_FRETVAL) : ParamFlags(p);
    Expect(param + " flags", flags, Hex(e.paramdesc.wParamFlags));
    Expect(param + " type", Spell(p.type, p.type_name) + (p.by_ref || isResult ? "*" : ""),
           Spell(e.tdesc, info));
    if (p.optional && (e.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT)) {
      VARIANT value;
      VariantInit(&value);
      VariantChangeType(&value, &e.paramdesc.pparamdescex->varDefaultValue, 0, VT_I4);
      Expect(param + " default", std::to_string(p.default_value), std::to_string(V_I4(&value)));
    }
  }
  info->ReleaseFuncDesc(f);
}

// The class's interface: the dispatch side, its vtable partner and the slots.
int CheckInterface(ITypeLib* library, int32_t index) {
  const brevant_class_info& c = *brevant_class_at(index);
  Type dispatch;
  if (!Find(library, c.interface_name, TKIND_DISPATCH, Text(c.iid), dispatch)) return 0;
  ExpectVersion(c.interface_name, dispatch.attr, c.major, c.minor);
  HREFTYPE partner = 0;
  Type vtable;
  if (FAILED(dispatch.info->GetRefTypeOfImplType(-1, &partner)) ||
      FAILED(dispatch.info->GetRefTypeInfo(partner, &vtable.info.p))) {
    Expect(c.interface_name, "a dual interface", "no vtable partner");
    return 0;
  }
  vtable.info->GetTypeAttr(&vtable.attr);
  const std::string name = c.interface_name;
  Expect(name + " partner kind", std::to_string(TKIND_INTERFACE),
         std::to_string(vtable.attr->typekind));
  ExpectFlags(
      name, vtable.attr,
      TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION);
  Expect(name + " function count", std::to_string(c.slot_count),
         std::to_string(vtable.attr->cFuncs));
  for (int32_t s = 0; s < c.slot_count && s < vtable.attr->cFuncs; ++s) {
    const brevant_member_info& m = *brevant_slot_at(index, s);
    bool firstOfId = true;
    for (int32_t before = 0; before < s; ++before) {
      firstOfId = firstOfId && brevant_slot_at(index, before)->dispid != m.dispid;
    }
    CheckFunction(vtable.info.p, s, m, firstOfId, name);
  }
  return c.slot_count;
}

void CheckCoclass(ITypeLib* library, const brevant_class_info& c) {
  Type coclass;
  if (!Find(library, c.name, TKIND_COCLASS, Text(c.class_id), coclass)) return;
  ExpectVersion(c.name, coclass.attr, c.major, c.minor);
  Expect(std::string(c.name) + " creatable", std::to_string(c.creatable),
         std::to_string((coclass.attr->wTypeFlags & TYPEFLAG_FCANCREATE) != 0));
  std::string defaults;
  for (int i = 0; i < coclass.attr->cImplTypes; ++i) {
    HREFTYPE ref = 0;
    INT flags = 0;
    Ref<ITypeInfo> implemented;
    coclass.info->GetImplTypeFlags(i, &flags);
    coclass.info->GetRefTypeOfImplType(i, &ref);
    coclass.info->GetRefTypeInfo(ref, &implemented.p);
    if (flags & IMPLTYPEFLAG_FDEFAULT) defaults += Name(implemented.p, MEMBERID_NIL);
  }
  Expect(std::string(c.name) + " default interface", c.interface_name, defaults);
}

void CheckAlias(ITypeLib* library, const brevant_class_info& c, const brevant_alias_info& a) {
  Type alias;
  if (!Find(library, a.name, TKIND_ALIAS, Text(a.iid), alias)) return;
  ExpectVersion(a.name, alias.attr, a.major, a.minor);
  ExpectFlags(a.name, alias.attr, TYPEFLAG_FHIDDEN);
  Expect(std::string(a.name) + " aliases", c.interface_name,
         Spell(alias.attr->tdescAlias, alias.info.p));
}

void CheckEnum(ITypeLib* library, const brevant_enum_info& e) {
  Type type;
  if (!Find(library, e.name, TKIND_ENUM, Text(GUID{}), type)) return;
  Expect(std::string(e.name) + " member count", std::to_string(e.member_count),
         std::to_string(type.attr->cVars));
  for (int i = 0; i < e.member_count && i < type.attr->cVars; ++i) {
    VARDESC* v = nullptr;
    type.info->GetVarDesc(i, &v);
    VARIANT value;
    VariantInit(&value);
    VariantChangeType(&value, v->lpvarValue, 0, VT_I4);
    const brevant_enum_member& m = e.members[i];
    Expect(std::string(e.name) + " member " + std::to_string(i),
           std::string(m.name) + " = " + std::to_string(m.value),
           Name(type.info.p, v->memid) + " = " + std::to_string(V_I4(&value)));
    type.info->ReleaseVarDesc(v);
  }
}

void CheckRecord(ITypeLib* library, const brevant_record_info& r) {
  std::string id = "none";
  for (const auto& record : brevant::idl::kRecordIds) {
    if (record.name == r.name) id = "{" + std::string(record.guid) + "}";
  }
  Type type;
  if (!Find(library, r.name, TKIND_RECORD, id, type)) return;
  Expect(std::string(r.name) + " field count", std::to_string(r.field_count),
         std::to_string(type.attr->cVars));
  for (int i = 0; i < r.field_count && i < type.attr->cVars; ++i) {
    VARDESC* v = nullptr;
    type.info->GetVarDesc(i, &v);
    const brevant_param_info& field = r.fields[i];
    Expect(std::string(r.name) + " field " + std::to_string(i),
           std::string(field.name) + " " + Spell(field.type, field.type_name),
           Name(type.info.p, v->memid) + " " + Spell(v->elemdescVar.tdesc, type.info.p));
    type.info->ReleaseVarDesc(v);
  }
}

void CheckLibrary(ITypeLib* library) {
  const brevant_library_info& expected = *brevant_library();
  TLIBATTR* attr = nullptr;
  library->GetLibAttr(&attr);
  Expect("library identifier", Text(expected.id), Text(attr->guid));
  Expect("library version", Version(expected.major, expected.minor),
         Version(attr->wMajorVerNum, attr->wMinorVerNum));
  Expect("library locale", Hex(expected.locale), Hex(attr->lcid));
  library->ReleaseTLibAttr(attr);
  BSTR name = nullptr, doc = nullptr, help = nullptr;
  library->GetDocumentation(-1, &name, &doc, nullptr, &help);
  Expect("library name", expected.name, Ascii(name));
  Expect("library description", expected.description, Ascii(doc));
  Expect("library help file", std::string(brevant::idl::kHelpFile), Ascii(help));
  SysFreeString(name);
  SysFreeString(doc);
  SysFreeString(help);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: TypeLibCheck <Brevant.tlb or Brevant.dll>\n");
    return 2;
  }
  Ref<ITypeLib> library;
  if (HRESULT hr = LoadTypeLibEx(argv[1], REGKIND_NONE, &library.p); FAILED(hr)) {
    std::printf("%s: cannot load, status %s\n", Ascii(argv[1]).c_str(), Hex(hr).c_str());
    return 1;
  }
  CheckLibrary(library.p);
  int functions = 0, aliases = 0;
  for (int32_t i = 0; i < brevant_class_count(); ++i) {
    const brevant_class_info& c = *brevant_class_at(i);
    CheckCoclass(library.p, c);
    functions += CheckInterface(library.p, i);
    for (int32_t a = 0; a < c.alias_count; ++a) CheckAlias(library.p, c, c.aliases[a]);
    aliases += c.alias_count;
  }
  for (int32_t i = 0; i < brevant_enum_count(); ++i) CheckEnum(library.p, *brevant_enum_at(i));
  for (int32_t i = 0; i < brevant_record_count(); ++i) {
    CheckRecord(library.p, *brevant_record_at(i));
  }
  // Nothing else: the private classes and forms stay out.
  const int classes = brevant_class_count();
  Expect("type count",
         std::to_string(2 * classes + aliases + brevant_enum_count() + brevant_record_count()),
         std::to_string(library->GetTypeInfoCount()));
  if (differences) return 1;
  std::printf(
      "%s matches: %d classes, %d interfaces, %d functions, %d aliases, %d enums, %d records\n",
      Ascii(argv[1]).c_str(), classes, classes, functions, aliases, brevant_enum_count(),
      brevant_record_count());
  return 0;
}
