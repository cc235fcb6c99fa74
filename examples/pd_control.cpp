// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// PD control of an arm: three ways to hold a pose against gravity. A PD law alone gives way by the
// torque of gravity over its gain; gravity fed forward takes the error away.

#include <cstdio>
#include <zelvik/World.hpp>

namespace {

constexpr int kJoints = 6;

Eigen::VectorXd pose() {
  Eigen::VectorXd q = Eigen::VectorXd::Zero(kJoints + 2);  // two fingers
  q.head(kJoints) << 0.3, 0.8, 0.9, -0.2, 0.5, 0.1;
  return q;
}

Eigen::VectorXd gains(double stiffness) {
  Eigen::VectorXd gain = Eigen::VectorXd::Constant(kJoints + 2, stiffness);
  gain.tail(2).setConstant(200.0);
  return gain;
}

/// Holds the pose for five seconds from the stretched arm on.
/// @return largest error of a joint at the end (rad)
double hold(double stiffness, bool feedGravityForward) {
  zelvik::World world;
  world.setTimeStep(0.002);
  zelvik::ArticulatedSystem* arm = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/arm.urdf");
  arm->setControlMode(zelvik::ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  // The law is part of the implicit step: gains far above what an explicit one bears are stable.
  arm->setPGain(gains(stiffness));
  arm->setDGain(Eigen::VectorXd(0.1 * gains(stiffness)));
  arm->setPTarget(pose());
  double settled = 0.0;
  for (int step = 0; step < 2500; ++step) {
    world.integrate1();  // nonlinear terms of the present state
    if (feedGravityForward) arm->setGeneralizedForce(arm->getNonlinearities());
    world.integrate2();
    const double error =
        (arm->getGeneralizedCoordinate().e() - pose()).head(kJoints).cwiseAbs().maxCoeff();
    if (error > 0.01) settled = world.getWorldTime();
  }
  const double error =
      (arm->getGeneralizedCoordinate().e() - pose()).head(kJoints).cwiseAbs().maxCoeff();
  std::printf("%9.0f   %-12s %12.6f rad   %12.2f N m   ", stiffness,
              feedGravityForward ? "gravity" : "nothing", error,
              arm->getGeneralizedForce().e().head(kJoints).cwiseAbs().maxCoeff());
  if (error < 0.01)
    std::printf("%.2f s\n", settled);
  else
    std::puts("never");
  return error;
}

}  // namespace

int main() {
  std::puts("stiffness   fed forward       error         largest torque   within 0.01 rad after");
  const double soft = hold(200.0, false);
  const double stiff = hold(2000.0, false);
  const double compensated = hold(200.0, true);
  std::printf("ten times the stiffness: error %.1f times smaller; gravity fed forward: %.1e rad\n",
              soft / stiff, compensated);
}
