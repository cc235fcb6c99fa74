// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

/// Worlds that are saved, restored and compared step by step with what they were saved from.
class Continuation {
 public:
  enum Scene { ROBOTS, TERRAIN, PILE, EVERYTHING, kScenes };
  /// What is restored.
  enum Way { SAME_WORLD, FRESH_WORLD, CLONE, kWays };
  /// What happens beside.
  enum Event {
    NOTHING,
    SETTERS_BEFORE,   ///< just before it is saved all bodies are put where they are, statics moved
    NAN_BETWEEN,      ///< the world that is restored has made some steps with a state of NaN
    REMOVED_OBJECTS,  ///< two objects leave the world after the first steps
    kEvents
  };

  Scene scene = ROBOTS;
  World::BroadPhase broadPhase = World::BroadPhase::AUTO;
  bool warmStart = false;
  Event event = NOTHING;

  /// The world, as equal calls make it.
  std::unique_ptr<World> build() const;
  /// The world at the step at which it is saved.
  std::unique_ptr<World> buildUntil(size_t step) const;
  /// One step. What the host does before it depends on the step count and on readings of the world:
  /// forces, targets, poses of static bodies, of a fixed base, and of a robot.
  static void step(World& world);
  /// Hash of state and impulses after each of `steps` steps.
  static std::vector<std::uint64_t> run(World& world, size_t steps);
  /// Goes back to the state in that way, `world` being the one that it was saved from, and some
  /// steps ahead. @return the world that is at that moment now
  std::unique_ptr<World> goBack(Way way, std::unique_ptr<World> world, const State& state) const;
  /// For a message.
  std::string name() const;

  static const char* nameOf(Scene scene);
  static const char* nameOf(World::BroadPhase phase);
  static const char* nameOf(Way way);
  static const char* nameOf(Event event);
};

}  // namespace zelvik::scenes
