// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Wires: a pendulum on a rope, a weight on a spring, and a rope that gets taut. With an argument,
// the name of a PNG file, it also draws the pendulum.

#include <cmath>
#include <cstdio>
#include <string>
#include <zelvik/World.hpp>
#include <zelvik/view/Recorder.hpp>

namespace {

constexpr int kRope = 0;    // acts while longer than its length
constexpr int kSpring = 2;  // acts always; 1, the default, is a strut: it acts while shorter

zelvik::Box* addHook(zelvik::World& world, double z) {
  zelvik::Box* hook = world.addBox(0.1, 0.1, 0.1, 1.0);
  hook->setPosition(0, 0, z);
  hook->setBodyType(zelvik::STATIC);
  return hook;
}

zelvik::World& configured(zelvik::World& world) {
  world.setTimeStep(0.001);
  return world;
}

/// A stiff wire is one more problem of the contact solver: it holds its length.
void swing(const char* recording) {
  zelvik::World world;
  zelvik::view::Recorder recorder(world);
  zelvik::Box* hook = addHook(configured(world), 2.0);
  zelvik::Sphere* bob = world.addSphere(0.05, 2.0);
  bob->setPosition(0.1, 0, 1.005);
  zelvik::StiffLengthConstraint* rope = world.addStiffWire(hook, 0, {}, bob, 0, {}, 1.0);
  rope->setStretchType(kRope);
  rope->setName("rope");
  double crossing[2] = {0, 0}, before = 0.1;
  for (int passes = 0; passes < 5;) {
    world.integrate();
    recorder.capture();
    const double x = bob->getComPosition()[0];
    if (before > 0.0 && x <= 0.0) crossing[passes++ == 0 ? 0 : 1] = world.getWorldTime();
    before = x;
  }
  std::printf("pendulum  period %.3f s, small swings 2 pi sqrt(l/g) = %.3f s; length %.5f m\n",
              (crossing[1] - crossing[0]) / 4.0, 2.0 * M_PI * std::sqrt(1.0 / 9.81),
              world.getWire("rope")->getDistance());
  if (recording != nullptr) {  // a name without extension
    recorder.writePng(std::string(recording) + ".png");
    if (recorder.hasHtmlViewer()) recorder.writeHtml(std::string(recording) + ".html");
  }
}

/// A compliant wire is a spring of given stiffness.
void bounce() {
  zelvik::World world;
  zelvik::Box* hook = addHook(configured(world), 2.0);
  zelvik::Box* weight = world.addBox(0.1, 0.1, 0.1, 2.0);
  weight->setPosition(0, 0, 1.0);
  weight->setLinearDamping(4.0);
  zelvik::CompliantLengthConstraint* spring =
      world.addCompliantWire(hook, 0, {}, weight, 0, {}, 1.0, 300.0);
  spring->setStretchType(kSpring);
  for (int i = 0; i < 10000; ++i) world.integrate();
  std::printf("spring    hangs %.5f m longer, m g / k = %.5f m; tension %.3f N\n",
              spring->getStretch(), 2.0 * 9.81 / 300.0, norm(spring->getTension2()));
}

/// A rope between two bodies: slack it does nothing, taut it takes the speed away.
void snatch() {
  zelvik::World world;
  configured(world).setGravity(zelvik::Mat<3, 1>{});
  zelvik::Sphere* tug = world.addSphere(0.1, 3.0);
  zelvik::Sphere* load = world.addSphere(0.1, 1.0);
  load->setPosition(-0.5, 0, 0);
  tug->setVelocity(2.0, 0, 0, 0, 0, 0);
  world.addStiffWire(tug, 0, {}, load, 0, {}, 1.0)->setStretchType(kRope);
  for (int i = 0; i < 1000; ++i) world.integrate();
  std::printf("towing    tug %.4f m/s, load %.4f m/s; common speed by momentum %.4f m/s\n",
              tug->getLinearVelocity()[0], load->getLinearVelocity()[0], 2.0 * 3.0 / 4.0);
}

}  // namespace

int main(int argc, char** argv) {
  swing(argc > 1 ? argv[1] : nullptr);
  bounce();
  snatch();
}
