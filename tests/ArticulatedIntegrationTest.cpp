// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ArticulatedTestTools.hpp"
#include "ExactSolutions.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;
const Vec3 kDown{{0.0, 0.0, -9.81}};
const Vec3 kWeightless{};

std::unique_ptr<AS> pendulum(double q0, AS::IntegrationScheme scheme) {
  auto system = onFixedBase(body("bob", Joint::REVOLUTE, 1.0, {{0.0, 0.0, -1.0}}, 0.0));
  system->setIntegrationScheme(scheme);
  system->setGeneralizedCoordinate({q0});
  return system;
}

TEST(ArticulatedIntegration, EachSchemeEndsWhereItsFormulaPutsAPendulum) {
  for (const auto& [scheme, expected] : {std::pair{AS::TRAPEZOID, -0.1002396834},
                                         {AS::SEMI_IMPLICIT, -0.0999952321},
                                         {AS::EXPLICIT, -0.1004847265}}) {
    const auto system = pendulum(0.1, scheme);
    for (int i = 0; i < 1000; ++i) step(*system, kDown, 0.001);
    EXPECT_NEAR(system->getGeneralizedCoordinate()[0], expected, 1e-9) << scheme;
  }
}

TEST(ArticulatedIntegration, RungeKuttaIsOfOrderFour) {
  // A pendulum hangs straight after a quarter period. The steps are near 0.02 and 0.01.
  const double quarter = exact::Pendulum{1.0, 1.0}.quarterPeriod();
  double error[2];
  for (const int half : {0, 1}) {
    const auto system = pendulum(1.0, AS::RUNGE_KUTTA_4);
    const int steps = 25 << half;
    for (int k = 0; k < steps; ++k) step(*system, kDown, quarter / steps);
    error[half] = std::fabs(system->getGeneralizedCoordinate()[0]);
  }
  EXPECT_LT(error[0], 1e-6);
  EXPECT_NEAR(std::log2(error[0] / error[1]), 4.0, 0.3);
}

/// Linear momentum, then angular momentum about the origin.
Eigen::VectorXd momentum(AS& system) {
  system.preContactSolverUpdate1(kWeightless, 1e-3);  // brings the velocities up to date
  Vec3 L;
  system.getAngularMomentum(Vec3{}, L);
  const Eigen::VectorXd p = system.getMassMatrix().e() * system.getGeneralizedVelocity().e();
  return (Eigen::VectorXd(6) << p.head<3>(), L.e()).finished();
}

TEST(ArticulatedIntegration, FloatingRobotKeepsItsMomentumToTheOrderOfTheScheme) {
  // Measured: halving the step divides the drift by 2.0 for schemes 0 to 2 and by 4.0 for scheme 3:
  // a turn of the base or of a spherical joint goes by one mean rate, without the terms in which
  // the rates of the stages do not commute. (With hinges only scheme 3 has order four, above.)
  for (const auto scheme : {AS::TRAPEZOID, AS::SEMI_IMPLICIT, AS::EXPLICIT, AS::RUNGE_KUTTA_4}) {
    double drift[2];
    for (const int half : {0, 1}) {
      const auto system = randomSystem(true, 4);
      system->setIntegrationScheme(scheme);
      const auto before = momentum(*system);
      for (int i = 0; i < 200 << half; ++i) step(*system, kWeightless, 0.001 / (1 + half));
      drift[half] = (momentum(*system) - before).norm() / before.norm();
    }
    EXPECT_LT(drift[0], 0.05) << scheme;
    EXPECT_NEAR(std::log2(drift[0] / drift[1]), scheme == AS::RUNGE_KUTTA_4 ? 2.0 : 1.0, 0.4)
        << scheme << ", " << drift[0];
  }
}

TEST(ArticulatedIntegration, ContactImpulsesEnterTheRungeKuttaStepOnce) {
  // Two equal systems; one gets an impulse through a contact, the other the same change of velocity
  // before the step: arm times impulse over inertia.
  const auto pushed = pendulum(0.4, AS::RUNGE_KUTTA_4), preset = pendulum(0.4, AS::RUNGE_KUTTA_4);
  contact::Contact contact({{0.3, 0.1, -0.8}}, {{1.0, 0.0, 0.0}}, true, 0, 0, 9, BodyType::STATIC,
                           0, 1, 0.0);
  pushed->addContactToPerObjectContact(contact);
  pushed->updateTimeStepIfNecessary(0.01);
  pushed->preContactSolverUpdate1(kDown, 0.01);
  pushed->preContactSolverUpdate2(kDown, 0.01);
  pushed->updateGenVelWithImpulse(0, {{0.0, 0.0, 0.5}});
  pushed->integrate(0.01, kDown);
  preset->setGeneralizedVelocity({-0.8 * 0.5});
  step(*preset, kDown, 0.01);
  EXPECT_NEAR(pushed->getGeneralizedVelocity()[0], preset->getGeneralizedVelocity()[0], 1e-14);
  EXPECT_NEAR(pushed->getGeneralizedCoordinate()[0], preset->getGeneralizedCoordinate()[0], 1e-14);
}

TEST(ArticulatedIntegration, ContactsUnderPositionControlFallBackToTheTrapezoid) {
  const auto system = pendulum(0.4, AS::SEMI_IMPLICIT);
  system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
  contact::Contact contact({{0.0, 0.0, -1.0}}, {{0.0, 0.0, 1.0}}, true, 0, 0, 9, BodyType::STATIC,
                           0, 1, 0.0);
  // Share of the new velocity in the rate of the coordinate.
  const auto share = [&] {
    const double q0 = system->getGeneralizedCoordinate()[0];
    const double u0 = system->getGeneralizedVelocity()[0];
    step(*system, kDown, 0.01);
    return ((system->getGeneralizedCoordinate()[0] - q0) / 0.01 - u0) /
           (system->getGeneralizedVelocity()[0] - u0);
  };
  EXPECT_NEAR(share(), 1.0, 1e-10);
  system->addContactToPerObjectContact(contact);
  system->preContactSolverUpdate1(kDown, 0.01);
  EXPECT_NEAR(share(), 0.5, 1e-10);  // and on, until a coordinate is set
  system->setGeneralizedCoordinate({0.4});
  EXPECT_NEAR(share(), 1.0, 1e-10);
}

TEST(ArticulatedControl, EveryJointReachesItsTarget) {
  const auto system = randomSystem(false, 6);
  const auto n = static_cast<Eigen::Index>(system->getDOF());
  VecDyn target = system->getGeneralizedCoordinate(), turn(system->getDOF());
  turn.e() = Eigen::VectorXd::LinSpaced(n, 0.4, 0.8);
  system->integratePosition(target, turn, 1.0);
  system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
  system->setPGain(Eigen::VectorXd::Constant(n, 200.0));
  system->setDGain(Eigen::VectorXd::Constant(n, 30.0));
  system->setPTarget(target);
  for (int i = 0; i < 4000; ++i) step(*system, kWeightless, 0.002);
  EXPECT_NEAR((system->getGeneralizedCoordinate().e() - target.e()).norm(), 0.0, 1e-4);
}

TEST(ArticulatedControl, LimitsClampAllActuationButNoSpring) {
  // Slider of mass m: (m + D) u+ = m u + dt (clamp(ff + kp e + kd u_t - D/dt u) + k (q - q0)),
  // D = dt/2 (c + dt/2 (k + kp) + kd); the sign of a slider's spring is coordinate minus mount.
  const double m = 2.0, c = 0.7, k = 30.0, q0 = 0.2, kp = 50.0, kd = 4.0;
  const double q = 0.5, u = -0.3, ff = 6.0, qt = 0.9, ut = 0.4;
  Child link = body("body", Joint::PRISMATIC, m);
  link.damping = c;
  link.stiffness = k;
  link.springMount[0] = q0;
  const auto system = onFixedBase(link);  // one for all: another dt must reach the implicit terms
  system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
  system->setPGain({kp});
  system->setDGain({kd});
  for (const double dt : {0.01, 0.003})
    for (const double limit : {1e3, 5.0})
      for (const double sign : {1.0, -1.0}) {
        system->setPTarget({sign * qt});
        system->setDTarget({sign * ut});
        const Eigen::VectorXd most = Eigen::VectorXd::Constant(1, limit);
        system->setForceLimits(-most, most);
        system->setGeneralizedForce({sign * ff});
        system->setGeneralizedCoordinate({sign * q});
        system->setGeneralizedVelocity({sign * u});
        step(*system, kDown, dt);
        const double D = 0.5 * dt * (c + 0.5 * dt * (k + kp) + kd);
        const double actuation = sign * std::min(ff + kp * (qt - q) + kd * ut - D / dt * u, limit);
        const double momentum = m * sign * u + dt * (actuation + k * (sign * q - q0));
        EXPECT_NEAR(system->getGeneralizedVelocity()[0], momentum / (m + D), 1e-14);
        EXPECT_NEAR(system->getGeneralizedForce()[0], actuation, 1e-12);
      }
}

TEST(ArticulatedControl, RungeKuttaTakesDampingAsAForce) {
  // A slider slows down by exp(-(c + kd) t / (m + c)): this scheme inverts M plus the undivided
  // damping, and takes all damping as a force as well.
  Child link = body("body", Joint::PRISMATIC, 2.0, {}, 1.0);
  link.damping = 0.5;
  const auto system = onFixedBase(link);
  system->setIntegrationScheme(AS::RUNGE_KUTTA_4);
  system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
  system->setDGain({1.5});
  system->setGeneralizedVelocity({3.0});
  const auto steps = [&] {
    for (int i = 0; i < 100; ++i) step(*system, kWeightless, 0.01);
  };
  const std::string told = messages::of(steps);
  EXPECT_NEAR(system->getGeneralizedVelocity()[0], 3.0 * std::exp(-2.0 / 2.5), 1e-8);
  const size_t first = told.find("RUNGE_KUTTA_4 does not converge with joint damping");
  EXPECT_NE(first, std::string::npos) << told;
  EXPECT_EQ(told.find('\n'), std::string::npos) << "told once";

  // The way out that the message names.
  VecDyn none(1);
  none.setZero();
  system->setJointDamping(none);
  system->setDGain({2.0});
  system->setGeneralizedVelocity({3.0});
  EXPECT_EQ(messages::of(steps), "");
  EXPECT_NEAR(system->getGeneralizedVelocity()[0], 3.0 * std::exp(-2.0 / 2.0), 1e-8);
}

TEST(ArticulatedControl, SphericalSpringTurnsBackToItsMount) {
  Child link = body("body", Joint::SPHERICAL, 1.0, {}, 0.5);
  link.stiffness = 3.0;
  link.springMount[0] = 0.8;  // 2 acos(0.8) about y
  link.springMount[2] = 0.6;
  const auto system = onFixedBase(link);
  const double dt = 1e-3;
  step(*system, kWeightless, dt);
  const double expected = dt * 3.0 * 2.0 * std::acos(0.8) / (0.5 + 0.25 * dt * dt * 3.0);
  EXPECT_NEAR(system->getGeneralizedVelocity()[1], expected, 1e-14);
}

}  // namespace
}  // namespace zelvik
