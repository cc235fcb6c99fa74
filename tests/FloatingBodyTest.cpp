// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>

#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using articulated_test::body;
using Eigen::Quaterniond, Eigen::Vector3d;
const Vec3 kSize{{0.4, 0.3, 0.2}};

/// A box above ground as a single body in one world, as the root of a tree in another.
struct Twins {
  World worlds[2];
  Box* box = worlds[0].addBox(kSize[0], kSize[1], kSize[2], 2.5);
  ArticulatedSystem* system = nullptr;

  Twins() {
    Child root = body("root", Joint::FLOATING, 2.5);
    root.inertia = {{0.04, 0.002, 0.001, 0.002, 0.05, -0.003, 0.001, -0.003, 0.03}};
    box->setInertia(root.inertia);
    root.collisionBodies.emplace_back().shape = Shape::BOX;
    root.collisionBodies[0].size = {kSize[0], kSize[1], kSize[2]};
    system = worlds[1].addArticulatedSystem(root, ".");
    // What a tree and a single body have in common.
    box->setGyroscopicMode(EXPLICIT_GYROSCOPIC);
    system->setIntegrationScheme(ArticulatedSystem::SEMI_IMPLICIT);
    for (World& world : worlds) {
      world.addGround();
      world.setTimeStep(0.001);
      world.setERP(10.0, 0.0);
      world.setContactSolverParam(1.0, 1.0, 1.0, 1000, 1e-24);
    }
  }

  /// With the lowest corner 1 mm below the ground.
  void place(const Quaterniond& q, const Vec3& v, const Vec3& w) {
    const Vector3d up = q.conjugate() * Vector3d::UnitZ();
    const double z = 0.5 * up.cwiseAbs().dot(kSize.e()) - 0.001;
    box->setPose(Vector3d(0.0, 0.0, z), q);
    box->setVelocity(v, w);
    system->setGeneralizedCoordinate({0.0, 0.0, z, q.w(), q.x(), q.y(), q.z()});
    system->setGeneralizedVelocity({v[0], v[1], v[2], w[0], w[1], w[2]});
  }
};

TEST(FloatingBody, TakesContactsLikeASingleBody) {
  const Quaterniond tilted = Quaterniond(0.9, 0.3, -0.2, 0.1).normalized();
  for (const Quaterniond& q : {Quaterniond::Identity(), tilted}) {
    Vec3 p, impulse, L;
    Twins twins;  // sliding on four contacts, then on one
    const Vec3 w{{0.2, -0.3, 0.6}};
    twins.place(q, {{1.5, 0.4, -0.5}}, w);
    for (World& world : twins.worlds) world.integrate1();
    twins.system->getAngularMomentum(twins.box->getBodyPosition(), L);
    EXPECT_LT(norm(L - twins.box->getWorldInertia() * w), 1e-13);
    for (World& world : twins.worlds) world.integrate2();
    const auto &contacts = twins.box->getContacts(), &others = twins.system->getContacts();
    ASSERT_TRUE(contacts.size() == (q.w() == 1.0 ? 4 : 1) && others.size() == contacts.size());
    for (size_t i = 0; i < contacts.size(); ++i) {
      const Mat33& D = twins.box->getDelassusAndTauStar()[i].blocks[i];
      EXPECT_LT((D.e() - twins.system->getDelassusAndTauStar()[i].blocks[0].e()).norm(), 1e-12);
      contacts[i].getImpulse(p);
      others[i].getImpulse(impulse);
      EXPECT_LT(norm(p - impulse), 1e-9);
      EXPECT_GT(norm(p), 0.01);
    }
  }
}

}  // namespace
}  // namespace zelvik
