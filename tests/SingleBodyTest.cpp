// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <functional>
#include <limits>
#include <memory>
#include <zelvik/object/Box.hpp>
#include <zelvik/object/Capsule.hpp>
#include <zelvik/object/Cone.hpp>
#include <zelvik/object/Cylinder.hpp>
#include <zelvik/object/Ground.hpp>
#include <zelvik/object/ImplicitGyroscopic.hpp>
#include <zelvik/object/Sphere.hpp>

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
    const Vec6 before = velocity(*body), freeV = velocity(*free);
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
      if (full) {  // the implicit turn comes before the impact velocity
        EXPECT_NEAR(body->getImpactVel(i), J.row(2).dot(before), kRounding);
      }
      const Vec3 impulse = random.vector(1.0);
      const Vec6 change = invM * J.transpose() * impulse.e();
      if (full) {
        problems[i].imp_ = impulse;
        body->getContacts()[i].contactProblem_ = &problems[i];
        v += (body->getContacts()[i].objectA_ ? 1.0 : -1.0) * change;
      } else {
        body->updateGenVelWithImpulse(i, impulse);
        v += change;
        Vec3 got, sum = {{1, 2, 3}};
        body->getContactPointVel(i, got);
        EXPECT_TRUE(got.e().isApprox(J * v, 1e-11));
        body->addContactPointVel(i, sum);
        EXPECT_NEAR(norm(sum - got - Vec3{{1, 2, 3}}), 0.0, kRounding);
        body->subContactPointVel(i, sum);
        EXPECT_NEAR(norm(sum - Vec3{{1, 2, 3}}), 0.0, kRounding);
      }
    }
    body->integrate(0.01, kGravity);
    EXPECT_TRUE(velocity(*body).isApprox(v, 1e-11));
  }
}

TEST(SingleBodyContact, KinematicBodyKeepsBlocksAndItsVelocity) {
  auto body = randomBody(3, 6);
  body->setBodyType(KINEMATIC);
  const Vec6 v = velocity(*body);
  const Vec3 com = body->getComPosition();
  body->preContactSolverUpdate1(kGravity, 0.01);
  body->preContactSolverUpdate2(kGravity, 0.01);
  ASSERT_TRUE(body->usesFullDelassus());
  const DelassusAndTauStar& last = body->getDelassusAndTauStar()[5];
  EXPECT_EQ(last.blocks.size(), 6u);
  EXPECT_TRUE(last.tauStar.e().isApprox(denseJacobian(*body, 5) * v, kRounding));
  body->integrate(0.01, kGravity);
  EXPECT_EQ((velocity(*body) - v).norm(), 0.0);
  EXPECT_NEAR(norm(body->getComPosition() - com - 0.01 * body->getLinearVelocity()), 0.0, 1e-15);
}

// --- motion ---

TEST(SingleBodyMotion, FreeFallIsTheExactParabolaAndContactsOrWiresSwitchToTheNewVelocity) {
  const double dt = 0.01;
  Sphere ball(0.1, 2.0);
  const Vec3 v0{{1.0, 2.0, 3.0}}, force{{0.5, 0.0, -0.7}}, a = kGravity + 0.5 * force;
  ball.setVelocity(v0, Vec3{});
  for (int i = 0; i < 300; ++i) {
    ball.setExternalForce(0, force);
    step(ball, kGravity, dt);
  }
  EXPECT_NEAR(norm(ball.getComPosition() - (3.0 * v0 + 4.5 * a)), 0.0, 1e-12);  // 300 roundings
  EXPECT_NEAR(norm(ball.getLinearVelocity() - (v0 + 3.0 * a)), 0.0, 1e-12);

  for (bool wire : {false, true}) {
    Vec3 x = ball.getComPosition();
    if (wire) {
      ball.setConstraintForce(0, Vec3{}, Vec3{});
    } else {
      addContact(ball, x, {{0, 0, 1}});
    }
    step(ball, kGravity, dt);
    EXPECT_NEAR(norm(ball.getComPosition() - (x + dt * ball.getLinearVelocity())), 0.0, 1e-15);
    ball.clearPerObjectContact();
    x = ball.getComPosition();
    step(ball, kGravity, dt);  // back in free flight
    EXPECT_GT(norm(ball.getComPosition() - (x + dt * ball.getLinearVelocity())), 1e-4);
  }
}

TEST(SingleBodyMotion, OriginCirclesTheCentreOfMass) {
  Box box(1, 1, 1, 3.0);
  box.setComOffset({{0.5, 0.0, 0.0}});
  box.setPosition(1.0, 2.0, 3.0);
  box.setVelocity(0, 0, 0, 0, 0, 2.0);
  for (int i = 0; i < 500; ++i) step(box, kNoGravity, 1e-3);
  EXPECT_NEAR(norm(box.getComPosition() - Vec3{{1.5, 2.0, 3.0}}), 0.0, 1e-15);
  const Vec3 origin{{1.5 - 0.5 * std::cos(1.0), 2.0 - 0.5 * std::sin(1.0), 3.0}};
  EXPECT_NEAR(norm(box.getBodyPosition() - origin), 0.0, 1e-12);
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

/// Distance of the axis of a torque-free symmetric top from its exact place after 0.5 s: it
/// precesses about the angular momentum L with |L| / I1.
double topError(GyroscopicMode mode, int steps) {
  Cylinder top(0.5, 0.2, 4.0);
  top.setGyroscopicMode(mode);
  top.setVelocity(0, 0, 0, 2.0, 0.0, 10.0);
  const Vec3 L = top.getWorldInertia() * top.getAngularVelocity();
  for (int i = 0; i < steps; ++i) step(top, kNoGravity, 0.5 / steps);
  const double angle = 0.5 * norm(L) / top.getBodyInertia()[0];
  Mat33 R;
  rotationAboutAxis((1.0 / norm(L)) * L, std::cos(angle), std::sin(angle), R);
  return norm(column(top.getRotationMatrix(), 2) - column(R, 2));
}

TEST(SingleBodyMotion, TorqueFreeTopPrecessesWithFirstOrder) {
  for (GyroscopicMode mode :
       {IMPLICIT_GYROSCOPIC_BODY, IMPLICIT_GYROSCOPIC_WORLD, EXPLICIT_GYROSCOPIC}) {
    const double fine = topError(mode, 4000);
    EXPECT_LT(fine, 2e-3) << mode;
    EXPECT_NEAR(topError(mode, 2000) / fine, 2.0, 0.1) << mode;
  }
}

TEST(SingleBodyMotion, DampingFollowsTheMidpointRule) {
  const double dt = 0.01, c = 3.0;
  Box box(1, 2, 3, 2.0);
  box.setGyroscopicMode(NO_GYROSCOPIC);
  box.setOrientation(0.5, 0.5, 0.5, 0.5);  // body y lies along world z
  box.setLinearDamping(c);
  box.setAngularDamping({{1.0, 4.0, 9.0}});
  box.setVelocity(1, -2, 3, 0, 0, 5);
  for (int i = 0; i < 100; ++i) step(box, kNoGravity, dt);
  // v' = v (m - dt c / 2) / (m + dt c / 2)
  const double linear = std::pow((2.0 - 0.5 * dt * c) / (2.0 + 0.5 * dt * c), 100);
  const double Iyy = box.getBodyInertia()(1, 1);
  const double angular = std::pow((Iyy - 0.5 * dt * 4.0) / (Iyy + 0.5 * dt * 4.0), 100);
  EXPECT_NEAR(norm(box.getLinearVelocity() - linear * Vec3{{1, -2, 3}}), 0.0, 1e-12);
  EXPECT_NEAR(norm(box.getAngularVelocity() - angular * Vec3{{0, 0, 5}}), 0.0, 1e-12);
}

TEST(SingleBodyMotion, ForcesActAtTheirPointAndAreShownUntilTheNext) {
  Box box(1, 1, 1, 2.0);
  box.setComOffset({{0.1, 0.0, 0.0}});
  box.setOrientation(std::sqrt(0.5), 0, 0, std::sqrt(0.5));  // body x lies along world y
  box.setPosition(0, 0, 1);
  box.setExternalForce(0, {{0.4, 0, 0}}, {{0, 0, 6}});
  box.setExternalTorque(0, {{0, 0, 7}});
  step(box, kNoGravity, 0.1);
  step(box, kNoGravity, 0.1);  // force and torque are gone, but shown
  ASSERT_EQ(box.getVisForces().size() + box.getVisTorques().size(), 2u);
  EXPECT_NEAR(norm(box.getVisForcePositions()[0] - Vec3{{0, 0.3, 1.0}}), 0.0, 1e-15);
  EXPECT_EQ(box.getVisTorques()[0][2], 7.0);
  const Vec3 L = box.getWorldInertia() * box.getAngularVelocity();
  EXPECT_NEAR(norm(L - Vec3{{0.1 * 0.3 * 6.0, 0, 0.7}}), 0.0, 1e-13);
  EXPECT_NEAR(box.getLinearMomentum()[2], 0.6, 1e-14);
}

TEST(SingleBodyMotion, OnlyTheQuaternionFormNormalisesAndAStepMendsTheRest) {
  Box box(1, 1, 1, 1);
  box.setOrientation(Eigen::Quaterniond(2, 0, 0, 0));
  EXPECT_EQ(box.getRotationMatrix()(0, 0), 1.0);
  box.setOrientation(Eigen::Vector4d(2, 0, 0, 0));
  EXPECT_EQ(box.getRotationMatrix()(2, 2), 4.0);
  step(box, kNoGravity, 0.1);
  EXPECT_EQ(box.getQuaternion()[0], 1.0);
  EXPECT_EQ(box.getRotationMatrix()(2, 2), 1.0);
  const Eigen::Matrix3d R = scenes::RandomSource(3).rotation().e();
  box.setOrientation(R);
  EXPECT_TRUE(box.getRotationMatrix().e().isApprox(R, 1e-14));
}

TEST(SingleBodyMotion, NanStateDisablesTheGeomUntilItIsGoodAgain) {
  Box box(1, 1, 1, 1);
  box.setVelocity(std::nan(""), 0, 0, 0, 0, std::nan(""));
  step(box, kGravity, 0.01);
  box.updateCollision();
  EXPECT_TRUE(std::isnan(box.getComPosition()[0]) && std::isnan(box.getQuaternion()[0]));
  EXPECT_FALSE(dGeomIsEnabled(box.getCollisionObject()));
  box.setOrientation(1, 0, 0, 0);
  box.setPosition(0, 0, 0);
  EXPECT_TRUE(dGeomIsEnabled(box.getCollisionObject()));
}

// --- gyroscopic functions ---

TEST(ImplicitGyroscopic, StepsAreNewtonStepsOnTheResidual) {
  scenes::RandomSource random(7);
  const Mat33& I = kInertia;
  const Vec3 w = random.vector(20.0), wOld = random.vector(20.0), tau = random.vector(30.0);
  const double dt = 0.01, h = 1e-4;
  Mat33 numeric, analytic;
  for (int k = 0; k < 3; ++k) {
    Vec3 up = w, down = w, fUp, fDown;
    up[k] += h;
    down[k] -= h;
    evalEulerEqn(up, wOld, tau, dt, I, fUp);
    evalEulerEqn(down, wOld, tau, dt, I, fDown);
    for (int i = 0; i < 3; ++i) numeric(i, k) = (fUp[i] - fDown[i]) / (2.0 * h);
  }
  evalEulerEqnDeriv(w, wOld, dt, I, analytic);
  EXPECT_NEAR((numeric - analytic).e().norm(), 0.0, 1e-9);  // quadratic: differences are exact

  // With numbers of our own for the residual at the old velocity.
  const Eigen::Vector3d f = dt * (w.e().cross(I.e() * w.e()) - tau.e());
  Vec3 d;
  implicitGyroscopicImpulseWorld(I, w, tau, dt, d);
  EXPECT_TRUE(d.e().isApprox(-analytic.e().inverse() * f, 1e-12));

  // The body form is the same step in turned axes.
  const Mat33 rot = random.rotation();
  Mat33 inertiaWorld;
  similarityTransform(rot, I, inertiaWorld);
  Vec3 body, world;
  implicitGyroscopicImpulseBody(I, rot, w, dt, body);
  implicitGyroscopicImpulseWorld(inertiaWorld, w, Vec3{}, dt, world);
  EXPECT_GT(norm(world), 0.1);
  EXPECT_NEAR(norm(body - world), 0.0, 1e-12);
}

// --- shapes ---

/// Squared radii of gyration, lateral about the centre of mass and axial, of a solid of revolution
/// of radius rho(z), by the midpoint rule on disks.
std::pair<double, double> revolve(const std::function<double(double)>& rho, double z0, double z1) {
  const double n = 20000.0, dz = (z1 - z0) / n;
  double m = 0, first = 0, second = 0, axial = 0;
  for (double z = z0 + 0.5 * dz; z < z1; z += dz) {
    const double r2 = rho(z) * rho(z);
    m += r2;
    first += r2 * z;
    second += r2 * (z * z + 0.25 * r2);
    axial += 0.5 * r2 * r2;
  }
  return {(second - first * first / m) / m, axial / m};
}

TEST(Shapes, MomentsAreThoseOfTheSolids) {
  // The midpoint rule is off by some (1/n)^1.5 where rho ends vertically.
  const double r = 0.3, h = 0.8, m = 2.5, end = 0.5 * h;
  const auto capsule = [&](double z) {
    return std::sqrt(std::max(0.0, r * r - std::pow(std::max(0.0, std::fabs(z) - end), 2)));
  };
  const auto check = [&](const SingleBodyObject& body, std::pair<double, double> solid) {
    EXPECT_NEAR(body.getBodyInertia()(0, 0) / (m * solid.first), 1.0, 1e-5);
    EXPECT_NEAR(body.getBodyInertia()(1, 1) / (m * solid.first), 1.0, 1e-5);
    EXPECT_NEAR(body.getBodyInertia()(2, 2) / (m * solid.second), 1.0, 1e-5);
    EXPECT_EQ(body.getMass(0), m);
  };
  const auto ball = revolve([&](double z) { return std::sqrt(r * r - z * z); }, -r, r);
  check(Sphere(r, m), ball);
  check(Capsule(r, 0.0, m), ball);
  check(Cylinder(r, h, m), revolve([&](double) { return r; }, -end, end));
  // The lateral moment of a capsule counts the two half spheres with a surplus of 0.25 h^2 each.
  auto solid = revolve(capsule, -end - r, end + r);
  solid.first += 0.25 * h * h * (4.0 * r) / (4.0 * r + 3.0 * h);
  check(Capsule(r, h, m), solid);
  const Mat33 I = Box(1.0, 2.0, 3.0, 12.0).getBodyInertia();
  EXPECT_NEAR(norm(Vec3{{I(0, 0), I(1, 1), I(2, 2)}} - Vec3{{13, 10, 5}}), 0.0, 1e-13);
}

TEST(Shapes, BadSizesAreRefusedAndLeaveABodyWithoutAGeom) {
  const auto refused = [](const std::string& text, auto&& make) {
    messages::expect(
        text,
        [&] {
          auto body = make();
          EXPECT_EQ(body.getCollisionObject(), nullptr);
          body.setBodyType(STATIC);
          body.setMaterial("steel");
          body.setPosition(1, 2, 3);
          body.destroyCollisionBodies(nullptr);
          EXPECT_EQ(body.getCollisionGroup() + body.getCollisionMask(), 0ul);
        },
        messages::OnFatal::GO_ON);
  };
  refused("Sphere: the radius must be finite and at least 0, but is -0.5",
          [] { return Sphere(-0.5, 1); });
  for (double bad : {-0.5, std::nan(""), std::numeric_limits<double>::infinity()}) {
    refused("Box: ", [&] { return Box(1, 1, bad, 1); });
    refused("Cylinder: ", [&] { return Cylinder(1, bad, 1); });
    refused("Capsule: ", [&] { return Capsule(bad, 1, 1); });
  }
  refused("Ground: ", [] { return Ground(std::nan("")); });
  refused("Cone.cpp: CONE IS NOT SUPPORTED WITH ODE BACKEND", [] { return Cone(0.3, 0.8, 2.0); });
}

TEST(Shapes, ConeLivesOnWithoutAGeom) {
  std::unique_ptr<Cone> cone;
  messages::expect(
      "CONE", [&] { cone = std::make_unique<Cone>(0.3, 0.8, 2.0); }, messages::OnFatal::GO_ON);
  const double axial = revolve([](double z) { return 0.3 * (1.0 - z / 0.8); }, 0.0, 0.8).second;
  const Mat33& I = cone->getBodyInertia();
  EXPECT_NEAR(I(2, 2), 2.0 * axial, 1e-9);
  EXPECT_NEAR(I(1, 1) - I(0, 0), 0.15 * 2.0 * 0.09, 1e-15);
  cone->setPosition(1, 0, 0);
  cone->setOrientation(std::sqrt(0.5), 0, std::sqrt(0.5), 0);  // the axis turns into world x
  EXPECT_NEAR(norm(cone->getComPosition() - Vec3{{1.2, 0, 0}}), 0.0, 1e-15);
  EXPECT_NEAR(cone->getWorldInertia()(0, 0), I(2, 2), 1e-15);
  step(*cone, kGravity, 0.01);
  EXPECT_LT(cone->getComPosition()[2], 0.0);
}

TEST(Shapes, TypesGroupsAndMaterials) {
  for (int value = 0; value < UNRECOGNIZED; ++value)
    EXPECT_EQ(stringToObjectType(objectTypeToString(static_cast<ObjectType>(value))), value);
  EXPECT_EQ(stringToObjectType("Sphere"), UNRECOGNIZED);

  Ground ground(0.5);
  EXPECT_EQ(ground.getBodyType(), STATIC);
  ground.setPosition(0, 0, 1);  // ODE would end the process if the plane got a pose
  Sphere ball(0.1, 1.0);
  EXPECT_EQ(ball.getGyroscopicMode(), EXPLICIT_GYROSCOPIC);
  EXPECT_EQ(ball.getBodyType(), DYNAMIC);
  ball.setMaterial("ice");
  EXPECT_EQ(geomRecord(ball.getCollisionObject()).materialName, "ice");
  ball.setCollisionGroup(4);
  ball.setBodyType(STATIC);
  EXPECT_EQ(ball.getCollisionGroup(), 0x80000000ul);
}

}  // namespace
}  // namespace zelvik
