// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Joint limits: a hinge that falls against its stop, a ball joint with a cone of free motion, both
// from trees assembled in code. A limit stops a joint as hard as a contact: it takes the speed away
// and does not push back what has gone too far, which is at most some one and a half steps of
// motion.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <zelvik/World.hpp>

namespace {

constexpr double kLimit = 0.6;  // (rad)

/// A bar of 0.5 m and 1 kg below a joint on a fixed base, 1 m above the ground.
zelvik::Child pendulum(zelvik::Joint::Type type, double lower, double upper) {
  zelvik::Child bar;
  bar.bodyName = "bar";
  bar.jointName = "joint";
  bar.jointType = type;
  bar.jointAxis = {{0.0, 1.0, 0.0}};
  bar.mass = 1.0;
  bar.com = {{0.0, 0.0, -0.25}};
  bar.inertia(0, 0) = bar.inertia(1, 1) = 0.25 / 12.0;
  bar.inertia(2, 2) = 0.0005;
  bar.jointLimit[0] = lower;  // of a ball joint: the largest angle, or -1 for none
  bar.jointLimit[1] = upper;

  zelvik::Child base;
  base.bodyName = "base";
  base.jointType = zelvik::Joint::FIXED;
  base.jointPosition = {{0.0, 0.0, 1.0}};
  base.mass = 1.0;
  base.inertia = zelvik::Mat<3, 3>::identity();
  base.childrenMovable.push_back(bar);
  return base;
}

/// Angle between the bar and where it hangs at zero (rad).
double angleOf(const zelvik::ArticulatedSystem& system) {
  zelvik::Mat<3, 3> rotation;
  system.getOrientation(1, rotation);
  return std::acos(std::clamp(rotation(2, 2), -1.0, 1.0));
}

/// Swings for three seconds; gravity pulls sideways, against the limit.
void swing(const char* name, zelvik::Joint::Type type, double lower, double upper) {
  zelvik::World world;
  world.setTimeStep(0.001);
  world.setGravity(Eigen::Vector3d(-9.0, 2.0, -4.0));
  zelvik::ArticulatedSystem* system = world.addArticulatedSystem(pendulum(type, lower, upper), ".");
  double largest = 0.0, hit = 0.0, stopped = 0.0;
  for (int step = 0; step < 3000; ++step) {
    const double speed = system->getGeneralizedVelocity().e().norm();
    world.integrate();
    largest = std::max(largest, angleOf(*system));
    if (hit == 0.0 && angleOf(*system) > kLimit) {
      hit = world.getWorldTime();
      stopped = speed;
    }
  }
  std::printf("%-12s %12.4f %14.4f", name, largest, angleOf(*system));
  if (hit > 0.0 && largest < 1.0)
    std::printf("   hit at %.3f s with %.3f rad/s, %.1e rad too far\n", hit, stopped,
                largest - kLimit);
  else
    std::puts("   no limit");
}

}  // namespace

int main() {
  std::puts("joint         largest (rad)   at the end (rad)");
  swing("hinge", zelvik::Joint::REVOLUTE, -kLimit, kLimit);
  swing("free hinge", zelvik::Joint::REVOLUTE, 0.0, 0.0);  // equal values: no limit
  swing("ball", zelvik::Joint::SPHERICAL, kLimit, 0.0);
  swing("free ball", zelvik::Joint::SPHERICAL, -1.0, 0.0);
}
