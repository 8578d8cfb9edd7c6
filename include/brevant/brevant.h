/* Brevant's C ABI: the public classes as reference-counted objects that are
 * created by class identifier or name and called late-bound by dispatch id.
 *
 *   brevant_object fifo = 0;
 *   brevant_variant arg = {0};
 *   if (brevant_create_by_name("clsFTDI245FIFO", &fifo) != 0) {
 *     fprintf(stderr, "%s\n", brevant_error_description());
 *   }
 *   arg.type = BREVANT_I2;
 *   arg.value.i2 = 0;
 *   brevant_invoke(fifo, 0x60030001, BREVANT_METHOD, 1, &arg, NULL);  (Initialize)
 *   brevant_release(fifo);
 *
 * Every function that can fail returns a status: 0, or the number of the error,
 * whose Number, Source and Description then stay readable on the calling thread
 * until the next failure there. Nothing here ever crashes on a bad handle, a
 * wrong identifier or a wrong argument: each is a status of its own.
 *
 * Strings are UTF-8. A string or array in a variant is owned by the variant and
 * lives in memory the library allocates: build them with brevant_variant_set_*,
 * and free them with brevant_variant_clear only. A by-reference byte array is
 * handed to the member and back without a copy, so its `data` may point
 * elsewhere after the call. */
#ifndef BREVANT_BREVANT_H
#define BREVANT_BREVANT_H

#include <stdint.h>

#if defined(BREVANT_BUILDING) && !defined(_WIN32)
#define BREVANT_API __attribute__((visibility("default")))
#else
#define BREVANT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses of the surface itself; a member's own errors keep their numbers. */
#define BREVANT_S_FALSE 1
#define BREVANT_E_NOINTERFACE ((int32_t)0x80004002)
#define BREVANT_E_POINTER ((int32_t)0x80004003)
#define BREVANT_E_UNEXPECTED ((int32_t)0x8000FFFF)
#define BREVANT_E_OUTOFMEMORY ((int32_t)0x8007000E)
#define BREVANT_E_INVALIDARG ((int32_t)0x80070057)
#define BREVANT_E_DISCONNECTED ((int32_t)0x80010108)
#define BREVANT_E_MEMBERNOTFOUND ((int32_t)0x80020003)
#define BREVANT_E_TYPEMISMATCH ((int32_t)0x80020005)
#define BREVANT_E_OVERFLOW ((int32_t)0x8002000A)
#define BREVANT_E_BADPARAMCOUNT ((int32_t)0x8002000E)
#define BREVANT_E_CLASSNOTAVAILABLE ((int32_t)0x80040111)

typedef struct brevant_guid {
  uint32_t data1;
  uint16_t data2;
  uint16_t data3;
  uint8_t data4[8];
} brevant_guid;

/* An object reference; 0 is no object. Identifiers are never reused, so a
 * released reference is refused rather than reaching another object. */
typedef uint64_t brevant_object;

/* Value types, numbered as automation numbers them. */
enum brevant_type {
  BREVANT_EMPTY = 0,
  BREVANT_I2 = 2,
  BREVANT_I4 = 3,
  BREVANT_R8 = 5,
  BREVANT_STRING = 8,
  BREVANT_OBJECT = 9,
  BREVANT_BOOL = 11,
  BREVANT_UI1 = 17,
  BREVANT_RECORD = 36,
  BREVANT_ARRAY = 0x2000 /* or'ed with the element type */
};

struct brevant_variant;

/* One dimension with a lower bound; `allocated` 0 is an array without bounds.
 * `data` holds uint8_t, int16_t or brevant_variant (each a BREVANT_RECORD). */
typedef struct brevant_array {
  int32_t allocated;
  int32_t lower_bound;
  int32_t count;
  void* data;
} brevant_array;

/* The fields of a record, in the order its type information gives. */
typedef struct brevant_record {
  int32_t field_count;
  struct brevant_variant* fields;
} brevant_record;

typedef struct brevant_variant {
  int32_t type;
  union {
    int16_t i2;
    int32_t i4;
    double r8;
    int32_t boolean; /* nonzero is True */
    uint8_t ui1;
    char* string;
    brevant_object object;
    brevant_array array;
    brevant_record record;
  } value;
} brevant_variant;

BREVANT_API void brevant_variant_clear(brevant_variant* v);
BREVANT_API int32_t brevant_variant_set_string(brevant_variant* v, const char* text);
/* An array of `element_type` (BREVANT_UI1 or BREVANT_I2) copied from `data`. */
BREVANT_API int32_t brevant_variant_set_array(brevant_variant* v, int32_t element_type,
                                              const void* data, int32_t count, int32_t lower_bound);

/* The error of the last failed call on this thread; 0 and empty texts before. */
BREVANT_API int32_t brevant_error_number(void);
BREVANT_API const char* brevant_error_source(void);
BREVANT_API const char* brevant_error_description(void);

BREVANT_API int32_t brevant_guid_parse(const char* text, brevant_guid* out);
/* Upper case, in braces; `out` takes 39 characters. */
BREVANT_API void brevant_guid_format(const brevant_guid* id, char* out);

BREVANT_API int32_t brevant_create(const brevant_guid* class_id, brevant_object* out);
BREVANT_API int32_t brevant_create_by_name(const char* class_name, brevant_object* out);
/* The same reference, counted once more, for the class's interface identifier,
 * any earlier version's identifier, IUnknown or IDispatch. */
BREVANT_API int32_t brevant_query_interface(brevant_object object, const brevant_guid* iid,
                                            brevant_object* out);
BREVANT_API int32_t brevant_add_ref(brevant_object object);
BREVANT_API int32_t brevant_release(brevant_object object);

/* A log sink that the client implements. `log_entry` is called synchronously
 * inside the client's own call and must not fail; `release`, if set, once the
 * library holds the sink no more. */
typedef struct brevant_log_sink {
  void (*log_entry)(void* context, int32_t level, const char* entry);
  void (*release)(void* context);
  void* context;
} brevant_log_sink;

/* An `icLog` object over the sink, for a `Log` property. */
BREVANT_API int32_t brevant_log_create(const brevant_log_sink* sink, brevant_object* out);

enum brevant_invoke_kind { BREVANT_METHOD = 1, BREVANT_GET = 2, BREVANT_PUT = 4 };

/* Calls a member. `args` are in the member's order, the value to write last;
 * by-reference arguments are written back in place, also when the member fails:
 * what it stored into them before it raised, as a C++ caller sees it. `result`
 * may be NULL. */
BREVANT_API int32_t brevant_invoke(brevant_object object, int32_t dispid, int32_t kind,
                                   int32_t arg_count, brevant_variant* args,
                                   brevant_variant* result);
BREVANT_API int32_t brevant_dispid(brevant_object object, const char* member, int32_t* dispid);
/* The class of an object, as an index for brevant_class_at. */
BREVANT_API int32_t brevant_class_of(brevant_object object, int32_t* class_index);

/* Type information. */
typedef struct brevant_library_info {
  const char* name;
  brevant_guid id;
  int32_t major;
  int32_t minor;
  const char* description;
  int32_t locale;
  /* Appended in 1.3: the help file a client's object browser names, and the
     library's help context in it. */
  const char* help_file;
  int32_t help_context;
} brevant_library_info;

typedef struct brevant_param_info {
  const char* name;
  int32_t type;          /* brevant_type */
  const char* type_name; /* the enum, record or class, or NULL */
  int32_t by_ref;
  int32_t optional;
  int32_t default_value;
} brevant_param_info;

typedef struct brevant_member_info {
  const char* name;
  int32_t dispid;
  int32_t kind;              /* brevant_invoke_kind */
  brevant_param_info result; /* type BREVANT_EMPTY when there is none */
  int32_t param_count;
  const brevant_param_info* params;
} brevant_member_info;

typedef struct brevant_alias_info {
  const char* name;
  int32_t major;
  int32_t minor;
  brevant_guid iid;
} brevant_alias_info;

typedef struct brevant_class_info {
  const char* name;
  const char* interface_name;
  brevant_guid class_id;
  brevant_guid iid;
  int32_t major;
  int32_t minor;
  int32_t creatable;
  int32_t slot_count; /* one slot per method, property read and property write */
  int32_t alias_count;
  const brevant_alias_info* aliases;
} brevant_class_info;

typedef struct brevant_enum_member {
  const char* name;
  int32_t value;
} brevant_enum_member;

typedef struct brevant_enum_info {
  const char* name;
  int32_t member_count;
  const brevant_enum_member* members;
} brevant_enum_info;

typedef struct brevant_record_info {
  const char* name;
  int32_t field_count;
  const brevant_param_info* fields;
} brevant_record_info;

BREVANT_API const brevant_library_info* brevant_library(void);
BREVANT_API int32_t brevant_class_count(void);
/* NULL outside 0 .. count - 1, as for the other lists. */
BREVANT_API const brevant_class_info* brevant_class_at(int32_t index);
BREVANT_API const brevant_member_info* brevant_slot_at(int32_t class_index, int32_t slot);
BREVANT_API int32_t brevant_enum_count(void);
BREVANT_API const brevant_enum_info* brevant_enum_at(int32_t index);
BREVANT_API int32_t brevant_record_count(void);
BREVANT_API const brevant_record_info* brevant_record_at(int32_t index);

/* The version block, in the library's section ".brevant_version". */
typedef struct brevant_version_block {
  uint16_t file_version[4];
  uint16_t product_version[4];
  uint16_t language;
  uint16_t code_page;
  char file_version_text[16];
  char product_version_text[16];
  char product_name[32];
  char internal_name[16];
  char original_filename[16];
  char ole_self_register[1];
} brevant_version_block;

BREVANT_API extern const brevant_version_block brevant_version;

/* On Windows the entry points are those of a COM in-process server, with the
 * platform's own signatures. */
#ifndef _WIN32
/* The in-process server's entry points. Registration writes and removes a file
 * ($BREVANT_REGISTRY, else $XDG_DATA_HOME/brevant/registry.json, else
 * ~/.local/share/brevant/registry.json). */
BREVANT_API int32_t DllRegisterServer(void);
BREVANT_API int32_t DllUnregisterServer(void);
/* A class factory for a creatable class; `iid` IClassFactory or IUnknown. */
BREVANT_API int32_t DllGetClassObject(const brevant_guid* class_id, const brevant_guid* iid,
                                      brevant_object* out);
/* 0 when no object of the library is alive, else BREVANT_S_FALSE. */
BREVANT_API int32_t DllCanUnloadNow(void);
/* The factory's one member: a new object, its reference counted once. */
BREVANT_API int32_t brevant_factory_create(brevant_object factory, brevant_object* out);
#endif

#ifdef __cplusplus
}
#endif

#endif /* BREVANT_BREVANT_H */
