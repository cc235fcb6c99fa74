// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <limits>
#include <zelvik/object/GeomRecord.hpp>

#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;
using messages::OnFatal;

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
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    check(*randomSystem(seed % 2 == 0, seed, 2 + (seed * 7) % 9, seed % 3 == 0));
  }
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
    const Mat33 T = (0.5 / h) * (R[1] * transpose(R[0]));
    const Vec3 v = (0.5 / h) * (p[1] - p[0]);
    const Vec3 w = 0.5 * Vec3{{T(2, 1) - T(1, 2), T(0, 2) - T(2, 0), T(1, 0) - T(0, 1)}};
    for (int i = 0; i < 3; ++i) {
      twists(i, k) = v[i];
      twists(3 + i, k) = w[i];
    }
  }
  system.setGeneralizedCoordinate(origin);
  return twists;
}

TEST(ArticulatedKinematics, JacobiansAndMassMatrixFollowFromTheMotionOfTheBodies) {
  forRandomTrees([](AS& system) {
    Eigen::MatrixXd expected = system.getRotorInertia().e().asDiagonal();
    SparseJacobian jac;  // one record for all: storage grows and is written over
    for (size_t b = 0; b < system.getBodyCount(); ++b) {
      Mat33 R;
      Vec3 origin, direct, byJacobian;
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
      EXPECT_LT((J.e() - linear).norm() + (R.e().transpose() * Jr.e() - angular).norm(), 1e-7) << b;
      system.getSparseRotationalJacobian(b, jac);
      system.getSparseJacobian(b, com, jac);
      system.getVelocity(jac, byJacobian);
      system.getVelocity(b, comB, direct);
      EXPECT_LT(norm(direct - byJacobian), 1e-12 * (1.0 + norm(direct)));
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
      EXPECT_LT((product - Eigen::MatrixXd::Identity(M.rows(), M.cols())).norm(), 1e-9);
      EXPECT_TRUE(inverse == inverse.transpose());
      EXPECT_TRUE(system.getMassMatrix().e() == M) << "the mass matrix itself stays clean";
    }
  });
}

// ---- hand-built trees ---------------------------------------------------------------------------

/// A link of length 1 along x whose mass is spread evenly, turning about z.
Child rod(const std::string& name) {
  Child link = body(name, Joint::REVOLUTE, 1.0, {{0.5, 0.0, 0.0}}, 0.0);
  link.jointAxis = {{0.0, 0.0, 1.0}};
  link.inertia(2, 2) = 1.0 / 12.0;
  return link;
}

TEST(ArticulatedSystemDynamics, PlanarTwoLinkArm) {
  Child upper = rod("upper"), lower = rod("lower");
  lower.jointPosition = {{1.0, 0.0, 0.0}};
  upper.childrenMovable.push_back(lower);
  const auto arm = onFixedBase(upper);
  arm->setGeneralizedCoordinate({0.3, 0.7});
  arm->setGeneralizedVelocity({1.0, -1.5});
  arm->preContactSolverUpdate1({{0.0, -9.81, 0.0}}, 0.01);
  // Textbook arm: M11 = 5/3 + cos q2, M12 = 1/3 + cos(q2)/2, M22 = 1/3.
  const Eigen::Matrix2d M = arm->getMassMatrix().e();
  EXPECT_NEAR(M(0, 0), 2.431508853951, 1e-12);
  EXPECT_NEAR(M(0, 1), 0.715754426976, 1e-12);
  EXPECT_NEAR(M(1, 1), 0.333333333333, 1e-12);
  EXPECT_NEAR(arm->getNonlinearities()[0], 16.949540880481, 1e-11);
  EXPECT_NEAR(arm->getNonlinearities()[1], 2.972291653902, 1e-11);
}

TEST(ArticulatedKinematics, RevoluteAnglesAreReduced) {
  const auto system = onFixedBase(rod("rod"));
  const double pi = M_PI;
  for (const double q : {0.0, 1.0, -1.0, pi / 2, -pi / 2, 2.0, pi, -pi, 4.0, -4.0, 2 * pi, -6 * pi,
                         -1234.5, double{NAN}}) {
    system->setGeneralizedCoordinate({q});
    Mat33 R;
    system->getOrientation(1, R);
    // The series end below 1e-14 at a quarter turn; the reduction loses the digits of q / (2 pi).
    const double error = std::hypot(R(0, 0) - std::cos(q), R(1, 0) - std::sin(q));
    EXPECT_TRUE(std::isnan(q) ? std::isnan(error) : error < 2e-14 + 4e-16 * std::fabs(q)) << q;
  }
}

TEST(ArticulatedKinematics, SettersOfAFixedBaseMoveTheTreeAndNotTheCoordinates) {
  Child slide = body("slide", Joint::PRISMATIC);
  slide.childrenMovable.push_back(rod("rod"));
  const auto system = onFixedBase(slide, {{1.0, 2.0, 3.0}});
  Vec3 p;
  Mat33 R;
  contact::Contact contact;
  system->addContactToPerObjectContact(contact);
  system->setGeneralizedCoordinate({0.25, 0.0});
  EXPECT_TRUE(system->getContacts().empty());
  system->getPosition(2, p);
  EXPECT_LT(norm(p - Vec3{{1.0, 2.25, 3.0}}), 1e-15);
  rotationAboutAxis({{1.0, 0.0, 0.0}}, 0.0, 1.0, R);
  system->setBaseOrientation(R);
  system->setBasePos(Eigen::Vector3d(0.0, 0.0, 5.0));
  system->getPosition(2, p);
  EXPECT_LT(norm(p - Vec3{{0.0, 0.0, 5.25}}), 1e-15);
  EXPECT_EQ(system->getGeneralizedCoordinate()[0], 0.25);
}

TEST(ArticulatedSystemTree, OfARootAlone) {
  AS fixed(body("base", Joint::FIXED), "."), floating(body("base", Joint::FLOATING), ".");
  EXPECT_EQ(fixed.getDOF() + fixed.getGeneralizedCoordinateDim(), 0u);
  EXPECT_EQ(fixed.getDofStart()[0], kNone);
  EXPECT_EQ(fixed.getBodyType(0), BodyType::STATIC);
  EXPECT_TRUE(fixed.getJointNames().empty());
  fixed.preContactSolverUpdate1({}, 0.01);
  EXPECT_EQ(floating.getBodyType(0), BodyType::DYNAMIC);
  EXPECT_EQ(floating.getGeneralizedCoordinate()[3], 1.0);
  EXPECT_EQ(floating.getJointNames(), std::vector<std::string>{"ROOT"});
}

TEST(ArticulatedSystemTree, TopologyOfABranchedTree) {
  // base - ball - (left - leftTip, right), with a fixed tool on right.
  Child ball = body("ball", Joint::SPHERICAL), left = body("left", Joint::REVOLUTE);
  Child right = body("right", Joint::PRISMATIC), tool = body("tool", Joint::FIXED);
  ball.damping = 0.7;
  ball.stiffness = 3.0;
  right.effort = 20.0;
  right.stiffness = 2.0;
  tool.jointName = "toolJoint";
  right.childrenFixed.push_back(tool);
  left.childrenMovable.push_back(body("leftTip", Joint::REVOLUTE));
  ball.childrenMovable = {left, right};
  const auto system = onFixedBase(ball);

  using Indices = std::vector<size_t>;
  EXPECT_EQ(system->getBodyNames(),
            (std::vector<std::string>{"base", "ball", "left", "leftTip", "right"}));
  EXPECT_EQ(system->getParents(), (Indices{kNone, 0, 1, 2, 1}));
  EXPECT_EQ(system->getDofStart(), (Indices{kNone, 0, 3, 4, 5}));
  EXPECT_EQ(system->getGcStart(), (Indices{kNone, 0, 4, 5, 6}));
  EXPECT_EQ(system->getDofParent(), (Indices{kNone, 0, 1, 2, 3, 2}));
  EXPECT_EQ(system->getLeaves(), (Indices{3, 4}));
  EXPECT_EQ(system->getPathGc(), (Indices{0, 4, 5, 6, 5}));
  EXPECT_EQ(system->getDepths(), (Indices{1, 2, 3, 4, 3}));
  EXPECT_EQ(system->getChildren()[1], (Indices{2, 4}));
  EXPECT_EQ(system->getFrames()[system->getFrameIdxByName("toolJoint")].parentId, 4u);
  EXPECT_EQ(system->getCompositeMass(), (std::vector<double>{6.0, 5.0, 2.0, 1.0, 2.0}));
  system->setMass(4, 5.0);
  EXPECT_EQ(system->getCompositeMass()[1], 8.0);

  EXPECT_EQ(system->getForceLowerLimit()[5], -20.0);
  // D = dt/2 (damping + dt/2 (stiffness + pGain) + dGain), the gains in PD mode only.
  system->setPGain({10.0, 10.0, 10.0, 10.0, 10.0, 10.0});
  system->setDGain({0.0, 0.0, 0.0, 0.0, 0.0, 1.0});
  system->computeDampedMass(0.2);
  EXPECT_DOUBLE_EQ(system->getDampedDiagonal()[0], 0.1 * (0.7 + 0.1 * 3.0));
  EXPECT_EQ(system->getDampedDiagonal()[3], 0.0);
  system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
  system->computeDampedMass(0.2);
  EXPECT_DOUBLE_EQ(system->getDampedDiagonal()[5], 0.1 * (0.1 * (2.0 + 10.0) + 1.0));
}

// ---- shapes -------------------------------------------------------------------------------------

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
  // The option does not count for a tree that is built by hand.
  ArticulatedSystemOption option;
  option.doNotCollideWithParent = false;
  AS system(root, ".", option);
  const auto ignored = [&] {
    std::string pairs;
    for (const auto& a : system.getCollisionBodies())
      for (const auto& b : system.getCollisionBodies())
        if (geomRecord(a.colObj).ignoredGeoms.count(b.colObj) == 1)
          pairs += std::to_string(a.localIdx) + std::to_string(b.localIdx) + " ";
    return pairs;
  };
  EXPECT_EQ(ignored(), "01 02 10 20 23 32 ");
  system.ignoreCollisionBetween(1, 3);
  EXPECT_EQ(ignored(), "01 02 10 13 20 23 31 32 ");
  system.destroyCollisionBodies(nullptr);
}

TEST(ArticulatedShapes, FollowTheBodiesAndTakeNewSizes) {
  Child arm = withSphere(body("arm", Joint::REVOLUTE));
  arm.jointAxis = {{0.0, 0.0, 1.0}};
  const auto system = onFixedBase(arm);
  const dGeomID geom = system->getCollisionBodies()[0].colObj;
  system->setGeneralizedCoordinate({0.5 * M_PI});
  system->updateCollision();
  EXPECT_NEAR(dGeomGetPosition(geom)[0], -1.0, 1e-12);
  EXPECT_NEAR(dGeomGetRotation(geom)[4], 1.0, 1e-12);
  system->setCollisionObjectPositionOffset(0, {{2.0, 0.0, 0.0}});
  system->updateCollision();
  EXPECT_NEAR(dGeomGetPosition(geom)[1], 2.0, 1e-12);
  system->setCollisionObjectShapeParameters(0, {0.4});
  messages::expect("This collision object is a sphere and takes only one parameter", [&] {
    system->setCollisionObjectShapeParameters(0, {0.5, 0.5});
  });
  messages::expect("cannot take the size -1",
                   [&] { system->setCollisionObjectShapeParameters(0, {-1.0}); });
  messages::expect("collision object index 1 is out of range",
                   [&] { system->setCollisionObjectPositionOffset(1, {}); });
  EXPECT_EQ(dGeomSphereGetRadius(geom), 0.4);
  EXPECT_EQ(system->getVisColObjects()[0].size, std::vector<double>{0.4});

  // A pose that is not a number passes in silence, and ODE never sees it.
  system->setGeneralizedCoordinate({std::numeric_limits<double>::quiet_NaN()});
  system->updateCollision();
  EXPECT_EQ(dGeomIsEnabled(geom), 0);
  system->destroyCollisionBodies(nullptr);
}

// ---- what is refused ----------------------------------------------------------------------------

TEST(ArticulatedSystemRefuses, TreesListsAndFilesThatItCannotTreat) {
  const auto refused = [](const std::string& text, auto&&... arguments) {
    messages::expect(
        text,
        [&] {
          // What is left is an empty fixed base that a step does not harm.
          AS system(arguments...);
          EXPECT_EQ(system.getBodyCount(), 1u);
          system.preContactSolverUpdate1({}, 0.01);
          system.preContactSolverUpdate2({}, 0.01);
          system.integrate(0.01, {});
        },
        OnFatal::GO_ON);
  };
  Child nested = body("base", Joint::FIXED), floating = body("drone", Joint::FLOATING);
  floating.jointName = "freeJoint";
  nested.childrenMovable.push_back(floating);
  refused("Floating joints are only supported at the root. The joint 'freeJoint'", nested, ".");
  refused("The joint of the root must be fixed or floating", body("wheel", Joint::REVOLUTE), ".");
  refused("models/nowhere/robot.urdf does not exist", "models/nowhere/robot.urdf");
  refused("/dev/null: unsupported file type", "/dev/null");

  const auto system = onFixedBase(rod("rod"));
  messages::expect("2 values are given", [&] { system->setGeneralizedCoordinate({1.0, 2.0}); });
  messages::expect("5 values are given, but there is room for 1",
                   [&] { system->setPGain(Eigen::VectorXd::Zero(5)); });
  EXPECT_EQ(system->getGeneralizedCoordinate()[0], 0.0) << "nothing is copied";
  Vec4 quaternion;
  messages::expect("This method is only for floating base",
                   [&] { system->getBaseOrientation(quaternion); });
  MatDyn small(0, 0);
  messages::expect("the matrix is 0 by 0", [&] { system->computeMassMatrix(small); });
}

TEST(ArticulatedSystemUrdf, TextAndPath) {
  const std::string inertia = "<inertia ixx='1' iyy='1' izz='1' ixy='0' ixz='0' iyz='0'/>";
  const std::string text =
      "<robot name='pendulum'><link name='world'/><link name='rod'><inertial><mass value='2'/>" +
      inertia + "</inertial></link><link name='bob'><inertial><mass value='1'/>" + inertia +
      "</inertial></link><joint name='mount' type='fixed'><parent link='world'/>"
      "<child link='rod'/><origin xyz='0 0 2'/></joint><joint name='hinge' type='revolute'>"
      "<parent link='rod'/><child link='bob'/><axis xyz='0 1 0'/></joint></robot>";
  AS system(text, ".");
  EXPECT_EQ(system.getModelText(), text);
  EXPECT_EQ(system.getJointNames(), std::vector<std::string>{"hinge"});
  Vec3 p;
  system.getPosition(0, p);
  EXPECT_EQ(p[2], 2.0);
  EXPECT_EQ(AS(ZELVIK_MODEL_DIR "/arm.urdf").getModelTopDirectory(), "models");
}

}  // namespace
}  // namespace zelvik
