// How each C++ argument and result type of the public classes travels in a
// brevant_variant: its type code, its type name for the type information, and
// the conversion both ways. By-value integers, doubles and Booleans are coerced
// between the numeric types as automation coerces them; by-reference arguments
// must come with their exact type, since the member writes them back.
#pragma once

#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>

#include "brevant/Array.h"
#include "brevant/brevant.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "brevant/icLog.h"
#include "brevant/tDeviceInfo.h"
#include "brevant/tModuleInfo.h"
#include "component/ByteStore.h"
#include "component/Edge.h"
#include "component/Names.h"
#include "component/Objects.h"

namespace brevant::component {

[[noreturn]] void Mismatch(const brevant_param_info& param, int32_t type);
// Raises an overflow when `value` does not fit between `low` and `high`.
int64_t Narrow(const brevant_param_info& param, int64_t value, int64_t low, int64_t high);
// A numeric variant as a number; raises a mismatch for anything else.
double Numeric(const brevant_variant& v, const brevant_param_info& param, int32_t type);
// malloc that raises instead of returning null.
void* Allocate(size_t count, size_t size);
const ClassBinding& BindingNamed(std::string_view name);

template <class T, class = void>
struct Value;

// Gives an argument's storage back once its call is over, where its type keeps
// some (arrays, below).
template <class T>
void Recycle(T& x) {
  if constexpr (requires { Value<T>::Recycle(x); }) Value<T>::Recycle(x);
}

// Lends a client's storage to an argument where its type can (byte arrays,
// below); true when it did.
template <class T>
bool Lend(const brevant_variant& v, const brevant_param_info& p, T& x) {
  if constexpr (requires { Value<T>::Lend(v, p, x); }) {
    return Value<T>::Lend(v, p, x);
  } else {
    return false;
  }
}

// How a by-reference argument goes back: cleared and written anew, unless its
// type knows better (arrays, below).
template <class T>
void Back(brevant_variant& v, T& x, bool lent) {
  if constexpr (requires { Value<T>::Back(v, x, lent); }) {
    Value<T>::Back(v, x, lent);
  } else {
    brevant_variant_clear(&v);
    Value<T>::Out(v, x);
  }
}

template <class T, int32_t Type>
struct IntegerValue {
  static constexpr int32_t kType = Type;
  static const char* Name() { return nullptr; }
  static T In(const brevant_variant& v, const brevant_param_info& p) {
    if (p.by_ref && v.type != kType) Mismatch(p, kType);
    const double number = Numeric(v, p, kType);
    if (v.type == BREVANT_R8 || v.type == BREVANT_BOOL) Mismatch(p, kType);
    return static_cast<T>(Narrow(p, static_cast<int64_t>(number), std::numeric_limits<T>::min(),
                                 std::numeric_limits<T>::max()));
  }
};

template <>
struct Value<int16_t> : IntegerValue<int16_t, BREVANT_I2> {
  static void Out(brevant_variant& v, int16_t x) { v.type = kType, v.value.i2 = x; }
};
template <>
struct Value<int32_t> : IntegerValue<int32_t, BREVANT_I4> {
  static void Out(brevant_variant& v, int32_t x) { v.type = kType, v.value.i4 = x; }
};
template <>
struct Value<uint8_t> : IntegerValue<uint8_t, BREVANT_UI1> {
  static void Out(brevant_variant& v, uint8_t x) { v.type = kType, v.value.ui1 = x; }
};

template <class E>
struct Value<E, std::enable_if_t<std::is_enum_v<E>>> {
  static constexpr int32_t kType = BREVANT_I4;
  static const char* Name() { return EnumName<E>::kName; }
  static E In(const brevant_variant& v, const brevant_param_info& p) {
    return static_cast<E>(Value<int32_t>::In(v, p));
  }
  static void Out(brevant_variant& v, E x) { Value<int32_t>::Out(v, static_cast<int32_t>(x)); }
};

template <>
struct Value<double> {
  static constexpr int32_t kType = BREVANT_R8;
  static const char* Name() { return nullptr; }
  static double In(const brevant_variant& v, const brevant_param_info& p) {
    if (p.by_ref && v.type != kType) Mismatch(p, kType);
    return Numeric(v, p, kType);
  }
  static void Out(brevant_variant& v, double x) { v.type = kType, v.value.r8 = x; }
};

template <>
struct Value<bool> {
  static constexpr int32_t kType = BREVANT_BOOL;
  static const char* Name() { return nullptr; }
  static bool In(const brevant_variant& v, const brevant_param_info& p) {
    if (p.by_ref && v.type != kType) Mismatch(p, kType);
    return v.type == kType ? v.value.boolean != 0 : Numeric(v, p, kType) != 0;
  }
  static void Out(brevant_variant& v, bool x) { v.type = kType, v.value.boolean = x ? -1 : 0; }
};

template <>
struct Value<std::string> {
  static constexpr int32_t kType = BREVANT_STRING;
  static const char* Name() { return nullptr; }
  static std::string In(const brevant_variant& v, const brevant_param_info& p) {
    if (v.type != kType) Mismatch(p, kType);
    return v.value.string ? v.value.string : "";
  }
  static void Out(brevant_variant& v, const std::string& x) {
    char* text = static_cast<char*>(Allocate(x.size() + 1, 1));
    std::memcpy(text, x.c_str(), x.size() + 1);
    v.type = kType, v.value.string = text;
  }
};

// Object references: a client's sink in, the library's objects out. An object
// handed out is a new reference that the client releases.
template <class C>
struct Value<std::shared_ptr<C>> {
  static constexpr int32_t kType = BREVANT_OBJECT;
  static const char* Name() { return ClassName<C>::kName; }
  static std::shared_ptr<C> In(const brevant_variant& v, const brevant_param_info& p) {
    if (v.type == BREVANT_EMPTY || (v.type == kType && v.value.object == 0)) return nullptr;
    if (v.type != kType) Mismatch(p, kType);
    LiveObject object = Objects::Find(v.value.object);
    if (object.binding != &BindingNamed(Name())) Mismatch(p, kType);
    return std::static_pointer_cast<C>(object.self);
  }
  static void Out(brevant_variant& v, const std::shared_ptr<C>& x) {
    v.type = kType;
    v.value.object = x ? Objects::Add(BindingNamed(Name()), x) : 0;
  }
};

// Records travel as their fields in the order of RecordFields.
template <class R>
struct Value<R, std::enable_if_t<RecordFields<R>::kRecord>> {
  static constexpr int32_t kType = BREVANT_RECORD;
  static const char* Name() { return RecordFields<R>::kName; }
  static R In(const brevant_variant& v, const brevant_param_info& p) {
    constexpr auto fields = RecordFields<R>::Fields();
    if (v.type != kType || v.value.record.field_count != std::tuple_size_v<decltype(fields)> ||
        !v.value.record.fields) {
      Mismatch(p, kType);
    }
    R record;
    int i = 0;
    std::apply(
        [&](auto... field) {
          ((record.*field.member =
                FieldIn<decltype(record.*field.member)>(v.value.record.fields[i++], field.name)),
           ...);
        },
        fields);
    return record;
  }
  static void Out(brevant_variant& v, const R& x) {
    constexpr auto fields = RecordFields<R>::Fields();
    constexpr int count = std::tuple_size_v<decltype(fields)>;
    auto* out = static_cast<brevant_variant*>(Allocate(count, sizeof(brevant_variant)));
    v.type = kType, v.value.record = {count, out};
    int i = 0;
    std::apply(
        [&](auto... field) {
          ((Value<std::remove_cvref_t<decltype(x.*field.member)>>::Out(out[i++], x.*field.member)),
           ...);
        },
        fields);
  }

 private:
  template <class F>
  static std::remove_cvref_t<F> FieldIn(const brevant_variant& v, const char* name) {
    using T = std::remove_cvref_t<F>;
    const brevant_param_info field{name, Value<T>::kType, Value<T>::Name(), 0, 0, 0};
    return Value<T>::In(v, field);
  }
};

// Arrays keep their bounds. Bytes and 16-bit integers lie packed, records as
// one record variant each. Byte arrays live in the ByteStore: a by-reference
// one is lent to the member and given back, without a copy either way.
template <class E>
struct Value<Array<E>> {
  static constexpr int32_t kType = BREVANT_ARRAY | Value<E>::kType;
  static constexpr bool kPacked = !std::is_class_v<E>;
  static constexpr bool kBytes = std::is_same_v<E, uint8_t>;
  static const char* Name() { return Value<E>::Name(); }
  static Array<E> In(const brevant_variant& v, const brevant_param_info& p) {
    const brevant_array& a = v.value.array;
    if (v.type != kType || (a.allocated && (a.count < 0 || (a.count > 0 && !a.data)))) {
      Mismatch(p, kType);
    }
    if (!a.allocated) return {};
    if constexpr (kBytes) {
      // Lent once every argument is in (Lend).
      if (p.by_ref && ByteStore::Has(a.data)) return {};
    }
    if constexpr (kPacked) {
      // One copy, into storage the thread's last call gave back: a fresh buffer
      // would cost its pages' first touch on every call, more than the copy.
      std::vector<E> items = std::move(Spare());
      const auto* from = static_cast<const E*>(a.data);
      items.assign(from, from + a.count);
      return Array<E>(std::move(items), a.lower_bound);
    } else {
      Array<E> array(a.lower_bound, a.count);
      const brevant_param_info element{p.name, Value<E>::kType, Name(), 1, 0, 0};
      for (int32_t i = 0; i < a.count; ++i) {
        array.Elements()[i] = Value<E>::In(static_cast<const brevant_variant*>(a.data)[i], element);
      }
      return array;
    }
  }
  // Takes a by-reference byte array's storage over from the client's variant;
  // true when it did, and then Back must give it back.
  static bool Lend(const brevant_variant& v, const brevant_param_info& p, Array<E>& x) {
    if constexpr (kBytes) {
      const brevant_array& a = v.value.array;
      if (!p.by_ref || !a.allocated || a.count == 0) return false;
      std::optional<std::vector<uint8_t>> bytes = ByteStore::Take(a.data);
      if (!bytes) return false;
      x = Array<E>(std::move(*bytes), a.lower_bound);
      return true;
    }
    return false;
  }
  static void Out(brevant_variant& v, const Array<E>& x) {
    v.type = kType;
    v.value.array = {x.Allocated() ? 1 : 0, x.Allocated() ? x.LowerBound() : 0, x.Count(), nullptr};
    if (x.Count() == 0) return;
    if constexpr (kBytes) {
      v.value.array.data =
          ByteStore::Keep(std::vector<uint8_t>(x.Elements().begin(), x.Elements().end()));
    } else if constexpr (kPacked) {
      v.value.array.data = Allocate(x.Count(), sizeof(E));
      std::memcpy(v.value.array.data, x.Elements().data(), x.Count() * sizeof(E));
    } else {
      auto* out = static_cast<brevant_variant*>(Allocate(x.Count(), sizeof(brevant_variant)));
      v.value.array.data = out;
      for (int32_t i = 0; i < x.Count(); ++i) Value<E>::Out(out[i], x.Elements()[i]);
    }
  }
  // A by-reference array back into the client's variant: its lent storage, as
  // the member left it; else into the client's own buffer when the bounds
  // stayed as they came, which spares an allocation the size of it.
  static void Back(brevant_variant& v, Array<E>& x, bool lent) {
    brevant_array& a = v.value.array;
    if constexpr (kBytes) {
      if (lent) {
        const bool allocated = x.Allocated();
        a.allocated = allocated ? 1 : 0;
        a.lower_bound = allocated ? x.LowerBound() : 0;
        a.count = x.Count();
        a.data = ByteStore::Keep(x.TakeElements());
        return;
      }
    }
    if constexpr (kPacked) {
      if (v.type == kType && a.allocated && x.Allocated() && a.lower_bound == x.LowerBound() &&
          a.count == x.Count() && a.count > 0) {
        std::memcpy(a.data, x.Elements().data(), static_cast<size_t>(a.count) * sizeof(E));
        return;
      }
    }
    brevant_variant_clear(&v);
    Out(v, x);
  }
  // The storage of an argument whose call is over, for the next one.
  static void Recycle(Array<E>& x) {
    // A one-off huge buffer is not worth keeping for good.
    constexpr size_t kKept = size_t{1} << 20;
    if constexpr (kPacked) {
      if (x.Count() > 0 && x.Elements().size_bytes() <= kKept) Spare() = x.TakeElements();
    }
  }
  static std::vector<E>& Spare() {
    thread_local std::vector<E> spare;
    return spare;
  }
};

}  // namespace brevant::component
