// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <random>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

#include "ArticulatedTestTools.hpp"
#include "ReferenceKernels.hpp"

// Kernels that are written for speed against their plain form.

namespace zelvik {
namespace {

using namespace articulated_test;

/// Numbers in (-1, 1) from raw generator output.
class Numbers {
 public:
  explicit Numbers(unsigned seed) : generator_(seed) {}
  double operator()() { return static_cast<double>(generator_()) / 2147483648.0 - 1.0; }
  size_t below(size_t n) { return generator_() % n; }

 private:
  std::mt19937 generator_;
};

/// A forest: velocity k hangs on the one before it, on some earlier one, or on nothing.
std::vector<size_t> randomParents(Numbers& number, size_t n) {
  std::vector<size_t> parents(n);
  for (size_t k = 0; k < n; ++k) {
    const size_t kind = number.below(8);
    parents[k] = k == 0 || kind == 0 ? kNone : kind < 5 ? k - 1 : number.below(k);
  }
  return parents;
}

/// Positive definite, zero off the chains.
Eigen::MatrixXd randomTreeMatrix(Numbers& number, const std::vector<size_t>& parents) {
  const auto n = static_cast<Eigen::Index>(parents.size());
  Eigen::MatrixXd L = Eigen::MatrixXd::Zero(n, n);
  for (size_t k = 0; k < parents.size(); ++k) {
    L(static_cast<Eigen::Index>(k), static_cast<Eigen::Index>(k)) = 1.5 + number();
    for (size_t j = parents[k]; j != kNone; j = parents[j])
      L(static_cast<Eigen::Index>(k), static_cast<Eigen::Index>(j)) = 0.5 * number();
  }
  // Blocked products need not be symmetric to the last bit.
  const Eigen::MatrixXd A = L.transpose() * L;
  return A.selfadjointView<Eigen::Lower>();
}

SparseJacobian randomJacobian(Numbers& number, const std::vector<size_t>& columns) {
  SparseJacobian J;
  J.reserve(columns.size() + 1);
  J.size = columns.size();
  for (size_t e = 0; e < columns.size(); ++e) {
    J.idx[e] = columns[e];
    for (size_t i = 0; i < 3; ++i) J.v(i, e) = number();
  }
  return J;
}

Eigen::MatrixXd dense(const SparseJacobian& J, size_t n) {
  Eigen::MatrixXd M = Eigen::MatrixXd::Zero(3, static_cast<Eigen::Index>(n));
  for (size_t e = 0; e < J.size; ++e)
    for (size_t i = 0; i < 3; ++i)
      M(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(J.idx[e])) = J.v(i, e);
  return M;
}

/// Columns of a contact, a chain, and of a self-collision, any set.
std::vector<SparseJacobian> randomRequests(Numbers& number, const std::vector<size_t>& parents) {
  std::vector<size_t> chain, some;
  for (size_t k = number.below(parents.size()); k != kNone; k = parents[k])
    chain.insert(chain.begin(), k);
  for (size_t k = 0; k < parents.size(); ++k)
    if (number.below(2) == 0) some.push_back(k);
  return {randomJacobian(number, chain), randomJacobian(number, some)};
}

TEST(TreeFactor, EqualsDenseAlgebra) {
  Numbers number(7);
  for (size_t round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    const size_t n = 1 + round % 23;
    const std::vector<size_t> parents = randomParents(number, n);
    const Eigen::MatrixXd A = randomTreeMatrix(number, parents), inverse = A.inverse();
    // The condition of A is below 1e6 and rounding of the dense inverse grows with it.
    const double tolerance = 1e-13 * A.norm() * inverse.norm() * (1.0 + inverse.norm());
    TreePattern pattern;
    pattern.build(parents);
    TreeFactor factor;
    factor.setPattern(pattern);
    pattern.pack(A.data(), factor.rows());
    Eigen::MatrixXd back = Eigen::MatrixXd::Zero(A.rows(), A.cols());
    pattern.unpack(factor.rows(), back.data());
    EXPECT_TRUE(back == A);

    VecDyn x(n), product(n);
    for (size_t k = 0; k < n; ++k) x[k] = number();
    const Eigen::VectorXd x0 = x.e();
    factor.multiply(factor.rows(), x.v, product.v);
    EXPECT_LT((product.e() - A * x0).norm(), 1e-13 * A.norm());
    factor.factorise();
    factor.solve(x.v);
    EXPECT_LT((x.e() - inverse * x0).norm(), tolerance);
    MatDyn full(n, n);
    factor.invert(full.v);
    EXPECT_LT((full.e() - inverse).norm(), tolerance);
    EXPECT_TRUE(full.e() == full.e().transpose());

    const std::vector<SparseJacobian> J = randomRequests(number, parents);
    Mat33 blocks[2];
    VecDyn responses[2];
    TreeFactor::Request requests[2];
    for (size_t c = 0; c < 2; ++c) {
      responses[c].setZero(3 * factor.stride());
      requests[c] = {&J[c], responses[c].v, &blocks[c]};
    }
    factor.respond(requests, 1 + round % 2);
    for (size_t c = 0; c < 1 + round % 2; ++c) {
      const Eigen::MatrixXd want = dense(J[c], n) * inverse;
      for (Eigen::Index a = 0; a < 3; ++a)
        for (Eigen::Index k = 0; k < want.cols(); ++k)
          EXPECT_NEAR(
              responses[c][static_cast<size_t>(a) * factor.stride() + static_cast<size_t>(k)],
              want(a, k), 3.0 * tolerance);
      const Eigen::MatrixXd D = want * dense(J[c], n).transpose();
      EXPECT_LT((blocks[c].e() - D).norm(), 20.0 * tolerance);
      EXPECT_TRUE(blocks[c].e() == blocks[c].e().transpose());
    }
  }
}

TEST(TreeFactor, OfAMatrixThatIsNotPositiveDefiniteIsNotANumber) {
  TreePattern pattern;
  pattern.build({kNone, 0});
  TreeFactor factor;
  factor.setPattern(pattern);
  const double A[4] = {1.0, 2.0, 2.0, 1.0};
  pattern.pack(A, factor.rows());
  factor.factorise();
  double x[4] = {1.0, 1.0, 0.0, 0.0};
  factor.solve(x);
  EXPECT_TRUE(std::isnan(x[0]) && std::isnan(x[1]));
}

TEST(TreePasses, EqualTheSumsOverSingleBodies) {
  const Vec3 gravity{{1.0, -2.0, -9.81}};
  for (std::uint32_t seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    const auto system = randomSystem(seed % 2 == 0, seed, 2 + (seed * 5) % 20, seed % 5 == 0);
    const auto n = static_cast<Eigen::Index>(system->getDOF());
    system->preContactSolverUpdate1(gravity, 0.01);
    const Eigen::MatrixXd M = reference::massMatrix(*system);
    const Eigen::VectorXd h = reference::nonlinearities(*system, gravity);
    // Sums of some hundred terms.
    EXPECT_LT((system->getMassMatrix().e() - M).norm(), 1e-13 * static_cast<double>(n) * M.norm());
    EXPECT_LT((system->getNonlinearities().e() - h).norm(),
              1e-13 * static_cast<double>(n) * h.norm());
    EXPECT_LT(
        (system->getGeneralizedMomentum().e() - M * system->getGeneralizedVelocity().e()).norm(),
        1e-12 * static_cast<double>(n) * M.norm());
  }
}

TEST(ArticulatedInverse, ReadingItAndInvertingAnotherMatrixChangeNoStep) {
  const auto read = randomSystem(true, 3, 8), untouched = randomSystem(true, 3, 8);
  for (int step = 0; step < 20; ++step)
    for (AS* system : {read.get(), untouched.get()}) {
      system->updateTimeStepIfNecessary(0.002);
      system->preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.002);
      if (system == read.get()) {
        const Eigen::MatrixXd M = system->getMassMatrix().e();
        MatDyn other(system->getDOF(), system->getDOF()), inverse = other;
        other.e() = 2.0 * M;
        system->computeSparseInverse(other, inverse);
        EXPECT_LT((2.0 * inverse.e() - system->getInverseMassMatrix().e()).norm(),
                  1e-9 * inverse.e().norm());
      }
      system->preContactSolverUpdate2({{0.0, 0.0, -9.81}}, 0.002);
      system->integrate(0.002, {{0.0, 0.0, -9.81}});
    }
  for (size_t k = 0; k < read->getDOF(); ++k)
    EXPECT_EQ(read->getGeneralizedVelocity()[k], untouched->getGeneralizedVelocity()[k]);
}

/// Random blocks, velocities and friction; sliding contacts of one sweep against the plain search.
TEST(SlidingSearch, EqualsOneTrialAfterTheOther) {
  Numbers number(11);
  int slides = 0, atOtherRound = 0;
  for (int round = 0; round < 20000; ++round) {
    MaterialPairProperties material;
    material.friction = 0.1 + 0.9 * (0.5 + 0.5 * number());
    contact::ContactProblemList problems(1, {material, 0.0, 0.0, 0.0, 0.0});
    contact::Single3DContactProblem& p = problems[0];
    Eigen::Matrix3d A;
    for (Eigen::Index i = 0; i < 9; ++i) A.data()[i] = number();
    p.delassus_.e() = A * A.transpose() + 0.2 * Eigen::Matrix3d::Identity();
    p.tauStar_ = {{number(), number(), -0.5 * (1.0 + number())}};
    contact::BisectionContactSolver solver;
    solver.setParameters(1.0, 1.0, 1.0, 1, 1e-8);
    solver.solve(problems);

    const Vec3 v = p.tauStar_;
    const double z = v[2] - p.targetVelZ_;
    const Eigen::Vector3d stick = -(p.delassus_.e().inverse() * Eigen::Vector3d(v[0], v[1], z));
    const double excess = stick.head<2>().norm() - p.mu_ * stick[2];
    if (v[2] > -1e-9 || std::fabs(excess) < 1e-6 || excess < 0.0) continue;
    ++slides;
    const Vec3 want = reference::SlidingContact(p, v, z).solve({{stick[0], stick[1], stick[2]}});
    const double error = norm(p.imp_ - want) / (1e-3 + norm(want));
    // Where a rounding error decides whether one more round runs, the angle differs by less than
    // the tolerance of the search, 7e-5 rad.
    atOtherRound += error > 1e-9 ? 1 : 0;
    EXPECT_LT(error, 1e-3) << round;
  }
  EXPECT_GT(slides, 5000);
  EXPECT_LT(atOtherRound, slides / 1000);
}

}  // namespace
}  // namespace zelvik
