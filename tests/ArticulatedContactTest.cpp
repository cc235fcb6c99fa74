// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;
const Vec3 kGravity{{0.3, -0.2, -9.81}};
constexpr double kDt = 0.002;
constexpr size_t kIndexInWorld = 3;

void update(AS& system) {
  system.updateTimeStepIfNecessary(kDt);
  system.preContactSolverUpdate1(kGravity, kDt);
  system.preContactSolverUpdate2(kGravity, kDt);
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
    MatDyn response;
    system.getContactResponse(i, response);
    expectEqual(response.e(), J * Minv);
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
    Vec3 v, sum{}, difference{};
    system.getContactPointVel(i, v);
    system.addContactPointVel(i, sum);
    system.subContactPointVel(i, difference);
    const Eigen::VectorXd want = denseJacobian(system, i) * u;
    EXPECT_LT((v.e() - want).norm(), 1e-10 * (1.0 + want.norm()));
    EXPECT_EQ(norm(sum - v) + norm(difference + v), 0.0);
  }
}

TEST(ArticulatedDelassus, MatchesDenseAlgebraOverSuccessiveSteps) {
  for (const bool floating : {false, true})
    for (std::uint32_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE(testing::Message() << (floating ? "floating " : "fixed ") << seed);
      const auto system = randomSystem(floating, seed, 8);
      system->setIndexInWorld(kIndexInWorld);
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

TEST(ArticulatedFrames, MoveWithTheBodyThatConsumedThem) {
  // A hinge at height 1, and a tool on a fixed joint half a metre out.
  Child tool = body("tool", Joint::FIXED, 0.2), arm = body("arm", Joint::REVOLUTE);
  tool.jointName = "tool_mount";
  tool.jointPosition = {{0.5, 0.0, 0.0}};
  arm.jointPosition = {{0.0, 0.0, 1.0}};
  arm.childrenFixed.push_back(tool);
  const auto system = onFixedBase(arm);
  system->setGeneralizedCoordinate({M_PI / 2});
  system->setGeneralizedVelocity({2.0});
  update(*system);
  const size_t frame = system->getFrameIdxByName("tool_mount");
  Vec3 p, v, w;
  system->getFramePosition(frame, p);
  system->getFrameVelocity(frame, v);
  system->getFrameAngularVelocity(frame, w);
  EXPECT_LT(norm(p - Vec3{{0.0, 0.0, 0.5}}) + norm(v - Vec3{{-1.0, 0.0, 0.0}}), 1e-12);
  EXPECT_NEAR(w[1], 2.0, 1e-15);
  Mat33 R;
  system->getFrameOrientation(frame, R);
  EXPECT_LT(norm(R * Vec3{{1.0, 0.0, 0.0}} - Vec3{{0.0, 0.0, -1.0}}), 1e-12);
  // A copy of a frame may be asked as well; one at a moving joint is the body's own.
  system->getFrameVelocity(system->getFrames()[frame], v);
  EXPECT_LT(norm(v - Vec3{{-1.0, 0.0, 0.0}}), 1e-12);
  system->getFrameVelocity(system->getFrames()[system->getFrameIdxByName("armJoint")], v);
  EXPECT_LT(norm(v), 1e-12);
  messages::expect("This is a link name. In Zelvik", [&] { system->getBodyIdx("tool"); });
  messages::expect("unknown frame id", [&] { system->getFrameIdxByName("leg"); });
  messages::expect("body index 2", [&] { system->setExternalForce(2, p); });
}

TEST(ArticulatedForces, OutsideForcesActThroughTheirJacobians) {
  for (const bool floating : {false, true}) {
    const auto system = randomSystem(floating, 8, 8);
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
    EXPECT_NEAR(appliedForce().norm(), 0.0, 1e-8);
  }
}

}  // namespace
}  // namespace zelvik
