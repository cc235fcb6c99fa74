// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/math.hpp>

#include "core/Lanes.hpp"

// Matrices of three rows with a column in each register. Columns stand three values apart in
// memory, so they are read and written four at a time and overlap; the fourth lane means nothing.

namespace zelvik {

struct Columns33 {
  Lanes c[3];
};

/// Lane i in all lanes.
template <int i>
inline Lanes spreadLane(const Lanes& a) {
  return __builtin_shufflevector(a, a, i, i, i, i);
}

/// Three values from p on. The value before them is read as well, and none after them.
inline Lanes loadLastColumn(const double* p) {
  const Lanes a = loadLanes(p - 1);
  return __builtin_shufflevector(a, a, 1, 2, 3, 0);
}

/// Writes three values from p on, and the last of the column before them once more.
inline void storeLastColumn(double* p, const Lanes& before, const Lanes& last) {
  storeLanes(p - 1, __builtin_shufflevector(before, last, 2, 4, 5, 6));
}

/// The nine values from v on.
inline Columns33 loadColumns(const double* v) {
  return {{loadLanes(v), loadLanes(v + 3), loadLastColumn(v + 6)}};
}

/// Writes nine values from v on.
inline void storeColumns(double* v, const Columns33& A) {
  storeLanes(v, A.c[0]);
  storeLanes(v + 3, A.c[1]);
  storeLastColumn(v + 6, A.c[1], A.c[2]);
}

/// A b for three numbers anywhere.
inline Lanes multiply(const Columns33& A, double x, double y, double z) {
  return A.c[0] * x + (A.c[1] * y + A.c[2] * z);
}

/// Sum of the products of columns, A B^T.
inline Columns33 multiplyTransposed(const Columns33& A, const Columns33& B) {
  return {{A.c[0] * spreadLane<0>(B.c[0]) +
               (A.c[1] * spreadLane<0>(B.c[1]) + A.c[2] * spreadLane<0>(B.c[2])),
           A.c[0] * spreadLane<1>(B.c[0]) +
               (A.c[1] * spreadLane<1>(B.c[1]) + A.c[2] * spreadLane<1>(B.c[2])),
           A.c[0] * spreadLane<2>(B.c[0]) +
               (A.c[1] * spreadLane<2>(B.c[1]) + A.c[2] * spreadLane<2>(B.c[2]))}};
}

/// Copies the lower triangle to the upper one, so that the matrix is symmetric to the last bit.
inline Columns33 mirroredLower(const Columns33& A) {
  const Lanes front = __builtin_shufflevector(A.c[0], A.c[1], 2, 6, 2, 6);
  return {{A.c[0], __builtin_shufflevector(A.c[1], A.c[0], 5, 1, 2, 3),
           __builtin_shufflevector(front, A.c[2], 0, 1, 6, 7)}};
}

inline Columns33 transposed(const Columns33& A) {
  Lanes a = A.c[0], b = A.c[1], c = A.c[2], d{};
  transposeLanes(a, b, c, d);
  return {{a, b, c}};
}

}  // namespace zelvik
