// The exported functions that make, count and call objects.
#include <cstdio>
#include <cstring>

#include "component/Classes.h"
#include "component/ClientLog.h"
#include "component/Guid.h"

using namespace brevant;
using namespace brevant::component;

namespace {

void Need(const void* pointer, const char* what) {
  if (!pointer) Fail(BREVANT_E_POINTER, std::string("No ") + what + " given");
}

brevant_object Make(const ClassBinding& binding) {
  if (!binding.create) {
    Fail(BREVANT_E_CLASSNOTAVAILABLE,
         std::string("Class ") + binding.info.name + " cannot be created by a client");
  }
  return Objects::Add(binding, binding.create());
}

bool Answers(const ClassBinding& binding, const brevant_guid& iid) {
  if (SameGuid(iid, kIUnknown) || SameGuid(iid, kIDispatch) || SameGuid(iid, binding.info.iid)) {
    return true;
  }
  for (const brevant_alias_info& alias : binding.aliases) {
    if (SameGuid(iid, alias.iid)) return true;
  }
  return false;
}

std::string Text(const brevant_guid& id) {
  char text[39];
  brevant_guid_format(&id, text);
  return text;
}

}  // namespace

extern "C" {

BREVANT_API int32_t brevant_guid_parse(const char* text, brevant_guid* out) {
  return Guarded([&] {
    Need(text, "text");
    Need(out, "identifier");
    if (!ParseGuid(text, *out)) {
      Fail(BREVANT_E_INVALIDARG, std::string("Not an identifier: \"") + text + "\"");
    }
  });
}

BREVANT_API void brevant_guid_format(const brevant_guid* id, char* out) {
  if (!id || !out) return;
  std::snprintf(out, 39, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id->data1, id->data2,
                id->data3, id->data4[0], id->data4[1], id->data4[2], id->data4[3], id->data4[4],
                id->data4[5], id->data4[6], id->data4[7]);
}

BREVANT_API int32_t brevant_create(const brevant_guid* class_id, brevant_object* out) {
  return Guarded([&] {
    Need(class_id, "class identifier");
    Need(out, "place for the object");
    const ClassBinding* binding = FindClass(*class_id);
    if (!binding)
      Fail(BREVANT_E_CLASSNOTAVAILABLE, "No class has the identifier " + Text(*class_id));
    *out = Make(*binding);
  });
}

BREVANT_API int32_t brevant_create_by_name(const char* class_name, brevant_object* out) {
  return Guarded([&] {
    Need(class_name, "class name");
    Need(out, "place for the object");
    const ClassBinding* binding = FindClass(class_name);
    if (!binding) Fail(BREVANT_E_CLASSNOTAVAILABLE, std::string("No class is named ") + class_name);
    *out = Make(*binding);
  });
}

BREVANT_API int32_t brevant_query_interface(brevant_object object, const brevant_guid* iid,
                                            brevant_object* out) {
  return Guarded([&] {
    Need(iid, "interface identifier");
    Need(out, "place for the object");
    const LiveObject live = Objects::Find(object);
    if (!Answers(*live.binding, *iid)) {
      Fail(BREVANT_E_NOINTERFACE,
           std::string(live.binding->info.name) + " has no interface " + Text(*iid));
    }
    Objects::AddRef(object);
    *out = object;
  });
}

BREVANT_API int32_t brevant_add_ref(brevant_object object) {
  return Guarded([&] { Objects::AddRef(object); });
}

BREVANT_API int32_t brevant_release(brevant_object object) {
  return Guarded([&] { Objects::Release(object); });
}

BREVANT_API int32_t brevant_log_create(const brevant_log_sink* sink, brevant_object* out) {
  return Guarded([&] {
    Need(sink, "sink");
    if (!sink->log_entry) Fail(BREVANT_E_POINTER, "No log_entry function given");
    Need(out, "place for the object");
    *out = Objects::Add(icLogBinding(), std::make_shared<ClientLog>(*sink));
  });
}

BREVANT_API int32_t brevant_invoke(brevant_object object, int32_t dispid, int32_t kind,
                                   int32_t arg_count, brevant_variant* args,
                                   brevant_variant* result) {
  return Guarded([&] {
    const LiveObject live = Objects::Find(object);
    for (const MemberRow& row : live.binding->rows) {
      if (row.info.dispid != dispid || row.info.kind != kind) continue;
      CheckArguments(row, arg_count, args);
      row.run(row, live.self.get(), arg_count, args, result);
      return;
    }
    char id[11];
    std::snprintf(id, sizeof id, "0x%08X", static_cast<uint32_t>(dispid));
    const std::string what = kind == BREVANT_METHOD ? "method"
                             : kind == BREVANT_GET  ? "property read"
                             : kind == BREVANT_PUT  ? "property write"
                                                    : "call of kind " + std::to_string(kind);
    Fail(BREVANT_E_MEMBERNOTFOUND,
         std::string(live.binding->info.name) + " has no " + what + " with dispatch id " + id);
  });
}

BREVANT_API int32_t brevant_dispid(brevant_object object, const char* member, int32_t* dispid) {
  return Guarded([&] {
    Need(member, "member name");
    Need(dispid, "place for the dispatch id");
    const LiveObject live = Objects::Find(object);
    for (const MemberRow& row : live.binding->rows) {
      if (std::strcmp(row.info.name, member) == 0) {
        *dispid = row.info.dispid;
        return;
      }
    }
    Fail(BREVANT_E_MEMBERNOTFOUND,
         std::string(live.binding->info.name) + " has no member " + member);
  });
}

BREVANT_API int32_t brevant_class_of(brevant_object object, int32_t* class_index) {
  return Guarded([&] {
    Need(class_index, "place for the class");
    const LiveObject live = Objects::Find(object);
    const auto classes = AllClasses();
    *class_index = -1;  // a class factory is no public class
    for (size_t i = 0; i < classes.size(); ++i) {
      if (classes[i] == live.binding) *class_index = static_cast<int32_t>(i);
    }
  });
}
}
