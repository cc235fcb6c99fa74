// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <memory>
#include <stdexcept>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "RandomTree.hpp"

namespace zelvik {
namespace {

using AS = ArticulatedSystem;
const Vec3 kGravity{{0.3, -0.2, -9.81}};
constexpr double kDt = 0.002;
constexpr size_t kIndexInWorld = 3;

/// A tree with all joint types in a random state.
std::unique_ptr<AS> randomSystem(bool floating, std::uint32_t seed) {
  scenes::RandomTreeOptions options;
  options.bodies = 8;
  options.floatingBase = floating;
  auto system = std::make_unique<AS>(scenes::randomTree(seed, options), ".");
  system->setIndexInWorld(kIndexInWorld);
  scenes::randomiseState(*system, seed);
  return system;
}

void update(AS& system) {
  system.updateTimeStepIfNecessary(kDt);
  system.preContactSolverUpdate1(kGravity, kDt);
  system.preContactSolverUpdate2(kGravity, kDt);
}

Vec3 jacobianColumn(const MatDyn& J, size_t k) {
  return {{J(0, k), J(1, k), J(2, k)}};
}

// Central differences with step h have an error of h^2 times a third derivative of order 10, and of
// rounding over h: both are near 1e-9 for h = 1e-5.
constexpr double kStep = 1e-5;
constexpr double kDifferenceTolerance = 1e-8;

TEST(ArticulatedJacobian, MatchesFiniteDifferencesOfTheKinematics) {
  for (const bool floating : {false, true}) {
    const auto system = randomSystem(floating, 11);
    const VecDyn gc0 = system->getGeneralizedCoordinate();
    const Vec3 pointB{{0.3, -0.4, 0.2}};
    SparseJacobian jac;  // one record for all: storage grows and is written over
    for (size_t b = 0; b < system->getBodyCount(); ++b) {
      system->setGeneralizedCoordinate(gc0);
      update(*system);
      Vec3 point, direct, byJacobian;
      MatDyn J, Jr;
      system->getPosition(b, pointB, point);
      system->getDenseJacobian(b, point, J);
      system->getDenseRotationalJacobian(b, Jr);
      system->getSparseRotationalJacobian(b, jac);
      system->getSparseJacobian(b, point, jac);
      system->getVelocity(jac, byJacobian);
      system->getVelocity(b, pointB, direct);
      EXPECT_NEAR(norm(direct - byJacobian), 0.0, 1e-12 * (1.0 + norm(direct)));
      for (size_t k = 0; k < system->getDOF(); ++k) {
        Vec3 p[2];
        Mat33 R[2];
        for (const int side : {0, 1}) {
          VecDyn gc = gc0, rate(system->getDOF());
          rate.setZero();
          rate[k] = side == 0 ? -1.0 : 1.0;
          system->integratePosition(gc, rate, kStep);
          system->setGeneralizedCoordinate(gc);
          system->getPosition(b, pointB, p[side]);
          system->getOrientation(b, R[side]);
        }
        const Mat33 T = R[1] * transpose(R[0]);
        const Vec3 turn{{T(2, 1) - T(1, 2), T(0, 2) - T(2, 0), T(1, 0) - T(0, 1)}};
        const Vec3 dp = (0.5 / kStep) * (p[1] - p[0]), dr = (0.25 / kStep) * turn;
        EXPECT_NEAR(norm(jacobianColumn(J, k) - dp), 0.0, kDifferenceTolerance) << b << ", " << k;
        EXPECT_NEAR(norm(jacobianColumn(Jr, k) - dr), 0.0, kDifferenceTolerance) << b << ", " << k;
      }
    }
  }
}

bool isTwin(const contact::Contact& c) {
  return c.pairObjectIndex_ == kIndexInWorld && !c.objectA_;
}

/// Contact-frame Jacobian of contact i, minus that of its twin, from the public dense ones.
Eigen::MatrixXd denseJacobian(const AS& system, size_t i) {
  const contact::Contact& c = system.getContacts()[i];
  MatDyn J;
  system.getDenseJacobian(c.localBodyIndex_, c.position_, J);
  Eigen::MatrixXd sum = J.e();
  if (c.pairObjectIndex_ == kIndexInWorld) {
    const contact::Contact& twin = system.getContacts()[c.pairContactIndex_];
    system.getDenseJacobian(twin.localBodyIndex_, twin.position_, J);
    sum -= J.e();
  }
  return c.frame_.e() * sum;
}

/// Blocks, responses and velocities of all contacts against J M^-1 J^T, M^-1 J^T and J u.
void checkAgainstDenseAlgebra(AS& system) {
  // The condition of M is below 1e4 and values are of order 10: 1e-16 1e4 10 with a margin of 10.
  const auto expectEqual = [](const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
    EXPECT_NEAR((a - b).norm(), 0.0, 1e-10 * (1.0 + b.norm()));
  };
  const Eigen::MatrixXd Minv = system.getMassMatrix().e().inverse();
  const Eigen::VectorXd u0 = system.getGeneralizedVelocity().e();
  Eigen::VectorXd u = u0 - kDt * Minv * system.getNonlinearities().e();
  const std::vector<contact::Contact>& contacts = system.getContacts();
  const Vec3 impulse{{0.3, -0.7, 1.1}};
  for (size_t i = 0; i < contacts.size(); ++i) {
    EXPECT_EQ(contacts[i].skip_, isTwin(contacts[i]));
    if (contacts[i].skip_) continue;
    const Eigen::MatrixXd J = denseJacobian(system, i);
    const DelassusAndTauStar& row = system.getDelassusAndTauStar()[i];
    ASSERT_EQ(row.blocks.size(), 1u);
    expectEqual(row.blocks[0].e(), J * Minv * J.transpose());
    EXPECT_EQ(norm(row.tauStar), 0.0);
    expectEqual(system.getContactResponses()[i].e(), J * Minv);
    // The contact-frame velocity against the normal in world axes.
    EXPECT_NEAR(system.getImpactVel(i), contacts[i].frame_.e().row(2).dot(J * u0), 1e-10);
    const bool isPair = contacts[i].pairObjectIndex_ == kIndexInWorld;
    EXPECT_EQ(contacts[i].selfCollision_, isPair);
    const size_t twin = isPair ? contacts[i].pairContactIndex_ : i;
    EXPECT_EQ(system.getImpactVel(twin), system.getImpactVel(i));
    system.updateGenVelWithImpulse(i, impulse);
    u += Minv * J.transpose() * impulse.e();
  }
  for (size_t i = 0; i < contacts.size(); ++i) {
    if (contacts[i].skip_) continue;
    Vec3 v, sum{{1.0, 2.0, 3.0}}, difference{{1.0, 2.0, 3.0}};
    system.getContactPointVel(i, v);
    system.addContactPointVel(i, sum);
    system.subContactPointVel(i, difference);
    const Eigen::VectorXd want = denseJacobian(system, i) * u;
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(v[k], want[k], 1e-10 * (1.0 + want.norm()));
      EXPECT_EQ(sum[k], k + 1.0 + v[k]);
      EXPECT_EQ(difference[k], k + 1.0 - v[k]);
    }
  }
}

TEST(ArticulatedDelassus, MatchesDenseAlgebraOverSuccessiveSteps) {
  for (const bool floating : {false, true})
    for (std::uint32_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE(testing::Message() << (floating ? "floating " : "fixed ") << seed);
      const auto system = randomSystem(floating, seed);
      scenes::RandomSource random(seed);
      const double first = floating ? 0.0 : 1.0;  // a fixed root is static
      const auto add = [&](bool isA, size_t pairObject, BodyType pairType, size_t pair,
                           const Vec3& position, const Vec3& normal) {
        const auto count = static_cast<double>(system->getBodyCount());
        contact::Contact c(position, normal, isA, 0, system->getContacts().size(), pairObject,
                           pairType, pair, static_cast<size_t>(random.uniform(first, count)), 0.0);
        system->addContactToPerObjectContact(c);
      };
      // Slots of contactJacobians_ change bodies, and merged slots change places with the scratch
      // record, so each step meets what the step before has left there. More than ten contacts
      // outgrow the entries that exist from the start; a new state empties the Jacobians.
      for (const size_t count : {4u, 12u, 7u, 14u, 3u}) {
        if (count == 14) scenes::randomiseState(*system, seed + 100);
        system->clearPerObjectContact();
        for (size_t i = 0; i < count; ++i) {
          const Vec3 position = random.vector(1.0), normal = random.unitVector();
          const size_t next = system->getContacts().size();
          if (i % 3 == 1) {
            add(true, kIndexInWorld, BodyType::DYNAMIC, next + 1, position, normal);
            add(false, kIndexInWorld, BodyType::DYNAMIC, next, position, normal);
          } else {
            add(i % 2 == 0, 0, BodyType::STATIC, 0, position, normal);
          }
        }
        update(*system);
        checkAgainstDenseAlgebra(*system);
      }
    }
}

TEST(ArticulatedDelassus, OneFloatingBodyIsARigidBody) {
  Child body;
  body.jointType = Joint::FLOATING;
  body.bodyName = "base";
  body.mass = 2.5;
  body.com = {{0.1, -0.2, 0.05}};
  body.inertia = {{0.4, 0.02, 0.01, 0.02, 0.5, -0.03, 0.01, -0.03, 0.3}};
  AS system(body, ".");
  system.setGeneralizedCoordinate({0.3, 0.1, 1.0, 0.5, 0.5, -0.5, 0.5});
  system.setGeneralizedVelocity({0.4, -0.3, 0.2, 1.0, -2.0, 0.5});
  contact::Contact contact({{0.2, 0.4, 0.7}}, {{0.48, 0.6, 0.64}}, true, 0, 0, 9, BodyType::STATIC,
                           0, 0, -0.01);
  system.addContactToPerObjectContact(contact);
  update(system);

  // D = R (1/m 1 - [r]x I^-1 [r]x) R^T with r from the centre of mass c.
  Mat33 R;
  Vec3 c, L;
  system.getOrientation(0, R);
  system.getPosition(0, body.com, c);
  const Eigen::Matrix3d I = R.e() * body.inertia.e() * R.e().transpose();
  const Eigen::Matrix3d rx = skew(contact.position_ - c).e();
  const Eigen::Matrix3d atPoint = Eigen::Matrix3d::Identity() / body.mass - rx * I.inverse() * rx;
  const Eigen::Matrix3d D = contact.frame_.e() * atPoint * contact.frame_.e().transpose();
  EXPECT_NEAR((system.getDelassusAndTauStar()[0].blocks[0].e() - D).norm(), 0.0, 1e-13 * D.norm());

  // Free flight: Euler's equation, and the acceleration g of c, seen from the base origin at s.
  const Eigen::Vector3d w0(1.0, -2.0, 0.5), s = -(R * body.com).e();
  system.getAngularMomentum(c, L);
  EXPECT_NEAR((L.e() - I * w0).norm(), 0.0, 1e-13);
  system.integrate(kDt, kGravity);
  const Eigen::VectorXd u = system.getGeneralizedVelocity().e();
  const Eigen::Vector3d w1 = w0 - kDt * I.inverse() * w0.cross(I * w0);
  const Eigen::Vector3d v1 = Eigen::Vector3d(0.4, -0.3, 0.2) + kDt * kGravity.e() +
                             (w1 - w0).cross(s) + kDt * w0.cross(w0.cross(s));
  EXPECT_NEAR((u.tail<3>() - w1).norm() + (u.head<3>() - v1).norm(), 0.0, 1e-12);
}

// ---- frames, names, forces ----

/// Fixed base, hinge about y at height 1, and a tool on a fixed joint half a metre out.
Child armWithTool() {
  Child tool;
  tool.jointType = Joint::FIXED;
  tool.jointName = "tool_mount";
  tool.bodyName = "tool";
  tool.jointPosition = {{0.5, 0.0, 0.0}};
  tool.mass = 0.2;
  tool.inertia = Mat33::identity();
  Child arm = tool;
  arm.jointType = Joint::REVOLUTE;
  arm.jointName = "hinge";
  arm.bodyName = "arm";
  arm.jointPosition = {{0.0, 0.0, 1.0}};
  arm.jointAxis = {{0.0, 1.0, 0.0}};
  arm.mass = 1.0;
  arm.childrenFixed.push_back(tool);
  Child base;
  base.jointType = Joint::FIXED;
  base.bodyName = "base";
  base.childrenMovable.push_back(arm);
  return base;
}

std::string fatalText(const std::function<void()>& call) {
  struct Fatal : std::runtime_error {
    Fatal() : std::runtime_error("fatal") {}
  };
  const auto callback = ZelvikMsg::fatalCallback_;
  ZelvikMsg::fatalCallback_ = [] { throw Fatal(); };
  testing::internal::CaptureStdout();
  EXPECT_THROW(call(), Fatal);
  ZelvikMsg::fatalCallback_ = callback;
  return testing::internal::GetCapturedStdout();
}

TEST(ArticulatedFrames, MoveWithTheBodyThatConsumedThem) {
  ArticulatedSystem system(armWithTool(), ".");
  system.setGeneralizedCoordinate({M_PI / 2});
  system.setGeneralizedVelocity({2.0});
  EXPECT_EQ(system.getKineticEnergy(), 0.0);  // no mass matrix yet
  system.updateTimeStepIfNecessary(kDt);
  system.preContactSolverUpdate1(kGravity, kDt);
  const size_t frame = system.getFrameIdxByName("tool_mount");
  Vec3 p, v, w;
  system.getFramePosition(frame, p);
  system.getFrameVelocity(frame, v);
  system.getFrameAngularVelocity(frame, w);
  EXPECT_NEAR(norm(p - Vec3{{0.0, 0.0, 0.5}}), 0.0, 1e-12);
  EXPECT_NEAR(norm(v - Vec3{{-1.0, 0.0, 0.0}}), 0.0, 1e-12);
  EXPECT_NEAR(w[1], 2.0, 1e-15);
  // By record, a movable body's frame has the velocity of its origin.
  Vec3 byRecord;
  system.getFrameVelocity(system.getFrames()[frame], byRecord);
  EXPECT_EQ(norm(byRecord - v), 0.0);
  CoordinateFrame moved = system.getFrames()[frame];
  moved.isChild = true;
  system.getFrameVelocity(moved, byRecord);
  EXPECT_EQ(norm(byRecord), 0.0);
  SparseJacobian jac;
  system.getSparseJacobian(0, p, jac);
  EXPECT_EQ(jac.size, 0u);

  EXPECT_EQ(system.getBodyIdx("arm"), 1u);
  EXPECT_NE(fatalText([&] { system.getBodyIdx("tool"); }).find("This is a link name. In Zelvik"),
            std::string::npos);
  EXPECT_NE(fatalText([&] { system.getBodyIdx("leg"); }).find("unknown body id"),
            std::string::npos);
  EXPECT_NE(fatalText([&] { system.getFrameIdxByName("leg"); }).find("unknown frame id"),
            std::string::npos);
  EXPECT_NE(fatalText([&] { system.setExternalForce(2, p); }).find("body index 2"),
            std::string::npos);
}

TEST(ArticulatedForces, OutsideForcesActThroughTheirJacobians) {
  for (const bool floating : {false, true}) {
    const auto system = randomSystem(floating, 8);
    const size_t b = system->getBodyCount() - 1, parent = system->getParents()[b];
    const Vec3 force{{3.0, -2.0, 4.0}}, torque{{-1.0, 2.0, 5.0}}, point{{0.4, 0.3, -0.6}};
    Mat33 R, Rp;
    Vec3 pointW, parentPointW;
    system->getOrientation(b, R);
    system->getOrientation(parent, Rp);
    system->getPosition(b, point, pointW);
    system->getPosition(parent, point, parentPointW);

    Eigen::VectorXd tau = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(system->getDOF()));
    MatDyn J;
    const auto expect = [&](size_t body, const Vec3& at, const Vec3& f) {
      system->getDenseJacobian(body, at, J);
      tau += J.e().transpose() * f.e();
    };
    system->setExternalForce(b, point, force);
    expect(b, pointW, force);
    system->setExternalForce(b, AS::BODY_FRAME, force, AS::WORLD_FRAME, point);
    expect(b, point, R * force);
    system->setExternalForce(b, AS::PARENT_FRAME, force, AS::PARENT_FRAME, point);
    expect(b, parentPointW, Rp * force);
    system->setExternalForce(0, AS::PARENT_FRAME, force, AS::PARENT_FRAME, point);
    expect(0, point, force);
    system->setConstraintForce(b, point, force);
    expect(b, pointW, force);
    system->setExternalForce(b, force);
    expect(b, system->getComPositions()[b], force);
    system->setExternalTorque(b, torque);
    system->getDenseRotationalJacobian(b, J);
    tau += J.e().transpose() * torque.e();

    // M (u+ - u)/dt + h
    const auto appliedForce = [&]() -> Eigen::VectorXd {
      const Eigen::VectorXd u0 = system->getGeneralizedVelocity().e();
      update(*system);
      const Eigen::MatrixXd M = system->getMassMatrix().e();
      const Eigen::VectorXd h = system->getNonlinearities().e();
      system->integrate(kDt, kGravity);
      return M * (system->getGeneralizedVelocity().e() - u0) / kDt + h;
    };
    EXPECT_NEAR((appliedForce() - tau).norm(), 0.0, 1e-9 * (1.0 + tau.norm()));

    // Shown once, without the wire, and used once.
    EXPECT_EQ(system->getVisForces().size(), 5u);
    EXPECT_EQ(system->getVisTorques().size(), 1u);
    EXPECT_NEAR(norm(system->getVisForces()[1] - R * force), 0.0, 1e-14);
    system->setConstraintForce(0, point, force);
    system->getPosition(0, point, pointW);
    tau.setZero();
    expect(0, pointW, force);
    EXPECT_NEAR((appliedForce() - tau).norm(), 0.0, 1e-8);
    EXPECT_TRUE(system->getVisForces().empty());
  }
}

}  // namespace
}  // namespace zelvik
