// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <type_traits>
#include <zelvik/math.hpp>

// How overloads for Eigen types read their arguments. They are templates over expressions, so that
// braces in a call mean a `Mat`. A type of another size does not compile; where the type leaves the
// size open, it is checked when the call is made.

namespace zelvik {

/// As a last template parameter: only for expressions of three values.
template <typename Derived>
using IfVector3 = std::enable_if_t<Derived::SizeAtCompileTime == 3 ||
                                   Derived::SizeAtCompileTime == Eigen::Dynamic>;

/// As a last template parameter: only for expressions of three rows and three columns.
template <typename Derived>
using IfMatrix33 = std::enable_if_t<
    (Derived::RowsAtCompileTime == 3 || Derived::RowsAtCompileTime == Eigen::Dynamic) &&
    (Derived::ColsAtCompileTime == 3 || Derived::ColsAtCompileTime == Eigen::Dynamic)>;

///@{
/// Copies the values of an argument of `operation`. Fatal, with `out` untouched, for another size:
/// "setBasePos: 3 x 1 values are needed, 2 x 1 are given".
/// @return false after the fatal message
template <typename Derived>
bool readArgument(const Eigen::MatrixBase<Derived>& given, const char* operation, Mat<3, 1>& out) {
  const auto& values = given.eval();
  if (values.size() != 3) {
    refuseSize(operation, 3, 1, static_cast<size_t>(values.rows()),
               static_cast<size_t>(values.cols()));
    return false;
  }
  for (int i = 0; i < 3; ++i) out[static_cast<size_t>(i)] = values(i);
  return true;
}
template <typename Derived>
bool readArgument(const Eigen::MatrixBase<Derived>& given, const char* operation, Mat<3, 3>& out) {
  const auto& values = given.eval();
  if (values.rows() != 3 || values.cols() != 3) {
    refuseSize(operation, 3, 3, static_cast<size_t>(values.rows()),
               static_cast<size_t>(values.cols()));
    return false;
  }
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i) out(static_cast<size_t>(i), static_cast<size_t>(j)) = values(i, j);
  return true;
}
///@}

}  // namespace zelvik
