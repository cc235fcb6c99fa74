// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <limits>
#include <zelvik/math.hpp>

namespace zelvik::detail {

/// The value as it stands. Keeps the compiler from computing a mirrored entry a second time in a
/// vector lane, where it may be rounded differently: what is copied is equal to the last bit.
inline double pinned(double value) {
#if defined(__x86_64__)
  asm("" : "+x"(value));
#endif
  return value;
}

/// 1 / pivot; NaN for a pivot that is not positive.
inline double inversePivot(double pivot) {
  return pivot > 0.0 ? 1.0 / pivot : std::numeric_limits<double>::quiet_NaN();
}

/// Copies the lower triangle to the upper one.
inline void mirrorLower(Mat<3, 3>& I) {
  I[1] = I[3] = pinned(I[1]);
  I[2] = I[6] = pinned(I[2]);
  I[5] = I[7] = pinned(I[5]);
}

}  // namespace zelvik::detail

// Rotation and small-matrix routines. Quaternions are (w, x, y, z) and assumed to be of unit
// length; rotation matrices map body to world. All are straight-line code: no allocation, no
// failure, and non-finite input passes through.

/// Adds the parallel-axis term of a point mass m (kg) at offset r (m) to the inertia I (kg m^2):
/// I += m (|r|^2 1 - r r^T). The lower triangle of I is the source; the upper one is overwritten
/// by its mirror.
inline void addInertia(double m, const zelvik::Mat<3, 1>& r, zelvik::Mat<3, 3>& I) {
  const double xx = r[0] * r[0], yy = r[1] * r[1], zz = r[2] * r[2];
  I[0] += m * (yy + zz);
  I[4] += m * (xx + zz);
  I[8] += m * (xx + yy);
  I[1] -= m * r[0] * r[1];
  I[2] -= m * r[0] * r[2];
  I[5] -= m * r[1] * r[2];
  zelvik::detail::mirrorLower(I);
}

namespace zelvik {

/// Rotation matrix of the quaternion q. The diagonal has the form w^2 + x^2 - y^2 - z^2, so a
/// quaternion that is not of unit length gives a scaled matrix.
inline void quatToRotMat(const double* q, Mat<3, 3>& R) {
  const double w = q[0], x = q[1], y = q[2], z = q[3];
  R[0] = w * w + x * x - y * y - z * z;
  R[1] = 2.0 * x * y + 2.0 * w * z;
  R[2] = 2.0 * x * z - 2.0 * w * y;
  R[3] = 2.0 * x * y - 2.0 * w * z;
  R[4] = w * w - x * x + y * y - z * z;
  R[5] = 2.0 * y * z + 2.0 * w * x;
  R[6] = 2.0 * x * z + 2.0 * w * y;
  R[7] = 2.0 * y * z - 2.0 * w * x;
  R[8] = w * w - x * x - y * y + z * z;
}

inline void quatToRotMat(const Mat<4, 1>& q, Mat<3, 3>& R) {
  quatToRotMat(q.v, R);
}

/// The quaternion of the rotation matrix R times a positive number, from the largest of trace and
/// diagonal (S. W. Shepperd, Quaternion from rotation matrix, J. Guidance and Control 1 (1978)).
/// @return the largest value, four times its square in the quaternion of unit length
inline double scaledQuaternion(const Mat<3, 3>& R, Mat<4, 1>& q) {
  const double trace = R[0] + R[4] + R[8];
  if (trace > 0.0) {
    q = {{1.0 + trace, R[5] - R[7], R[6] - R[2], R[1] - R[3]}};
    return q[0];
  }
  if (R[0] > R[4] && R[0] > R[8]) {
    q = {{R[5] - R[7], 1.0 + R[0] - R[4] - R[8], R[3] + R[1], R[6] + R[2]}};
    return q[1];
  }
  if (R[4] > R[8]) {
    q = {{R[6] - R[2], R[3] + R[1], 1.0 + R[4] - R[0] - R[8], R[7] + R[5]}};
    return q[2];
  }
  q = {{R[1] - R[3], R[6] + R[2], R[7] + R[5], 1.0 + R[8] - R[0] - R[4]}};
  return q[3];
}

/// Quaternion of the rotation matrix R. The sign of w is not normalised.
inline void rotMatToQuat(const Mat<3, 3>& R, Mat<4, 1>& q) {
  const double largest = scaledQuaternion(R, q);
  q *= 0.5 / std::sqrt(largest);
}

/// C = A B for rotation matrices: two columns are products, the third is (c0 x c1) (2 - (|c0|^2 +
/// |c1|^2) / 2), their cross product where they are of unit length. The factor undoes to first
/// order what their lengths are off, so that the rounding of a long chain of products does not
/// double with every one of them (the same step as one of Newton's for the polar factor). C must be
/// neither A nor B.
inline void rotmatmul(const Mat<3, 3>& A, const Mat<3, 3>& B, Mat<3, 3>& C) {
  C[0] = A[0] * B[0] + A[3] * B[1] + A[6] * B[2];
  C[1] = A[1] * B[0] + A[4] * B[1] + A[7] * B[2];
  C[2] = A[2] * B[0] + A[5] * B[1] + A[8] * B[2];
  C[3] = A[0] * B[3] + A[3] * B[4] + A[6] * B[5];
  C[4] = A[1] * B[3] + A[4] * B[4] + A[7] * B[5];
  C[5] = A[2] * B[3] + A[5] * B[4] + A[8] * B[5];
  const double scale = 2.0 - 0.5 * ((C[0] * C[0] + C[1] * C[1] + C[2] * C[2]) +
                                    (C[3] * C[3] + C[4] * C[4] + C[5] * C[5]));
  C[6] = scale * (C[1] * C[5] - C[2] * C[4]);
  C[7] = scale * (C[2] * C[3] - C[0] * C[5]);
  C[8] = scale * (C[0] * C[4] - C[1] * C[3]);
}

/// out = R I R^T for a symmetric I. Six entries are computed and mirrored, so the result is
/// symmetric to the last bit. `out` may be I.
inline void similarityTransform(const Mat<3, 3>& R, const Mat<3, 3>& I, Mat<3, 3>& out) {
  // T = R I, read by rows of I: T(i,j) = sum_k R(i,k) I(j,k).
  const double t00 = R[0] * I[0] + R[3] * I[3] + R[6] * I[6];
  const double t10 = R[1] * I[0] + R[4] * I[3] + R[7] * I[6];
  const double t20 = R[2] * I[0] + R[5] * I[3] + R[8] * I[6];
  const double t01 = R[0] * I[1] + R[3] * I[4] + R[6] * I[7];
  const double t11 = R[1] * I[1] + R[4] * I[4] + R[7] * I[7];
  const double t21 = R[2] * I[1] + R[5] * I[4] + R[8] * I[7];
  const double t02 = R[0] * I[2] + R[3] * I[5] + R[6] * I[8];
  const double t12 = R[1] * I[2] + R[4] * I[5] + R[7] * I[8];
  const double t22 = R[2] * I[2] + R[5] * I[5] + R[8] * I[8];
  out[0] = t00 * R[0] + t01 * R[3] + t02 * R[6];
  out[1] = t10 * R[0] + t11 * R[3] + t12 * R[6];
  out[2] = t20 * R[0] + t21 * R[3] + t22 * R[6];
  out[4] = t10 * R[1] + t11 * R[4] + t12 * R[7];
  out[5] = t20 * R[1] + t21 * R[4] + t22 * R[7];
  out[8] = t20 * R[2] + t21 * R[5] + t22 * R[8];
  detail::mirrorLower(out);
}

/// x from A x = b by Cramer's rule. Where |det A| is not above 2.220446049250313e-16 the
/// determinant itself stands for its inverse: the answer stays finite and collapses towards zero.
inline void solve33(const Mat<3, 3>& A, const Mat<3, 1>& b, Mat<3, 1>& x) {
  const Vec3 a0 = column(A, 0), a1 = column(A, 1), a2 = column(A, 2);
  const Vec3 c0 = {
      {A[4] * A[8] - A[7] * A[5], A[6] * A[5] - A[8] * A[3], A[7] * A[3] - A[6] * A[4]}};
  const double det = dot(a0, c0);
  const double scale = std::fabs(det) > 2.220446049250313e-16 ? 1.0 / det : det;
  const Vec3 bCopy = b;
  x[0] = scale * dot(bCopy, c0);
  x[1] = scale * dot(a0, cross(bCopy, a2));
  x[2] = scale * dot(a0, cross(a1, bCopy));
}

/// Inverse of a symmetric positive definite matrix by its factors L D L^T, without square roots
/// (G. H. Golub and C. F. Van Loan, Matrix Computations, section 4.1). A matrix that is not
/// positive definite gives NaN. Reads the upper triangle.
template <int n>
inline void cholInv(const double* A, double* Ainv);

template <>
inline void cholInv<3>(const double* A, double* Ainv) {
  const double a3 = A[3], a6 = A[6];
  const double i0 = detail::inversePivot(A[0]);
  const double l10 = a3 * i0, l20 = a6 * i0;
  const double i1 = detail::inversePivot(A[4] - l10 * a3);
  const double w21 = A[7] - l20 * a3, l21 = w21 * i1;
  const double i2 = detail::inversePivot(A[8] - l20 * a6 - l21 * w21);
  // L^-1 has -l10, -l21 and m20; A^-1 = L^-T D^-1 L^-1.
  const double m20 = l10 * l21 - l20, s20 = m20 * i2, s21 = -l21 * i2;
  Ainv[0] = i0 + l10 * l10 * i1 + m20 * s20;
  Ainv[1] = Ainv[3] = m20 * s21 - l10 * i1;
  Ainv[2] = Ainv[6] = s20;
  Ainv[4] = i1 - l21 * s21;
  Ainv[5] = Ainv[7] = s21;
  Ainv[8] = i2;
}

inline void cholInv(const Mat<3, 3>& A, Mat<3, 3>& Ainv) {
  cholInv<3>(A.v, Ainv.v);
}

/// Hamilton product a b of two quaternions (w, x, y, z).
inline Vec4 quatMul(const Vec4& a, const Vec4& b) {
  return {{a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
           a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
           a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
           a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]}};
}

/// Rotation matrix of `angle` (rad) about a unit axis by Rodrigues' formula, from the cosine and
/// sine of the angle. The axis is used as given.
inline void rotationAboutAxis(const Vec3& axis, double cosine, double sine, Mat33& R) {
  const double x = axis[0], y = axis[1], z = axis[2], k = 1.0 - cosine;
  R[0] = k * x * x + cosine;
  R[1] = k * x * y + sine * z;
  R[2] = k * x * z - sine * y;
  R[3] = k * x * y - sine * z;
  R[4] = k * y * y + cosine;
  R[5] = k * y * z + sine * x;
  R[6] = k * x * z + sine * y;
  R[7] = k * y * z - sine * x;
  R[8] = k * z * z + cosine;
}

}  // namespace zelvik
