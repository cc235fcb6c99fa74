// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <iostream>
#include <zelvik/World.hpp>

int main() {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.addGround(0.0);
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem("models/quadruped.urdf");
  Eigen::VectorXd posture(19), gain(18);
  posture << 0, 0, 0.5, 1, 0, 0, 0, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2;
  gain << Eigen::VectorXd::Zero(6), Eigen::VectorXd::Constant(12, 100.0);
  robot->setGeneralizedCoordinate(posture);
  robot->setControlMode(zelvik::ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(gain);
  robot->setDGain(Eigen::VectorXd(0.02 * gain));
  robot->setPTarget(posture);
  for (int step = 0; step < 1000; ++step) world.integrate();
  std::cout << "base height " << robot->getGeneralizedCoordinate()[2] << " m\n";
}
