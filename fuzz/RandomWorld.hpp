// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>
#include <zelvik/World.hpp>

#include "RandomTree.hpp"

namespace zelvik::fuzz {

/// A world whose content, parameters and handling are drawn from a seed: all shapes, compounds,
/// meshes, height maps, robots, random trees and wires come, go, are moved and pushed while it
/// steps. Half of the seeds give calm worlds, whose numbers are those of a sensible host; the
/// others also get huge, tiny, infinite and NaN numbers wherever the interface takes one.
///
/// The fatal callback has to come back: refusals are part of the game.
class RandomWorld {
 public:
  /// @param strays now and then the world is saved, makes some steps of its own with whatever a
  /// host may do meanwhile, and is restored: of which nothing may be seen later
  explicit RandomWorld(std::uint32_t seed, bool strays = false);
  RandomWorld(const RandomWorld&) = delete;
  RandomWorld& operator=(const RandomWorld&) = delete;

  /// One step, with whatever happens before, in the middle and after it.
  void step();

  bool isCalm() const { return calm_; }
  const World& world() const { return world_; }
  /// Contact problems of all steps so far.
  size_t contactCount() const { return contactCount_; }

 private:
  bool chance(double probability) { return random_.uniform(0.0, 1.0) < probability; }
  size_t pick(size_t count);
  double number(double lower, double upper);
  Vec3 vector(double size);
  Mat33 inertia();
  std::string material();
  Object* anyObject();

  void fill();
  void addObject();
  void addShape();
  void addCrowd();
  void addHull();
  void addCompound();
  void addMesh();
  void addHeightMap();
  void addRobot();
  void addTree();
  void addWire();
  void removeSomething();
  void place(SingleBodyObject* body);
  void teleport(Object* object);
  void push(Object* object);
  void control(ArticulatedSystem& system);
  void changeParameters();
  void castRay();
  void disturb();
  void stray();

  scenes::RandomSource random_;
  scenes::RandomSource strayRandom_;
  bool strays_;
  bool calm_;
  World world_;
  size_t contactCount_ = 0;
};

}  // namespace zelvik::fuzz
