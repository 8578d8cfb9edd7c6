#include "component/Value.h"

namespace brevant::component {

namespace {

std::string TypeText(int32_t type) {
  switch (type & ~BREVANT_ARRAY) {
    case BREVANT_I2:
      return type & BREVANT_ARRAY ? "an array of 16-bit integers" : "a 16-bit integer";
    case BREVANT_I4:
      return "a 32-bit integer";
    case BREVANT_R8:
      return "a double";
    case BREVANT_STRING:
      return "a string";
    case BREVANT_OBJECT:
      return "an object reference";
    case BREVANT_BOOL:
      return "a Boolean";
    case BREVANT_UI1:
      return type & BREVANT_ARRAY ? "a byte array" : "a byte";
    default:
      return type & BREVANT_ARRAY ? "an array of records" : "a record";
  }
}

}  // namespace

void Mismatch(const brevant_param_info& param, int32_t type) {
  std::string expected = TypeText(type);
  if (param.type_name) expected += std::string(" (") + param.type_name + ")";
  if (param.by_ref) expected += ", passed by reference with exactly that type";
  Fail(BREVANT_E_TYPEMISMATCH, std::string("Type mismatch: ") +
                                   (param.name ? param.name : "the value") + " takes " + expected);
}

int64_t Narrow(const brevant_param_info& param, int64_t value, int64_t low, int64_t high) {
  if (value < low || value > high) {
    Fail(BREVANT_E_OVERFLOW, std::string("Overflow: ") + param.name + " takes " +
                                 std::to_string(low) + " to " + std::to_string(high) + ", not " +
                                 std::to_string(value));
  }
  return value;
}

double Numeric(const brevant_variant& v, const brevant_param_info& param, int32_t type) {
  switch (v.type) {
    case BREVANT_I2:
      return v.value.i2;
    case BREVANT_I4:
      return v.value.i4;
    case BREVANT_UI1:
      return v.value.ui1;
    case BREVANT_R8:
      return v.value.r8;
    case BREVANT_BOOL:
      return v.value.boolean ? -1 : 0;
    default:
      Mismatch(param, type);
  }
}

void* Allocate(size_t count, size_t size) {
  void* memory = std::calloc(count == 0 ? 1 : count, size);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace brevant::component

using namespace brevant::component;

extern "C" {

BREVANT_API void brevant_variant_clear(brevant_variant* v) {
  if (!v) return;
  if (v->type == BREVANT_STRING) {
    std::free(v->value.string);
  } else if (v->type == BREVANT_RECORD) {
    for (int32_t i = 0; v->value.record.fields && i < v->value.record.field_count; ++i) {
      brevant_variant_clear(&v->value.record.fields[i]);
    }
    std::free(v->value.record.fields);
  } else if (v->type == (BREVANT_ARRAY | BREVANT_RECORD)) {
    auto* records = static_cast<brevant_variant*>(v->value.array.data);
    for (int32_t i = 0; records && i < v->value.array.count; ++i) {
      brevant_variant_clear(&records[i]);
    }
    std::free(records);
  } else if (v->type & BREVANT_ARRAY) {
    if (!ByteStore::Free(v->value.array.data)) std::free(v->value.array.data);
  }
  *v = brevant_variant{};
}

BREVANT_API int32_t brevant_variant_set_string(brevant_variant* v, const char* text) {
  return Guarded([&] {
    if (!v) Fail(BREVANT_E_POINTER, "No variant given");
    brevant_variant_clear(v);
    Value<std::string>::Out(*v, text ? text : "");
  });
}

BREVANT_API int32_t brevant_variant_set_array(brevant_variant* v, int32_t element_type,
                                              const void* data, int32_t count,
                                              int32_t lower_bound) {
  return Guarded([&] {
    if (!v || (count > 0 && !data)) Fail(BREVANT_E_POINTER, "No variant or no data given");
    if (count < 0) Fail(BREVANT_E_INVALIDARG, "An array cannot have a negative count");
    size_t size = 0;
    if (element_type == BREVANT_UI1) size = 1;
    if (element_type == BREVANT_I2) size = 2;
    if (size == 0) Fail(BREVANT_E_INVALIDARG, "Arrays made here hold bytes or 16-bit integers");
    brevant_variant_clear(v);
    void* copy = nullptr;
    if (size == 1) {
      const auto* bytes = static_cast<const uint8_t*>(data);
      copy = ByteStore::Keep(std::vector<uint8_t>(bytes, bytes + count));
    } else {
      copy = Allocate(static_cast<size_t>(count), size);
      if (count > 0) std::memcpy(copy, data, static_cast<size_t>(count) * size);
    }
    v->type = BREVANT_ARRAY | element_type;
    v->value.array = {1, lower_bound, count, copy};
  });
}
}
