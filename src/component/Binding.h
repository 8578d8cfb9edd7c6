// One table per public class: each row is one slot of the class's interface,
// with its name, dispatch id, kind and argument types, and the code that calls
// the C++ member. The type information reads the same rows that dispatch runs,
// and the argument types come from the C++ signature itself, so the two cannot
// disagree.
//
//   using B = Rows<clsFTDI245FIFO>;
//   B::Method("Initialize", 1, {"DeviceNumber"}, &clsFTDI245FIFO::Initialize)
//   B::Get("Log", 0xB, [](clsFTDI245FIFO& o) { return o.Log(); })
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "component/Value.h"

namespace brevant::component {

struct MemberRow {
  brevant_member_info info{};
  std::vector<brevant_param_info> params;
  std::function<void(const MemberRow& row, void* self, int32_t argc, brevant_variant* args,
                     brevant_variant* result)>
      run;
};

struct ClassBinding {
  brevant_class_info info{};
  std::vector<brevant_alias_info> aliases;
  std::vector<MemberRow> rows;
  // Null for a class that cannot be created.
  std::shared_ptr<void> (*create)() = nullptr;
};

// A class's name, identifiers and version.
constexpr brevant_class_info Identity(const char* name, const char* interfaceName,
                                      brevant_guid classId, brevant_guid iid, int32_t major,
                                      int32_t minor) {
  return {name, interfaceName, classId, iid, major, minor, 0, 0, 0, nullptr};
}

// The binding of a class, with the type information's pointers into its rows.
// `create` is null for a class that cannot be created.
ClassBinding MakeClass(brevant_class_info identity, std::vector<brevant_alias_info> aliases,
                       std::vector<MemberRow> rows, std::shared_ptr<void> (*create)());

// Checks the argument count against the row; raises the surface's status.
void CheckArguments(const MemberRow& row, int32_t argc, const brevant_variant* args);

template <class F>
struct Signature : Signature<decltype(&F::operator())> {};
// A lambda taking the object first.
template <class L, class R, class S, class... A>
struct Signature<R (L::*)(S&, A...) const> {
  using Result = R;
  using Args = std::tuple<A...>;
};
template <class C, class R, class... A>
struct Signature<R (C::*)(A...)> {
  using Result = R;
  using Args = std::tuple<A...>;
};
template <class C, class R, class... A>
struct Signature<R (C::*)(A...) const> : Signature<R (C::*)(A...)> {};

template <class T>
using Bare = std::remove_cvref_t<T>;

template <class T>
brevant_param_info ParamOf(const char* name) {
  constexpr bool byRef =
      std::is_lvalue_reference_v<T> && !std::is_const_v<std::remove_reference_t<T>>;
  return {name, Value<Bare<T>>::kType, Value<Bare<T>>::Name(), byRef ? 1 : 0, 0, 0};
}

template <class C, class Sig, class F, size_t... I>
void Run(const F& f, void* self, int32_t argc, brevant_variant* args, brevant_variant* result,
         const std::vector<brevant_param_info>& params, std::index_sequence<I...>) {
  using Args = typename Sig::Args;
  [[maybe_unused]] auto in = [&](auto index) {
    using T = Bare<std::tuple_element_t<index, Args>>;
    if (index < static_cast<size_t>(argc)) return Value<T>::In(args[index], params[index]);
    brevant_variant fallback{};
    Value<int32_t>::Out(fallback, params[index].default_value);
    return Value<T>::In(fallback, params[index]);
  };
  std::tuple<Bare<std::tuple_element_t<I, Args>>...> values{
      in(std::integral_constant<size_t, I>{})...};
  // Only once every argument is in, so that none is lent and then dropped.
  [[maybe_unused]] std::array<bool, sizeof...(I) + 1> lent{};
  ((lent[I] = I < static_cast<size_t>(argc) && Lend(args[I], params[I], std::get<I>(values))), ...);
  [[maybe_unused]] auto back = [&](auto index) {
    if (!params[index].by_ref || index >= static_cast<size_t>(argc)) return;
    Back(args[index], std::get<index>(values), lent[index]);
  };
  C& object = *static_cast<C*>(self);
  using R = typename Sig::Result;
  try {
    if constexpr (std::is_void_v<R>) {
      std::invoke(f, object, std::get<I>(values)...);
    } else {
      Bare<R> value = std::invoke(f, object, std::get<I>(values)...);
      if (result) {
        brevant_variant_clear(result);
        Value<Bare<R>>::Out(*result, value);
      }
    }
  } catch (...) {
    // What a member stored into its by-reference arguments before it raised
    // stays stored for a C++ caller; the client gets it as well.
    (back(std::integral_constant<size_t, I>{}), ...);
    (Recycle(std::get<I>(values)), ...);
    throw;
  }
  (back(std::integral_constant<size_t, I>{}), ...);
  (Recycle(std::get<I>(values)), ...);
}

// The rows of class C; `self` of every call is a C.
template <class C>
struct Rows {
  template <size_t N, class F>
  static MemberRow Make(const char* name, int32_t kind, int32_t low, const char* const* names,
                        F f) {
    using Sig = Signature<F>;
    using Args = typename Sig::Args;
    static_assert(std::tuple_size_v<Args> == N, "one name for each argument");
    constexpr int32_t kMethod = 0x60030000, kProperty = 0x68030000;
    MemberRow row;
    row.info.name = name;
    row.info.kind = kind;
    row.info.dispid = (kind == BREVANT_METHOD ? kMethod : kProperty) | low;
    [&]<size_t... I>(std::index_sequence<I...>) {
      (row.params.push_back(ParamOf<std::tuple_element_t<I, Args>>(names[I])), ...);
    }
    (std::make_index_sequence<N>{});
    using R = typename Sig::Result;
    if constexpr (!std::is_void_v<R>) row.info.result = ParamOf<Bare<R>>(nullptr);
    row.run = [f](const MemberRow& self_row, void* self, int32_t argc, brevant_variant* args,
                  brevant_variant* result) {
      Run<C, Sig>(f, self, argc, args, result, self_row.params, std::make_index_sequence<N>{});
    };
    return row;
  }

  template <class F, size_t N>
  static MemberRow Method(const char* name, int32_t low, const char* const (&names)[N], F f) {
    return Make<N>(name, BREVANT_METHOD, low, names, f);
  }
  template <class F>
  static MemberRow Method(const char* name, int32_t low, F f) {
    return Make<0>(name, BREVANT_METHOD, low, nullptr, f);
  }
  template <class F, size_t N>
  static MemberRow Get(const char* name, int32_t low, const char* const (&names)[N], F f) {
    return Make<N>(name, BREVANT_GET, low, names, f);
  }
  template <class F>
  static MemberRow Get(const char* name, int32_t low, F f) {
    return Make<0>(name, BREVANT_GET, low, nullptr, f);
  }
  template <class F, size_t N>
  static MemberRow Put(const char* name, int32_t low, const char* const (&names)[N], F f) {
    return Make<N>(name, BREVANT_PUT, low, names, f);
  }
};

// The last arguments of `row` may be left out; they then take `value`.
MemberRow Optional(MemberRow row, int32_t count, int32_t value);

}  // namespace brevant::component
