// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <tuple>
#include <zelvik/math.hpp>
#include <zelvik/rotation.hpp>

#include "RandomTree.hpp"

namespace zelvik {
namespace {

class Random : public scenes::RandomSource {
 public:
  Random() : RandomSource(42) {}
  Mat33 mat() {
    Mat33 a;
    for (double& value : a.v) value = uniform(-1.0, 1.0);
    return a;
  }
};

TEST(Math, DynamicValuesOwnTheirBlock) {
  MatDyn a(3, 5);
  for (int i = 0; i < 15; ++i) a[i] = i;
  MatDyn copy(a);
  a(0, 0) = -1.0;
  EXPECT_EQ(copy(0, 0), 0.0);
  MatDyn moved(std::move(copy));
  copy = moved;
  copy = *&copy;
  EXPECT_EQ(copy.e(), moved.e());
  copy = MatDyn(5, 3);  // equal count, other shape: the sizes follow
  EXPECT_EQ(copy.n, 5u);
}

// Entries of a rotation are sums of at most four products below 1: a few ulp of 1.
TEST(Rotation, QuaternionAndMatrixAgreeWithEigen) {
  Random random;
  for (int i = 0; i < 1000; ++i) {
    const Vec4 q = random.unitQuaternion(), p = random.unitQuaternion();
    const Eigen::Quaterniond e(q[0], q[1], q[2], q[3]), f(p[0], p[1], p[2], p[3]);
    const Eigen::Quaterniond ef = e * f;
    Mat33 R, S, RS;
    Vec4 back;
    quatToRotMat(q, R);
    quatToRotMat(p, S);
    ASSERT_LT((R.e() - e.toRotationMatrix()).norm(), 4e-15);
    rotMatToQuat(R, back);
    // q and -q are the same rotation.
    ASSERT_LT(std::min(norm(back - q), norm(back + q)), 4e-15);
    rotmatmul(R, S, RS);
    ASSERT_LT((RS.e() - ef.toRotationMatrix()).norm(), 4e-15);
    ASSERT_LT(norm(quatMul(q, p) - Vec4{{ef.w(), ef.x(), ef.y(), ef.z()}}), 1e-15);
    const Eigen::AngleAxisd turn(e);
    rotationAboutAxis({{turn.axis().x(), turn.axis().y(), turn.axis().z()}}, std::cos(turn.angle()),
                      std::sin(turn.angle()), S);
    ASSERT_LT((S.e() - e.toRotationMatrix()).norm(), 4e-15);
  }
  Mat33 R;
  // The third column is rebuilt, its own would be (0, 0, 5).
  rotmatmul({{1, 0, 0, 0, 1, 0, 0, 0, 5}}, Mat33::identity(), R);
  EXPECT_EQ(R(2, 2), 1.0);
  // Rounding does not grow along a chain of products.
  R = Mat33::identity();
  for (int i = 0; i < 10000; ++i) {
    Mat33 S, RS;
    quatToRotMat(random.unitQuaternion(), S);
    rotmatmul(R, S, RS);
    R = RS;
  }
  EXPECT_LT((R.e().transpose() * R.e() - Eigen::Matrix3d::Identity()).norm(), 1e-13);
}

TEST(Rotation, QuaternionOfEveryBranchAndAtItsTies) {
  const double h = std::sqrt(0.5);
  for (const auto& [why, expected] : std::initializer_list<std::pair<const char*, Vec4>>{
           {"identity, branch 1", {{1, 0, 0, 0}}},
           {"half turn about x, branch 2", {{0, 1, 0, 0}}},
           {"half turn about y, branch 3", {{0, 0, 1, 0}}},
           {"half turn about z: R(0,0) = R(1,1) fails both tests", {{0, 0, 0, 1}}},
           {"R(2,2) > R(0,0) > R(1,1), the sign tells the branch", {{0.1, -0.5, 0.2, 0.83666003}}},
           {"R(0,0) = R(2,2) with x = z", {{0, h, 0, h}}},
           {"R(0,0) = R(1,1) with x = y", {{0, h, h, 0}}},
           {"trace close to 0 from below", {{0.4999999, 0.8, 0.2, 0.26457534}}},
           {"w negative, not normalised", {{-0.1, 0.1, 0.1, 0.98488578}}}}) {
    Mat33 R;
    quatToRotMat((1.0 / norm(expected)) * expected, R);
    Vec4 q;
    rotMatToQuat(R, q);
    EXPECT_LT(norm(q - expected), 3e-8) << why;
  }
}

TEST(Rotation, InertiasTurnAndShiftAsDenseProductsSay) {
  Random random;
  const Mat33 R = random.rotation(), a = random.mat(), symmetric = a + transpose(a);
  Mat33 out = symmetric, inertia = symmetric;
  similarityTransform(R, out, out);  // in place
  EXPECT_LT((out.e() - R.e() * symmetric.e() * R.e().transpose()).norm(), 5e-15);
  const Vec3 r = random.vector(1.0);
  inertia(0, 2) = 1e3;  // the upper triangle is overwritten
  addInertia(1.5, r, inertia);
  EXPECT_LT((inertia.e() - (symmetric - 1.5 * (skew(r) * skew(r))).e()).norm(), 2e-15);
  for (const auto& [i, j] : {std::pair{0, 1}, std::pair{0, 2}, std::pair{1, 2}}) {
    EXPECT_EQ(out(i, j), out(j, i));
    EXPECT_EQ(inertia(i, j), inertia(j, i));
  }
  // I is read by rows, which an asymmetric I shows: I(0,1) = 7.
  similarityTransform(Mat33::identity(), Mat33{{0, 0, 0, 7, 0, 0, 0, 0, 0}}, out);
  EXPECT_EQ(out(1, 0), 7.0);
}

TEST(Rotation, SmallSystemsAreSolvedAndSingularOnesStayFinite) {
  Random random;
  for (int i = 0; i < 500; ++i) {
    const Mat33 A = random.mat();
    const Vec3 b = random.vector(1.0);
    const Eigen::Matrix3d inverse = A.e().inverse();
    const double condition = A.e().norm() * inverse.norm();
    Vec3 x;
    solve33(A, b, x);
    // Cramer's rule is forward stable only up to the square of the condition number.
    ASSERT_LT((x.e() - inverse * b.e()).norm(), 1e-15 * condition * condition);

    const Mat33 positive = A * transpose(A) + 0.1 * Mat33::identity();
    Mat33 Pinv = positive;
    cholInv(Pinv, Pinv);
    ASSERT_LT((Pinv.e() * positive.e() - Eigen::Matrix3d::Identity()).norm(), 1e-13);
  }
  // Without a determinant the determinant itself scales: small and finite, never a division.
  const std::tuple<const char*, Mat33, double> rows[] = {
      {"rank 2", {{1, 2, 3, 2, 4, 6, 0, 1, 1}}, 0.0},
      {"det 1e-18: scale 1e-18", {{1e-6, 0, 0, 0, 1e-6, 0, 0, 0, 1e-6}}, 1e-30},
      {"det 1e-15: a division", {{1e-5, 0, 0, 0, 1e-5, 0, 0, 0, 1e-5}}, 1e5}};
  for (const auto& [why, A, x0] : rows) {
    Vec3 x;
    solve33(A, {{1, 1, 1}}, x);
    EXPECT_NEAR(x[0], x0, 1e-12 * std::fabs(x0)) << why;
  }
}

}  // namespace
}  // namespace zelvik
