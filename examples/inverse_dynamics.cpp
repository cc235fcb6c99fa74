// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Inverse dynamics control: the arm follows fast sine waves. With M, h and the damping of the model
// the torque that gives the wished acceleration is computed in every step; a PD law of equal gains
// shows what is lost without them.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <zelvik/World.hpp>

namespace {

constexpr double kStiffness = 100.0, kDamping = 20.0;  // of the error (1/s^2), (1/s)

struct Wish {
  Eigen::VectorXd q, u, du;  ///< coordinates, velocities, accelerations
};

/// Joints swing by 0.5 rad at 0.5 Hz, one behind the other; the fingers rest.
Wish wishAt(double t) {
  Wish wish{Eigen::VectorXd::Zero(8), Eigen::VectorXd::Zero(8), Eigen::VectorXd::Zero(8)};
  const double w = M_PI;
  for (int j = 0; j < 6; ++j) {
    const double phase = w * t - 0.5 * j;
    wish.q[j] = 0.5 * std::sin(phase);
    wish.u[j] = 0.5 * w * std::cos(phase);
    wish.du[j] = -0.5 * w * w * std::sin(phase);
  }
  return wish;
}

/// tau = M a + h + d u, with the joints' damping d and a = wished acceleration plus PD of the
/// error.
Eigen::VectorXd inverseDynamics(const zelvik::ArticulatedSystem& arm, const Wish& wish) {
  const auto q = arm.getGeneralizedCoordinate().e();
  const auto u = arm.getGeneralizedVelocity().e();
  const Eigen::VectorXd a = wish.du + kStiffness * (wish.q - q) + kDamping * (wish.u - u);
  return arm.getMassMatrix().e() * a + arm.getNonlinearities().e() +
         arm.getJointDamping().e().cwiseProduct(u);
}

/// The same gains without the model, each joint for itself.
Eigen::VectorXd pdOnly(const zelvik::ArticulatedSystem& arm, const Wish& wish) {
  const auto q = arm.getGeneralizedCoordinate().e();
  const auto u = arm.getGeneralizedVelocity().e();
  return arm.getMassMatrix().e().diagonal().cwiseProduct(kStiffness * (wish.q - q) +
                                                         kDamping * (wish.u - u));
}

/// @return largest error of a joint after the first second (rad)
double follow(bool withModel) {
  zelvik::World world;
  world.setTimeStep(0.001);
  zelvik::ArticulatedSystem* arm = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/arm.urdf");
  arm->setGeneralizedCoordinate(wishAt(0.0).q);
  arm->setGeneralizedVelocity(wishAt(0.0).u);
  double worst = 0.0;
  for (int step = 0; step < 5000; ++step) {
    world.integrate1();  // M and h of the present state
    const Wish wish = wishAt(world.getWorldTime());
    arm->setGeneralizedForce(withModel ? inverseDynamics(*arm, wish) : pdOnly(*arm, wish));
    world.integrate2();
    const Eigen::VectorXd error =
        arm->getGeneralizedCoordinate().e() - wishAt(world.getWorldTime()).q;
    if (world.getWorldTime() > 1.0) worst = std::max(worst, error.head(6).cwiseAbs().maxCoeff());
  }
  return worst;
}

}  // namespace

int main() {
  const double pd = follow(false), model = follow(true);
  std::printf("largest error: PD alone %.4f rad, inverse dynamics %.6f rad, %.0f times smaller\n",
              pd, model, pd / model);
}
