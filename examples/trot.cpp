// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The quadruped trots over flat ground, or over generated hills with --hills. Open loop: the feet
// follow fixed paths below the hips, and nothing that the robot feels goes into the controller.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <zelvik/World.hpp>

namespace {

constexpr double kLink = 0.25;    // length of thigh and shank (m)
constexpr double kHeight = 0.40;  // hip above the foot's centre (m)
constexpr double kPeriod = 0.40;  // of a stride (s)
constexpr double kStride = 0.16;  // path of a foot on the ground (m)
constexpr double kLift = 0.07;    // of a foot in the air (m)
constexpr double kRamp = 1.0;     // time to grow to the full stride (s)
constexpr double kFootRadius = 0.03;

/// Angles of a leg's joints, HAA, HFE, KFE (rad), whose foot is `x` in front of the hip and `z`
/// below it (m).
void solveLeg(double x, double z, double* angles) {
  const double knee = -2.0 * std::acos(std::clamp(std::hypot(x, z) / (2.0 * kLink), 0.0, 1.0));
  angles[0] = 0.0;
  angles[1] = std::atan2(-x, z) - 0.5 * knee;
  angles[2] = knee;
}

/// Posture at time t (s): diagonal legs move together, each pair half of its time in the air.
Eigen::VectorXd posture(double t) {
  Eigen::VectorXd q = Eigen::VectorXd::Zero(19);
  q[3] = 1.0;
  const double size = std::clamp(t / kRamp, 0.0, 1.0);
  for (int leg = 0; leg < 4; ++leg) {
    const bool firstPair = leg == 0 || leg == 3;  // left front, right hind
    const double phase = std::fmod(t / kPeriod + (firstPair ? 0.0 : 0.5), 1.0);
    const double swing = 2.0 * phase - 1.0;  // 0 to 1 in the air
    double x = 0.5 - 2.0 * phase, lift = 0.0;
    if (swing >= 0.0) {
      x = -0.5 * std::cos(M_PI * swing);
      lift = std::sin(M_PI * swing);
    }
    solveLeg(size * kStride * x, kHeight - size * kLift * lift, q.data() + 7 + 3 * leg);
  }
  return q;
}

zelvik::HeightMap* addHills(zelvik::World& world) {
  zelvik::TerrainProperties hills;
  hills.xSize = hills.ySize = 20.0;
  hills.xSamples = hills.ySamples = 201;
  hills.zScale = 0.5;
  hills.frequency = 0.2;
  hills.seed = 4;
  return world.addHeightMap(0.0, 0.0, hills);
}

zelvik::ArticulatedSystem* addRobot(zelvik::World& world, double groundHeight) {
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  Eigen::VectorXd start = posture(0.0), gain(18);
  start[2] = groundHeight + kHeight + kFootRadius;
  gain << Eigen::VectorXd::Zero(6), Eigen::VectorXd::Constant(12, 150.0);
  robot->setGeneralizedCoordinate(start);
  robot->setControlMode(zelvik::ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(gain);
  robot->setDGain(Eigen::VectorXd(0.02 * gain));
  return robot;
}

}  // namespace

int main(int argc, char** argv) {
  const bool onHills = argc > 1 && std::strcmp(argv[1], "--hills") == 0;
  zelvik::World world;
  world.setTimeStep(0.0025);
  const zelvik::HeightMap* hills = onHills ? addHills(world) : nullptr;
  if (!onHills) world.addGround();
  const auto groundAt = [hills](double x, double y) {
    return hills != nullptr ? hills->getHeight(x, y) : 0.0;
  };
  zelvik::ArticulatedSystem* robot = addRobot(world, groundAt(0.0, 0.0));

  std::puts("   t       x       y    height   tilt");
  double lowest = 1.0, mostTilt = 0.0;
  for (int step = 0; step < 4800; ++step) {
    robot->setPTarget(posture(world.getWorldTime()));
    world.integrate();
    const zelvik::VecDyn& q = robot->getGeneralizedCoordinate();
    zelvik::Mat<3, 3> rotation;
    robot->getOrientation(0, rotation);
    const double height = q[2] - groundAt(q[0], q[1]), tilt = std::acos(rotation(2, 2));
    lowest = std::min(lowest, height);
    mostTilt = std::max(mostTilt, tilt);
    if (step % 400 == 399)
      std::printf("%4.1f s  %6.2f  %6.2f  %6.3f m  %5.1f deg\n", world.getWorldTime(), q[0], q[1],
                  height, tilt * 180.0 / M_PI);
  }
  const double distance = robot->getGeneralizedCoordinate()[0];
  const bool walked = distance >= 3.0 && lowest > 0.25 && mostTilt < 0.5;
  std::printf("%.2f m forward, trunk never below %.2f m nor beyond %.1f deg: %s\n", distance,
              lowest, mostTilt * 180.0 / M_PI, walked ? "it walks" : "it does not walk");
  return walked ? 0 : 1;
}
