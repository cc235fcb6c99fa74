// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Acting on the contacts of the very step that they belong to: a quadruped with magnetic feet on a
// wall of 50 degrees. `integrate1` finds the contacts and moves nothing; then each foot that
// touches is pulled to the wall; `integrate2` solves the contacts with that pull. Without magnets
// the robot slides: friction of 0.8 holds up to 38.7 degrees.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <zelvik/World.hpp>

namespace {

constexpr double kSlope = 50.0 * M_PI / 180.0;

zelvik::ArticulatedSystem* addRobot(zelvik::World& world) {
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  Eigen::VectorXd start(19), gain(18);
  start << 0, 0, 0.4427, 1, 0, 0, 0, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2;
  gain << Eigen::VectorXd::Zero(6), Eigen::VectorXd::Constant(12, 300.0);
  robot->setGeneralizedCoordinate(start);
  robot->setControlMode(zelvik::ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(gain);
  robot->setDGain(Eigen::VectorXd(0.03 * gain));
  robot->setPTarget(start);
  return robot;
}

/// Pulls every touching body of the robot against what it touches.
/// @param pull per contact (N)
/// @return number of contacts
size_t attract(zelvik::ArticulatedSystem& robot, double pull) {
  for (const zelvik::contact::Contact& contact : robot.getContacts()) {
    // The normal points towards object A, which the robot may or may not be.
    const zelvik::Mat<3, 1> force = (contact.objectA_ ? -pull : pull) * contact.normal_;
    robot.setExternalForce(contact.localBodyIndex_, zelvik::ArticulatedSystem::WORLD_FRAME, force,
                           zelvik::ArticulatedSystem::WORLD_FRAME, contact.position_);
  }
  return robot.getContacts().size();
}

/// @return distance that the trunk has gone down the wall in two seconds (m)
double climb(double pull) {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.setGravity(Eigen::Vector3d(-9.81 * std::sin(kSlope), 0.0, -9.81 * std::cos(kSlope)));
  world.addGround();
  zelvik::ArticulatedSystem* robot = addRobot(world);
  size_t contacts = 0;
  for (int step = 0; step < 1000; ++step) {
    world.integrate1();
    contacts = attract(*robot, pull);
    world.integrate2();
  }
  const double normal = world.getContactReport().getForce(*robot)[2];
  const double slid = -robot->getGeneralizedCoordinate()[0];
  std::printf("%6.0f N   %8zu   %10.1f N   %8.3f m\n", pull, contacts, normal, slid);
  return slid;
}

}  // namespace

int main() {
  std::puts("magnet     contacts   on the wall   slid down");
  climb(0.0);
  climb(15.0);
  const double held = climb(60.0);
  std::puts(std::abs(held) < 0.1 ? "strong magnets hold" : "the magnets do not hold");
}
