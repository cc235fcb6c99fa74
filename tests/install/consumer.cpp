// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A program outside of the tree: loads an installed robot, drops it and reads where its base is.
#include <cstdio>
#include <zelvik/World.hpp>

int main(int argc, char** argv) {
  zelvik::World world;
  world.addGround();
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(argv[argc - 1]);
  Eigen::VectorXd start = Eigen::VectorXd::Zero(19);
  start[2] = start[3] = 1.0;
  robot->setGeneralizedCoordinate(start);
  for (int i = 0; i < 400; ++i) world.integrate();
  const double z = robot->getGeneralizedCoordinate()[2];
  std::printf("base at %.6f m\n", z);
  return z > 0.0 && z < 0.5 ? 0 : 1;
}
