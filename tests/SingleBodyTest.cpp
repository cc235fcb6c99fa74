// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <limits>
#include <memory>
#include <zelvik/object/Box.hpp>
#include <zelvik/object/Capsule.hpp>
#include <zelvik/object/Cone.hpp>
#include <zelvik/object/Cylinder.hpp>
#include <zelvik/object/Ground.hpp>
#include <zelvik/object/ImplicitGyroscopic.hpp>
#include <zelvik/object/Sphere.hpp>

#include "ExactSolutions.hpp"
#include "Messages.hpp"
#include "RandomTree.hpp"

namespace zelvik {
namespace {

using Mat6 = Eigen::Matrix<double, 6, 6>;
using Mat36 = Eigen::Matrix<double, 3, 6>;
using Vec6 = Eigen::Matrix<double, 6, 1>;

const Mat33 kInertia{{2.0, 0.3, -0.2, 0.3, 3.0, 0.4, -0.2, 0.4, 4.0}};
const Vec3 kNoGravity{};
const Vec3 kGravity{{0.3, -0.2, -9.81}};

void step(SingleBodyObject& body, const Vec3& gravity, double dt) {
  body.preContactSolverUpdate1(gravity, dt);
  body.preContactSolverUpdate2(gravity, dt);
  body.integrate(dt, gravity);
}

void addContact(SingleBodyObject& body, const Vec3& position, const Vec3& normal,
                bool objectA = true) {
  contact::Contact contact(position, normal, objectA, 0, body.getContacts().size(), 1,
                           BodyType::STATIC, 0, 0, 0.0);
  body.addContactToPerObjectContact(contact);
}

/// A body in a general state, with a centre-of-mass offset, forces and `count` contacts of both
/// sides.
std::unique_ptr<SingleBodyObject> randomBody(std::uint32_t seed, int count) {
  scenes::RandomSource random(seed);
  auto body = std::make_unique<Box>(1.0, 1.0, 1.0, 1.7);
  body->setInertia(kInertia);
  body->setComOffset(random.vector(1.0));
  body->setOrientation(Eigen::Matrix3d(random.rotation().e()));
  body->setPosition(1.0, -0.4, 0.3);
  body->setVelocity(random.vector(1.0), random.vector(3.0));
  body->setExternalForce(0, random.vector(1.0), random.vector(5.0));
  body->setExternalTorque(0, random.vector(5.0));
  for (int i = 0; i < count; ++i)
    addContact(*body, random.vector(1.0), random.unitVector(), i % 2 == 0);
  return body;
}

/// Independent dense model: inverse of the 6 x 6 mass matrix from the quaternion, and J of a
/// contact.
Mat6 denseInverseMass(const SingleBodyObject& body) {
  const Vec4& q = body.getQuaternion();
  const Eigen::Matrix3d R = Eigen::Quaterniond(q[0], q[1], q[2], q[3]).toRotationMatrix();
  Mat6 M = Mat6::Zero();
  M.topLeftCorner<3, 3>() = body.getMass(0) * Eigen::Matrix3d::Identity();
  M.bottomRightCorner<3, 3>() = R * kInertia.e() * R.transpose();
  return M.inverse();
}

Mat36 denseJacobian(const SingleBodyObject& body, size_t i) {
  const contact::Contact& c = body.getContacts()[i];
  const Vec4& q = body.getQuaternion();
  const Eigen::Vector3d arm = Eigen::Quaterniond(q[0], q[1], q[2], q[3]) * body.getComOffset().e();
  const Eigen::Vector3d r = c.position_.e() - body.getBodyPosition().e() - arm;
  Mat36 J;
  J.leftCols<3>() = c.frame_.e();
  for (int k = 0; k < 3; ++k) J.col(3 + k) = c.frame_.e() * Eigen::Vector3d::Unit(k).cross(r);
  return J;
}

Vec6 velocity(const SingleBodyObject& body) {
  Vec6 v;
  v << body.getLinearVelocity().e(), body.getAngularVelocity().e();
  return v;
}

// Rounding only: all numbers are of the order of 10, so 1e-12 leaves a margin of a hundred.
constexpr double kRounding = 1e-12;

TEST(SingleBodyContact, BlocksMatchTheDenseModelAndImpulsesAreApplied) {
  // Up to four contacts have all blocks; more are coupled through the velocity.
  for (std::uint32_t seed = 0; seed < 20; ++seed) {
    const int count = seed % 2 == 0 ? 4 : 5;
    const bool full = count == 4;
    auto body = randomBody(seed, count), free = randomBody(seed, 0);
    scenes::RandomSource random(seed);
    for (auto* object : {body.get(), free.get()})
      object->setGyroscopicMode(full ? NO_GYROSCOPIC : IMPLICIT_GYROSCOPIC_BODY);
    step(*free, kGravity, 0.01);
    const Mat6 invM = denseInverseMass(*body);
    const Vec6 freeV = velocity(*free);
    body->preContactSolverUpdate1(kGravity, 0.01);
    body->preContactSolverUpdate2(kGravity, 0.01);
    ASSERT_EQ(body->usesFullDelassus(), full);
    contact::Single3DContactProblem problems[5];
    Vec6 v = freeV;
    for (size_t i = 0; i < body->getContacts().size(); ++i) {
      const Mat36 J = denseJacobian(*body, i);
      const DelassusAndTauStar& entry = body->getDelassusAndTauStar()[i];
      ASSERT_EQ(entry.blocks.size(), full ? 4u : 1u);
      for (size_t j = 0; j < entry.blocks.size(); ++j) {
        const Mat36 other = denseJacobian(*body, full ? j : i);
        EXPECT_TRUE(entry.blocks[j].e().isApprox(J * invM * other.transpose(), kRounding));
      }
      EXPECT_NEAR((entry.tauStar.e() - (full ? 1.0 : 0.0) * J * freeV).norm(), 0.0, 1e-11);
      const Vec3 impulse = random.vector(1.0);
      const Vec6 change = invM * J.transpose() * impulse.e();
      if (full) {
        problems[i].imp_ = impulse;
        body->getContacts()[i].contactProblem_ = &problems[i];
        v += (body->getContacts()[i].objectA_ ? 1.0 : -1.0) * change;
      } else {
        body->updateGenVelWithImpulse(i, impulse);
        v += change;
        Vec3 got;
        body->getContactPointVel(i, got);
        EXPECT_TRUE(got.e().isApprox(J * v, 1e-11));
      }
    }
    body->integrate(0.01, kGravity);
    EXPECT_TRUE(velocity(*body).isApprox(v, 1e-11));
  }
}

// --- motion ---

TEST(SingleBodyMotion, FreeFallIsTheExactParabolaAndContactsOrWiresSwitchToTheNewVelocity) {
  const double dt = 0.01;
  Sphere ball(0.1, 2.0);
  const Vec3 force{{0.5, 0.0, -0.7}};
  const exact::Ballistic flight{{}, {{1.0, 2.0, 3.0}}, kGravity + 0.5 * force};
  ball.setVelocity(flight.startVelocity, Vec3{});
  for (int i = 0; i < 300; ++i) {
    ball.setExternalForce(0, force);
    step(ball, kGravity, dt);
  }
  EXPECT_LT(norm(ball.getComPosition() - flight.position(3.0)), 1e-12);  // 300 roundings
  EXPECT_LT(norm(ball.getLinearVelocity() - flight.velocity(3.0)), 1e-12);

  for (bool wire : {false, true}) {
    const Vec3 x = ball.getComPosition();
    if (wire) {
      ball.setConstraintForce(0, Vec3{}, Vec3{});
    } else {
      addContact(ball, x, {{0, 0, 1}});
    }
    step(ball, kGravity, dt);
    EXPECT_NEAR(norm(ball.getComPosition() - (x + dt * ball.getLinearVelocity())), 0.0, 1e-15);
    ball.clearPerObjectContact();
  }
}

TEST(SingleBodyMotion, AStepTurnsByTheAngleThatTheSpinCovers) {
  // Below 0.2 rad a series stands for sine and cosine; 16 roundings of numbers below 1.
  const Vec3 axis{{0.48, -0.6, 0.64}};
  const double dt = 0.01;
  for (const double angle : {0.0, 1e-9, 1e-4, 0.01, 0.1999, 0.2001, 1.0, 3.0, 40.0}) {
    Sphere ball(0.1, 1.0);
    const Eigen::AngleAxisd start(0.7, Eigen::Vector3d(0.6, 0.0, 0.8));
    ball.setOrientation(Eigen::Matrix3d(start.toRotationMatrix()));
    ball.setVelocity(Vec3{}, (angle / dt) * axis);
    step(ball, kNoGravity, dt);
    const Eigen::Matrix3d R = (Eigen::AngleAxisd(angle, axis.e()) * start).toRotationMatrix();
    EXPECT_LT((ball.getRotationMatrix().e() - R).norm(), 4e-15 * (1.0 + angle)) << angle;
    const Vec4& q = ball.getQuaternion();
    EXPECT_NEAR(norm(q), 1.0, 4e-16) << angle;
    EXPECT_LT((Eigen::Quaterniond(q[0], q[1], q[2], q[3]).toRotationMatrix() - R).norm(),
              4e-15 * (1.0 + angle))
        << angle;
  }
}

/// Largest ratio of the kinetic energies of two consecutive steps in a spin about the intermediate
/// axis.
double largestEnergyRatio(GyroscopicMode mode, int steps) {
  Box box(1, 1, 1, 1.0);
  box.setInertia(Mat33{{1, 0, 0, 0, 2, 0, 0, 0, 3}});
  box.setGyroscopicMode(mode);
  box.setVelocity(0, 0, 0, 0.01, 50.0, 0.01);
  double last = box.getKineticEnergy(), largest = 0.0;
  for (int i = 0; i < steps; ++i) {
    step(box, kNoGravity, 1e-3);
    box.updateWorldInertia();
    largest = std::max(largest, box.getKineticEnergy() / last);
    last = box.getKineticEnergy();
  }
  return largest;
}

TEST(SingleBodyMotion, ImplicitModesNeverGainEnergyInATumble) {
  // A step that conserves the energy may still round it up by some 1e-16 per operation.
  EXPECT_LT(largestEnergyRatio(IMPLICIT_GYROSCOPIC_BODY, 20000), 1.0 + 1e-13);
  EXPECT_LT(largestEnergyRatio(IMPLICIT_GYROSCOPIC_WORLD, 20000), 1.0 + 1e-13);
  EXPECT_GT(largestEnergyRatio(EXPLICIT_GYROSCOPIC, 2000), 1.0 + 1e-6);
}

TEST(SingleBodyMotion, TorqueFreeBodyKeepsItsAngularMomentum) {
  // The energy alone would not show a gyroscopic term of the wrong sign, or none for a top.
  const Mat33 top{{2.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 4.0}};
  for (const Mat33& inertia : {kInertia, top})
    for (GyroscopicMode mode :
         {IMPLICIT_GYROSCOPIC_BODY, IMPLICIT_GYROSCOPIC_WORLD, EXPLICIT_GYROSCOPIC}) {
      Box box(1, 1, 1, 1.0);
      box.setInertia(inertia);
      box.setGyroscopicMode(mode);
      box.setVelocity(0, 0, 0, 1.0, 2.0, 3.0);
      const Vec3 L = box.getWorldInertia() * box.getAngularVelocity();
      for (int i = 0; i < 1000; ++i) step(box, kNoGravity, 1e-3);
      box.updateWorldInertia();
      EXPECT_LT(norm(box.getWorldInertia() * box.getAngularVelocity() - L), 0.01 * norm(L)) << mode;
    }
}

TEST(SingleBodyMotion, DampingFollowsTheMidpointRule) {
  const double dt = 0.01, c = 3.0;  // v' = v (m - dt c / 2) / (m + dt c / 2)
  Box box(1, 2, 3, 2.0);
  box.setOrientation(0.5, 0.5, 0.5, 0.5);  // body y lies along world z
  box.setLinearDamping(c);
  box.setAngularDamping({{1.0, 4.0, 9.0}});
  box.setVelocity(1, -2, 3, 0, 0, 5);
  const double Iyy = box.getBodyInertia()(1, 1);
  step(box, kNoGravity, dt);
  EXPECT_NEAR(box.getLinearVelocity()[2], 3.0 * (4.0 - dt * c) / (4.0 + dt * c), 1e-14);
  EXPECT_NEAR(box.getAngularVelocity()[2], 5.0 * (Iyy - dt * 2.0) / (Iyy + dt * 2.0), 1e-14);
}

TEST(SingleBodyMotion, ForcesActOnceAtTheirPoint) {
  Box box(1, 1, 1, 2.0);
  box.setComOffset({{0.1, 0.0, 0.0}});
  box.setOrientation(std::sqrt(0.5), 0, 0, std::sqrt(0.5));  // body x lies along world y
  box.setExternalForce(0, {{0.4, 0, 0}}, {{0, 0, 6}});
  box.setExternalTorque(0, {{0, 0, 7}});
  for (int i = 0; i < 2; ++i) step(box, kNoGravity, 0.1);
  const Vec3 L = box.getWorldInertia() * box.getAngularVelocity();
  EXPECT_NEAR(norm(L - Vec3{{0.1 * 0.3 * 6.0, 0, 0.7}}), 0.0, 1e-13);
  EXPECT_NEAR(box.getLinearMomentum()[2], 0.6, 1e-14);
}

// --- shapes ---

TEST(Shapes, MomentsAreThoseOfTheSolids) {
  const double r = 0.3, h = 0.8, m = 2.5, r2 = r * r, h2 = h * h;
  const auto check = [&](const SingleBodyObject& body, double lateral, double axial) {
    const Mat33& I = body.getBodyInertia();
    EXPECT_NEAR(norm(Vec3{{I(0, 0) - lateral, I(1, 1) - lateral, I(2, 2) - axial}}), 0.0, 1e-14);
  };
  check(Sphere(r, m), 0.4 * m * r2, 0.4 * m * r2);
  check(Capsule(r, 0.0, m), 0.4 * m * r2, 0.4 * m * r2);
  check(Cylinder(r, h, m), m * (3.0 * r2 + h2) / 12.0, 0.5 * m * r2);
  const double barrel = m * 3.0 * h / (3.0 * h + 4.0 * r), ends = m - barrel;
  // The solid has h2 / 4 on its half spheres; the body counts them with a surplus of as much.
  check(Capsule(r, h, m),
        barrel * (3.0 * r2 + h2) / 12.0 + ends * (0.4 * r2 + 0.375 * h * r + 0.5 * h2),
        0.5 * barrel * r2 + 0.4 * ends * r2);
  const Mat33 I = Box(1.0, 2.0, 3.0, 12.0).getBodyInertia();
  EXPECT_NEAR(norm(Vec3{{I(0, 0), I(1, 1), I(2, 2)}} - Vec3{{13, 10, 5}}), 0.0, 1e-13);
}

TEST(Shapes, BadSizesAreRefusedAndLeaveABodyWithoutAGeom) {
  const auto refused = [](const std::string& text, auto&& make) {
    const auto use = [&] {
      auto body = make();
      body.setBodyType(STATIC);
      body.setMaterial("steel");
      body.setPosition(1, 2, 3);
      body.destroyCollisionBodies(nullptr);
    };
    messages::refused(text, use);
  };
  for (double bad : {-0.5, std::nan(""), std::numeric_limits<double>::infinity()}) {
    refused("Sphere: the radius must be finite", [&] { return Sphere(bad, 1); });
    refused("Box: ", [&] { return Box(1, 1, bad, 1); });
    refused("Cylinder: ", [&] { return Cylinder(1, bad, 1); });
    refused("Capsule: ", [&] { return Capsule(bad, 1, 1); });
  }
  refused("Ground: ", [] { return Ground(std::nan("")); });
  refused("Cone.cpp: CONE IS NOT SUPPORTED WITH ODE BACKEND", [] { return Cone(0.3, 0.8, 2.0); });
}

TEST(Shapes, AConeTurnsItsCentreOfMassWithIt) {
  const auto callback = ZelvikMsg::fatalCallback_;
  ZelvikMsg::fatalCallback_ = [] {};
  testing::internal::CaptureStdout();
  Cone cone(0.3, 0.8, 2.0);
  testing::internal::GetCapturedStdout();
  ZelvikMsg::fatalCallback_ = callback;
  cone.setPosition(1.0, 2.0, 3.0);
  EXPECT_LT(norm(cone.getComPosition() - Vec3{{1.0, 2.0, 3.2}}), 1e-15);
  const double h = std::sqrt(0.5);
  for (const bool asQuaternion : {false, true}) {  // a quarter turn about x brings z to -y
    cone.setOrientation(1.0, 0.0, 0.0, 0.0);
    if (asQuaternion)
      cone.setOrientation(Eigen::Quaterniond(2.0, 2.0, 0.0, 0.0));
    else
      cone.setOrientation(h, h, 0.0, 0.0);
    EXPECT_LT(norm(cone.getComPosition() - Vec3{{1.0, 1.8, 3.0}}), 1e-14);
    EXPECT_NEAR(cone.getWorldInertia()(1, 1), 0.3 * 2.0 * cone.getRadius() * cone.getRadius(),
                1e-15);
    EXPECT_LT(norm(cone.getCollisionPosition() - Vec3{{1.0, 2.0, 3.0}}), 1e-14);
  }
}

}  // namespace
}  // namespace zelvik
