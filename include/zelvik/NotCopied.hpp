// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <utility>

namespace zelvik {

/// A member that belongs to one object alone, as a handle of the collision library does: a copy of
/// the object begins with an empty one. Otherwise it acts as the value.
template <typename T>
class NotCopied {
 public:
  NotCopied() = default;
  /// Begins empty.
  NotCopied(const NotCopied&) {}
  NotCopied& operator=(const NotCopied&) = delete;
  ~NotCopied() = default;
  /// Takes a value.
  NotCopied& operator=(T value) {
    value_ = std::move(value);
    return *this;
  }
  ///@{
  /// The value.
  operator T&() { return value_; }
  operator const T&() const { return value_; }
  T& operator->() { return value_; }
  const T& operator->() const { return value_; }
  ///@}

 private:
  T value_{};
};

}  // namespace zelvik
