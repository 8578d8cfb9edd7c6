// The component surface through the shared library's C ABI alone: object life,
// registration, dispatch and statuses for bad input. The identifiers and slot
// orders themselves are pinned by the committed IDL (IdlUpToDate).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "brevant/brevant.h"

namespace {

brevant_guid Id(const char* text) {
  brevant_guid id{};
  EXPECT_EQ(brevant_guid_parse(text, &id), 0) << text;
  return id;
}

std::string Text(const brevant_guid& id) {
  char text[39];
  brevant_guid_format(&id, text);
  return std::string(text).substr(1, 36);
}

brevant_object Make(const char* name) {
  brevant_object object = 0;
  EXPECT_EQ(brevant_create_by_name(name, &object), 0) << brevant_error_description();
  return object;
}

}  // namespace

TEST(Surface, DispatchIdsFollowOneScheme) {
  for (int i = 0; i < brevant_class_count(); ++i) {
    const brevant_class_info& info = *brevant_class_at(i);
    for (int s = 0; s < info.slot_count; ++s) {
      const brevant_member_info& m = *brevant_slot_at(i, s);
      // Methods 0x6003xxxx, properties 0x6803xxxx; one id per name, unique low halves.
      EXPECT_EQ(m.dispid >> 16, m.kind == BREVANT_METHOD ? 0x6003 : 0x6803) << m.name;
      for (int t = 0; t < s; ++t) {
        const brevant_member_info& other = *brevant_slot_at(i, t);
        EXPECT_EQ(std::string(other.name) == m.name, (other.dispid & 0xFFFF) == (m.dispid & 0xFFFF))
            << info.name << "." << m.name << " / " << other.name;
      }
    }
  }
  EXPECT_EQ(brevant_class_at(brevant_class_count()), nullptr);
  EXPECT_EQ(brevant_slot_at(0, -1), nullptr);
}

TEST(Surface, CreationInterfacesAndUnload) {
  ASSERT_EQ(DllCanUnloadNow(), 0);
  for (int i = 0; i < brevant_class_count(); ++i) {
    const brevant_class_info& info = *brevant_class_at(i);
    SCOPED_TRACE(info.name);
    const brevant_guid& clsid = info.class_id;
    brevant_object a = 0, b = 0, factory = 0;
    const int32_t expected = info.creatable ? 0 : BREVANT_E_CLASSNOTAVAILABLE;
    EXPECT_EQ(brevant_create(&clsid, &a), expected);
    EXPECT_EQ(brevant_create_by_name(info.name, &b), expected);
    const brevant_guid classFactory = Id("00000001-0000-0000-C000-000000000046");
    EXPECT_EQ(DllGetClassObject(&clsid, &clsid, &factory),
              info.creatable ? BREVANT_E_NOINTERFACE : BREVANT_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(DllGetClassObject(&clsid, &classFactory, &factory), expected);
    if (!info.creatable) continue;
    EXPECT_NE(a, b);
    EXPECT_EQ(DllCanUnloadNow(), BREVANT_S_FALSE);
    // Every identifier of the class, earlier versions included, gives the same object.
    std::vector<brevant_guid> iids{info.iid, Id("00020400-0000-0000-C000-000000000046")};
    for (int k = 0; k < info.alias_count; ++k) iids.push_back(info.aliases[k].iid);
    brevant_object same = 0;
    EXPECT_EQ(brevant_query_interface(a, &clsid, &same), BREVANT_E_NOINTERFACE);
    for (const brevant_guid& id : iids) {
      EXPECT_EQ(brevant_query_interface(a, &id, &same), 0) << Text(id);
      EXPECT_EQ(same, a);
      EXPECT_EQ(brevant_release(same), 0);
    }
    brevant_object made = 0;
    EXPECT_EQ(brevant_factory_create(factory, &made), 0);
    EXPECT_EQ(brevant_factory_create(a, &made), BREVANT_E_NOINTERFACE);
    for (brevant_object object : {a, b, factory, made}) EXPECT_EQ(brevant_release(object), 0);
    EXPECT_EQ(brevant_release(a), BREVANT_E_DISCONNECTED);
    EXPECT_EQ(DllCanUnloadNow(), 0);
  }
  // The gateway and the forms are not reachable at all.
  brevant_object none = 0;
  for (const char* hidden : {"clsFTD2xx", "frmSelectDevice", "frmSelectModule", "_Process"}) {
    EXPECT_EQ(brevant_create_by_name(hidden, &none), BREVANT_E_CLASSNOTAVAILABLE) << hidden;
  }
}

TEST(Surface, RegistrationRoundTrip) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("brevant-registry-" + std::to_string(::getpid()) + ".json");
  ::setenv("BREVANT_REGISTRY", path.c_str(), 1);
  ASSERT_EQ(DllRegisterServer(), 0);
  std::ifstream file(path);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  for (int i = 0; i < brevant_class_count(); ++i) {
    const brevant_class_info& info = *brevant_class_at(i);
    EXPECT_NE(text.find(Text(info.class_id)), std::string::npos) << info.name;
    EXPECT_NE(text.find(Text(info.iid)), std::string::npos) << info.name;
    for (int k = 0; k < info.alias_count; ++k) {
      EXPECT_NE(text.find(Text(info.aliases[k].iid)), std::string::npos) << info.aliases[k].name;
    }
  }
  EXPECT_NE(text.find("AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2"), std::string::npos);
  EXPECT_NE(text.find("libbrevant.so"), std::string::npos);
  EXPECT_NE(text.find(R"("help_file": "Brevant.chm")"), std::string::npos);
  ASSERT_EQ(DllUnregisterServer(), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(DllUnregisterServer(), 0);
  ::unsetenv("BREVANT_REGISTRY");
}

namespace {

brevant_variant I2(int16_t v) {
  brevant_variant x{};
  x.type = BREVANT_I2, x.value.i2 = v;
  return x;
}
brevant_variant I4(int32_t v) {
  brevant_variant x{};
  x.type = BREVANT_I4, x.value.i4 = v;
  return x;
}
brevant_variant Object(brevant_object v) {
  brevant_variant x{};
  x.type = BREVANT_OBJECT, x.value.object = v;
  return x;
}

}  // namespace

TEST(Surface, BadInputGivesAStatus) {
  const brevant_object fifo = Make("clsFTDI245FIFO");
  const brevant_object list = Make("clsDeviceList");
  const brevant_object process = Make("Process");
  brevant_object out = 0;
  brevant_variant text{};
  ASSERT_EQ(brevant_variant_set_string(&text, "A"), 0);
  const struct {
    const char* what;
    std::function<int32_t()> call;
    int32_t status;
  } rows[] = {
      {"released object", [&] { return brevant_invoke(99999, 0x60030001, 1, 0, nullptr, nullptr); },
       BREVANT_E_DISCONNECTED},
      {"unknown dispid", [&] { return brevant_invoke(fifo, 0x60030063, 1, 0, nullptr, nullptr); },
       BREVANT_E_MEMBERNOTFOUND},
      {"method called as property",
       [&] { return brevant_invoke(fifo, 0x60030001, BREVANT_GET, 0, nullptr, nullptr); },
       BREVANT_E_MEMBERNOTFOUND},
      {"too few arguments",
       [&] { return brevant_invoke(fifo, 0x60030001, 1, 0, nullptr, nullptr); },
       BREVANT_E_BADPARAMCOUNT},
      {"too many arguments",
       [&] {
         brevant_variant a[] = {I2(0), I2(0)};
         return brevant_invoke(fifo, 0x60030001, 1, 2, a, nullptr);
       },
       BREVANT_E_BADPARAMCOUNT},
      {"no argument array",
       [&] { return brevant_invoke(fifo, 0x60030001, 1, 1, nullptr, nullptr); }, BREVANT_E_POINTER},
      {"string for an integer",
       [&] { return brevant_invoke(fifo, 0x60030001, 1, 1, &text, nullptr); },
       BREVANT_E_TYPEMISMATCH},
      {"integer beyond 16 bits",
       [&] {
         brevant_variant a = I4(70000);
         return brevant_invoke(fifo, 0x60030001, 1, 1, &a, nullptr);
       },
       BREVANT_E_OVERFLOW},
      {"by-reference argument of another type",
       [&] {
         brevant_variant a[] = {I4(0), I4(0)};
         return brevant_invoke(list, 0x60030004, 1, 2, a, nullptr);
       },
       BREVANT_E_TYPEMISMATCH},
      {"other object as a sink",
       [&] {
         brevant_variant a = Object(process);
         return brevant_invoke(fifo, 0x6803000B, BREVANT_PUT, 1, &a, nullptr);
       },
       BREVANT_E_TYPEMISMATCH},
      {"dialog with a text for its channel count",
       [&] {
         brevant_variant a[] = {text, text, text};
         return brevant_invoke(list, 0x60030009, 1, 3, a, nullptr);
       },
       BREVANT_E_TYPEMISMATCH},
      {"null class name", [&] { return brevant_create_by_name(nullptr, &out); }, BREVANT_E_POINTER},
      {"null class id", [&] { return brevant_create(nullptr, &out); }, BREVANT_E_POINTER},
      {"null sink", [&] { return brevant_log_create(nullptr, &out); }, BREVANT_E_POINTER},
      {"null out", [&] { return brevant_create_by_name("Process", nullptr); }, BREVANT_E_POINTER},
      {"malformed identifier",
       [&] {
         brevant_guid id;
         return brevant_guid_parse("7F6DCBA9-B5FB-4229-BB5E-1D10961D6AD", &id);
       },
       BREVANT_E_INVALIDARG},
      // A member's own error keeps its number: no device is open yet.
      {"member error", [&] { return brevant_invoke(fifo, 0x60030003, 1, 0, nullptr, nullptr); },
       -2147215402},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.call(), row.status) << row.what;
    EXPECT_EQ(brevant_error_number(), row.status) << row.what;
    EXPECT_GT(std::strlen(brevant_error_description()), 0u) << row.what;
  }
  EXPECT_STREQ(brevant_error_source(), "clsFTD2xx");
  EXPECT_STREQ(brevant_error_description(), "Device not opened");
  brevant_variant_clear(&text);
  for (brevant_object object : {fifo, list, process}) brevant_release(object);
}

TEST(Surface, CallsWriteBackAndLog) {
  std::vector<std::string> lines;
  brevant_log_sink sink{[](void* context, int32_t level, const char* entry) {
                          static_cast<std::vector<std::string>*>(context)->push_back(
                              std::to_string(level) + " " + entry);
                        },
                        nullptr, &lines};
  brevant_object log = 0, list = Make("clsDeviceList"), process = Make("Process");
  ASSERT_EQ(brevant_log_create(&sink, &log), 0);
  brevant_variant logArg = Object(log);
  ASSERT_EQ(brevant_invoke(list, 0x68030001, BREVANT_PUT, 1, &logArg, nullptr), 0);
  brevant_release(log);  // the list holds the sink now

  // ScanDevices writes the count and the records back into the arguments.
  brevant_variant scan[2] = {I4(0), {}};
  scan[1].type = BREVANT_ARRAY | BREVANT_RECORD;
  ASSERT_EQ(brevant_invoke(list, 0x60030004, 1, 2, scan, nullptr), 0)
      << brevant_error_description();
  ASSERT_EQ(scan[0].value.i4, 7);
  ASSERT_EQ(scan[1].value.array.count, 7);
  const brevant_record& first =
      static_cast<brevant_variant*>(scan[1].value.array.data)[0].value.record;
  ASSERT_EQ(first.field_count, 5);
  EXPECT_STREQ(first.fields[2].value.string, "BV23H002");
  EXPECT_EQ(first.fields[4].value.i4, 0x0114);
  EXPECT_FALSE(lines.empty());
  EXPECT_EQ(lines[0].substr(0, 17), "3 FT_ListDevices ");

  // FindModule fills the channel numbers, channel A first.
  brevant_variant find[3] = {I4(2), {}, {}};
  ASSERT_EQ(brevant_variant_set_string(&find[1], "Dual RS232-HS"), 0);
  const int16_t before[3] = {7, 7, 7};  // elements 5..7, replaced by 0..1
  ASSERT_EQ(brevant_variant_set_array(&find[2], BREVANT_I2, before, 3, 5), 0);
  brevant_variant count{};
  ASSERT_EQ(brevant_invoke(list, 0x60030007, 1, 3, find, &count), 0);
  EXPECT_EQ(count.value.i4, 1);
  ASSERT_EQ(find[2].value.array.count, 2);
  EXPECT_EQ(find[2].value.array.lower_bound, 0);
  EXPECT_EQ(static_cast<int16_t*>(find[2].value.array.data)[1], 1);

  brevant_variant revision{};
  ASSERT_EQ(brevant_invoke(process, 0x68030000, BREVANT_GET, 0, nullptr, &revision), 0);
  EXPECT_EQ(revision.type, BREVANT_I2);
  EXPECT_EQ(revision.value.i2, 10);
  EXPECT_EQ(brevant_version.file_version[3], 10);
  EXPECT_STREQ(brevant_version.file_version_text, "1.00.0010");

  for (brevant_variant* v : {&scan[0], &scan[1], &find[0], &find[1], &find[2], &count}) {
    brevant_variant_clear(v);
  }
  brevant_release(list);
  brevant_release(process);
  EXPECT_EQ(DllCanUnloadNow(), 0);
}
