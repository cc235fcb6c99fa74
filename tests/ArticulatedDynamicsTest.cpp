// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <map>
#include <zelvik/object/GeomRecord.hpp>

#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;

/// Moves the coordinates along constant velocities u for the time t.
void moveTo(AS& system, VecDyn gc, const Eigen::VectorXd& u, double t) {
  VecDyn rate(system.getDOF());
  rate.e() = t * u;
  system.integratePosition(gc, rate, 1.0);
  system.setGeneralizedCoordinate(gc);
}

Eigen::MatrixXd massMatrix(AS& system) {
  MatDyn M;
  M.setZero(system.getDOF(), system.getDOF());
  system.computeMassMatrix(M);
  return M.e();
}

/// Trees that hold every pair of joint types on one path, on both kinds of base.
template <typename Check>
void forRandomTrees(Check&& check) {
  std::map<std::pair<Joint::Type, Joint::Type>, int> pairs;  // joint above, joint below it
  for (std::uint32_t seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const auto system = randomSystem(seed % 2 == 0, seed, 2 + (seed * 7) % 9, seed % 3 == 0);
    check(*system);
    for (size_t i = 1; i < system->getBodyCount(); ++i)
      for (size_t j = system->getParents()[i]; j != kNone; j = system->getParents()[j])
        ++pairs[{system->getJointType(j), system->getJointType(i)}];
  }
  for (const Joint::Type above : {Joint::REVOLUTE, Joint::PRISMATIC, Joint::SPHERICAL})
    for (const Joint::Type below : {Joint::REVOLUTE, Joint::PRISMATIC, Joint::SPHERICAL})
      EXPECT_GE((pairs[{above, below}]), 100);
}

/// Velocity of a point of a body and angular velocity of the body for each unit velocity (6 x dof,
/// world axes), by central differences. Truncation (h^2 times a third derivative of order 10) and
/// rounding over h are both near 1e-9 for h = 1e-5.
Eigen::MatrixXd twistsByDifferences(AS& system, size_t b, const Vec3& pointB) {
  const double h = 1e-5;
  const VecDyn origin = system.getGeneralizedCoordinate();
  const auto n = static_cast<Eigen::Index>(system.getDOF());
  Eigen::MatrixXd twists(6, n);
  for (Eigen::Index k = 0; k < n; ++k) {
    Vec3 p[2];
    Mat33 R[2];
    for (const int side : {0, 1}) {
      moveTo(system, origin, Eigen::VectorXd::Unit(n, k), side == 0 ? -h : h);
      system.getPosition(b, pointB, p[side]);
      system.getOrientation(b, R[side]);
    }
    const Eigen::Matrix3d T = (0.5 / h) * R[1].e() * R[0].e().transpose();
    for (int i = 0; i < 3; ++i) {
      const int j = (i + 1) % 3, l = (i + 2) % 3;
      twists(i, k) = (0.5 / h) * (p[1][i] - p[0][i]);
      twists(3 + i, k) = 0.5 * (T(l, j) - T(j, l));
    }
  }
  system.setGeneralizedCoordinate(origin);
  return twists;
}

TEST(ArticulatedKinematics, JacobiansAndMassMatrixFollowFromTheMotionOfTheBodies) {
  forRandomTrees([](AS& system) {
    Eigen::MatrixXd expected = system.getRotorInertia().e().asDiagonal();
    for (size_t b = 0; b < system.getBodyCount(); ++b) {
      Mat33 R;
      Vec3 origin, velocity;
      MatDyn J, Jr;
      system.getOrientation(b, R);
      system.getPosition(b, origin);
      const Vec3 com = system.getComPositions()[b], comB = transposeMul(R, com - origin);
      const Eigen::MatrixXd twists = twistsByDifferences(system, b, comB);
      const Eigen::MatrixXd linear = twists.topRows(3),
                            angular = R.e().transpose() * twists.bottomRows(3);
      expected += system.getMass(b) * linear.transpose() * linear +
                  angular.transpose() * system.getBodyInertia()[b].e() * angular;

      system.preContactSolverUpdate1({}, 0.01);  // velocities
      system.getDenseJacobian(b, com, J);
      system.getDenseRotationalJacobian(b, Jr);
      EXPECT_LT((J.e() - linear).cwiseAbs().maxCoeff(), 1e-8) << b;
      EXPECT_LT((R.e().transpose() * Jr.e() - angular).cwiseAbs().maxCoeff(), 1e-8) << b;
      system.getVelocity(b, comB, velocity);
      const Eigen::VectorXd byJacobian = J.e() * system.getGeneralizedVelocity().e();
      EXPECT_LT((velocity.e() - byJacobian).norm(), 1e-12 * (1.0 + byJacobian.norm()));
    }
    const Eigen::MatrixXd M = massMatrix(system);
    EXPECT_LT((M - expected).cwiseAbs().maxCoeff(), 1e-7);
    EXPECT_TRUE(M == M.transpose()) << "not symmetric to the last bit";
    EXPECT_TRUE(M == massMatrix(system)) << "rotor inertia accumulates";
  });
}

/// Boltzmann-Hamel equations at zero acceleration: h = d/dt (M u) - X(T) + X(V), plus w x (M u)_w
/// for velocities w in body axes and minus it for those in world axes. First derivatives of M and V
/// only, by differences of fourth order.
Eigen::VectorXd lagrangianTerms(AS& system, const Vec3& gravity) {
  const VecDyn origin = system.getGeneralizedCoordinate();
  const Eigen::VectorXd u = system.getGeneralizedVelocity().e();
  const auto derivative = [&](const Eigen::VectorXd& along, auto&& value) {
    const auto at = [&](double t) {
      moveTo(system, origin, along, t);
      return value();
    };
    const double h = 1e-3;
    return Eigen::VectorXd((8.0 * (at(h) - at(-h)) - (at(2.0 * h) - at(-2.0 * h))) / (12.0 * h));
  };
  const auto momentum = [&] { return Eigen::VectorXd(massMatrix(system) * u); };
  const auto lagrangian = [&] {
    double L = 0.5 * u.dot(momentum());
    for (size_t i = 0; i < system.getBodyCount(); ++i)
      L += system.getMass(i) * dot(system.getComPositions()[i], gravity);
    return Eigen::VectorXd(Eigen::VectorXd::Constant(1, L));
  };

  Eigen::VectorXd h = derivative(u, momentum);
  for (Eigen::Index k = 0; k < u.size(); ++k)
    h[k] -= derivative(Eigen::VectorXd::Unit(u.size(), k), lagrangian)[0];
  system.setGeneralizedCoordinate(origin);
  const Eigen::VectorXd p = momentum();
  for (size_t i = 0; i < system.getBodyCount(); ++i) {
    const bool base = system.getJointType(i) == Joint::FLOATING;
    if (system.getJointType(i) != Joint::SPHERICAL && !base) continue;
    const auto d = static_cast<Eigen::Index>(system.getDofStart()[i]) + (base ? 3 : 0);
    const Eigen::Vector3d w = u.segment<3>(d), pw = p.segment<3>(d);
    h.segment<3>(d) += (base ? -1.0 : 1.0) * w.cross(pw);
  }
  return h;
}

TEST(ArticulatedNonlinearities, FollowFromTheLagrangian) {
  const Vec3 gravity{{1.0, -2.0, -9.81}};
  forRandomTrees([&](AS& system) {
    const Eigen::VectorXd expected = lagrangianTerms(system, gravity);
    VecDyn h(system.getDOF());
    system.computeNonlinearities(gravity, h);
    EXPECT_LT((h.e() - expected).cwiseAbs().maxCoeff(),
              1e-6 * (1.0 + expected.cwiseAbs().maxCoeff()));
  });
}

TEST(ArticulatedInverse, TimesTheDampedMatrixIsOne) {
  forRandomTrees([](AS& system) {
    const size_t dof = system.getDOF();
    VecDyn damping(dof);
    for (size_t k = 0; k < dof; ++k) damping[k] = 0.5 + 0.1 * static_cast<double>(k);
    system.setJointDamping(damping);
    const Eigen::MatrixXd M = massMatrix(system);
    // The fourth-order scheme takes the damping as it is, the others half of it times dt.
    for (const bool fourthOrder : {false, true}) {
      if (fourthOrder) system.setIntegrationScheme(AS::RUNGE_KUTTA_4);
      system.updateTimeStepIfNecessary(0.02);
      system.preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.02);
      Eigen::MatrixXd product = M;
      product += ((fourthOrder ? 1.0 : 0.01) * damping.e()).asDiagonal();
      const Eigen::MatrixXd inverse = system.getInverseMassMatrix().e();
      product *= inverse;
      product -= Eigen::MatrixXd::Identity(M.rows(), M.cols());
      EXPECT_LT(product.cwiseAbs().maxCoeff(), 1e-10);
      EXPECT_TRUE(inverse == inverse.transpose());
      EXPECT_TRUE(system.getMassMatrix().e() == M) << "the mass matrix itself stays clean";
    }
  });
}

/// A link of length 1 along x whose mass is spread evenly, turning about z.
Child rod(const std::string& name) {
  Child link = body(name, Joint::REVOLUTE, 1.0, {{0.5, 0.0, 0.0}}, 0.0);
  link.jointAxis = {{0.0, 0.0, 1.0}};
  link.inertia(2, 2) = 1.0 / 12.0;
  return link;
}

TEST(ArticulatedKinematics, RevoluteAnglesAreReduced) {
  const auto system = onFixedBase(rod("rod"));
  for (const double q : {0.0, 1.0, -M_PI_2, M_PI, -M_PI, 4.0, -6 * M_PI, -1234.5, double{NAN}}) {
    system->setGeneralizedCoordinate({q});
    Mat33 R;
    system->getOrientation(1, R);
    // The series end below 1e-14 at a quarter turn; the reduction loses the digits of q / (2 pi).
    const double error = std::hypot(R(0, 0) - std::cos(q), R(1, 0) - std::sin(q));
    EXPECT_TRUE(std::isnan(q) ? std::isnan(error) : error < 2e-14 + 4e-16 * std::fabs(q)) << q;
  }
}

TEST(ArticulatedSystemTree, OfARootAlone) {
  AS fixed(body("base", Joint::FIXED), "."), floating(body("base", Joint::FLOATING), ".");
  EXPECT_EQ(fixed.getDOF() + fixed.getGeneralizedCoordinateDim(), 0u);
  fixed.preContactSolverUpdate1({}, 0.01);
  EXPECT_EQ(floating.getGeneralizedCoordinate()[3], 1.0);
  EXPECT_EQ(floating.getJointNames(), std::vector<std::string>{"ROOT"});
}

Child withSphere(Child node) {
  CollisionBody& shape = node.collisionBodies.emplace_back();
  shape.size = {0.1};
  shape.posOffset = {{0.0, 1.0, 0.0}};
  return node;
}

TEST(ArticulatedShapes, OfABodyAreIgnoredByItsNearestAncestorWithMass) {
  // base - weightless - middle - tip
  Child middle = withSphere(body("middle", Joint::REVOLUTE));
  middle.childrenMovable.push_back(withSphere(body("tip", Joint::REVOLUTE)));
  Child weightless = withSphere(body("weightless", Joint::REVOLUTE, 0.0));
  weightless.childrenMovable.push_back(middle);
  Child root = withSphere(body("base", Joint::FIXED));
  root.childrenMovable.push_back(weightless);
  AS system(root, ".");
  std::string pairs;
  for (const auto& a : system.getCollisionBodies())
    for (const auto& b : system.getCollisionBodies())
      if (geomRecord(a.colObj).ignoredGeoms.count(b.colObj) == 1)
        pairs += std::to_string(a.localIdx) + std::to_string(b.localIdx) + " ";
  EXPECT_EQ(pairs, "01 02 10 20 23 32 ");
  system.destroyCollisionBodies(nullptr);
}

TEST(ArticulatedShapes, ArePlacedAsByPlainProducts) {
  const auto system = onFixedBase(withSphere(body("ball", Joint::SPHERICAL)));
  const dGeomID geom = system->getCollisionBodies()[0].colObj;
  Mat33 offset;
  rotationAboutAxis({{0.48, -0.6, 0.64}}, std::cos(0.7), std::sin(0.7), offset);
  system->setCollisionObjectOrientationOffset(0, offset);
  // The last one is far beyond what a quick look takes for ordinary, and still to be shown.
  for (const double distance : {0.3, -2.0, double{NAN}, 1.7, 5e7}) {
    system->setCollisionObjectPositionOffset(0, {{0.2, distance, -0.1}});
    system->setGeneralizedCoordinate({0.7, 0.1, -0.5, 0.5});
    system->updateCollision();
    EXPECT_EQ(dGeomIsEnabled(geom), distance == distance ? 1 : 0);
    if (distance != distance) continue;
    Mat33 R;
    Vec3 origin;
    const size_t b = system->getCollisionBodies()[0].localIdx;
    system->getOrientation(b, R);
    system->getPosition(b, Vec3{}, origin);
    const Vec3 position = origin + R * Vec3{{0.2, distance, -0.1}};
    const Mat33 rotation = R * offset;
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(dGeomGetPosition(geom)[i], position[i], 4e-15 * (1.0 + std::fabs(distance)));
      for (size_t j = 0; j < 3; ++j)
        EXPECT_NEAR(dGeomGetRotation(geom)[4 * i + j], rotation(i, j), 4e-15);
    }
  }
  system->destroyCollisionBodies(nullptr);
}

TEST(ArticulatedSystemRefuses, TreesListsAndFilesThatItCannotTreat) {
  const auto refused = [](const std::string& text, auto&&... arguments) {
    messages::refused(text, [&] {
      // What is left is an empty fixed base that a step does not harm.
      AS system(arguments...);
      system.preContactSolverUpdate1({}, 0.01);
      system.preContactSolverUpdate2({}, 0.01);
      system.integrate(0.01, {});
    });
  };
  Child nested = body("base", Joint::FIXED);
  nested.childrenMovable.push_back(body("drone", Joint::FLOATING));
  refused("Floating joints are only supported at the root. The joint", nested, ".");
  Child nameless = body("base", Joint::FIXED), wheel = body("wheel", Joint::REVOLUTE);
  wheel.jointName.clear();
  nameless.childrenMovable.push_back(wheel);
  refused("All joints must have a name", nameless, ".");
  refused("The joint of the root must be fixed or floating", body("wheel", Joint::REVOLUTE), ".");
  // Types that a list may not hold.
  const auto cast = [](int type) { return static_cast<Joint::Type>(type); };
  for (const Joint::Type type : {Joint::FIXED, cast(-1), cast(5), cast(1 << 30)}) {
    Child base = body("base", Joint::FIXED), arm = body("arm", Joint::REVOLUTE);
    arm.jointType = type;
    base.childrenMovable.push_back(arm);
    refused("The joint 'armJoint' of the body 'arm' stands among the movable children", base, ".");
  }
  Child loose = body("base", Joint::FLOATING);
  loose.childrenFixed.push_back(body("arm", Joint::REVOLUTE));
  refused("The joint 'armJoint' of the body 'arm' stands among the fixed children", loose, ".");
  refused("models/nowhere/robot.urdf does not exist", "models/nowhere/robot.urdf");

  const auto system = onFixedBase(rod("rod"));
  messages::expect("2 values are given", [&] { system->setGeneralizedCoordinate({1.0, 2.0}); });
  EXPECT_EQ(system->getGeneralizedCoordinate()[0], 0.0) << "nothing is copied";
}

}  // namespace
}  // namespace zelvik
