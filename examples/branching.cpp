// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Branches from one moment: a standing quadruped is kicked sideways, and eight pushes on its trunk
// are tried, each from the same saved state. The one that leaves the robot nearest to where it
// stood is kept. A saved state is all that the world needs: the best branch, taken once more, ends
// with the same bits.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <zelvik/World.hpp>

namespace {

constexpr int kPushes = 8;
constexpr double kForce = 150.0;  ///< (N)

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

/// Pushes for 0.1 s and waits for 1 s. @param direction in the plane (rad)
/// @return how far the trunk is from where it stood (m)
double push(zelvik::World& world, zelvik::ArticulatedSystem& robot, double direction) {
  const zelvik::Mat<3, 1> force{{kForce * std::cos(direction), kForce * std::sin(direction), 0.0}};
  for (int step = 0; step < 550; ++step) {
    if (step < 50) robot.setExternalForce(0, force);
    world.integrate();
  }
  const zelvik::VecDyn& q = robot.getGeneralizedCoordinate();
  return std::hypot(std::hypot(q[0], q[1]), q[2] - 0.43);
}

}  // namespace

int main() {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.addGround();
  zelvik::ArticulatedSystem* robot = addRobot(world);
  for (int step = 0; step < 250; ++step) world.integrate();
  Eigen::VectorXd velocity = Eigen::VectorXd::Zero(18);
  velocity[1] = 1.2;  // to the left (m/s)
  robot->setGeneralizedVelocity(velocity);

  const zelvik::State moment = world.saveState();
  std::printf("a state of %zu bytes at %.1f s\n", moment.getBytes().size(), world.getWorldTime());
  double least = INFINITY, best = 0.0;
  std::uint64_t bestEnd = 0;
  for (int i = 0; i < kPushes; ++i) {
    world.restoreState(moment);
    const double direction = 2.0 * M_PI * i / kPushes;
    const double distance = push(world, *robot, direction);
    std::printf("push at %4.0f degrees: %.3f m away after %.1f s\n", direction * 180.0 / M_PI,
                distance, world.getWorldTime());
    if (!(distance < least)) continue;
    least = distance;
    best = direction;
    bestEnd = world.getStateHash();
  }
  world.restoreState(moment);
  push(world, *robot, best);
  std::printf("the best, %.0f degrees, ends %s\n", best * 180.0 / M_PI,
              world.getStateHash() == bestEnd ? "as before to the last bit" : "ELSEWHERE");
}
