// A one-dimensional array with a lower bound, as automation clients pass them.
//
// It may be unallocated, and its lower bound may be any number, so "element 0",
// "lower bound -2", "resize to n elements from 0" and "extend by one, keeping the
// elements" keep their meaning. Byte buffers (ByteArray) and the record arrays of
// device discovery are all arrays of this kind.
//
//   brevant::Array<int16_t> devices(0, 2);   // elements 0..1, both 0
//   devices.RedimPreserve(0, 3);             // elements 0..2, the first two kept
//   devices.Erase();                         // unallocated again
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "brevant/Error.h"

namespace brevant {

template <class T>
class Array {
 public:
  // Unallocated: no bounds at all.
  Array() = default;
  // `count` default elements, lowerBound .. lowerBound + count - 1.
  Array(int32_t lowerBound, int32_t count) { Redim(lowerBound, count); }
  // The elements given, from element 0.
  Array(std::initializer_list<T> elements) : items_(elements), allocated_(true) {}
  explicit Array(std::span<const T> elements, int32_t lowerBound = 0)
      : items_(elements.begin(), elements.end()), lower_(lowerBound), allocated_(true) {}
  // Takes over `elements` as elements `lowerBound` on, without copying them.
  explicit Array(std::vector<T>&& elements, int32_t lowerBound = 0)
      : items_(std::move(elements)), lower_(lowerBound), allocated_(true) {
    CheckBounds(lowerBound, Count());
  }

  bool Allocated() const { return allocated_; }
  // Both raise error 9 on an unallocated array.
  int32_t LowerBound() const {
    if (!allocated_) Raise(kErrSubscriptOutOfRange);
    return lower_;
  }
  int32_t UpperBound() const {
    if (!allocated_) Raise(kErrSubscriptOutOfRange);
    return static_cast<int32_t>(lower_ + static_cast<int64_t>(items_.size()) - 1);
  }
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  // True when the array has an element with this index.
  bool Has(int32_t index) const {
    const int64_t offset = static_cast<int64_t>(index) - lower_;
    return allocated_ && offset >= 0 && offset < static_cast<int64_t>(items_.size());
  }

  // Raises error 9 outside the bounds.
  T& operator[](int32_t index) {
    if (!Has(index)) Raise(kErrSubscriptOutOfRange);
    return items_[static_cast<size_t>(static_cast<int64_t>(index) - lower_)];
  }
  const T& operator[](int32_t index) const { return const_cast<Array&>(*this)[index]; }

  // New storage of `count` default elements from `lowerBound`; old contents gone.
  void Redim(int32_t lowerBound, int32_t count) {
    CheckBounds(lowerBound, count);
    items_.assign(static_cast<size_t>(count), T{});
    lower_ = lowerBound;
    allocated_ = true;
  }
  // New bounds that keep every element whose index lies in both the old and the
  // new ones; the others are new default elements.
  void RedimPreserve(int32_t lowerBound, int32_t count) {
    CheckBounds(lowerBound, count);
    if (!allocated_ || lowerBound != lower_) {
      std::vector<T> items(static_cast<size_t>(count));
      for (int32_t i = 0; i < count; ++i) {
        if (Has(lowerBound + i)) items[static_cast<size_t>(i)] = std::move((*this)[lowerBound + i]);
      }
      items_ = std::move(items);
    } else {
      // Same lower bound: growing one at a time stays amortised constant.
      items_.resize(static_cast<size_t>(count));
    }
    lower_ = lowerBound;
    allocated_ = true;
  }
  // Hands over the elements, lower bound first, and leaves the array
  // unallocated: their storage moves, nothing is copied.
  std::vector<T> TakeElements() {
    std::vector<T> items = std::move(items_);
    Erase();
    return items;
  }
  // Back to unallocated.
  void Erase() {
    items_.clear();
    items_.shrink_to_fit();
    lower_ = 0;
    allocated_ = false;
  }

  // True when the array has an element with index 0.
  bool HasElementZero() const { return Has(0); }
  // The elements from index 0 to the upper bound; empty when there is no element
  // 0, since an array that has one has at least that element.
  std::span<T> FromElementZero() {
    if (!HasElementZero()) return {};
    return std::span<T>(items_).subspan(static_cast<size_t>(-static_cast<int64_t>(lower_)));
  }
  std::span<const T> FromElementZero() const { return const_cast<Array&>(*this).FromElementZero(); }

  // All elements, lower bound first.
  std::span<T> Elements() { return items_; }
  std::span<const T> Elements() const { return items_; }

  friend bool operator==(const Array&, const Array&) = default;

 private:
  [[noreturn]] static void Raise(int32_t number) { throw Error::Generic(number, "Array"); }
  // An upper bound beyond the 32-bit range cannot be indexed by any client.
  static void CheckBounds(int32_t lowerBound, int32_t count) {
    if (count < 0 || static_cast<int64_t>(lowerBound) + count - 1 > INT32_MAX) {
      Raise(kErrOverflow);
    }
  }

  std::vector<T> items_;
  int32_t lower_ = 0;
  bool allocated_ = false;
};

}  // namespace brevant
