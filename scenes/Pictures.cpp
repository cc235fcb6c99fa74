// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Pictures.hpp"

#include <cmath>

#include "RandomTree.hpp"

namespace zelvik::scenes {

namespace {

constexpr int kRope = 0;    // acts while longer than its length
constexpr int kSpring = 2;  // acts always

Box* addFixedBox(World& world, const Vec3& size, const Vec3& p) {
  Box* box = world.addBox(size[0], size[1], size[2], 1.0);
  box->setPosition(p);
  box->setBodyType(STATIC);
  return box;
}

/// Four low walls round the middle.
void addTray(World& world, double half) {
  for (const double side : {-1.0, 1.0}) {
    addFixedBox(world, {{0.04, 2.0 * half + 0.04, 0.2}}, {{side * half, 0, 0.1}});
    addFixedBox(world, {{2.0 * half + 0.04, 0.04, 0.2}}, {{0, side * half, 0.1}});
  }
}

}  // namespace

Pile::Pile(std::uint32_t seed) {
  RandomSource random(seed);
  world.addGround();
  addTray(world, 0.75);
  for (int i = 0; i < 120; ++i) {
    const double a = random.uniform(0.06, 0.13), b = random.uniform(0.06, 0.13);
    SingleBodyObject* body = nullptr;
    if (i % 4 == 0) body = world.addSphere(a, 1.0);
    if (i % 4 == 1) body = world.addBox(2.0 * a, 2.0 * b, a + b, 1.0);
    if (i % 4 == 2) body = world.addCapsule(0.7 * a, 2.0 * b, 1.0);
    if (i % 4 == 3) body = world.addCylinder(a, 1.6 * b, 1.0);
    const Vec4 q = random.unitQuaternion();
    body->setOrientation(q[0], q[1], q[2], q[3]);
    body->setPosition(random.uniform(-0.3, 0.3), random.uniform(-0.3, 0.3), 0.3 + 0.1 * i);
    body->setAngularDamping({{0.02, 0.02, 0.02}});
  }
}

Gantry::Gantry() {
  world.setTimeStep(0.001);
  world.setMaterialPairProp("steel", "steel", 0.2, 0.95, 0.001);
  world.addGround();
  front_ = addFixedBox(world, {{2.4, 0.05, 0.05}}, {{0, -0.3, 1.6}});
  back_ = addFixedBox(world, {{2.4, 0.05, 0.05}}, {{0, 0.3, 1.6}});
  for (const double x : {-1.2, 1.2})
    for (const double y : {-0.3, 0.3}) addFixedBox(world, {{0.05, 0.05, 1.625}}, {{x, y, 0.8125}});
  for (int i = 0; i < 5; ++i) addBall(-0.8 + 0.2 * i, i == 0 ? 0.7 : 0.0);
  addScale(0.7);
}

void Gantry::addBall(double x, double swing) {
  Sphere* ball = world.addSphere(0.1, 1.0, "steel");
  const double rope = std::hypot(0.7, 0.3);
  ball->setPosition(x - 0.7 * std::sin(swing), 0.0, 1.6 - 0.7 * std::cos(swing));
  for (Box* beam : {front_, back_})
    world.addStiffWire(beam, 0, {{x, 0, 0}}, ball, 0, {}, rope)->setStretchType(kRope);
}

void Gantry::addScale(double x) {
  Box* plank = world.addBox(0.5, 0.5, 0.04, 1.0);
  plank->setPosition(x, 0, 0.9);
  plank->setLinearDamping(3.0);
  plank->setAngularDamping({{0.3, 0.3, 0.3}});
  const auto hang = [&](Box* beam, double dx, double dy) {
    world.addCompliantWire(beam, 0, {{x + dx, 0, 0}}, plank, 0, {{dx, dy, 0.02}}, 0.7, 150.0)
        ->setStretchType(kSpring);
  };
  for (const double dx : {-0.22, 0.22}) {
    hang(front_, dx, -0.22);
    hang(back_, dx, 0.22);
  }
  world.addBox(0.2, 0.2, 0.2, 2.0)->setPosition(x, 0.0, 1.03);
}

}  // namespace zelvik::scenes
