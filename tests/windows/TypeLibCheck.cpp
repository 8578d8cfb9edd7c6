// TypeLibCheck <Brevant.tlb or Brevant.dll> [win32|win64]: reads the type
// library back through the platform's loader and compares it with the C ABI's
// tables, which dispatch runs on. The platform it must be made for is this
// program's own unless named: a 64-bit check reads the 32-bit DLL's too.
// Prints one line per difference and exits 1, or a summary and exits 0.

// windows.h first: oleauto.h builds on it.
#include <windows.h>

#include <oleauto.h>
#include <wrl/client.h>

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "../../tools/idl/TypeLibConstants.h"
#include "brevant/brevant.h"

namespace {

using Microsoft::WRL::ComPtr;
using std::to_string;

int differences = 0;

void Expect(const std::string& what, const std::string& expected, const std::string& found) {
  if (expected == found) return;
  ++differences;
  std::printf("%s: expected %s, found %s\n", what.c_str(), expected.c_str(), found.c_str());
}

// Takes over a BSTR; the library's names and texts are ASCII.
std::string Take(BSTR text) {
  std::string out;
  for (const wchar_t* c = text; c && *c; ++c) out += static_cast<char>(*c);
  SysFreeString(text);
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
  return Take(SysAllocString(text));
}

std::string Hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", value);
  return text;
}

int AsInt(VARIANT& v) {
  VARIANT i4;
  VariantInit(&i4);
  VariantChangeType(&i4, &v, 0, VT_I4);
  return V_I4(&i4);
}

std::string Name(ITypeInfo* info, MEMBERID id = MEMBERID_NIL) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  return Take(name);
}

// A loaded type as IDL spells it, which the tables' types are compared in.
std::string Spell(const TYPEDESC& t, ITypeInfo* info) {
  static const std::map<VARTYPE, std::string> names{
      {VT_I2, "short"},       {VT_I4, "long"},           {VT_R8, "double"},
      {VT_BSTR, "BSTR"},      {VT_BOOL, "VARIANT_BOOL"}, {VT_UI1, "unsigned char"},
      {VT_HRESULT, "HRESULT"}};
  ComPtr<ITypeInfo> type;
  if (t.vt == VT_PTR) return Spell(*t.lptdesc, info) + "*";
  if (t.vt == VT_SAFEARRAY) return "SAFEARRAY(" + Spell(*t.lptdesc, info) + ")";
  if (t.vt == VT_USERDEFINED && SUCCEEDED(info->GetRefTypeInfo(t.hreftype, &type))) {
    return Name(type.Get());
  }
  return names.contains(t.vt) ? names.at(t.vt) : "VARTYPE " + to_string(t.vt);
}

// A table's type; the C ABI numbers types as automation does.
std::string Spell(int32_t type, const char* typeName) {
  if (type & BREVANT_ARRAY) return "SAFEARRAY(" + Spell(type & ~BREVANT_ARRAY, typeName) + ")";
  for (int32_t i = 0; type == BREVANT_OBJECT && i < brevant_class_count(); ++i) {
    const brevant_class_info* c = brevant_class_at(i);
    if (std::string_view(c->name) == typeName) return std::string(c->interface_name) + "*";
  }
  if (typeName) return typeName;
  return Spell(TYPEDESC{{nullptr}, static_cast<VARTYPE>(type)}, nullptr);
}

std::string Version(int32_t major, int32_t minor) {
  return to_string(major) + "." + to_string(minor);
}

struct Type {
  ComPtr<ITypeInfo> info;
  TYPEATTR* attr = nullptr;
  ~Type() {
    if (attr) info->ReleaseTypeAttr(attr);
  }
  // The kind, the given flags among the type's, the version unless empty.
  void Expect(const std::string& what, TYPEKIND kind, const std::string& version, WORD flags) {
    ::Expect(what + " kind", to_string(kind), to_string(attr->typekind));
    ::Expect(what + " flags", Hex(flags), Hex(attr->wTypeFlags & flags));
    if (!version.empty()) {
      ::Expect(what + " version", version, Version(attr->wMajorVerNum, attr->wMinorVerNum));
    }
  }
};

// Finds `name` with its identifier; false when it is missing.
bool Find(ITypeLib* library, const std::string& name, const std::string& id, Type& out) {
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    library->GetTypeInfo(i, &out.info);
    if (Name(out.info.Get()) != name) continue;
    out.info->GetTypeAttr(&out.attr);
    Expect(name + " identifier", id, Text(out.attr->guid));
    return true;
  }
  Expect(name, "present", "missing");
  return false;
}

// What GetNames gives for a function: its name, then its parameters'. It
// answers for the first function with the id, and for a put leaves out the value.
std::string Names(ITypeInfo* info, MEMBERID id) {
  BSTR names[16];
  UINT count = 0;
  info->GetNames(id, names, 16, &count);
  std::string out;
  for (UINT i = 0; i < count; ++i) {
    if (i > 0) out += ' ';
    out += Take(names[i]);
  }
  return out;
}

// One slot against the vtable interface's function at the same index.
void CheckFunction(ITypeInfo* info, int index, const brevant_member_info& m, bool firstOfId,
                   const std::string& what) {
  FUNCDESC* f = nullptr;
  if (FAILED(info->GetFuncDesc(index, &f))) return Expect(what, "a function", "none");
  const bool put = m.kind == BREVANT_PUT, retval = m.result.type != BREVANT_EMPTY;
  const int invoke = m.kind == BREVANT_METHOD                             ? INVOKE_FUNC
                     : m.kind == BREVANT_GET                              ? INVOKE_PROPERTYGET
                     : m.params[m.param_count - 1].type == BREVANT_OBJECT ? INVOKE_PROPERTYPUTREF
                                                                          : INVOKE_PROPERTYPUT;
  Expect(what + " name", m.name, Name(info, f->memid));
  Expect(what + " dispatch id", Hex(m.dispid), Hex(f->memid));
  Expect(what + " invoke kind", to_string(invoke), to_string(f->invkind));
  // The loader gives the offsets in this program's pointers, whatever the
  // platform the library was made for.
  Expect(what + " vtable offset", to_string((7 + index) * sizeof(void*)), to_string(f->oVft));
  Expect(what + " result", "HRESULT", Spell(f->elemdescFunc.tdesc, info));
  Expect(what + " parameter count", to_string(m.param_count + retval), to_string(f->cParams));
  std::string names = m.name;
  for (int i = 0; i < m.param_count - put; ++i) names += std::string(" ") + m.params[i].name;
  if (firstOfId) Expect(what + " names", names + (retval ? " Result" : ""), Names(info, f->memid));
  for (int i = 0; i < f->cParams && i < m.param_count + retval; ++i) {
    const PARAMDESC& found = f->lprgelemdescParam[i].paramdesc;
    const brevant_param_info& p = i < m.param_count ? m.params[i] : m.result;
    const std::string param = what + " parameter " + to_string(i + 1);
    const int flags = i == m.param_count ? PARAMFLAG_FOUT | PARAMFLAG_FRETVAL
                      : p.by_ref         ? PARAMFLAG_FIN | PARAMFLAG_FOUT
                      : p.optional       ? PARAMFLAG_FIN | PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT
                                         : PARAMFLAG_FIN;
    Expect(param + " flags", Hex(flags), Hex(found.wParamFlags));
    Expect(param + " type",
           Spell(p.type, p.type_name) + (p.by_ref || i == m.param_count ? "*" : ""),
           Spell(f->lprgelemdescParam[i].tdesc, info));
    if (p.optional && (found.wParamFlags & PARAMFLAG_FHASDEFAULT)) {
      Expect(param + " default", to_string(p.default_value),
             to_string(AsInt(found.pparamdescex->varDefaultValue)));
    }
  }
  info->ReleaseFuncDesc(f);
}

// The coclass, its interface with the vtable partner and the slots, the aliases.
int CheckClass(ITypeLib* library, int32_t index) {
  const brevant_class_info& c = *brevant_class_at(index);
  const std::string version = Version(c.major, c.minor);
  Type coclass, dispatch, vtable;
  if (Find(library, c.name, Text(c.class_id), coclass)) {
    coclass.Expect(c.name, TKIND_COCLASS, version, 0);
    Expect(std::string(c.name) + " creatable", to_string(c.creatable),
           to_string((coclass.attr->wTypeFlags & TYPEFLAG_FCANCREATE) != 0));
    std::string defaults;
    for (int i = 0; i < coclass.attr->cImplTypes; ++i) {
      HREFTYPE ref = 0;
      INT flags = 0;
      ComPtr<ITypeInfo> implemented;
      coclass.info->GetImplTypeFlags(i, &flags);
      coclass.info->GetRefTypeOfImplType(i, &ref);
      coclass.info->GetRefTypeInfo(ref, &implemented);
      if (flags & IMPLTYPEFLAG_FDEFAULT) defaults += Name(implemented.Get());
    }
    Expect(std::string(c.name) + " default interface", c.interface_name, defaults);
  }
  for (int32_t a = 0; a < c.alias_count; ++a) {
    Type alias;
    const brevant_alias_info& expected = c.aliases[a];
    if (!Find(library, expected.name, Text(expected.iid), alias)) continue;
    alias.Expect(expected.name, TKIND_ALIAS, Version(expected.major, expected.minor),
                 TYPEFLAG_FHIDDEN);
    Expect(std::string(expected.name) + " aliases", c.interface_name,
           Spell(alias.attr->tdescAlias, alias.info.Get()));
  }
  HREFTYPE partner = 0;
  if (!Find(library, c.interface_name, Text(c.iid), dispatch)) return 0;
  dispatch.Expect(c.interface_name, TKIND_DISPATCH, version,
                  TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE);
  if (FAILED(dispatch.info->GetRefTypeOfImplType(-1, &partner)) ||
      FAILED(dispatch.info->GetRefTypeInfo(partner, &vtable.info))) {
    Expect(c.interface_name, "a dual interface", "no vtable partner");
    return 0;
  }
  vtable.info->GetTypeAttr(&vtable.attr);
  const std::string name = c.interface_name;
  vtable.Expect(
      name, TKIND_INTERFACE, version,
      TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION);
  Expect(name + " function count", to_string(c.slot_count), to_string(vtable.attr->cFuncs));
  for (int32_t s = 0; s < c.slot_count && s < vtable.attr->cFuncs; ++s) {
    const brevant_member_info& m = *brevant_slot_at(index, s);
    bool firstOfId = true;
    for (int32_t before = 0; before < s; ++before) {
      firstOfId = firstOfId && brevant_slot_at(index, before)->dispid != m.dispid;
    }
    CheckFunction(vtable.info.Get(), s, m, firstOfId, name + "." + m.name);
  }
  return c.slot_count;
}

// An enum's members as "name = value", a record's fields as "name type".
void CheckVariables(ITypeLib* library, const std::string& name, TYPEKIND kind,
                    const std::string& id, const std::vector<std::string>& expected) {
  Type type;
  if (!Find(library, name, id, type)) return;
  type.Expect(name, kind, "", 0);
  Expect(name + " count", to_string(expected.size()), to_string(type.attr->cVars));
  for (int i = 0; i < static_cast<int>(expected.size()) && i < type.attr->cVars; ++i) {
    VARDESC* v = nullptr;
    type.info->GetVarDesc(i, &v);
    std::string member = Name(type.info.Get(), v->memid);
    if (v->varkind == VAR_CONST) {
      member += " = ";
      member += to_string(AsInt(*v->lpvarValue));
    } else {
      member += ' ';
      member += Spell(v->elemdescVar.tdesc, type.info.Get());
    }
    Expect(name + " member " + to_string(i), expected[i], member);
    type.info->ReleaseVarDesc(v);
  }
}

void CheckLibrary(ITypeLib* library, SYSKIND platform) {
  const brevant_library_info& expected = *brevant_library();
  TLIBATTR* attr = nullptr;
  library->GetLibAttr(&attr);
  Expect("library platform", to_string(platform), to_string(attr->syskind));
  Expect("library identifier", Text(expected.id), Text(attr->guid));
  Expect("library version", Version(expected.major, expected.minor),
         Version(attr->wMajorVerNum, attr->wMinorVerNum));
  Expect("library locale", Hex(expected.locale), Hex(attr->lcid));
  library->ReleaseTLibAttr(attr);
  BSTR name = nullptr, doc = nullptr, help = nullptr;
  DWORD context = 1;
  library->GetDocumentation(-1, &name, &doc, &context, &help);
  Expect("library name", expected.name, Take(name));
  Expect("library description", expected.description, Take(doc));
  Expect("library help file", expected.help_file, Take(help));
  Expect("library help context", to_string(expected.help_context), to_string(context));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const std::wstring platform = argc == 3 ? argv[2] : sizeof(void*) == 8 ? L"win64" : L"win32";
  if (argc < 2 || argc > 3 || (platform != L"win32" && platform != L"win64")) {
    std::fprintf(stderr, "usage: TypeLibCheck <Brevant.tlb or Brevant.dll> [win32|win64]\n");
    return 2;
  }
  const std::string path = Take(SysAllocString(argv[1]));
  ComPtr<ITypeLib> library;
  if (HRESULT hr = LoadTypeLibEx(argv[1], REGKIND_NONE, &library); FAILED(hr)) {
    std::printf("%s: cannot load, status %s\n", path.c_str(), Hex(hr).c_str());
    return 1;
  }
  CheckLibrary(library.Get(), platform == L"win64" ? SYS_WIN64 : SYS_WIN32);
  int functions = 0, aliases = 0;
  for (int32_t i = 0; i < brevant_class_count(); ++i) {
    functions += CheckClass(library.Get(), i);
    aliases += brevant_class_at(i)->alias_count;
  }
  for (int32_t i = 0; i < brevant_enum_count(); ++i) {
    const brevant_enum_info& e = *brevant_enum_at(i);
    std::vector<std::string> members;
    for (int m = 0; m < e.member_count; ++m) {
      members.push_back(e.members[m].name + (" = " + to_string(e.members[m].value)));
    }
    CheckVariables(library.Get(), e.name, TKIND_ENUM, Text(GUID{}), members);
  }
  for (int32_t i = 0; i < brevant_record_count(); ++i) {
    const brevant_record_info& r = *brevant_record_at(i);
    std::vector<std::string> fields;
    for (int f = 0; f < r.field_count; ++f) {
      std::string field = r.fields[f].name;
      field += ' ';
      field += Spell(r.fields[f].type, r.fields[f].type_name);
      fields.push_back(field);
    }
    std::string id = "none";
    for (const auto& record : brevant::idl::kRecordIds) {
      if (record.name == r.name) id = std::string("{").append(record.guid).append("}");
    }
    CheckVariables(library.Get(), r.name, TKIND_RECORD, id, fields);
  }
  // Nothing else: the private classes and forms stay out.
  const int classes = brevant_class_count(), enums = brevant_enum_count();
  Expect("type count", to_string(2 * classes + aliases + enums + brevant_record_count()),
         to_string(library->GetTypeInfoCount()));
  if (differences) return 1;
  std::printf(
      "%s matches: %d classes, %d interfaces, %d functions, %d aliases, %d enums, %d records\n",
      path.c_str(), classes, classes, functions, aliases, enums, brevant_record_count());
  return 0;
}
