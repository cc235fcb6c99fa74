// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Time of one step in a few scenes: one JSON line per scene and broad phase, with the median,
// minimum and maximum over the runs, the contacts and a hash of the final state. The time is that
// of the thread's own CPU clock; on a shared machine compare the minima of one run of this program
// only.
//
//   step_time [runs, default 5]

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "StandingRobot.hpp"

namespace {

using zelvik::World;
using zelvik::scenes::StandingRobot;

/// A world that can be stepped, with whatever owns it.
struct Scene {
  std::shared_ptr<void> owner;
  World* world;
};

struct Case {
  const char* name;
  int warmUp, steps;
  std::function<Scene()> make;
};

Scene robotScene(const std::string& urdf, double dt, bool withGround) {
  auto scene = std::make_shared<StandingRobot>(std::string(ZELVIK_MODEL_DIR "/") + urdf, dt);
  if (!withGround) scene->world.removeObject(scene->ground);
  return {scene, &scene->world};
}

Scene piledScene(int side, bool spheres) {
  auto world = std::make_shared<World>();
  world->addGround();
  for (int i = 0; i < side * side * side; ++i) {
    zelvik::SingleBodyObject* body = world->addSphere(0.1, 1.0);
    if (!spheres) {
      world->removeObject(body);
      body = world->addBox(0.2, 0.2, 0.2, 1.0);
    }
    const double shift = 0.01 * (i % 7);
    body->setPosition(0.25 * (i % side) + shift, 0.25 * (i / side % side) - shift,
                      0.2 + 0.25 * (i / side / side));
  }
  return {world, world.get()};
}

Scene pyramidScene() {
  auto world = std::make_shared<World>();
  world->addGround();
  for (int level = 0; level < 10; ++level)
    for (int i = 0; i < 10 - level; ++i)
      world->addBox(0.2, 0.2, 0.2, 1.0)
          ->setPosition(0.21 * (i + 0.5 * level), 0, 0.1 + 0.2 * level);
  return {world, world.get()};
}

double cpuSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// FNV-1a over the positions and orientations of all objects' first bodies.
unsigned long stateHash(World& world) {
  unsigned long hash = 14695981039346656037ul;
  for (const zelvik::Object* object : world.getObjList()) {
    zelvik::Vec3 p;
    zelvik::Mat33 R;
    object->getPosition(0, p);
    object->getOrientation(0, R);
    unsigned char bytes[96];
    std::memcpy(bytes, p.v, 24);
    std::memcpy(bytes + 24, R.v, 72);
    for (const unsigned char byte : bytes) hash = (hash ^ byte) * 1099511628211ul;
  }
  return hash;
}

void measure(const Case& c, World::BroadPhase kind, const char* kindName, int runs) {
  std::vector<double> times;
  double contacts = 0.0;
  unsigned long hash = 0;
  for (int run = 0; run < runs; ++run) {
    Scene scene = c.make();
    scene.world->setBroadPhase(kind);
    for (int i = 0; i < c.warmUp; ++i) scene.world->integrate();
    contacts = 0.0;
    const double begin = cpuSeconds();
    for (int i = 0; i < c.steps; ++i) {
      scene.world->integrate();
      contacts += static_cast<double>(scene.world->getContactProblems().size());
    }
    times.push_back(1e6 * (cpuSeconds() - begin) / c.steps);
    contacts /= c.steps;
    hash = stateHash(*scene.world);
  }
  std::sort(times.begin(), times.end());
  std::printf(
      "{\"scene\": \"%s\", \"broad_phase\": \"%s\", \"us_per_step\": {\"median\": %.2f, \"min\": "
      "%.2f, "
      "\"max\": %.2f}, \"runs\": %d, \"contacts\": %.1f, \"state_hash\": \"%016lx\"}\n",
      c.name, kindName, times[times.size() / 2], times.front(), times.back(), runs, contacts, hash);
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 5;
  const Case cases[] = {
      {"quadruped standing", 800, 4000, [] { return robotScene("quadruped.urdf", 0.0025, true); }},
      {"quadruped in the air", 100, 4000,
       [] { return robotScene("quadruped.urdf", 0.0025, false); }},
      {"humanoid standing", 800, 2000, [] { return robotScene("humanoid.urdf", 0.001, true); }},
      {"216 spheres", 0, 400, [] { return piledScene(6, true); }},
      {"216 boxes", 0, 400, [] { return piledScene(6, false); }},
      {"pyramid of 55 boxes", 0, 400, pyramidScene},
  };
  for (const Case& c : cases) {
    measure(c, World::BroadPhase::HASH, "hash", runs);
    measure(c, World::BroadPhase::SIMPLE, "simple", runs);
    measure(c, World::BroadPhase::SWEEP_AND_PRUNE, "sweep and prune", runs);
  }
}
