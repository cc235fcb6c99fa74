// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <Eigen/Geometry>

#include "ArticulatedTestTools.hpp"
#include "ReferenceKernels.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;

constexpr size_t kLinks = 500;

/// A floating chain of joints of one type, with bends of up to 1.5 rad about random axes.
std::unique_ptr<AS> deepChain(Joint::Type joints, std::uint32_t seed) {
  scenes::RandomTreeOptions options;
  options.bodies = kLinks;
  options.floatingBase = options.chain = true;
  options.joints = {joints};
  auto system = std::make_unique<AS>(scenes::randomTree(seed, options), ".");
  scenes::randomiseState(*system, seed);
  return system;
}

TEST(DeepChain, RotationsStayRotations) {
  for (const Joint::Type type : {Joint::REVOLUTE, Joint::PRISMATIC, Joint::SPHERICAL})
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
      SCOPED_TRACE(std::to_string(type) + ", seed " + std::to_string(seed));
      const auto system = deepChain(type, seed);
      double worst = 0.0;
      for (size_t i = 0; i < kLinks; ++i) {
        Mat33 R;
        system->getOrientation(i, R);
        const double off = (R.e().transpose() * R.e() - Eigen::Matrix3d::Identity()).norm();
        worst = off <= worst ? worst : off;  // keeps a NaN
      }
      EXPECT_LT(worst, 1e-13);
    }
  // The bodies stand where products of quaternions put them; rounding adds up over the links.
  const auto balls = deepChain(Joint::SPHERICAL, 1);
  scenes::RandomTreeOptions options;
  options.bodies = kLinks;
  options.floatingBase = options.chain = true;
  options.joints = {Joint::SPHERICAL};
  const Child tree = scenes::randomTree(1, options);
  const VecDyn& gc = balls->getGeneralizedCoordinate();
  Eigen::Quaterniond turn(gc[3], gc[4], gc[5], gc[6]);
  Eigen::Vector3d place(gc[0], gc[1], gc[2]);
  const Child* node = &tree;
  for (size_t i = 1; i < kLinks; ++i) {
    node = &node->childrenMovable[0];
    const double* q = gc.v + balls->getGcStart()[i];
    place += turn * node->jointPosition.e();
    turn = (turn * Eigen::Quaterniond(Eigen::Matrix3d(node->jointRotation.e())) *
            Eigen::Quaterniond(q[0], q[1], q[2], q[3]))
               .normalized();
  }
  Vec3 last;
  Mat33 R;
  balls->getPosition(kLinks - 1, last);
  balls->getOrientation(kLinks - 1, R);
  EXPECT_LT((last.e() - place).norm(), 1e-11);
  EXPECT_LT((R.e() - turn.toRotationMatrix()).norm(), 1e-12);
}

TEST(DeepChain, MassMatrixAndMomentumAreThoseOfTheBodies) {
  const auto hinges = deepChain(Joint::REVOLUTE, 2);
  hinges->preContactSolverUpdate1({}, 0.01);
  const Eigen::MatrixXd M = reference::massMatrix(*hinges);
  EXPECT_LT((hinges->getMassMatrix().e() - M).norm(), 1e-11 * M.norm());

  // The first six entries of M u are the momentum of the whole; the angular one is about the base.
  for (const Joint::Type type : {Joint::REVOLUTE, Joint::SPHERICAL}) {
    const auto system = deepChain(type, 3);
    system->preContactSolverUpdate1({}, 0.01);
    Vec3 base, L, p{};
    system->getPosition(0, base);
    system->getAngularMomentum(base, L);
    for (size_t i = 0; i < kLinks; ++i) {
      Vec3 v;
      system->getVelocity(i, system->getBodyCom()[i], v);
      p += system->getMass(i) * v;
    }
    const VecDyn& momentum = system->getGeneralizedMomentum();
    EXPECT_LT((momentum.e().head<3>() - p.e()).norm(), 1e-10 * norm(p)) << type;
    EXPECT_LT((momentum.e().segment<3>(3) - L.e()).norm(), 1e-10 * norm(L)) << type;
  }
}

}  // namespace
}  // namespace zelvik
