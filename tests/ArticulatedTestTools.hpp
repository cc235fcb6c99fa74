// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <memory>
#include <string>
#include <zelvik/World.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>

#include "Messages.hpp"
#include "RandomTree.hpp"

namespace zelvik::articulated_test {

using AS = ArticulatedSystem;

inline std::unique_ptr<AS> randomSystem(bool floating, std::uint32_t seed, size_t bodies = 6,
                                        bool chain = false) {
  scenes::RandomTreeOptions options;
  options.bodies = bodies;
  options.floatingBase = floating;
  options.chain = chain;
  auto system = std::make_unique<AS>(scenes::randomTree(seed, options), ".");
  scenes::randomiseState(*system, seed);
  return system;
}

/// A body on a joint at its parent's origin, axis y, without limits.
inline Child body(const std::string& name, Joint::Type type, double mass = 1.0,
                  const Vec3& com = {}, double inertia = 0.1) {
  Child node;
  node.bodyName = name;
  node.jointName = type == Joint::FIXED || type == Joint::FLOATING ? "" : name + "Joint";
  node.jointType = type;
  node.jointAxis = {{0.0, 1.0, 0.0}};
  node.mass = mass;
  node.com = com;
  node.inertia = inertia * Mat33::identity();
  node.jointLimit[0] = type == Joint::SPHERICAL ? -1.0 : 0.0;
  return node;
}

inline std::unique_ptr<AS> onFixedBase(const Child& child, const Vec3& position = {}) {
  Child base = body("base", Joint::FIXED);
  base.jointPosition = position;
  base.childrenMovable.push_back(child);
  return std::make_unique<AS>(base, ".");
}

/// A flap of 1 kg on a fixed hinge, with limits at -0.1 and 0.1 rad.
inline AS* addFlap(World& world) {
  Child flap = body("flap", Joint::REVOLUTE, 1.0, {{0.0, 0.0, -0.5}});
  flap.jointLimit[0] = -0.1;
  flap.jointLimit[1] = 0.1;
  Child hinge = body("hinge", Joint::FIXED);
  hinge.childrenMovable.push_back(flap);
  return world.addArticulatedSystem(hinge);
}

/// One step without contacts, as a world drives it; joint limits are solved by plain sweeps.
inline void step(ArticulatedSystem& system, const Vec3& gravity, double dt) {
  contact::ContactProblemList problems;
  system.clearPerObjectContact();
  system.updateTimeStepIfNecessary(dt);
  system.updateCollision();
  system.preContactSolverUpdate1(gravity, dt);
  system.appendJointLimits(problems);
  system.preContactSolverUpdate2(gravity, dt);
  for (int sweep = 0; sweep < 100; ++sweep)
    for (auto& problem : problems) system.enforceJointLimits(problem);
  system.integrate(dt, gravity);
}

}  // namespace zelvik::articulated_test
