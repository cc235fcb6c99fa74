// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <initializer_list>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

/// A list of numbers as setters take it: numbers in braces, a `VecDyn`, or an Eigen vector or an
/// expression of one. Good for the duration of the call.
struct ListArgument {
  const double* values;  ///< the first of them
  std::size_t count;     ///< how many there are

  ///@{
  /// What is given has to live as long as the call; an expression is evaluated here.
  ListArgument(std::initializer_list<double> list) : count(list.size()) { values = list.begin(); }
  ListArgument(const VecDyn& list) : values(list.v), count(list.n) {}
  ListArgument(const Eigen::VectorXd& list)
      : values(list.data()), count(static_cast<std::size_t>(list.size())) {}
  template <typename Derived>
  ListArgument(const Eigen::MatrixBase<Derived>& list)
      : count(static_cast<std::size_t>(list.size())) {
    static_assert(Derived::IsVectorAtCompileTime, "a list is a vector");
    const auto& evaluated = list.eval();
    computed_.reserve(count);
    for (Eigen::Index i = 0; i < list.size(); ++i) computed_.push_back(evaluated(i));
    values = computed_.data();
  }
  ///@}
  ListArgument(const ListArgument&) = delete;
  ListArgument& operator=(const ListArgument&) = delete;

 private:
  std::vector<double> computed_;  ///< the values of an expression
};

}  // namespace zelvik
