// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

/// Jacobian of a point or a rotation that keeps only the velocities on the path to the root.
struct SparseJacobian {
  size_t size = 0;          ///< columns in use
  size_t capacity = 0;      ///< columns allocated; never shrinks
  MatDyn v;                 ///< 3 x capacity; column c is the velocity per unit of velocity idx[c]
  std::vector<size_t> idx;  ///< velocity indices of the columns, ascending from root to body

  /// Makes room for `columns` columns; when it has to grow, `v` becomes zero and the content is
  /// lost.
  void reserve(size_t columns) {
    if (columns <= capacity) return;
    v.setZero(3, columns);
    idx.assign(columns, 0);
    capacity = columns;
  }
};

}  // namespace zelvik
