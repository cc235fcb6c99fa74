// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Materials: friction and restitution belong to pairs of names. Blocks slide on a slope, balls
// bounce; both are compared with what the textbook says.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

namespace {

constexpr double kG = 9.81;  // (m/s^2)

/// Distances after one second on a slope of 20 degrees: the gravity is tilted, not the ground.
void slide() {
  const double slope = 20.0 * M_PI / 180.0;
  zelvik::World world;
  world.setTimeStep(0.001);
  world.setGravity(Eigen::Vector3d(kG * std::sin(slope), 0.0, -kG * std::cos(slope)));
  world.addGround(0.0, "slope");
  const std::vector<std::string> names{"ice", "wood", "rubber"};
  const std::vector<double> friction{0.05, 0.3, 0.9};
  std::vector<zelvik::Box*> blocks;
  for (size_t i = 0; i < names.size(); ++i) {
    // friction, restitution, speed below which nothing bounces (m/s)
    world.setMaterialPairProp("slope", names[i], friction[i], 0.0, 0.01);
    blocks.push_back(world.addBox(0.2, 0.2, 0.1, 1.0, names[i]));
    blocks.back()->setPosition(0.0, static_cast<double>(i), 0.0499);
  }
  for (int step = 0; step < 1000; ++step) world.integrate();

  std::puts("block    friction   slid (m)   textbook (m)");
  for (size_t i = 0; i < names.size(); ++i) {
    const double a = kG * std::max(std::sin(slope) - friction[i] * std::cos(slope), 0.0);
    std::printf("%-8s %8.2f %10.4f %14.4f\n", names[i].c_str(), friction[i],
                blocks[i]->getComPosition()[0], 0.5 * a);
  }
}

/// Height of the first bounce of balls dropped from 1 m.
void bounce() {
  zelvik::World world;
  world.setTimeStep(0.0005);
  world.setERP(0.0, 0.0);  // the second number is added to every coefficient of restitution
  world.addGround(0.0, "floor");
  world.setDefaultMaterial(0.8, 0.25, 0.001);  // for names that the table does not know
  world.setMaterialPairProp("floor", "glass", 0.4, 0.9, 0.001);
  world.setMaterialPairProp("floor", "cork", 0.6, 0.5, 0.001);
  const std::vector<std::string> names{"glass", "cork", "clay"};
  const std::vector<double> restitution{0.9, 0.5, 0.25};
  std::vector<zelvik::Sphere*> balls;
  for (size_t i = 0; i < names.size(); ++i) {
    balls.push_back(world.addSphere(0.1, 1.0, names[i]));
    balls.back()->setPosition(0.0, static_cast<double>(i), 1.1);
  }
  std::vector<double> highest(names.size(), 0.0);
  for (int step = 0; step < 2000; ++step) {
    world.integrate();
    if (world.getWorldTime() < std::sqrt(2.0 / kG) + 0.002) continue;  // until all have bounced
    for (size_t i = 0; i < balls.size(); ++i)
      highest[i] = std::max(highest[i], balls[i]->getComPosition()[2] - 0.1);
  }

  std::puts("\nball     restitution   bounces to (m)   textbook (m)");
  for (size_t i = 0; i < names.size(); ++i)
    std::printf("%-8s %11.2f %16.4f %14.4f\n", names[i].c_str(), restitution[i], highest[i],
                restitution[i] * restitution[i]);
}

}  // namespace

int main() {
  slide();
  bounce();
}
