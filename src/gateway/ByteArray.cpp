#include "brevant/ByteArray.h"

#include "brevant/Error.h"

namespace brevant {

namespace {

[[noreturn]] void OutOfRange() {
  throw Error::Generic(kErrSubscriptOutOfRange, "ByteArray");
}

}  // namespace

ByteArray::ByteArray(int32_t lowerBound, int32_t count) {
  Redim(lowerBound, count);
}

ByteArray::ByteArray(std::initializer_list<uint8_t> bytes)
    : bytes_(bytes), lower_(0), allocated_(true) {}

ByteArray::ByteArray(std::span<const uint8_t> bytes, int32_t lowerBound)
    : bytes_(bytes.begin(), bytes.end()), lower_(lowerBound), allocated_(true) {}

int32_t ByteArray::LowerBound() const {
  if (!allocated_) OutOfRange();
  return lower_;
}

int32_t ByteArray::UpperBound() const {
  if (!allocated_) OutOfRange();
  return static_cast<int32_t>(lower_ + static_cast<int64_t>(bytes_.size()) - 1);
}

uint8_t& ByteArray::operator[](int32_t index) {
  const int64_t offset = static_cast<int64_t>(index) - lower_;
  if (!allocated_ || offset < 0 || offset >= static_cast<int64_t>(bytes_.size())) OutOfRange();
  return bytes_[static_cast<size_t>(offset)];
}

uint8_t ByteArray::operator[](int32_t index) const {
  return const_cast<ByteArray&>(*this)[index];
}

void ByteArray::Redim(int32_t lowerBound, int32_t count) {
  // An upper bound beyond the 32-bit range cannot be indexed by any client.
  if (count < 0 || static_cast<int64_t>(lowerBound) + count - 1 > INT32_MAX) {
    throw Error::Generic(kErrOverflow, "ByteArray");
  }
  bytes_.assign(static_cast<size_t>(count), 0);
  lower_ = lowerBound;
  allocated_ = true;
}

void ByteArray::RedimPreserve(int32_t count) {
  const int32_t lowerBound = allocated_ ? lower_ : 0;
  if (count < 0 || static_cast<int64_t>(lowerBound) + count - 1 > INT32_MAX) {
    throw Error::Generic(kErrOverflow, "ByteArray");
  }
  // The vector's own capacity growth keeps a run of small steps linear.
  bytes_.resize(static_cast<size_t>(count), 0);
  lower_ = lowerBound;
  allocated_ = true;
}

void ByteArray::Erase() {
  bytes_.clear();
  bytes_.shrink_to_fit();
  lower_ = 0;
  allocated_ = false;
}

}  // namespace brevant
