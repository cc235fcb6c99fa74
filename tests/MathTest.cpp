// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <limits>
#include <locale>
#include <regex>
#include <string>
#include <tuple>
#include <zelvik/Path.hpp>
#include <zelvik/math.hpp>
#include <zelvik/rotation.hpp>

#include "Messages.hpp"
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

TEST(Rotation, InertiaRoutines) {
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

TEST(Rotation, SmallSolvers) {
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

TEST(Messages, FormatAndCallback) {
  const auto before = ZelvikMsg::fatalCallback_;
  const auto matches = [](auto&& action, const std::string& rest) {
    const std::string stamp = R"(\[\d{4}:[01]\d:[0-3]\d:[0-2]\d:[0-5]\d:[0-6]\d )";
    testing::internal::CaptureStdout();
    action();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::regex_match(text, std::regex(stamp + rest + "\x1b\\[0m\n"))) << text;
  };
  const auto raw = [](const char* file, int severity) {
    std::stringstream message("text");
    ZelvikMsg().stream(file, 1234, message, severity);
  };
  int calls = 0;
  ZelvikMsg::fatalCallback_ = [&] { ++calls; };
  matches([] { MSG_INFO("mass is " << 1.5); }, R"(CoreTest\.cpp:\d+\] mass is 1\.5)");
  matches([] { MSG_WARN("careful"); }, "CoreTest\\.cpp:\\d+\\] \x1b\\[33mcareful");
  EXPECT_EQ(calls, 0);
  matches([] { MSG_FATAL("broken " << 7); }, "CoreTest\\.cpp:\\d+\\] \x1b\\[1;31mbroken 7");
  EXPECT_EQ(calls, 1);
  matches([&] { raw("/a/b/", 3); }, ":1234\\] text");
  ZelvikMsg::fatalCallback_ = nullptr;
  matches([] { EXPECT_THROW(MSG_FATAL("nobody"), std::bad_function_call); },
          "CoreTest\\.cpp:\\d+\\] \x1b\\[1;31mnobody");
  ZelvikMsg::fatalCallback_ = before;
  EXPECT_EXIT(MSG_FATAL("the end"), testing::ExitedWithCode(1), "");
}

TEST(Messages, ASinkTakesThePartsInsteadOfTheOutput) {
  const auto before = ZelvikMsg::fatalCallback_;
  std::string taken;
  ZelvikMsg::sink_ = [&](ZelvikMsg::Severity severity, const char* file, int line,
                         const std::string& text) {
    taken += std::to_string(severity) + "|" + file + "|" + std::to_string(line) + "|" + text + "\n";
  };
  ZelvikMsg::fatalCallback_ = [&] { taken += "fatal callback\n"; };
  testing::internal::CaptureStdout();
  for (const int severity : {0, 1, 2, 7}) {
    std::stringstream message("text");
    ZelvikMsg().stream("/a/World.cpp", 65, message, severity);
  }
  ZelvikMsg::sink_ = nullptr;
  ZelvikMsg::fatalCallback_ = before;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(taken,
            "0|World.cpp|65|text\n1|World.cpp|65|text\n2|World.cpp|65|text\nfatal callback\n"
            "0|World.cpp|65|text\n");
}

TEST(Messages, NumbersDoNotFollowTheLocaleOfTheHost) {
  struct German : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new German));
  const std::string told = messages::of([] { MSG_WARN("row:" << 1501 << " " << -2.5); });
  std::locale::global(before);
  EXPECT_EQ(told, "CoreTest.cpp: row:1501 -2.5");
}

TEST(Paths, Normalisation) {
  for (const auto& [given, expected] :
       {std::pair{"", ""},
        {"a\\b", "a/b"},
        {"/a/b/../c", "/a/c"},
        {"/a/b/c/../../d", "/a/d"},
        {"/a//b", "/a/b"},
        {"/a////b", "/a/b"},
        {"/a/..", ""},
        {"\\a\\b\\..\\c", "/a/c"},
        {"/a/bb..c/d", "/ac/d"},  // dots inside a name take the component away
        {"/a/b..c/d", "c/d"},     // and the one before, if a single letter stands before them
        {"/a/./b", "/a/./b"},
        {"x/yy/../z", "x/z"},
        {"/a/b//../c", "/a/c"}})
    EXPECT_EQ(Path(given).getString(), expected) << given;
  EXPECT_EQ(Path("../a\\..//b", true).getString(), "../a/..//b");
}

TEST(Paths, ImpossibleStepsAreFatal) {
  for (const std::string given :
       {"../a", "/../a", "ab..", "a/..", "abc..", "aa/../b", "/a/../../b"}) {
    const std::string text = "Path.hpp: '" + given + "' is an invalid path";
    messages::expect(text, [&] { Path{given}; });
    // A callback that comes back must not leave the loop running.
    messages::expect(
        text, [&] { Path{given}; }, messages::OnFatal::GO_ON);
  }
}

TEST(Paths, DirectoriesAndSuffixes) {
  for (const auto& [given, directory, top] : {std::tuple{"/a/b/c.urdf", "/a/b", "b"},
                                              {"b", "", "b"},
                                              {"/b", "", ""},
                                              {"/a/b/", "/a/b", "b"}}) {
    EXPECT_EQ(Path(given).getDirectory().getString(), directory) << given;
    EXPECT_EQ(Path(given).getTopDirectory().getString(), top) << given;
  }
  // Only the tail of a pair is taken.
  for (const auto& [suffix, expected] :
       {std::pair{"/b.xml", "/a/b.xml"}, {"x/", "/a/"}, {"/../b", "/a/../b"}})
    EXPECT_EQ((Path("/a") + suffix).getString(), expected);
}

}  // namespace
}  // namespace zelvik
