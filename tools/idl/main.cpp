// brevant-idl: prints the IDL of Brevant's type library, built from the C ABI's
// type information alone, so the type library says what dispatch does: the
// same slots in the same order, the same dispatch ids and argument types.
//
//   build/brevant-idl > src/component/windows/Brevant.idl
#include <cstdio>
#include <string>
#include <string_view>

#include "TypeLibConstants.h"
#include "brevant/brevant.h"

namespace {

using brevant::idl::kRecordIds;

std::string GuidText(const brevant_guid& id) {
  char text[39];
  brevant_guid_format(&id, text);
  return std::string(text + 1, 36);
}

std::string Version(int32_t major, int32_t minor) {
  return "version(" + std::to_string(major) + "." + std::to_string(minor) + ")";
}

// A class's interface name: objects travel as pointers to it.
std::string InterfaceOf(const char* className) {
  for (int32_t i = 0; i < brevant_class_count(); ++i) {
    const brevant_class_info* c = brevant_class_at(i);
    if (std::string_view(c->name) == className) return c->interface_name;
  }
  return className;
}

std::string TypeName(int32_t type, const char* typeName) {
  if (type & BREVANT_ARRAY) return "SAFEARRAY(" + TypeName(type & ~BREVANT_ARRAY, typeName) + ")";
  switch (type) {
    case BREVANT_I2:
      return "short";
    case BREVANT_I4:
      return typeName ? typeName : "long";
    case BREVANT_R8:
      return "double";
    case BREVANT_STRING:
      return "BSTR";
    case BREVANT_BOOL:
      return "VARIANT_BOOL";
    case BREVANT_UI1:
      return "unsigned char";
    case BREVANT_OBJECT:
      return InterfaceOf(typeName) + "*";
    default:
      return typeName;
  }
}

std::string Param(const brevant_param_info& p) {
  const std::string type = TypeName(p.type, p.type_name);
  if (p.by_ref) return "[in, out] " + type + "* " + p.name;
  if (p.optional) {
    return "[in, optional, defaultvalue(" + std::to_string(p.default_value) + ")] " + type + " " +
           p.name;
  }
  return "[in] " + type + " " + p.name;
}

void PrintEnums() {
  for (int32_t i = 0; i < brevant_enum_count(); ++i) {
    const brevant_enum_info* e = brevant_enum_at(i);
    std::printf("    typedef enum %s {\n", e->name);
    for (int32_t m = 0; m < e->member_count; ++m) {
      std::printf("        %s = %d%s\n", e->members[m].name, e->members[m].value,
                  m + 1 < e->member_count ? "," : "");
    }
    std::printf("    } %s;\n\n", e->name);
  }
}

void PrintRecords() {
  for (int32_t i = 0; i < brevant_record_count(); ++i) {
    const brevant_record_info* r = brevant_record_at(i);
    std::string_view guid;
    for (const auto& id : kRecordIds) guid = id.name == r->name ? id.guid : guid;
    // Tag and typedef share the name: widl otherwise makes the record an alias
    // of a type with a generated name.
    std::printf("    typedef [uuid(%.*s)] struct %s {\n", static_cast<int>(guid.size()),
                guid.data(), r->name);
    for (int32_t f = 0; f < r->field_count; ++f) {
      const brevant_param_info& field = r->fields[f];
      std::printf("        %s %s;\n", TypeName(field.type, field.type_name).c_str(), field.name);
    }
    std::printf("    } %s;\n\n", r->name);
  }
}

void PrintMember(const brevant_member_info& m) {
  std::string attributes;
  if (m.kind == BREVANT_GET) attributes = ", propget";
  // An object-valued property is set by reference, as Visual Basic's Set does.
  const bool objectPut = m.kind == BREVANT_PUT && m.param_count > 0 &&
                         m.params[m.param_count - 1].type == BREVANT_OBJECT;
  if (m.kind == BREVANT_PUT) attributes = objectPut ? ", propputref" : ", propput";
  std::string params;
  for (int32_t p = 0; p < m.param_count; ++p) params += (p ? ", " : "") + Param(m.params[p]);
  if (m.result.type != BREVANT_EMPTY) {
    params += std::string(m.param_count ? ", " : "") + "[out, retval] " +
              TypeName(m.result.type, m.result.type_name) + "* Result";
  }
  std::printf("        [id(0x%08X)%s] HRESULT %s(%s);\n", static_cast<unsigned>(m.dispid),
              attributes.c_str(), m.name, params.c_str());
}

void PrintClass(int32_t index) {
  const brevant_class_info* c = brevant_class_at(index);
  const std::string version = Version(c->major, c->minor);
  std::printf("    [odl, uuid(%s), %s, hidden, dual, nonextensible, oleautomation]\n",
              GuidText(c->iid).c_str(), version.c_str());
  std::printf("    interface %s : IDispatch {\n", c->interface_name);
  for (int32_t s = 0; s < c->slot_count; ++s) PrintMember(*brevant_slot_at(index, s));
  std::printf("    };\n\n");
  for (int32_t a = 0; a < c->alias_count; ++a) {
    const brevant_alias_info& alias = c->aliases[a];
    std::printf("    typedef [uuid(%s), %s, hidden, public] %s %s;\n", GuidText(alias.iid).c_str(),
                Version(alias.major, alias.minor).c_str(), c->interface_name, alias.name);
  }
  if (c->alias_count) std::printf("\n");
  std::printf("    [uuid(%s), %s%s]\n", GuidText(c->class_id).c_str(), version.c_str(),
              c->creatable ? "" : ", noncreatable");
  std::printf("    coclass %s {\n        [default] interface %s;\n    };\n", c->name,
              c->interface_name);
}

}  // namespace

int main() {
  const brevant_library_info* library = brevant_library();
  std::printf(
      "// Brevant's type library, generated by brevant-idl from the library's binding\n"
      "// tables. Do not edit: build/brevant-idl > src/component/windows/Brevant.idl\n\n");
  // For the automation types (BSTR, VARIANT_BOOL, SAFEARRAY); nothing of it
  // lands in the type library.
  std::printf("import \"oaidl.idl\";\n\n");
  std::printf(
      "[\n    uuid(%s),\n    %s,\n    helpstring(\"%s\"),\n    helpfile(\"%s\"),\n"
      "    helpcontext(%d),\n",
      GuidText(library->id).c_str(), Version(library->major, library->minor).c_str(),
      library->description, library->help_file, library->help_context);
  std::printf("    lcid(0x%04X)\n]\nlibrary %s\n{\n    importlib(\"stdole2.tlb\");\n\n",
              static_cast<unsigned>(library->locale), library->name);
  for (int32_t i = 0; i < brevant_class_count(); ++i) {
    std::printf("    interface %s;\n", brevant_class_at(i)->interface_name);
  }
  std::printf("\n");
  PrintEnums();
  PrintRecords();
  for (int32_t i = 0; i < brevant_class_count(); ++i) {
    if (i) std::printf("\n");
    PrintClass(i);
  }
  std::printf("};\n");
  return 0;
}
