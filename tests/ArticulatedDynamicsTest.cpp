// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "RandomTree.hpp"

namespace zelvik {
namespace {

using scenes::RandomTreeOptions;

/// Exponential of the rotation vector a (rad) as a quaternion.
Vec4 exponential(const Vec3& a) {
  const double angle = norm(a);
  const double k = angle > 0.0 ? std::sin(0.5 * angle) / angle : 0.5;
  return {{std::cos(0.5 * angle), k * a[0], k * a[1], k * a[2]}};
}

/// A random system whose coordinates can be moved along velocities.
class Fixture {
 public:
  Fixture(std::uint32_t seed, const RandomTreeOptions& options)
      : system(scenes::randomTree(seed, options), "."), dof(system.getDOF()) {
    scenes::randomiseState(system, seed);
    origin = system.getGeneralizedCoordinate();
  }

  /// Coordinates at time t of a motion with constant velocities u from the origin. It is exact: one
  /// joint's coordinates depend on its own velocities only.
  void moveTo(const Eigen::VectorXd& u, double t) {
    VecDyn gc = origin;
    for (size_t i = 0; i < system.getBodyCount(); ++i) {
      const size_t g = system.getGcStart()[i], d = system.getDofStart()[i];
      const auto rate = [&](size_t k) { return t * u[static_cast<Eigen::Index>(d + k)]; };
      switch (system.getJointType(i)) {
        case Joint::REVOLUTE:
        case Joint::PRISMATIC:
          gc[g] += rate(0);
          break;
        case Joint::SPHERICAL:
          turn(gc, g, {{rate(0), rate(1), rate(2)}}, false);
          break;
        case Joint::FLOATING:
          for (size_t k = 0; k < 3; ++k) gc[g + k] += rate(k);
          turn(gc, g + 3, {{rate(3), rate(4), rate(5)}}, true);
          break;
        default:
          break;
      }
    }
    system.setGeneralizedCoordinate(gc);
  }

  Eigen::MatrixXd massMatrix() {
    MatDyn M;
    M.setZero(dof, dof);
    system.computeMassMatrix(M);
    return M.e();
  }

  Eigen::VectorXd unit(size_t k) const {
    return Eigen::VectorXd::Unit(static_cast<Eigen::Index>(dof), static_cast<Eigen::Index>(k));
  }

  ArticulatedSystem system;
  size_t dof;
  VecDyn origin;

 private:
  static void turn(VecDyn& gc, size_t g, const Vec3& a, bool worldAxes) {
    const Vec4 q{{gc[g], gc[g + 1], gc[g + 2], gc[g + 3]}};
    const Vec4 turned = worldAxes ? quatMul(exponential(a), q) : quatMul(q, exponential(a));
    for (size_t k = 0; k < 4; ++k) gc[g + k] = turned[k];
  }
};

/// Trees that hold every pair of joint types on one path, on both kinds of base.
template <typename Check>
void forRandomTrees(Check&& check) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    RandomTreeOptions options;
    options.bodies = 2 + (seed * 7) % 9;
    options.floatingBase = seed % 2 == 0;
    options.chain = seed % 3 == 0;
    SCOPED_TRACE("seed " + std::to_string(seed));
    Fixture fixture(seed, options);
    check(fixture);
  }
}

/// Linear velocity of the centres of mass and angular velocity of the bodies, stacked, for unit
/// velocity k, by central differences.
Eigen::VectorXd bodyVelocities(Fixture& f, size_t k) {
  const double eps = 1e-5;
  const size_t count = f.system.getBodyCount();
  std::vector<Vec3> com[2];
  std::vector<Eigen::Matrix3d> rot[2];
  for (int side = 0; side < 2; ++side) {
    f.moveTo(f.unit(k), side == 0 ? -eps : eps);
    com[side] = f.system.getComPositions();
    for (size_t i = 0; i < count; ++i) {
      Mat33 R;
      f.system.getOrientation(i, R);
      rot[side].push_back(R.e());
    }
  }
  Eigen::VectorXd twist(6 * static_cast<Eigen::Index>(count));
  for (size_t i = 0; i < count; ++i) {
    const Eigen::Matrix3d change = rot[1][i] * rot[0][i].transpose() / (4.0 * eps);
    const auto at = 6 * static_cast<Eigen::Index>(i);
    twist.segment<3>(at) = (com[1][i] - com[0][i]).e() / (2.0 * eps);
    twist.segment<3>(at + 3) << change(2, 1) - change(1, 2), change(0, 2) - change(2, 0),
        change(1, 0) - change(0, 1);
  }
  return twist;
}

TEST(ArticulatedMassMatrix, GivesTheKineticEnergyOfTheBodies) {
  forRandomTrees([](Fixture& f) {
    const size_t count = f.system.getBodyCount();
    const auto n = static_cast<Eigen::Index>(f.dof);
    const auto rows = 6 * static_cast<Eigen::Index>(count);
    Eigen::MatrixXd J(rows, n), weight = Eigen::MatrixXd::Zero(rows, rows);
    for (size_t k = 0; k < f.dof; ++k) J.col(static_cast<Eigen::Index>(k)) = bodyVelocities(f, k);
    f.moveTo(f.unit(0), 0.0);
    for (size_t i = 0; i < count; ++i) {
      const auto at = 6 * static_cast<Eigen::Index>(i);
      Mat33 R;
      f.system.getOrientation(i, R);
      weight.block<3, 3>(at, at) = f.system.getMass(i) * Eigen::Matrix3d::Identity();
      weight.block<3, 3>(at + 3, at + 3) =
          R.e() * f.system.getBodyInertia()[i].e() * R.e().transpose();
    }
    Eigen::MatrixXd expected = J.transpose() * weight * J;
    expected += f.system.getRotorInertia().e().asDiagonal();

    const Eigen::MatrixXd M = f.massMatrix();
    EXPECT_LT((M - expected).cwiseAbs().maxCoeff(), 1e-7);
    EXPECT_TRUE(M == M.transpose()) << "not symmetric to the last bit";
    EXPECT_TRUE(M == f.massMatrix()) << "rotor inertia accumulates";
  });
}

/// Boltzmann-Hamel equations at zero acceleration: h = d/dt (M u) - X(T) + X(V), plus w x (M u)_w
/// for velocities w in body axes and minus it for those in world axes. First derivatives of M and V
/// only, by differences of fourth order.
Eigen::VectorXd lagrangianTerms(Fixture& f, const Vec3& gravity) {
  const Eigen::VectorXd u = f.system.getGeneralizedVelocity().e();
  const double eps = 1e-3;
  const auto derivative = [&](const Eigen::VectorXd& along, auto&& value) {
    const auto at = [&](double t) {
      f.moveTo(along, t);
      return value();
    };
    return Eigen::VectorXd((8.0 * (at(eps) - at(-eps)) - (at(2.0 * eps) - at(-2.0 * eps))) /
                           (12.0 * eps));
  };
  const auto lagrangian = [&]() {
    const double kinetic = 0.5 * u.dot(f.massMatrix() * u);
    double potential = 0.0;
    for (size_t i = 0; i < f.system.getBodyCount(); ++i)
      potential -= f.system.getMass(i) * dot(f.system.getComPositions()[i], gravity);
    return Eigen::VectorXd(Eigen::VectorXd::Constant(1, kinetic - potential));
  };

  Eigen::VectorXd h = derivative(u, [&] { return Eigen::VectorXd(f.massMatrix() * u); });
  for (size_t k = 0; k < f.dof; ++k)
    h[static_cast<Eigen::Index>(k)] -= derivative(f.unit(k), lagrangian)[0];
  f.moveTo(u, 0.0);
  const Eigen::VectorXd momentum = f.massMatrix() * u;
  for (size_t i = 0; i < f.system.getBodyCount(); ++i) {
    const Joint::Type type = f.system.getJointType(i);
    if (type != Joint::SPHERICAL && type != Joint::FLOATING) continue;
    const bool base = type == Joint::FLOATING;
    const auto d = static_cast<Eigen::Index>(f.system.getDofStart()[i]) + (base ? 3 : 0);
    const Eigen::Vector3d w = u.segment<3>(d), p = momentum.segment<3>(d);
    h.segment<3>(d) += (base ? -1.0 : 1.0) * w.cross(p);
  }
  return h;
}

TEST(ArticulatedNonlinearities, FollowFromTheLagrangian) {
  const Vec3 gravity{{1.0, -2.0, -9.81}};
  forRandomTrees([&](Fixture& f) {
    const Eigen::VectorXd expected = lagrangianTerms(f, gravity);
    f.massMatrix();
    VecDyn h(f.dof);
    f.system.computeNonlinearities(gravity, h);
    EXPECT_LT((h.e() - expected).cwiseAbs().maxCoeff(),
              1e-6 * (1.0 + expected.cwiseAbs().maxCoeff()));
  });
}

TEST(ArticulatedInverse, TimesTheDampedMatrixIsOne) {
  for (size_t bodies = 2; bodies <= 12; ++bodies)
    for (const bool floating : {false, true}) {
      RandomTreeOptions options;
      options.bodies = bodies;
      options.floatingBase = floating;
      Fixture f(static_cast<std::uint32_t>(bodies), options);
      const auto n = static_cast<Eigen::Index>(f.dof);
      VecDyn damping(f.dof);
      for (size_t k = 0; k < f.dof; ++k) damping[k] = 0.5 + 0.1 * static_cast<double>(k);
      f.system.setJointDamping(damping);
      f.system.computeDampedMass(0.02);

      const Eigen::MatrixXd M = f.massMatrix();
      MatDyn dense, inverse(f.dof, f.dof);
      dense.setZero(f.dof, f.dof);
      f.system.computeMassMatrix(dense);
      f.system.computeSparseInverse(dense, inverse);
      Eigen::MatrixXd damped = M;
      damped += (0.01 * damping.e()).asDiagonal();
      const Eigen::MatrixXd one = Eigen::MatrixXd::Identity(n, n);
      EXPECT_LT((inverse.e() * damped - one).cwiseAbs().maxCoeff(), 1e-10);
      EXPECT_TRUE(inverse.e() == inverse.e().transpose());
      EXPECT_TRUE(dense.e() == M) << "the mass matrix itself stays clean";

      // The fourth-order scheme takes the damping as it is.
      f.system.setIntegrationScheme(ArticulatedSystem::RUNGE_KUTTA_4);
      f.system.preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.02);
      damped = M;
      damped += damping.e().asDiagonal();
      EXPECT_LT((f.system.getInverseMassMatrix().e() * damped - one).cwiseAbs().maxCoeff(), 1e-10);
    }
}

// ---- hand-built trees ---------------------------------------------------------------------------

Child body(const std::string& name, Joint::Type type, double mass = 1.0) {
  Child node;
  node.bodyName = name;
  node.jointName = type == Joint::FIXED || type == Joint::FLOATING ? "" : name + "Joint";
  node.jointType = type;
  node.jointAxis = {{0.0, 0.0, 1.0}};
  node.mass = mass;
  node.inertia = 0.1 * Mat33::identity();
  return node;
}

/// A link of length 1 along x whose mass is spread evenly, turning about z.
Child rod(const std::string& name) {
  Child link = body(name, Joint::REVOLUTE);
  link.com = {{0.5, 0.0, 0.0}};
  link.inertia.setZero();
  link.inertia(2, 2) = 1.0 / 12.0;
  return link;
}

TEST(ArticulatedSystemDynamics, PlanarTwoLinkArm) {
  Child root = body("base", Joint::FIXED), upper = rod("upper"), lower = rod("lower");
  lower.jointPosition = {{1.0, 0.0, 0.0}};
  upper.childrenMovable.push_back(lower);
  root.childrenMovable.push_back(upper);
  ArticulatedSystem arm(root, ".");
  arm.setGeneralizedCoordinate({0.3, 0.7});
  arm.setGeneralizedVelocity({1.0, -1.5});
  MatDyn M;
  M.setZero(2, 2);
  VecDyn h(2);
  arm.computeMassMatrix(M);
  arm.computeNonlinearities({{0.0, -9.81, 0.0}}, h);
  // Textbook arm: M11 = 5/3 + cos q2, M12 = 1/3 + cos(q2)/2, M22 = 1/3.
  EXPECT_NEAR(M(0, 0), 2.431508853951, 1e-12);
  EXPECT_NEAR(M(0, 1), 0.715754426976, 1e-12);
  EXPECT_NEAR(M(1, 1), 0.333333333333, 1e-12);
  EXPECT_EQ(M(0, 1), M(1, 0));
  EXPECT_NEAR(h[0], 16.949540880481, 1e-11);
  EXPECT_NEAR(h[1], 2.972291653902, 1e-11);
}

TEST(ArticulatedKinematics, RevoluteAnglesAreReduced) {
  Child root = body("base", Joint::FIXED);
  root.childrenMovable.push_back(rod("rod"));
  ArticulatedSystem system(root, ".");
  const double pi = M_PI;
  for (const double q : {0.0, 1.0, -1.0, 0.5 * pi, -0.5 * pi, 2.0, -2.0, pi, -pi, 4.0, -4.0,
                         1.5 * pi, 2.0 * pi, 4.0 * pi, -6.0 * pi, 100.0, -1234.5}) {
    system.setGeneralizedCoordinate({q});
    Mat33 R;
    system.getOrientation(1, R);
    // The series end below 1e-14 at a quarter turn; the reduction loses the digits of q / (2 pi).
    const double tolerance = 1e-14 + 4e-16 * std::fabs(q);
    EXPECT_NEAR(R(0, 0), std::cos(q), tolerance) << q;
    EXPECT_NEAR(R(1, 0), std::sin(q), tolerance) << q;
  }
  system.setGeneralizedCoordinate({std::numeric_limits<double>::quiet_NaN()});
  Mat33 R;
  system.getOrientation(1, R);
  EXPECT_TRUE(std::isnan(R(0, 0)));
}

TEST(ArticulatedKinematics, SettersOfAFixedBaseMoveTheTreeAndNotTheCoordinates) {
  Child root = body("base", Joint::FIXED), slide = body("slide", Joint::PRISMATIC);
  root.jointPosition = {{1.0, 2.0, 3.0}};
  slide.childrenMovable.push_back(rod("rod"));
  root.childrenMovable.push_back(slide);
  ArticulatedSystem system(root, ".");
  system.setGeneralizedCoordinate({0.25, 0.0});
  Vec3 p;
  system.getPosition(2, p);
  EXPECT_TRUE(p.e().isApprox(Eigen::Vector3d(1.0, 2.0, 3.25)));

  Mat33 R;
  rotationAboutAxis({{1.0, 0.0, 0.0}}, 0.0, 1.0, R);
  system.setBaseOrientation(R);
  system.setBasePos({{7.0, 7.0, 7.0}});
  system.setBasePos(Eigen::Vector3d(0.0, 0.0, 5.0));
  system.getPosition(2, p);
  EXPECT_TRUE(p.e().isApprox(Eigen::Vector3d(0.0, -0.25, 5.0)));
  EXPECT_EQ(system.getGeneralizedCoordinate()[0], 0.25);

  contact::Contact contact;
  system.addContactToPerObjectContact(contact);
  system.setGeneralizedVelocity({1.0, 1.0});
  EXPECT_EQ(system.getContacts().size(), 1u);
  system.setGeneralizedCoordinate({0.0});
  EXPECT_TRUE(system.getContacts().empty());
  EXPECT_EQ(system.getGeneralizedVelocity()[1], 1.0);
}

TEST(ArticulatedSystemTree, OfARootAlone) {
  ArticulatedSystem fixed(body("base", Joint::FIXED), ".");
  EXPECT_EQ(fixed.getDOF() + fixed.getGeneralizedCoordinateDim(), 0u);
  EXPECT_EQ(fixed.getDofStart()[0], kNone);
  EXPECT_EQ(fixed.getBodyType(0), BodyType::STATIC);
  EXPECT_TRUE(fixed.getJointNames().empty());
  fixed.preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.01);

  Child root = body("base", Joint::FLOATING, 2.0);
  root.com = {{0.1, 0.2, 0.3}};
  ArticulatedSystem floating(root, ".");
  ASSERT_EQ(floating.getDOF(), 6u);
  EXPECT_EQ(floating.getBodyType(0), BodyType::DYNAMIC);
  EXPECT_EQ(floating.getGeneralizedCoordinate()[3], 1.0);
  EXPECT_EQ(floating.getJointNames(), std::vector<std::string>{"ROOT"});
  floating.preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.01);
  const MatDyn& M = floating.getMassMatrix();
  EXPECT_EQ(M(0, 0), 2.0);
  EXPECT_DOUBLE_EQ(M(3, 3), 0.1 + 2.0 * (0.04 + 0.09));
  EXPECT_DOUBLE_EQ(M(4, 0), 2.0 * 0.3);
  // Gravity load: -m g, and -(m c x g).
  EXPECT_DOUBLE_EQ(floating.getNonlinearities()[2], 2.0 * 9.81);
  EXPECT_DOUBLE_EQ(floating.getNonlinearities()[3], 2.0 * 0.2 * 9.81);
}

TEST(ArticulatedSystemTree, TopologyOfABranchedTree) {
  // base - ball - (left - leftTip, right), with a fixed tool on right.
  Child ball = body("ball", Joint::SPHERICAL), left = body("left", Joint::REVOLUTE);
  left.jointAxis = {{0.0, 1.0, 0.0}};
  Child right = body("right", Joint::PRISMATIC), tool = body("tool", Joint::FIXED);
  ball.rotorInertia = 0.5;
  ball.damping = 0.7;
  ball.stiffness = 3.0;
  right.effort = 20.0;
  right.stiffness = 2.0;
  tool.jointName = "toolJoint";
  tool.jointPosition = {{0.0, 0.0, 1.0}};
  right.childrenFixed.push_back(tool);
  left.childrenMovable.push_back(body("leftTip", Joint::REVOLUTE));
  ball.childrenMovable = {left, right};
  Child root = body("base", Joint::FIXED);
  root.childrenMovable.push_back(ball);
  ArticulatedSystem system(root, ".");

  using Indices = std::vector<size_t>;
  EXPECT_EQ(system.getBodyNames(),
            (std::vector<std::string>{"base", "ball", "left", "leftTip", "right"}));
  EXPECT_EQ(system.getParents(), (Indices{kNone, 0, 1, 2, 1}));
  EXPECT_EQ(system.getDofStart(), (Indices{kNone, 0, 3, 4, 5}));
  EXPECT_EQ(system.getGcStart(), (Indices{kNone, 0, 4, 5, 6}));
  EXPECT_EQ(system.getDofParent(), (Indices{kNone, 0, 1, 2, 3, 2}));
  EXPECT_EQ(system.getLeaves(), (Indices{3, 4}));
  EXPECT_EQ(system.getPathGc(), (Indices{0, 4, 5, 6, 5}));
  EXPECT_EQ(system.getDepths(), (Indices{1, 2, 3, 4, 3}));
  EXPECT_EQ(system.getChildren()[1], (Indices{2, 4}));
  EXPECT_EQ(system.getFrames()[system.getFrameIdxByName("toolJoint")].parentId, 4u);
  EXPECT_EQ(system.getCompositeMass(), (std::vector<double>{6.0, 5.0, 2.0, 1.0, 2.0}));

  EXPECT_EQ(system.getRotorInertia()[2], 0.5);
  EXPECT_EQ(system.getJointDamping()[1], 0.0) << "damping stands at the first velocity only";
  EXPECT_EQ(system.getForceLowerLimit()[5], -20.0);
  EXPECT_EQ(system.getForceUpperLimit()[4], 1e150);

  system.preContactSolverUpdate1({}, 0.01);
  EXPECT_EQ(system.getMassMatrix()(3, 5), 0.0) << "branches do not couple";
  EXPECT_NE(system.getMassMatrix()(3, 1), 0.0);

  system.setMass(4, 5.0);
  EXPECT_EQ(system.getCompositeMass()[1], 8.0);

  // D = dt/2 (damping + dt/2 (stiffness + pGain) + dGain), the gains in PD mode only.
  system.setPGain({10.0, 10.0, 10.0, 10.0, 10.0, 10.0});
  system.setDGain({0.0, 0.0, 0.0, 0.0, 0.0, 1.0});
  system.computeDampedMass(0.2);
  EXPECT_DOUBLE_EQ(system.getDampedDiagonal()[0], 0.1 * (0.7 + 0.1 * 3.0));
  EXPECT_DOUBLE_EQ(system.getDampedDiagonal()[2], 0.1 * 0.1 * 3.0);
  EXPECT_EQ(system.getDampedDiagonal()[3], 0.0);
  system.setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  system.computeDampedMass(0.2);
  EXPECT_DOUBLE_EQ(system.getDampedDiagonal()[5], 0.1 * (0.1 * (2.0 + 10.0) + 1.0));
}

TEST(ArticulatedSystemTree, OfAThousandBodies) {
  RandomTreeOptions options;
  options.bodies = 1000;
  options.joints = {Joint::REVOLUTE};
  options.floatingBase = true;
  ArticulatedSystem system(scenes::randomTree(5, options), ".");
  for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(system.getBodyNames()[i], "body" + std::to_string(i));
  EXPECT_EQ(system.getDOF(), 1005u);
}

// ---- shapes -------------------------------------------------------------------------------------

Child withSphere(Child node, double radius = 0.1) {
  CollisionBody shape;
  shape.size = {radius};
  shape.posOffset = {{0.0, 1.0, 0.0}};
  shape.collisionBodyName = node.bodyName + "Ball";
  node.collisionBodies.push_back(shape);
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
  ArticulatedSystem system(root, ".", option);
  const auto ignores = [&](size_t a, size_t b) {
    const auto& shapes = system.getCollisionBodies();
    return geomRecord(shapes[a].colObj).ignoredGeoms.count(shapes[b].colObj) == 1 &&
           geomRecord(shapes[b].colObj).ignoredGeoms.count(shapes[a].colObj) == 1;
  };
  EXPECT_TRUE(ignores(0, 1));
  EXPECT_TRUE(ignores(0, 2)) << "past the body without mass";
  EXPECT_TRUE(ignores(2, 3));
  EXPECT_FALSE(ignores(1, 2));
  EXPECT_FALSE(ignores(1, 3));
  system.ignoreCollisionBetween(1, 3);
  EXPECT_TRUE(ignores(1, 3));
  system.destroyCollisionBodies(nullptr);
}

/// Counts fatal messages and lets the code go on; keeps what is printed.
class FatalGuard {
 public:
  FatalGuard() : callback_(ZelvikMsg::fatalCallback_) {
    ZelvikMsg::fatalCallback_ = [this] { ++count; };
    testing::internal::CaptureStdout();
  }
  ~FatalGuard() {
    if (open_) testing::internal::GetCapturedStdout();
    ZelvikMsg::fatalCallback_ = callback_;
  }
  std::string text() {
    open_ = false;
    return testing::internal::GetCapturedStdout();
  }
  int count = 0;

 private:
  std::function<void()> callback_;
  bool open_ = true;
};

TEST(ArticulatedShapes, FollowTheBodiesAndTakeNewSizes) {
  Child root = body("base", Joint::FIXED);
  root.childrenMovable.push_back(withSphere(body("arm", Joint::REVOLUTE)));
  ArticulatedSystem system(root, ".");
  const dGeomID geom = system.getCollisionBodies()[0].colObj;
  system.setGeneralizedCoordinate({0.5 * M_PI});
  system.updateCollision();
  EXPECT_NEAR(dGeomGetPosition(geom)[0], -1.0, 1e-12);
  EXPECT_NEAR(dGeomGetRotation(geom)[4], 1.0, 1e-12);

  system.setCollisionObjectPositionOffset(0, {{2.0, 0.0, 0.0}});
  system.updateCollision();
  EXPECT_NEAR(dGeomGetPosition(geom)[1], 2.0, 1e-12);
  Mat33 rotation;
  Vec3 position;
  system.getPose(system.getVisColObjects()[0], rotation, position);
  EXPECT_NEAR(position[1], 2.0, 1e-12);

  system.setCollisionObjectShapeParameters(0, {0.4});
  EXPECT_EQ(dGeomSphereGetRadius(geom), 0.4);
  EXPECT_EQ(system.getVisColObjects()[0].size, std::vector<double>{0.4});
  {
    FatalGuard fatal;
    system.setCollisionObjectShapeParameters(0, {0.4, 0.4});
    system.setCollisionObjectShapeParameters(0, {-1.0});
    system.setCollisionObjectPositionOffset(1, {});
    EXPECT_EQ(fatal.count, 3);
    EXPECT_NE(fatal.text().find("This collision object is a sphere and takes only one parameter"),
              std::string::npos);
    EXPECT_EQ(dGeomSphereGetRadius(geom), 0.4);
  }

  // A pose that is not a number passes in silence, and ODE never sees it.
  system.setGeneralizedCoordinate({std::numeric_limits<double>::quiet_NaN()});
  system.updateCollision();
  EXPECT_EQ(dGeomIsEnabled(geom), 0);
  system.destroyCollisionBodies(nullptr);
}

// ---- what is refused ----------------------------------------------------------------------------

TEST(ArticulatedSystemRefuses, TreesThatItCannotTreat) {
  Child nested = body("base", Joint::FIXED), floating = body("drone", Joint::FLOATING);
  floating.jointName = "freeJoint";
  nested.childrenMovable.push_back(floating);
  for (const Child& tree : {nested, body("wheel", Joint::REVOLUTE)}) {
    FatalGuard fatal;
    ArticulatedSystem system(tree, ".");
    EXPECT_EQ(fatal.count, 1);
    const std::string text = fatal.text();
    if (tree.jointType == Joint::FIXED) {
      EXPECT_NE(text.find("Floating joints are only supported at the root"), std::string::npos);
      EXPECT_NE(text.find("freeJoint"), std::string::npos);
    }
    // What is left is an empty fixed base that a step does not harm.
    EXPECT_EQ(system.getBodyCount(), 1u);
    system.preContactSolverUpdate1({}, 0.01);
    system.preContactSolverUpdate2({}, 0.01);
    system.integrate(0.01, {});
  }
}

TEST(ArticulatedSystemRefuses, ListsThatAreTooLong) {
  Child root = body("base", Joint::FIXED);
  root.childrenMovable.push_back(rod("rod"));
  ArticulatedSystem system(root, ".");
  FatalGuard fatal;
  system.setGeneralizedCoordinate({1.0, 2.0});
  system.setPGain(Eigen::VectorXd::Zero(5));
  Vec4 quaternion;
  system.getBaseOrientation(quaternion);
  MatDyn small(0, 0);
  system.computeMassMatrix(small);
  EXPECT_EQ(fatal.count, 4);
  const std::string text = fatal.text();
  EXPECT_NE(text.find("5 values are given, but there is room for 1"), std::string::npos);
  EXPECT_NE(text.find("This method is only for floating base"), std::string::npos);
  EXPECT_EQ(system.getGeneralizedCoordinate()[0], 0.0) << "nothing is copied";
}

TEST(ArticulatedSystemUrdf, TextAndMissingFiles) {
  const std::string text =
      "<robot name='pendulum'><link name='world'/><link name='rod'><inertial><mass value='2'/>"
      "<inertia ixx='1' iyy='1' izz='1' ixy='0' ixz='0' iyz='0'/></inertial></link>"
      "<link name='bob'><inertial><mass value='1'/>"
      "<inertia ixx='1' iyy='1' izz='1' ixy='0' ixz='0' iyz='0'/></inertial></link>"
      "<joint name='mount' type='fixed'><parent link='world'/><child link='rod'/>"
      "<origin xyz='0 0 2'/></joint>"
      "<joint name='hinge' type='revolute'><parent link='rod'/><child link='bob'/>"
      "<axis xyz='0 1 0'/></joint></robot>";
  ArticulatedSystem system(text, ".");
  EXPECT_EQ(system.getModelText(), text);
  EXPECT_EQ(system.getJointNames(), std::vector<std::string>{"hinge"});
  Vec3 p;
  system.getPosition(0, p);
  EXPECT_EQ(p[2], 2.0);

  FatalGuard fatal;
  ArticulatedSystem missing("models/nowhere/robot.urdf");
  ArticulatedSystem wrong("/dev/null");
  EXPECT_EQ(missing.getResourceDirectory(), "models/nowhere");
  EXPECT_EQ(missing.getModelTopDirectory(), "nowhere");
  EXPECT_EQ(missing.getRobotName(), "robot.urdf");
  EXPECT_EQ(missing.getBodyCount(), 1u);
  const std::string printed = fatal.text();
  EXPECT_NE(printed.find("models/nowhere/robot.urdf does not exist"), std::string::npos);
  EXPECT_NE(printed.find("/dev/null: unsupported file type"), std::string::npos);
}

}  // namespace
}  // namespace zelvik
