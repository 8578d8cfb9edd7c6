// The component surface through the shared library's C ABI alone: identifiers,
// creatable flags, slot orders and dispatch ids against the published tables,
// object life, registration, and statuses for bad input.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "brevant/brevant.h"

namespace {

struct ClassRow {
  const char* name;
  bool creatable;
  const char* clsid;
  const char* iid;
  int major, minor;
  // Slots in order: a method by name, a property read with "<", a write with ">".
  const char* slots;
};

const ClassRow kClasses[] = {
    {"clsFTDIMPSSE", true, "7F6DCBA9-B5FB-4229-BB5E-1D10961D6AD1",
     "58A383BA-40B9-42F0-B528-8F096398D6E2", 1, 3,
     "Initialize MPSSEPortIO SetClockDivisor GetClockDivisor ClockDivisorFromFrequency "
     "ClockDivisorToFrequency SetPortLow SetPortHigh ReadPortLow ReadPortHigh DataBytesOut "
     "DataBytesIn DataBytesInOut HardwareLoopback Terminate SetTimeOuts TMSBitsOut TMSBitsInOut "
     "Log< Log>"},
    {"clsFTDIMPSSEPortIO", false, "E63CF42D-F07E-456C-907B-D4B7334A8310",
     "E594AFD6-8144-4A79-80D4-EE7FA636175E", 1, 0,
     "Syncronize SyncMPSSEGPIOL SyncGPIOH MPSSEPortOutput> MPSSEPortInput< GPIOLPortDirection> "
     "GPIOLPortOutput> GPIOLPortInput< GPIOHPortDirection> GPIOHPortOutput> GPIOHPortInput< "
     "MPSSEPortDirection0< MPSSEPortInput0< MPSSEPortOutput0> MPSSEPortOutput0< "
     "GPIOLPortDirection0< GPIOLPortDirection0> GPIOLPortInput0< GPIOLPortOutput0> "
     "GPIOLPortOutput0< GPIOHPortDirection0< GPIOHPortDirection0> GPIOHPortInput0< "
     "GPIOHPortOutput0> GPIOHPortOutput0< MPSSESignalOutput> MPSSESignalInput< "
     "GPIOLSignalDirection> GPIOLSignalOutput> GPIOLSignalInput< GPIOHSignalDirection> "
     "GPIOHSignalOutput> GPIOHSignalInput< MPSSESignalDirection0< MPSSESignalInput0< "
     "MPSSESignalOutput0< MPSSESignalOutput0> GPIOLSignalDirection0> GPIOLSignalDirection0< "
     "GPIOLSignalInput0< GPIOLSignalOutput0< GPIOLSignalOutput0> GPIOHSignalDirection0> "
     "GPIOHSignalDirection0< GPIOHSignalInput0< GPIOHSignalOutput0< GPIOHSignalOutput0>"},
    {"clsFTDISyncBitBang", true, "B3D6BD5A-97FB-431F-9842-158968A6D90B",
     "F31E5BE7-64BF-412B-9052-BB309C1F7226", 1, 2,
     "Initialize SetBaudRate SyncDirection SyncValue PortDirection> PortOutput> PortInput< "
     "PortDirection0> PortDirection0< PortInput0< PortOutput0> PortOutput0< SignalDirection> "
     "SignalOutput> SignalInput< SignalDirection0< SignalDirection0> SignalInput0< "
     "SignalOutput0< SignalOutput0> BufferInitialize BufferPortOutput BufferSignalOutput "
     "BufferTransfer BufferInputCount< BufferPortInput BufferSignalInput Terminate SetTimeOuts "
     "Log< Log>"},
    {"Process", true, "ECFE44F5-011C-4D87-A734-C00D71F014AB",
     "8BFCEE81-BF12-490E-A444-746758266D1C", 1, 0, "Major< Minor< Revision<"},
    {"icLog", false, "9455F0E1-B80D-48A0-8C90-770E02634203", "662EF0C1-CE79-4463-A8C7-6E20CCD299C0",
     1, 0, "LogEntry"},
    {"clsFTDIOpto", true, "466C7478-A2FD-4E81-BB6B-DA1B77B6FE72",
     "907A626B-2D83-4E3E-9535-3A89DE15B37E", 1, 1,
     "Initialize SetTimeOuts Reset PurgeQueueTx PurgeQueueRx PurgeQueues DataWrite DataRead "
     "Terminate Log< Log>"},
    {"clsFTDI245FIFO", true, "260ADB86-AD2C-440C-8274-399001AA91C8",
     "B201F58A-E141-41C7-B72F-74A1649E0F72", 1, 1,
     "Initialize SetTimeOuts QueueTx QueueRx PurgeQueueTx PurgeQueueRx PurgeQueues DataWrite "
     "DataRead Terminate Log< Log>"},
    {"clsDeviceList", true, "4271C340-2343-40E2-9D1D-06A576EDCD98",
     "1E5F2A75-C9DD-41EC-84F2-44831916629C", 1, 0,
     "Log< Log> GetDeviceCount GetDeviceInfo ScanDevices DiscernModules FindDevice FindModule "
     "DialogSelectDevice DialogSelectModule"},
};

struct AliasRow {
  const char* className;
  const char* name;
  int minor;
  const char* iid;
};

const AliasRow kAliases[] = {
    {"clsFTDIMPSSE", "clsFTDIMPSSE___v0", 0, "B1051F2C-B5A2-49C1-BFB6-431238D31B8D"},
    {"clsFTDIMPSSE", "clsFTDIMPSSE___v1", 1, "B8B6E8C5-7F0D-466B-96E1-B4DFB54E01EB"},
    {"clsFTDIMPSSE", "clsFTDIMPSSE___v2", 2, "11671144-D50F-4698-8A81-F3833CFE4842"},
    {"clsFTDISyncBitBang", "clsFTDISyncBitBang___v0", 0, "5A86936F-D33B-48CC-93E8-340933160EBE"},
    {"clsFTDISyncBitBang", "clsFTDISyncBitBang___v1", 1, "BC977133-6757-4EB8-ABCD-8883F901E8DA"},
    {"clsFTDIOpto", "clsFTDIOpto___v0", 0, "C25D4D92-6B47-47E7-857D-E698DFCFDC35"},
    {"clsFTDI245FIFO", "clsFTDI245FIFO___v0", 0, "CCB0B2E2-AD0B-4A95-B8D3-4276C0CBA31F"},
};

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

int ClassIndex(const std::string& name) {
  for (int i = 0; i < brevant_class_count(); ++i) {
    if (brevant_class_at(i)->name == name) return i;
  }
  return -1;
}

const brevant_member_info* Member(const char* className, const std::string& name, int kind) {
  const int index = ClassIndex(className);
  for (int s = 0; s < brevant_class_at(index)->slot_count; ++s) {
    const brevant_member_info* m = brevant_slot_at(index, s);
    if (m->name == name && m->kind == kind) return m;
  }
  return nullptr;
}

brevant_object Make(const char* name) {
  brevant_object object = 0;
  EXPECT_EQ(brevant_create_by_name(name, &object), 0) << brevant_error_description();
  return object;
}

}  // namespace

TEST(Surface, LibraryClassesAliasesAndSlots) {
  const brevant_library_info& library = *brevant_library();
  EXPECT_STREQ(library.name, "Brevant");
  EXPECT_EQ(Text(library.id), "AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2");
  EXPECT_EQ(library.major * 10 + library.minor, 13);
  EXPECT_STREQ(library.description, "Halvorn FTDI Device Library");
  EXPECT_EQ(library.locale, 0x0409);
  ASSERT_EQ(brevant_class_count(), 8);
  for (int i = 0; i < 8; ++i) {
    const ClassRow& row = kClasses[i];
    SCOPED_TRACE(row.name);
    const brevant_class_info& info = *brevant_class_at(i);
    EXPECT_STREQ(info.name, row.name);
    EXPECT_EQ(std::string(info.interface_name), std::string("_") + row.name);
    EXPECT_EQ(Text(info.class_id), row.clsid);
    EXPECT_EQ(Text(info.iid), row.iid);
    EXPECT_EQ(info.major * 10 + info.minor, row.major * 10 + row.minor);
    EXPECT_EQ(info.creatable != 0, row.creatable);
    std::ostringstream slots;
    for (int s = 0; s < info.slot_count; ++s) {
      const brevant_member_info& m = *brevant_slot_at(i, s);
      slots << (s ? " " : "") << m.name
            << (m.kind == BREVANT_GET   ? "<"
                : m.kind == BREVANT_PUT ? ">"
                                        : "");
      // Methods 0x6003xxxx, properties 0x6803xxxx; one id per name, unique low halves.
      EXPECT_EQ(m.dispid >> 16, m.kind == BREVANT_METHOD ? 0x6003 : 0x6803) << m.name;
      for (int t = 0; t < s; ++t) {
        const brevant_member_info& other = *brevant_slot_at(i, t);
        EXPECT_EQ(std::string(other.name) == m.name, (other.dispid & 0xFFFF) == (m.dispid & 0xFFFF))
            << m.name << " / " << other.name;
      }
    }
    EXPECT_EQ(slots.str(), row.slots);
    int aliases = 0;
    for (const AliasRow& alias : kAliases) {
      if (std::string(alias.className) != row.name) continue;
      ASSERT_LT(aliases, info.alias_count);
      EXPECT_STREQ(info.aliases[aliases].name, alias.name);
      EXPECT_EQ(info.aliases[aliases].minor, alias.minor);
      EXPECT_EQ(Text(info.aliases[aliases++].iid), alias.iid);
    }
    EXPECT_EQ(info.alias_count, aliases);
  }
  EXPECT_EQ(brevant_class_at(8), nullptr);
  EXPECT_EQ(brevant_slot_at(0, -1), nullptr);
}

TEST(Surface, FixedDispatchIds) {
  const struct {
    const char* className;
    const char* member;
    int kind;
    uint32_t dispid;
  } rows[] = {
      {"clsFTDI245FIFO", "Initialize", BREVANT_METHOD, 0x60030001},
      {"clsFTDI245FIFO", "SetTimeOuts", BREVANT_METHOD, 0x60030002},
      {"clsFTDI245FIFO", "QueueTx", BREVANT_METHOD, 0x60030003},
      {"clsFTDI245FIFO", "Terminate", BREVANT_METHOD, 0x6003000A},
      {"clsFTDI245FIFO", "Log", BREVANT_GET, 0x6803000B},
      {"clsFTDI245FIFO", "Log", BREVANT_PUT, 0x6803000B},
      {"Process", "Major", BREVANT_GET, 0x68030002},
      {"Process", "Minor", BREVANT_GET, 0x68030001},
      {"Process", "Revision", BREVANT_GET, 0x68030000},
      {"icLog", "LogEntry", BREVANT_METHOD, 0x60030000},
  };
  for (const auto& row : rows) {
    const brevant_member_info* m = Member(row.className, row.member, row.kind);
    ASSERT_NE(m, nullptr) << row.member;
    EXPECT_EQ(static_cast<uint32_t>(m->dispid), row.dispid) << row.className << "." << row.member;
  }
}

TEST(Surface, CreationInterfacesAndUnload) {
  ASSERT_EQ(DllCanUnloadNow(), 0);
  for (const ClassRow& row : kClasses) {
    SCOPED_TRACE(row.name);
    const brevant_guid clsid = Id(row.clsid);
    brevant_object a = 0, b = 0, factory = 0;
    const int32_t expected = row.creatable ? 0 : BREVANT_E_CLASSNOTAVAILABLE;
    EXPECT_EQ(brevant_create(&clsid, &a), expected);
    EXPECT_EQ(brevant_create_by_name(row.name, &b), expected);
    const brevant_guid classFactory = Id("00000001-0000-0000-C000-000000000046");
    EXPECT_EQ(DllGetClassObject(&clsid, &clsid, &factory),
              row.creatable ? BREVANT_E_NOINTERFACE : BREVANT_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(DllGetClassObject(&clsid, &classFactory, &factory), expected);
    if (!row.creatable) continue;
    EXPECT_NE(a, b);
    EXPECT_EQ(DllCanUnloadNow(), BREVANT_S_FALSE);
    // Every identifier of the class, earlier versions included, gives the same object.
    std::vector<const char*> iids{row.iid, "00020400-0000-0000-C000-000000000046"};
    for (const AliasRow& alias : kAliases) {
      if (std::string(alias.className) == row.name) iids.push_back(alias.iid);
    }
    brevant_object same = 0;
    EXPECT_EQ(brevant_query_interface(a, &clsid, &same), BREVANT_E_NOINTERFACE);
    for (const char* iid : iids) {
      const brevant_guid id = Id(iid);
      EXPECT_EQ(brevant_query_interface(a, &id, &same), 0) << iid;
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
  for (const ClassRow& row : kClasses) {
    EXPECT_NE(text.find(row.clsid), std::string::npos) << row.name;
    EXPECT_NE(text.find(row.iid), std::string::npos) << row.name;
  }
  for (const AliasRow& alias : kAliases) EXPECT_NE(text.find(alias.iid), std::string::npos);
  EXPECT_NE(text.find("AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2"), std::string::npos);
  EXPECT_NE(text.find("libbrevant.so"), std::string::npos);
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
