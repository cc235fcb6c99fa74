// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Measures how the four integration schemes of articulated systems keep energy and momentum, and
// prints lines "plot,scheme,x,y" for scripts/make-plots.sh.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

#include "RandomTree.hpp"

namespace {

using zelvik::ArticulatedSystem;

struct Scheme {
  const char* name;
  ArticulatedSystem::IntegrationScheme value;
};

const std::vector<Scheme> kSchemes{{"TRAPEZOID", ArticulatedSystem::TRAPEZOID},
                                   {"SEMI_IMPLICIT", ArticulatedSystem::SEMI_IMPLICIT},
                                   {"EXPLICIT", ArticulatedSystem::EXPLICIT},
                                   {"RUNGE_KUTTA_4", ArticulatedSystem::RUNGE_KUTTA_4}};

/// Bar of 0.5 m and 1 kg on a hinge.
zelvik::Child bar(const char* name, double below) {
  zelvik::Child body;
  body.bodyName = body.jointName = name;
  body.jointType = zelvik::Joint::REVOLUTE;
  body.jointAxis = {{0.0, 1.0, 0.0}};
  body.jointPosition = {{0.0, 0.0, -below}};
  body.mass = 1.0;
  body.com = {{0.0, 0.0, -0.25}};
  body.inertia(0, 0) = body.inertia(1, 1) = 0.25 / 12.0;
  body.inertia(2, 2) = 0.0005;
  return body;
}

/// Two bars that swing with 0.9 and 0.5 rad, without damping.
ArticulatedSystem* addPendulum(zelvik::World& world) {
  zelvik::Child base;
  base.bodyName = "base";
  base.mass = 1.0;
  base.inertia = zelvik::Mat<3, 3>::identity();
  base.childrenMovable.push_back(bar("upper", 0.0));
  base.childrenMovable[0].childrenMovable.push_back(bar("lower", 0.5));
  ArticulatedSystem* system = world.addArticulatedSystem(base, ".");
  system->setGeneralizedCoordinate({0.9, 0.5});
  return system;
}

/// Six bodies on joints of all kinds, tumbling freely.
ArticulatedSystem* addTree(zelvik::World& world) {
  world.setGravity(zelvik::Mat<3, 1>{});
  zelvik::scenes::RandomTreeOptions options;
  options.floatingBase = true;
  options.rotorInertia = false;  // belongs to no body: would not count in the momentum
  ArticulatedSystem* system =
      world.addArticulatedSystem(zelvik::scenes::randomTree(3, options), ".");
  zelvik::scenes::randomiseState(*system, 3);
  return system;
}

/// Energy of the present state (J); what a step leaves belongs to the state before it.
double energy(ArticulatedSystem& system, const zelvik::World& world) {
  zelvik::MatDyn M;
  M.setZero(system.getDOF(), system.getDOF());
  system.computeMassMatrix(M);
  const auto u = system.getGeneralizedVelocity().e();
  return 0.5 * u.dot(M.e() * u) + system.getPotentialEnergy(world.getGravity());
}

/// Angular momentum about the world's origin of the present state (kg m^2/s, world axes).
Eigen::Vector3d momentum(ArticulatedSystem& system, const zelvik::World& world) {
  zelvik::MatDyn M;
  M.setZero(system.getDOF(), system.getDOF());
  zelvik::VecDyn h(system.getDOF());
  system.computeMassMatrix(M);
  system.computeNonlinearities(world.getGravity(), h);
  zelvik::Mat<3, 1> out;
  system.getAngularMomentum(zelvik::Mat<3, 1>{}, out);
  return out.e();
}

/// Error of the pendulum's energy over time, and its largest value over ten seconds by step size.
void pendulumEnergy(const Scheme& scheme, double dt, bool overTime) {
  zelvik::World world;
  world.setTimeStep(dt);
  ArticulatedSystem* system = addPendulum(world);
  system->setIntegrationScheme(scheme.value);
  const double begin = energy(*system, world), scale = 9.81;  // J: what 1 kg gives over 1 m
  double worst = 0.0;
  const long steps = std::lround(10.0 / dt);
  for (long step = 1; step <= steps; ++step) {
    world.integrate();
    const double error = (energy(*system, world) - begin) / scale;
    worst = std::max(worst, std::abs(error));
    if (overTime && step % 20 == 0)
      std::printf("energy,%s,%.4f,%.9e\n", scheme.name, world.getWorldTime(), error);
  }
  if (!overTime) std::printf("order,%s,%.6f,%.9e\n", scheme.name, dt, worst);
}

void treeDrift(const Scheme& scheme) {
  zelvik::World world;
  world.setTimeStep(0.002);
  ArticulatedSystem* system = addTree(world);
  system->setIntegrationScheme(scheme.value);
  const double begin = energy(*system, world);
  const Eigen::Vector3d beginL = momentum(*system, world);
  for (int step = 1; step <= 5000; ++step) {
    world.integrate();
    if (step % 25 != 0) continue;
    std::printf("tree_energy,%s,%.4f,%.9e\n", scheme.name, world.getWorldTime(),
                energy(*system, world) / begin - 1.0);
    std::printf("tree_momentum,%s,%.4f,%.9e\n", scheme.name, world.getWorldTime(),
                (momentum(*system, world) - beginL).norm() / beginL.norm());
  }
}

}  // namespace

int main() {
  for (const Scheme& scheme : kSchemes) {
    pendulumEnergy(scheme, 0.002, true);
    for (double dt = 0.016; dt > 0.0004; dt *= 0.5) pendulumEnergy(scheme, dt, false);
    treeDrift(scheme);
  }
}
