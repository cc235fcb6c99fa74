// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <type_traits>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

/// Goes through the members of a state in one order, whether they are written, checked or read:
/// each class has one function that names its members, so what is saved is what is restored.
///
/// All values are words of 8 bytes in the order of this machine, which is little-endian. Checking
/// reads the bytes as reading does, but changes nothing; after it reading cannot fail.
class StateArchive {
 public:
  enum class Mode { WRITE, CHECK, READ };

  /// Writes after the first `offset` bytes; the vector grows where it has to, and has its final
  /// size after `finish`.
  StateArchive(std::vector<std::uint8_t>& bytes, size_t offset)
      : mode_(Mode::WRITE), written_(&bytes), begin_(bytes.data()), size_(bytes.size()) {
    cursor_ = offset;
    if (offset > size_) grow(offset);
  }
  /// Checks or reads `size` bytes from `offset` on.
  StateArchive(Mode mode, const std::uint8_t* bytes, size_t offset, size_t size)
      : mode_(mode), begin_(const_cast<std::uint8_t*>(bytes)), size_(size), cursor_(offset) {}

  bool isWriting() const { return mode_ == Mode::WRITE; }
  bool isReading() const { return mode_ == Mode::READ; }
  /// Reads, but changes nothing.
  bool isChecking() const { return mode_ == Mode::CHECK; }
  /// Whether everything was there and made sense so far.
  bool isGood() const { return good_; }
  /// Bytes so far, from the beginning of the state.
  size_t getPosition() const { return cursor_; }
  /// Gives the vector its size.
  void finish() { written_->resize(cursor_); }
  /// Marks the archive as bad if what was read makes no sense.
  void require(bool condition) { good_ = good_ && condition; }

  /// Consecutive values.
  void block(double* values, size_t count) { bytes(values, count * sizeof(double)); }
  /// One number, vector or matrix.
  template <typename Value>
  void operator()(Value& value) {
    static_assert(std::is_trivially_copyable_v<Value> && sizeof(Value) % 8 == 0);
    bytes(&value, sizeof value);
  }
  void operator()(VecDyn& values) { block(values.v, values.n); }
  /// A number for the caller to look at: `value` when writing, else what was read, also while
  /// checking; 0 after an error.
  std::uint64_t word(std::uint64_t value) {
    const std::uint8_t* from = begin_ + cursor_;
    bytes(&value, sizeof value);
    if (mode_ == Mode::CHECK && good_) std::memcpy(&value, from, sizeof value);
    return good_ ? value : 0;
  }
  /// Up to 63 of them in a word.
  void flags(std::initializer_list<bool*> flags) {
    std::uint64_t bits = 0, bit = 1;
    for (const bool* flag : flags) {
      bits |= *flag ? bit : 0;
      bit *= 2;
    }
    bits = word(bits);
    require(bits < bit);
    if (!isReading()) return;
    for (bool* flag : flags) {
      *flag = (bits & 1) != 0;
      bits /= 2;
    }
  }
  /// Number of entries of a list, each of which has at least `leastBytes` bytes: `present` when
  /// writing, else what was read, 0 after an error.
  size_t count(size_t present, size_t leastBytes) {
    const std::uint64_t n = word(present);
    require(isWriting() || n <= (size_ - cursor_) / leastBytes);
    return good_ ? static_cast<size_t>(n) : 0;
  }
  /// A list of vectors. @return its length, as `count`
  size_t list(std::vector<Mat<3, 1>>& values) {
    const size_t n = count(values.size(), sizeof(Mat<3, 1>));
    if (isReading()) values.resize(n);
    Mat<3, 1> ignored;
    for (size_t i = 0; i < n; ++i) (*this)(isChecking() ? ignored : values[i]);
    return n;
  }

 private:
  static_assert(std::endian::native == std::endian::little);

  void grow(size_t needed) {
    written_->resize(needed + needed / 2);
    begin_ = written_->data();
    size_ = written_->size();
  }
  void bytes(void* value, size_t count) {
    if (mode_ == Mode::WRITE) {
      if (cursor_ + count > size_) grow(cursor_ + count);
      if (count > 0) std::memcpy(begin_ + cursor_, value, count);
      cursor_ += count;
      return;
    }
    if (!good_ || count > size_ - cursor_) {
      good_ = false;
      return;
    }
    if (mode_ == Mode::READ && count > 0) std::memcpy(value, begin_ + cursor_, count);
    cursor_ += count;
  }

  Mode mode_;
  bool good_ = true;
  std::vector<std::uint8_t>* written_ = nullptr;
  std::uint8_t* begin_;
  size_t size_;    ///< bytes from `begin_` on
  size_t cursor_;  ///< from `begin_` on
};

}  // namespace zelvik
