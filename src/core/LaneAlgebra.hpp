// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/math.hpp>

#include "core/Lanes.hpp"

// Vector algebra of four bodies at once: lane l of every number belongs to body l.

namespace zelvik {

struct Lanes3 {
  Lanes x, y, z;

  Lanes3& operator+=(const Lanes3& b) {
    x += b.x;
    y += b.y;
    z += b.z;
    return *this;
  }
};

inline Lanes3 operator+(const Lanes3& a, const Lanes3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Lanes3 operator-(const Lanes3& a, const Lanes3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Lanes3 operator*(const Lanes& s, const Lanes3& a) {
  return {s * a.x, s * a.y, s * a.z};
}
inline Lanes dot(const Lanes3& a, const Lanes3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Lanes3 cross(const Lanes3& a, const Lanes3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// The same vector in all lanes.
inline Lanes3 broadcast(const Vec3& a) {
  return {broadcast(a[0]), broadcast(a[1]), broadcast(a[2])};
}
/// The vector that is the sum over the lanes.
inline Vec3 sumOfLanes(const Lanes3& a) {
  return {{sumOfLanes(a.x), sumOfLanes(a.y), sumOfLanes(a.z)}};
}
inline void setLane(Lanes3& a, size_t lane, const Vec3& value) {
  a.x[lane] = value[0];
  a.y[lane] = value[1];
  a.z[lane] = value[2];
}
inline Vec3 getLane(const Lanes3& a, size_t lane) {
  return {{a.x[lane], a.y[lane], a.z[lane]}};
}

/// Four 3 x 3 matrices by columns.
struct Lanes33 {
  Lanes3 c[3];
};

inline Lanes3 operator*(const Lanes33& A, const Lanes3& b) {
  return b.x * A.c[0] + b.y * A.c[1] + b.z * A.c[2];
}
/// Product of rotations as in `rotmatmul`: the third column is rebuilt from the others.
inline Lanes33 multiplyRotations(const Lanes33& A, const Lanes33& B) {
  Lanes33 C;
  C.c[0] = A * B.c[0];
  C.c[1] = A * B.c[1];
  const Lanes scale = 2.0 - 0.5 * (dot(C.c[0], C.c[0]) + dot(C.c[1], C.c[1]));
  C.c[2] = scale * cross(C.c[0], C.c[1]);
  return C;
}
inline Lanes33 broadcast(const Mat33& A) {
  return {{broadcast(column(A, 0)), broadcast(column(A, 1)), broadcast(column(A, 2))}};
}
inline void setLane(Lanes33& A, size_t lane, const Mat33& value) {
  for (size_t j = 0; j < 3; ++j) setLane(A.c[j], lane, column(value, j));
}

/// Four symmetric 3 x 3 matrices.
struct LanesSymmetric {
  Lanes xx, xy, xz, yy, yz, zz;

  LanesSymmetric& operator+=(const LanesSymmetric& b) {
    xx += b.xx;
    xy += b.xy;
    xz += b.xz;
    yy += b.yy;
    yz += b.yz;
    zz += b.zz;
    return *this;
  }
};

inline Lanes3 operator*(const LanesSymmetric& A, const Lanes3& b) {
  return {A.xx * b.x + A.xy * b.y + A.xz * b.z, A.xy * b.x + A.yy * b.y + A.yz * b.z,
          A.xz * b.x + A.yz * b.y + A.zz * b.z};
}
/// I += m (|r|^2 1 - r r^T), the parallel-axis term.
inline void addInertia(const Lanes& m, const Lanes3& r, LanesSymmetric& I) {
  const Lanes xx = r.x * r.x, yy = r.y * r.y, zz = r.z * r.z;
  const Lanes mx = m * r.x, my = m * r.y;
  I.xx += m * (yy + zz);
  I.yy += m * (xx + zz);
  I.zz += m * (xx + yy);
  I.xy -= mx * r.y;
  I.xz -= mx * r.z;
  I.yz -= my * r.z;
}
/// R I R^T.
inline LanesSymmetric similarity(const Lanes33& R, const LanesSymmetric& I) {
  const Lanes3 c0 = R * Lanes3{I.xx, I.xy, I.xz};
  const Lanes3 c1 = R * Lanes3{I.xy, I.yy, I.yz};
  const Lanes3 c2 = R * Lanes3{I.xz, I.yz, I.zz};
  const Lanes3 x = R.c[0].x * c0 + R.c[1].x * c1 + R.c[2].x * c2;
  const Lanes yy = R.c[0].y * c0.y + R.c[1].y * c1.y + R.c[2].y * c2.y;
  const Lanes yz = R.c[0].y * c0.z + R.c[1].y * c1.z + R.c[2].y * c2.z;
  const Lanes zz = R.c[0].z * c0.z + R.c[1].z * c1.z + R.c[2].z * c2.z;
  return {x.x, x.y, x.z, yy, yz, zz};
}
inline void setLane(LanesSymmetric& A, size_t lane, const Mat33& value) {
  A.xx[lane] = value[0];
  A.xy[lane] = value[1];
  A.xz[lane] = value[2];
  A.yy[lane] = value[4];
  A.yz[lane] = value[5];
  A.zz[lane] = value[8];
}
inline Mat33 getLane(const LanesSymmetric& A, size_t lane) {
  return {{A.xx[lane], A.xy[lane], A.xz[lane], A.xy[lane], A.yy[lane], A.yz[lane], A.xz[lane],
           A.yz[lane], A.zz[lane]}};
}
/// The matrix that is the sum over the lanes.
inline LanesSymmetric broadcastSum(const LanesSymmetric& A) {
  return {broadcast(sumOfLanes(A.xx)), broadcast(sumOfLanes(A.xy)), broadcast(sumOfLanes(A.xz)),
          broadcast(sumOfLanes(A.yy)), broadcast(sumOfLanes(A.yz)), broadcast(sumOfLanes(A.zz))};
}
inline Lanes3 broadcastSum(const Lanes3& a) {
  return broadcast(sumOfLanes(a));
}

/// Stores the first `count` lanes as vectors of three values, each to its own place.
inline void scatter(const Lanes3& a, size_t count, Vec3* const* places) {
  Lanes r0 = a.x, r1 = a.y, r2 = a.z, r3 = a.z;
  transposeLanes(r0, r1, r2, r3);
  const Lanes rows[4] = {r0, r1, r2, r3};
  for (size_t l = 0; l < count; ++l) {
    const TwoLanes xy = {rows[l][0], rows[l][1]};
    storeTwo(places[l]->v, xy);
    places[l]->v[2] = rows[l][2];
  }
}

/// The same for matrices.
inline void scatter(const Lanes33& A, size_t count, Mat33* const* places) {
  Lanes r0 = A.c[0].x, r1 = A.c[0].y, r2 = A.c[0].z, r3 = A.c[1].x;
  transposeLanes(r0, r1, r2, r3);
  Lanes s0 = A.c[1].y, s1 = A.c[1].z, s2 = A.c[2].x, s3 = A.c[2].y;
  transposeLanes(s0, s1, s2, s3);
  const Lanes front[4] = {r0, r1, r2, r3}, back[4] = {s0, s1, s2, s3};
  for (size_t l = 0; l < count; ++l) {
    storeLanes(places[l]->v, front[l]);
    storeLanes(places[l]->v + 4, back[l]);
    places[l]->v[8] = A.c[2].z[l];
  }
}

}  // namespace zelvik
