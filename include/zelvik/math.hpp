// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>
#include <zelvik/export.hpp>

namespace zelvik {

/// "None" for every index of the library.
inline constexpr std::size_t kNone = static_cast<std::size_t>(-1);

template <unsigned long n, unsigned long m>
struct Mat;
template <unsigned long n, unsigned long m, typename Derived>
Mat<n, m> toMat(const Eigen::MatrixBase<Derived>& a);

/// Matrix of fixed size, stored in place and column-major: element (i, j) is value i + j * n.
///
/// An aggregate over one array with nothing beside it, so an array of `Mat<3,1>` is a plain run of
/// doubles. Default construction leaves the values unset; `Mat<n,m>{}` and the elements that a
/// resized `std::vector` gains are zero. Element access is not bounds-checked.
template <unsigned long n, unsigned long m>
struct Mat {
  double v[n * m];  ///< column by column

  ///@{
  /// Value i of the column-major array.
  double& operator[](std::size_t i) { return v[i]; }
  const double& operator[](std::size_t i) const { return v[i]; }
  ///@}
  ///@{
  /// Element in row i and column j, from 0.
  double& operator()(std::size_t i, std::size_t j) { return v[i + j * n]; }
  const double& operator()(std::size_t i, std::size_t j) const { return v[i + j * n]; }
  ///@}
  ///@{
  /// The first value.
  double* data() { return v; }
  const double* data() const { return v; }
  ///@}
  /// Number of rows.
  static constexpr std::size_t rows() { return n; }
  /// Number of columns.
  static constexpr std::size_t cols() { return m; }

  /// Writes zeros.
  void setZero() {
    for (std::size_t i = 0; i < n * m; ++i) v[i] = 0.0;
  }
  /// Ones on the diagonal, zeros elsewhere.
  void setIdentity() {
    setZero();
    for (std::size_t i = 0; i < (n < m ? n : m); ++i) v[i + i * n] = 1.0;
  }
  /// A matrix of zeros.
  static Mat zero() { return Mat{}; }
  /// Ones on the diagonal, zeros elsewhere.
  static Mat identity() {
    Mat a;
    a.setIdentity();
    return a;
  }

  ///@{
  /// Arithmetic element by element.
  Mat& operator+=(const Mat& b) {
    for (std::size_t i = 0; i < n * m; ++i) v[i] += b.v[i];
    return *this;
  }
  Mat& operator-=(const Mat& b) {
    for (std::size_t i = 0; i < n * m; ++i) v[i] -= b.v[i];
    return *this;
  }
  Mat& operator*=(double s) {
    for (std::size_t i = 0; i < n * m; ++i) v[i] *= s;
    return *this;
  }
  ///@}

  /// The same size in Eigen.
  using EigenType = Eigen::Matrix<double, static_cast<int>(n), static_cast<int>(m)>;
  /// Takes the values of an Eigen matrix or expression, see `toMat`.
  template <typename Derived>
  Mat& operator=(const Eigen::MatrixBase<Derived>& a) {
    return *this = toMat<n, m>(a);
  }
  /// The values as an Eigen matrix: `Eigen::Vector3d p = box->getComPosition();`
  operator EigenType() const {  // NOLINT: converts
    EigenType a;
    for (std::size_t i = 0; i < n * m; ++i) a.coeffRef(static_cast<Eigen::Index>(i)) = v[i];
    return a;
  }
  ///@{
  /// View of the values as an Eigen matrix; it writes through.
  auto e() { return Eigen::Map<Eigen::Matrix<double, n, m>>(v); }
  auto e() const { return Eigen::Map<const Eigen::Matrix<double, n, m>>(v); }
  ///@}
};

using Vec3 = Mat<3, 1>;
using Vec4 = Mat<4, 1>;
using Mat33 = Mat<3, 3>;

/// Fatal: "setBasePos: 3 x 1 values are needed, 2 x 1 are given".
ZELVIK_API void refuseSize(const char* operation, std::size_t rows, std::size_t cols,
                           std::size_t givenRows, std::size_t givenCols);

/// The values of an Eigen matrix, vector or expression of doubles. Its size has to be n x m, or
/// n m values in a vector: what is known when compiling is checked then, what is known at run time
/// (`Eigen::VectorXd`) is fatal, "toMat: 3 x 1 values are needed, 2 x 1 are given", and gives
/// zeros. Values are read one by one, so that caller and library may differ in what Eigen makes of
/// alignment.
template <unsigned long n, unsigned long m, typename Derived>
inline Mat<n, m> toMat(const Eigen::MatrixBase<Derived>& a) {
  constexpr int rows = static_cast<int>(n), cols = static_cast<int>(m);
  constexpr int givenRows = Derived::RowsAtCompileTime, givenCols = Derived::ColsAtCompileTime;
  static_assert(std::is_same_v<typename Derived::Scalar, double>, "cast<double>() is missing");
  static_assert((givenRows == rows || givenRows == Eigen::Dynamic) &&
                    (givenCols == cols || givenCols == Eigen::Dynamic),
                "another number of rows or columns is wanted");
  if (a.rows() != rows || a.cols() != cols) {
    refuseSize("toMat", n, m, static_cast<std::size_t>(a.rows()),
               static_cast<std::size_t>(a.cols()));
    return Mat<n, m>{};
  }
  const auto& values = a.derived().eval();  // a matrix itself, the value of an expression
  Mat<n, m> out;
  for (Eigen::Index j = 0; j < cols; ++j)
    for (Eigen::Index i = 0; i < rows; ++i)
      out.v[static_cast<std::size_t>(i + j * rows)] = values(i, j);
  return out;
}

///@{
/// Vectors of three and four values and square matrices, see `toMat`.
template <typename Derived>
inline Vec3 toVec3(const Eigen::MatrixBase<Derived>& a) {
  return toMat<3, 1>(a);
}
template <typename Derived>
inline Vec4 toVec4(const Eigen::MatrixBase<Derived>& a) {
  return toMat<4, 1>(a);
}
template <typename Derived>
inline Mat33 toMat33(const Eigen::MatrixBase<Derived>& a) {
  return toMat<3, 3>(a);
}
///@}

template <unsigned long n, unsigned long m>
inline Mat<n, m> operator+(Mat<n, m> a, const Mat<n, m>& b) {
  return a += b;
}

template <unsigned long n, unsigned long m>
inline Mat<n, m> operator-(Mat<n, m> a, const Mat<n, m>& b) {
  return a -= b;
}

template <unsigned long n, unsigned long m>
inline Mat<n, m> operator-(const Mat<n, m>& a) {
  Mat<n, m> b;
  for (std::size_t i = 0; i < n * m; ++i) b.v[i] = -a.v[i];
  return b;
}

template <unsigned long n, unsigned long m>
inline Mat<n, m> operator*(double s, Mat<n, m> a) {
  return a *= s;
}

template <unsigned long n, unsigned long m>
inline Mat<n, m> operator*(Mat<n, m> a, double s) {
  return a *= s;
}

/// General matrix product. Products of rotation matrices use `rotmatmul` instead.
template <unsigned long n, unsigned long k, unsigned long m>
inline Mat<n, m> operator*(const Mat<n, k>& a, const Mat<k, m>& b) {
  Mat<n, m> c;
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i < n; ++i) {
      double sum = a(i, 0) * b(0, j);
      for (std::size_t r = 1; r < k; ++r) sum += a(i, r) * b(r, j);
      c(i, j) = sum;
    }
  return c;
}

template <unsigned long n, unsigned long m>
inline Mat<m, n> transpose(const Mat<n, m>& a) {
  Mat<m, n> b;
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i < n; ++i) b(j, i) = a(i, j);
  return b;
}

/// a^T b without forming the transpose.
template <unsigned long k, unsigned long n, unsigned long m>
inline Mat<n, m> transposeMul(const Mat<k, n>& a, const Mat<k, m>& b) {
  Mat<n, m> c;
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i < n; ++i) {
      double sum = a(0, i) * b(0, j);
      for (std::size_t r = 1; r < k; ++r) sum += a(r, i) * b(r, j);
      c(i, j) = sum;
    }
  return c;
}

template <unsigned long n>
inline double dot(const Mat<n, 1>& a, const Mat<n, 1>& b) {
  double sum = a[0] * b[0];
  for (std::size_t i = 1; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

template <unsigned long n>
inline double squaredNorm(const Mat<n, 1>& a) {
  return dot(a, a);
}

template <unsigned long n>
inline double norm(const Mat<n, 1>& a) {
  return std::sqrt(dot(a, a));
}

inline Vec3 cross(const Vec3& a, const Vec3& b) {
  return {{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}

/// Whether A is a number times the unit matrix, as the inertia of a ball or a cube.
inline bool isMultipleOfUnit(const Mat33& A) {
  // One sum and one test, without branches between.
  const double inside = std::fabs(A[0] - A[4]) + std::fabs(A[4] - A[8]);
  const double below = std::fabs(A[1]) + std::fabs(A[2]) + std::fabs(A[5]);
  const double above = std::fabs(A[3]) + std::fabs(A[6]) + std::fabs(A[7]);
  return inside + (below + above) == 0.0;
}

/// Cross product matrix: skew(a) b = a x b.
inline Mat33 skew(const Vec3& a) {
  return {{0.0, a[2], -a[1], -a[2], 0.0, a[0], a[1], -a[0], 0.0}};
}

template <unsigned long m>
inline Vec3 column(const Mat<3, m>& a, std::size_t j) {
  return {{a(0, j), a(1, j), a(2, j)}};
}

inline Vec3 row(const Mat33& a, std::size_t i) {
  return {{a(i, 0), a(i, 1), a(i, 2)}};
}

/// Owner of a heap block of doubles, aligned to 32 bytes.
class DynamicArray {
 public:
  double* v = nullptr;  ///< the values, owned

  DynamicArray() = default;
  DynamicArray(const DynamicArray&) = delete;
  DynamicArray& operator=(const DynamicArray&) = delete;
  ~DynamicArray() { std::free(v); }

  /// Replaces the block by a fresh one of `count` doubles. Neither copies nor zeroes: the content
  /// is lost even when the size is unchanged. Throws `std::bad_alloc` when memory runs out.
  void allocate(unsigned long count) {
    std::free(std::exchange(v, nullptr));
    v = alignedBlock(count);
  }

  ///@{
  /// Value i; not bounds-checked.
  double& operator[](std::size_t i) { return v[i]; }
  const double& operator[](std::size_t i) const { return v[i]; }
  ///@}
  ///@{
  /// The first value; null while there is no block.
  double* data() { return v; }
  const double* data() const { return v; }
  ///@}

 protected:
  /// The byte count is rounded up to the alignment, as C11 7.22.3.1 once asked for.
  static double* alignedBlock(unsigned long count) {
    const std::size_t bytes = (count * sizeof(double) + 31) & ~static_cast<std::size_t>(31);
    double* block = static_cast<double*>(std::aligned_alloc(32, bytes));
    if (block == nullptr && bytes > 0) throw std::bad_alloc();
    return block;
  }
  /// Replaces the block by a copy.
  void copyBlock(const double* source, unsigned long count) {
    allocate(count);
    if (count > 0) std::memcpy(v, source, count * sizeof(double));
  }
  /// Takes the block of `other` and frees its own.
  void stealBlock(DynamicArray& other) {
    std::free(v);
    v = std::exchange(other.v, nullptr);
  }
  /// Writes `count` zeros.
  static void zeroBlock(double* block, unsigned long count) {
    if (count > 0) std::memset(block, 0, count * sizeof(double));
  }
};

/// Vector whose length is known at run time; `n` is the number of elements.
class VecDyn : public DynamicArray {
 public:
  unsigned long n = 0;  ///< number of values

  VecDyn() = default;
  /// `size` unset values.
  explicit VecDyn(unsigned long size) { resize(size); }
  ///@{
  /// Copies take a block of their own; moves leave `other` empty.
  VecDyn(const VecDyn& other) : DynamicArray(), n(other.n) { copyBlock(other.v, n); }
  VecDyn(VecDyn&& other) noexcept : DynamicArray(), n(std::exchange(other.n, 0ul)) {
    stealBlock(other);
  }
  ///@}
  ///@{
  /// A copy of the same length reuses the block; a move leaves `other` empty.
  VecDyn& operator=(const VecDyn& other) {
    if (this == &other) return *this;
    if (n != other.n || v == nullptr) allocate(other.n);
    n = other.n;
    if (n > 0) std::memcpy(v, other.v, n * sizeof(double));
    return *this;
  }
  VecDyn& operator=(VecDyn&& other) noexcept {
    if (this == &other) return *this;
    stealBlock(other);
    n = std::exchange(other.n, 0ul);
    return *this;
  }
  ///@}

  /// New block of `size` unset values; the old ones are lost.
  void resize(unsigned long size) {
    allocate(size);
    n = size;
  }
  /// Writes zeros.
  void setZero() { zeroBlock(v, n); }
  /// New block of `size` zeros.
  void setZero(unsigned long size) {
    resize(size);
    setZero();
  }
  /// Number of values.
  unsigned long size() const { return n; }

  ///@{
  /// View of the values as an Eigen vector; it writes through.
  auto e() { return Eigen::Map<Eigen::VectorXd>(v, static_cast<Eigen::Index>(n)); }
  /// View of the values as an Eigen matrix.
  auto e() const { return Eigen::Map<const Eigen::VectorXd>(v, static_cast<Eigen::Index>(n)); }
  ///@}
};

/// Column-major matrix whose size is known at run time; `n` rows and `m` columns.
class MatDyn : public DynamicArray {
 public:
  unsigned long n = 0;  ///< number of rows
  unsigned long m = 0;  ///< number of columns

  MatDyn() = default;
  /// `rows` x `cols` unset values.
  MatDyn(unsigned long rows, unsigned long cols) { resize(rows, cols); }
  ///@{
  /// Copies take a block of their own; moves leave `other` empty.
  MatDyn(const MatDyn& other) : DynamicArray(), n(other.n), m(other.m) {
    copyBlock(other.v, n * m);
  }
  MatDyn(MatDyn&& other) noexcept
      : DynamicArray(), n(std::exchange(other.n, 0ul)), m(std::exchange(other.m, 0ul)) {
    stealBlock(other);
  }
  ///@}
  ///@{
  /// A copy of the same number of values reuses the block; a move leaves `other` empty.
  MatDyn& operator=(const MatDyn& other) {
    if (this == &other) return *this;
    if (n * m != other.n * other.m || v == nullptr) allocate(other.n * other.m);
    n = other.n;
    m = other.m;
    if (n * m > 0) std::memcpy(v, other.v, n * m * sizeof(double));
    return *this;
  }
  MatDyn& operator=(MatDyn&& other) noexcept {
    if (this == &other) return *this;
    stealBlock(other);
    n = std::exchange(other.n, 0ul);
    m = std::exchange(other.m, 0ul);
    return *this;
  }
  ///@}

  using DynamicArray::operator[];
  ///@{
  /// Element in row i and column j, from 0; not bounds-checked.
  double& operator()(std::size_t i, std::size_t j) { return v[i + j * n]; }
  const double& operator()(std::size_t i, std::size_t j) const { return v[i + j * n]; }
  ///@}

  /// New block of `rows` x `cols` unset values; the old ones are lost.
  void resize(unsigned long rows, unsigned long cols) {
    allocate(rows * cols);
    n = rows;
    m = cols;
  }
  /// Writes zeros.
  void setZero() { zeroBlock(v, n * m); }
  /// New block of `rows` x `cols` zeros.
  void setZero(unsigned long rows, unsigned long cols) {
    resize(rows, cols);
    setZero();
  }
  /// Number of rows.
  unsigned long rows() const { return n; }
  /// Number of columns.
  unsigned long cols() const { return m; }

  ///@{
  /// View of the values as an Eigen matrix; the first form writes through.
  auto e() {
    return Eigen::Map<Eigen::MatrixXd>(v, static_cast<Eigen::Index>(n),
                                       static_cast<Eigen::Index>(m));
  }
  auto e() const {
    return Eigen::Map<const Eigen::MatrixXd>(v, static_cast<Eigen::Index>(n),
                                             static_cast<Eigen::Index>(m));
  }
  ///@}
};

/// Standard allocator whose blocks start at a multiple of `alignment` bytes. The stride of elements
/// stays `sizeof(T)`: only the first element is sure to be aligned.
/// Throws `std::bad_alloc` when memory runs out.
template <typename T, std::size_t alignment>
class AlignedAllocator {
 public:
  /// Element.
  using value_type = T;
  /// The same allocator for another element.
  template <typename U>
  struct rebind {
    using other = AlignedAllocator<U, alignment>;  ///< its type
  };

  AlignedAllocator() noexcept = default;
  template <typename U>
  /// All allocators of one alignment are equal.
  AlignedAllocator(const AlignedAllocator<U, alignment>&) noexcept {}  // NOLINT: converts

  /// Room for `count` elements, unset.
  T* allocate(std::size_t count) {
    void* block = nullptr;
    if (posix_memalign(&block, alignment, count * sizeof(T)) != 0) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  /// Frees what `allocate` gave.
  void deallocate(T* block, std::size_t) noexcept { std::free(block); }
};

template <typename T, typename U, std::size_t a>
inline bool operator==(const AlignedAllocator<T, a>&, const AlignedAllocator<U, a>&) noexcept {
  return true;
}
template <typename T, typename U, std::size_t a>
inline bool operator!=(const AlignedAllocator<T, a>&, const AlignedAllocator<U, a>&) noexcept {
  return false;
}

template <typename T>
using AlignedVector = std::vector<T, AlignedAllocator<T, 32>>;

}  // namespace zelvik
