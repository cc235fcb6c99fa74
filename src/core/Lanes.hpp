// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <bit>
#include <cstddef>

// Without AVX the compiler notes that four doubles are passed to functions in another way than with
// it. No such function leaves its source.
#if defined(__GNUC__) && !defined(__clang__) && !defined(__AVX__)
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace zelvik {

/// Four doubles in one register. Kernels are written with it where compilers make long shuffles of
/// the plain form.
using Lanes = double __attribute__((vector_size(32)));
constexpr size_t kLanes = 4;

/// The same anywhere in memory. Loads and stores go through it rather than through `memcpy`, which
/// takes addresses and so keeps arrays of sums out of the registers.
/// (A typedef: in an alias declaration clang overlooks the alignment.)
typedef double LanesInMemory __attribute__((vector_size(32), aligned(8), may_alias));

inline Lanes loadLanes(const double* p) {
  return *reinterpret_cast<const LanesInMemory*>(p);
}

inline void storeLanes(double* p, const Lanes& a) {
  *reinterpret_cast<LanesInMemory*>(p) = a;
}

/// Two doubles.
using TwoLanes = double __attribute__((vector_size(16)));
typedef double TwoInMemory __attribute__((vector_size(16), aligned(8), may_alias));

inline TwoLanes loadTwo(const double* p) {
  return *reinterpret_cast<const TwoInMemory*>(p);
}

inline void storeTwo(double* p, const TwoLanes& a) {
  *reinterpret_cast<TwoInMemory*>(p) = a;
}

inline Lanes broadcast(double x) {
  return Lanes{x, x, x, x};
}

inline double sumOfLanes(const Lanes& a) {
  return (a[0] + a[1]) + (a[2] + a[3]);
}

/// What a comparison of lanes gives: all bits of a lane are set where it holds.
using LaneMask = long __attribute__((vector_size(32)));

/// Bit l is set if lane l is.
inline unsigned lanesSet(const LaneMask& mask) {
#ifdef __AVX__
  return static_cast<unsigned>(__builtin_ia32_movmskpd256(std::bit_cast<Lanes>(mask)));
#else
  unsigned bits = 0;
  for (unsigned l = 0; l < kLanes; ++l) bits |= mask[l] != 0 ? 1u << l : 0u;
  return bits;
#endif
}

/// Lanes that hold `count` values.
constexpr size_t laneCount(size_t count) {
  return (count + kLanes - 1) / kLanes;
}

/// Copies without reading or writing beyond `count`; for the short stretches for which the
/// library's function costs more than the copy.
inline void copyStretch(const double* from, size_t count, double* to) {
  size_t t = 0;
  for (; t + kLanes <= count; t += kLanes) storeLanes(to + t, loadLanes(from + t));
  if (t + 2 <= count) {
    storeTwo(to + t, loadTwo(from + t));
    t += 2;
  }
  if (t < count) to[t] = from[t];
}

/// to += factor from.
inline void addStretch(const double* from, double factor, size_t count, double* to) {
  size_t t = 0;
  for (; t + kLanes <= count; t += kLanes)
    storeLanes(to + t, loadLanes(to + t) + factor * loadLanes(from + t));
  if (t + 2 <= count) {
    storeTwo(to + t, loadTwo(to + t) + factor * loadTwo(from + t));
    t += 2;
  }
  if (t < count) to[t] += factor * from[t];
}

/// Transposes the 4 x 4 matrix whose rows are a, b, c, d.
inline void transposeLanes(Lanes& a, Lanes& b, Lanes& c, Lanes& d) {
  const Lanes ab0 = __builtin_shufflevector(a, b, 0, 4, 2, 6);
  const Lanes ab1 = __builtin_shufflevector(a, b, 1, 5, 3, 7);
  const Lanes cd0 = __builtin_shufflevector(c, d, 0, 4, 2, 6);
  const Lanes cd1 = __builtin_shufflevector(c, d, 1, 5, 3, 7);
  a = __builtin_shufflevector(ab0, cd0, 0, 1, 4, 5);
  b = __builtin_shufflevector(ab1, cd1, 0, 1, 4, 5);
  c = __builtin_shufflevector(ab0, cd0, 2, 3, 6, 7);
  d = __builtin_shufflevector(ab1, cd1, 2, 3, 6, 7);
}

}  // namespace zelvik
