// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/rotation.hpp>

namespace zelvik::contact {
namespace {

using Problem = Single3DContactProblem;

/// Uniform numbers from raw generator output, so that all builds see the same ones.
class Uniform {
 public:
  explicit Uniform(unsigned seed) : generator_(seed) {}
  double operator()(double low, double high) {
    return low + (high - low) * (static_cast<double>(generator_()) / 4294967296.0);
  }
  Vec3 vector(double size) {
    return {{(*this)(-size, size), (*this)(-size, size), (*this)(-size, size)}};
  }

 private:
  std::mt19937 generator_;
};

Problem makeProblem(const Mat33& D, const Vec3& v, double mu, double depth = 0.0) {
  MaterialPairProperties material;
  material.friction = mu;
  Problem p(material, 0.0, 0.0, 0.0, depth);
  p.delassus_ = D;
  p.tauStar_ = v;
  return p;
}

/// A A^T + shift: a symmetric positive definite block with random coupling.
Mat33 randomBlock(Uniform& random, double shift) {
  Mat33 A;
  for (int i = 0; i < 9; ++i) A[i] = random(-1.0, 1.0);
  Mat33 D = A * transpose(A);
  for (int i = 0; i < 3; ++i) D(i, i) += shift;
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < j; ++i) D(i, j) = D(j, i);
  return D;
}

Vec3 velocityAfter(const Problem& p) {
  return p.tauStar_ + p.delassus_ * p.imp_;
}

struct RankCase {
  const char* name;
  Mat33 D;
  unsigned rank;
};

TEST(CheckRank, ClassifiesByColumns) {
  const double tiny = 1e-16;
  const RankCase cases[] = {
      {"full", {{2, 0.1, 0, 0.1, 3, 0.2, 0, 0.2, 1}}, Problem::FULL},
      {"all zero", {{0, 0, 0, 0, 0, 0, 0, 0, 0}}, Problem::NOTHING_MOVES},
      {"no normal response", {{1, 0, 0, 0, 1, 0, 0, 0, 0}}, Problem::NOTHING_MOVES},
      {"normal alone", {{0, 0, 0, 0, 0, 0, 0, 0, 2}}, Problem::LINE},
      {"normal alone, rounding beside it", {{tiny, 0, 0, 0, tiny, 0, 0, 0, 2}}, Problem::LINE},
      {"y and z", {{0, 0, 0, 0, 1, 0, 0, 0, 2}}, Problem::PLANE},
      {"x and z", {{1, 0, 0, 0, 0, 0, 0, 0, 2}}, Problem::PLANE},
      {"a line askew", {{1, 2, 3, 2, 4, 6, 3, 6, 9}}, Problem::LINE},
      {"a line in x and z", {{1, 0, 2, 0, 0, 0, 2, 0, 4}}, Problem::LINE},
      {"tangents parallel", {{1, 1, 0, 1, 1, 0, 0, 0, 2}}, Problem::PLANE},
      // The normal can hardly move; nothing else tells x from y.
      {"a weak line in x and z", {{1, 0, 5e-4, 0, 0, 0, 5e-4, 0, 2.5e-7}}, Problem::NOTHING_MOVES},
      {"a weak line in y and z", {{0, 0, 0, 0, 1, 5e-4, 0, 5e-4, 2.5e-7}}, Problem::NOTHING_MOVES},
      {"x parallel to z", {{1, 0, 1, 0, 1, 0, 1, 0, 1}}, Problem::PLANE},
      {"y parallel to z", {{1, 0, 0, 0, 1, 1, 0, 1, 1}}, Problem::PLANE},
  };
  for (const RankCase& c : cases) {
    Problem p = makeProblem(c.D, Vec3{}, 0.5);
    p.checkRank();
    EXPECT_EQ(p.rank_, c.rank) << c.name;
    if (p.rank_ != Problem::PLANE) continue;
    // The plane holds what D reaches, and the normal response among it.
    EXPECT_NEAR(dot(p.planeBasis_[0], p.planeBasis_[1]), 0.0, 1e-14) << c.name;
    EXPECT_NEAR(norm(p.planeBasis_[0]), 1.0, 1e-14) << c.name;
    for (int j = 0; j < 3; ++j) {
      Vec3 rest = column(c.D, j);
      for (const Vec3& b : p.planeBasis_) rest -= dot(b, rest) * b;
      EXPECT_LT(norm(rest), 1e-12) << c.name;
    }
  }
  Problem diagonal = makeProblem({{0, 0, 0, 0, 1, 0, 0, 0, 2}}, Vec3{}, 0.5);
  diagonal.checkRank();
  EXPECT_DOUBLE_EQ(std::fabs(diagonal.planeBasis_[0][1]), 1.0);
  EXPECT_DOUBLE_EQ(diagonal.delassus22_(0, 0), 1.0);
  EXPECT_DOUBLE_EQ(diagonal.delassus22Inv_(1, 1), 0.5);
  Problem line = makeProblem({{0, 0, 0, 0, 0, 0, 0, 0, 2}}, Vec3{}, 0.5);
  line.checkRank();
  EXPECT_DOUBLE_EQ(line.reducedDzz_, 8.0);
}

TEST(CheckRank, TellsFullBlocksFromThinOnes) {
  // Two columns that come near to a line, or three that come near to a plane, of all sizes, against
  // the definition with more digits.
  using Vector = Eigen::Matrix<long double, 3, 1>;
  const long double parallel = 0.99999999999L;
  Uniform random(5);
  int full = 0, thin = 0;
  for (int trial = 0; trial < 4000; ++trial) {
    Vec3 a = random.vector(1.0), b = random.vector(1.0), c = random.vector(1.0);
    const double gap = std::pow(10.0, random(-8.0, 0.0)), size = std::pow(10.0, random(-3.0, 3.0));
    if (trial % 3 == 0) a = c + gap * a;
    if (trial % 3 == 1) b = c - gap * b;
    if (trial % 3 == 2) a = 2.0 * b - c + gap * a;
    const Mat33 D{{a[0], a[1], a[2], b[0], b[1], b[2], c[0], c[1], c[2]}};
    Problem p = makeProblem(size * D, Vec3{}, 0.5);
    const Eigen::Matrix<long double, 3, 3> E = p.delassus_.e().cast<long double>();
    const Vector u0 = E.col(0).normalized(), u1 = E.col(1).normalized(), u2 = E.col(2).normalized();
    const Vector r0 = u0 - u0.dot(u2) * u2, r1 = u1 - u1.dot(u2) * u2;
    const long double cosines[] = {u0.dot(u2), u1.dot(u2), r0.normalized().dot(r1.normalized())};
    bool isFull = true, isClear = E(2, 2) * E(2, 2) > 2e-12L;
    for (const long double x : cosines) {
      isFull = isFull && x * x <= parallel;
      isClear = isClear && std::fabs(x * x - parallel) > 1e-13L;
    }
    if (!isClear) continue;  // a matter of rounding
    p.checkRank();
    EXPECT_EQ(p.rank_ == Problem::FULL, isFull) << trial;
    ++(isFull ? full : thin);
  }
  EXPECT_GT(full, 1000);
  EXPECT_GT(thin, 100);
}

TEST(ContactSolver, UncoupledBlockHasTheClosedForm) {
  Uniform random(1);
  for (int trial = 0; trial < 2000; ++trial) {
    const double a = random(0.1, 5.0), b = random(0.1, 5.0), mu = random(0.05, 1.5);
    const double depth = -random(0.0, 0.02);
    const Vec3 v = random.vector(2.0);
    ContactProblemList problems{makeProblem({{a, 0, 0, 0, a, 0, 0, 0, b}}, v, mu, depth)};
    BisectionContactSolver solver;
    solver.setERP(0.3, 0.0);
    solver.solve(problems);
    const Problem& p = problems[0];
    if (v[2] > 0.0) {
      EXPECT_EQ(norm(p.imp_), 0.0);
      continue;
    }
    const double z = v[2] + 0.3 * depth, pn = -z / b;
    const double vt = std::hypot(v[0], v[1]);
    const double scale = std::min(1.0 / a, mu * pn / vt);
    EXPECT_NEAR(p.imp_[2], pn, 1e-12);
    EXPECT_NEAR(p.imp_[0], -v[0] * scale, 1e-12 * (1.0 + pn));
    EXPECT_NEAR(p.imp_[1], -v[1] * scale, 1e-12 * (1.0 + pn));
    EXPECT_LE(solver.getLoopCounter(), 2);
  }
}

/// f of the sliding contact at an angle, written from the definition, and the radius.
struct ConePoint {
  double r, f;
  Vec3 impulse;
};

ConePoint conePoint(const Problem& p, double z, double theta) {
  const Mat33& D = p.delassus_;
  const double c = std::cos(theta), s = std::sin(theta);
  ConePoint out;
  out.r = -z / (D(2, 0) * c + D(2, 1) * s + D(2, 2) / p.mu_);
  out.impulse = {{out.r * c, out.r * s, out.r / p.mu_}};
  const Vec3 tangent = cross(column(D, 2), {{out.r * c, out.r * s, -p.mu_ * out.r}});
  Vec3 residual = p.tauStar_ + D * out.impulse;
  residual[2] -= p.targetVelZ_;
  out.f = dot(tangent, residual);
  return out;
}

TEST(ContactSolver, CoupledBlocksSlideWhereABruteForceScanFindsTheRoot) {
  Uniform random(2);
  int slid = 0, atRoot = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    const Mat33 D = randomBlock(random, 0.3);
    const double mu = random(0.1, 1.0);
    const Vec3 v = random.vector(1.0);
    ContactProblemList problems{makeProblem(D, v, mu, -0.01)};
    BisectionContactSolver solver;
    solver.setERP(0.3, 0.0);
    solver.solve(problems);
    const Problem& p = problems[0];
    const double pt = std::hypot(p.imp_[0], p.imp_[1]);
    EXPECT_LE(pt, mu * p.imp_[2] * (1.0 + 1e-7));
    if (p.imp_[2] <= 0.0) continue;
    EXPECT_NEAR(velocityAfter(p)[2], p.targetVelZ_, 1e-12);
    if (pt < mu * p.imp_[2] * (1.0 - 1e-9)) {  // sticks
      EXPECT_LT(std::hypot(velocityAfter(p)[0], velocityAfter(p)[1]), 1e-12);
      continue;
    }
    ++slid;
    const double z = v[2] - p.targetVelZ_, theta = std::atan2(p.imp_[1], p.imp_[0]);
    if (std::fabs(conePoint(p, z, theta).f) > 1e-6) continue;  // the march ended without a root
    ++atRoot;
    // Scan: the nearest sign change of f on the branch with r > 0.
    double nearest = 10.0;
    const int samples = 20000;
    ConePoint before = conePoint(p, z, -M_PI);
    for (int k = 1; k <= samples; ++k) {
      const double angle = -M_PI + 2.0 * M_PI * k / samples;
      const ConePoint now = conePoint(p, z, angle);
      if (before.r > 0.0 && now.r > 0.0 && before.f * now.f <= 0.0)
        nearest = std::min(nearest, std::fabs(std::remainder(angle - theta, 2.0 * M_PI)));
      before = now;
    }
    EXPECT_LT(nearest, 1e-3) << "trial " << trial;
  }
  EXPECT_GT(slid, 500);
  EXPECT_GT(atRoot, 3 * slid / 4);
}

/// By how much an impulse adds more kinetic energy than its target demands (J): p . v + 1/2 p . D p
/// - p_n target.
double energyAboveTarget(const Problem& p) {
  const Vec3 mean = p.tauStar_ + 0.5 * (p.delassus_ * p.imp_);
  return dot(p.imp_, mean) - p.imp_[2] * p.targetVelZ_;
}

TEST(ContactSolver, ASlidingContactCreatesNoEnergy) {
  // The normal can hardly move by itself: the plane of zero normal residual meets the cone far out.
  const Mat33 D{{15.6493, 11.6591, -0.00396, 11.6591, 52.7810, -0.00237854, -0.00396, -0.00237854,
                 1.00947e-6}};
  int minima = 0;
  for (const double depth : {-0.025, 0.0})
    for (const double vx : {-0.5, -0.1, 0.0, 0.1, 0.5})
      for (const double vy : {-0.5, 0.0, 0.5})
        for (const double vz : {-1e-6, -1e-4, -1e-2}) {
          ContactProblemList problems{makeProblem(D, {{vx, vy, vz}}, 0.8, depth)};
          BisectionContactSolver solver;
          solver.solve(problems);
          const Problem& p = problems[0];
          SCOPED_TRACE(testing::Message() << depth << ": " << vx << ' ' << vy << ' ' << vz);
          EXPECT_LE(energyAboveTarget(p), 1e-9 * p.imp_[2] * p.targetVelZ_);
          EXPECT_LE(std::hypot(p.imp_[0], p.imp_[1]), 0.8 * p.imp_[2] * (1.0 + 1e-7));
          // The least over the cone: what the impulse leaves of the velocity, in the plane that
          // the block reaches, lies in the dual cone, w_n >= mu |w_t|, and is orthogonal to it.
          ASSERT_EQ(p.rank_, Problem::PLANE);
          Vec3 rest = velocityAfter(p);
          rest[2] -= p.targetVelZ_;
          rest = dot(p.planeBasis_[0], rest) * p.planeBasis_[0] +
                 dot(p.planeBasis_[1], rest) * p.planeBasis_[1];
          // Others slide as ever, or find no impulse that pushes.
          if (norm(p.imp_) == 0.0 || std::fabs(dot(p.imp_, rest)) > 1e-9 * norm(p.imp_)) continue;
          ++minima;
          EXPECT_GE(rest[2], 0.8 * std::hypot(rest[0], rest[1]) - 1e-8);
        }
  EXPECT_GE(minima, 10);
}

TEST(ContactSolver, APairOfOneSystemThatCanHardlyPartAimsLower) {
  // Sticking, the normal moves with 1 - 0.999^2 = 0.002 only; a target costs 1/2 t^2 / 0.002.
  const Mat33 D{{1, 0, 0.999, 0, 1, 0, 0.999, 0, 1}};
  const double mobility = 1.0 - 0.999 * 0.999, t = 0.3 * 0.01;
  for (const double mass : {0.0, 100.0, 10.0}) {
    ContactProblemList problems{makeProblem(D, Vec3{}, 2.0, -0.01)};
    problems[0].systemMass_ = mass;
    BisectionContactSolver solver;
    solver.solve(problems);
    const double work = 0.5 * dot(problems[0].imp_, velocityAfter(problems[0]));
    const double limit = mass == 10.0 ? 0.5 * t * t * mass / 0.1 : 0.5 * t * t / mobility;
    EXPECT_NEAR(work, limit, 1e-9 * limit) << mass;
  }
}

TEST(ContactSolver, SingularBlocksAreSolvedInTheirSubspace) {
  // A point on a hinge: it moves along one line only; its normal velocity must reach the target.
  const Vec3 g{{0.3, 0.0, 1.0}};
  Mat33 line = g * transpose(g);
  // A point on two hinges: D spans a plane.
  const Vec3 h{{0.2, 1.0, 0.1}};
  const Mat33 plane = line + h * transpose(h);
  for (const Mat33& D : {line, plane}) {
    ContactProblemList problems{makeProblem(D, -1.0 * column(D, 2), 1.0)};
    BisectionContactSolver solver;
    solver.solve(problems);
    EXPECT_LT(norm(velocityAfter(problems[0])), 1e-12);
    EXPECT_GT(problems[0].imp_[2], 0.0);
  }
  // A block whose second column vanishes and whose others are parallel.
  ContactProblemList problems{makeProblem({{1, 0, 2, 0, 0, 0, 2, 0, 4}}, {{-1, 0, -2}}, 0.5)};
  BisectionContactSolver solver;
  solver.solve(problems);
  EXPECT_LT(norm(velocityAfter(problems[0])), 1e-12);
  // A wire: the normal alone.
  ContactProblemList wire{makeProblem({{1, 0, 0, 0, 1, 0, 0, 0, 4}}, {{5, 5, -2}}, 0.8, -0.1)};
  wire[0].rank_ = Problem::NORMAL_ONLY;
  solver.setERP(0.3, 0.0);
  solver.solve(wire);
  EXPECT_NEAR(wire[0].imp_[2], (2.0 + 0.03) / 4.0, 1e-15);
  EXPECT_EQ(wire[0].imp_[0], 0.0);
}

/// n contacts of one rigid body, coupled through blocks: D_ij = G_i Minv G_j^T.
ContactProblemList coupledProblems(Uniform& random, int n, double mu) {
  std::vector<Mat33> G(static_cast<size_t>(n));
  ContactProblemList problems;
  for (Mat33& g : G) g = skew(random.vector(0.5));
  auto block = [&](int i, int j) { return Mat33::identity() + G[i] * transpose(G[j]); };
  for (int i = 0; i < n; ++i) problems.push_back(makeProblem(block(i, i), {{0.4, -0.2, -1.0}}, mu));
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      if (j == i) continue;
      problems[i].otherBlocks_.push_back(block(i, j));
      problems[i].otherProblems_.push_back(&problems[j]);
    }
  return problems;
}

TEST(ContactSolver, CoupledContactsConvergeToComplementarity) {
  Uniform random(3);
  for (int trial = 0; trial < 50; ++trial) {
    ContactProblemList problems = coupledProblems(random, 3, 0.6);
    BisectionContactSolver solver;
    solver.setERP(0.0, 0.0);
    solver.setParameters(1.0, 1.0, 1.0, 2000, 1e-22);
    solver.solve(problems);
    for (const Problem& p : problems) {
      Vec3 v = velocityAfter(p);
      for (size_t k = 0; k < p.otherBlocks_.size(); ++k)
        v += p.otherBlocks_[k] * p.otherProblems_[k]->imp_;
      // The angle of a sliding contact is found to 7e-5 rad, and the others feel the difference.
      EXPECT_GT(v[2], -1e-5);
      EXPECT_LT(std::fabs(v[2] * p.imp_[2]), 1e-5);
      EXPECT_LE(std::hypot(p.imp_[0], p.imp_[1]), 0.6 * p.imp_[2] * (1.0 + 1e-7) + 1e-15);
    }
  }
}

TEST(ContactSolver, ParametersBoundAndDirectTheSweeps) {
  Uniform random(4);
  BisectionContactSolver solver;
  // A limit of 0 still runs one sweep; the history has an entry for it.
  solver.setParameters(1.0, 1.0, 1.0, 0, 0.0);
  ContactProblemList problems = coupledProblems(random, 3, 0.6);
  solver.solve(problems);
  EXPECT_EQ(solver.getLoopCounter(), 1);
  EXPECT_GT(solver.getErrorHistory().at(0), 0.0);
  // Forwards, the first problem is solved from zero; backwards, the last.
  const Vec3 forwards = problems[0].imp_;
  Uniform again(4);
  ContactProblemList same = coupledProblems(again, 3, 0.6);
  solver.solve(same);
  EXPECT_GT(norm(same[0].imp_ - forwards), 1e-6);
  // Reserved parameters have no effect; relaxation blends.
  for (double reserved : {1.0, 7.0}) {
    BisectionContactSolver relaxed;
    relaxed.setParameters(0.5, reserved, reserved, 1, 0.0);
    ContactProblemList one{makeProblem(Mat33::identity(), {{0, 0, -1}}, 0.8)};
    relaxed.setERP(0.3, 0.0);
    relaxed.solve(one);
    EXPECT_DOUBLE_EQ(one[0].imp_[2], 0.5);
  }
}

TEST(ContactSolver, TheHistoryGrowsWithTheSweeps) {
  BisectionContactSolver solver;
  solver.setParameters(1.0, 1.0, 1.0, std::numeric_limits<int>::max(), 1e-8);
  ContactProblemList problems{makeProblem(Mat33::identity(), {{0.1, 0.0, -1.0}}, 0.8)};
  solver.solve(problems);
  EXPECT_EQ(solver.getLoopCounter(), 2);
  EXPECT_EQ(solver.getErrorHistory().size(), 2u);
  EXPECT_LT(solver.getErrorHistory().capacity(), 10000u);
}

TEST(ContactSolver, NotANumberEndsTheSweeps) {
  BisectionContactSolver solver;
  ContactProblemList problems{makeProblem(Mat33::identity(), {{NAN, NAN, NAN}}, 0.8),
                              makeProblem(Mat33::identity(), {{1.0, NAN, -1.0}}, 0.3)};
  solver.solve(problems);
  EXPECT_EQ(solver.getLoopCounter(), 1);
}

}  // namespace
}  // namespace zelvik::contact
