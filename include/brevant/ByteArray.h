// A one-dimensional byte array with a lower bound, as automation clients pass them.
//
// It may be unallocated, and its lower bound may be any number, so "element 0",
// "lower bound -2" and "resize to n elements from 0" keep their meaning. The driver
// always works from element 0 upward; an array without element 0 is refused with
// error 9 before any device access.
//
//   brevant::ByteArray data{0x01, 0xAB, 0x00};   // elements 0..2
//   brevant::ByteArray window(-2, 8);            // elements -2..5, all zero
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace brevant {

class ByteArray {
 public:
  // Unallocated: no bounds at all.
  ByteArray() = default;
  // `count` zero bytes, elements lowerBound .. lowerBound + count - 1.
  ByteArray(int32_t lowerBound, int32_t count);
  // The bytes given, from element 0.
  ByteArray(std::initializer_list<uint8_t> bytes);
  explicit ByteArray(std::span<const uint8_t> bytes, int32_t lowerBound = 0);
  // Takes over `bytes` as elements 0 on, without copying them.
  explicit ByteArray(std::vector<uint8_t>&& bytes) : bytes_(std::move(bytes)), allocated_(true) {}

  bool Allocated() const { return allocated_; }
  // Both raise error 9 on an unallocated array.
  int32_t LowerBound() const;
  int32_t UpperBound() const;
  int32_t Count() const { return static_cast<int32_t>(bytes_.size()); }

  // Raises error 9 outside the bounds.
  uint8_t& operator[](int32_t index);
  uint8_t operator[](int32_t index) const;

  // New storage of `count` zero bytes from `lowerBound`; old contents are gone.
  void Redim(int32_t lowerBound, int32_t count);
  // Back to unallocated.
  void Erase();

  // True when the array has an element with index 0.
  bool HasElementZero() const {
    return allocated_ && lower_ <= 0 && static_cast<int64_t>(lower_) + Count() > 0;
  }
  // The elements from index 0 to the upper bound; empty when there is no
  // element 0, since an array that has one has at least that element.
  std::span<uint8_t> FromElementZero() {
    if (!HasElementZero()) return {};
    return std::span<uint8_t>(bytes_).subspan(static_cast<size_t>(-static_cast<int64_t>(lower_)));
  }
  std::span<const uint8_t> FromElementZero() const {
    return const_cast<ByteArray&>(*this).FromElementZero();
  }

  // All elements, lower bound first.
  std::span<const uint8_t> Elements() const { return bytes_; }

  friend bool operator==(const ByteArray&, const ByteArray&) = default;

 private:
  std::vector<uint8_t> bytes_;
  int32_t lower_ = 0;
  bool allocated_ = false;
};

}  // namespace brevant
