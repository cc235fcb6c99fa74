// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <zelvik/World.hpp>

#include "Messages.hpp"
#include "StateHash.hpp"
#include "Terrain.hpp"

// Worlds on several threads, each world on one of them: the results are those of the same worlds
// one after the other. The tests matter most under the thread sanitizer (preset tsan).

namespace zelvik {
namespace {

constexpr size_t kThreads = 4;
constexpr int kSteps = 150;

const std::string kModels = ZELVIK_MODEL_DIR;

/// The result of `action` for 0, 1, ..., each on its own thread.
std::vector<std::uint64_t> inParallel(const std::function<std::uint64_t(size_t)>& action) {
  std::vector<std::uint64_t> results(kThreads);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i)
    threads.emplace_back([&results, &action, i] { results[i] = action(i); });
  for (std::thread& thread : threads) thread.join();
  return results;
}

std::vector<std::uint64_t> oneByOne(const std::function<std::uint64_t(size_t)>& action) {
  std::vector<std::uint64_t> results;
  for (size_t i = 0; i < kThreads; ++i) results.push_back(action(i));
  return results;
}

std::uint64_t step(World& world) {
  for (int i = 0; i < kSteps; ++i) world.integrate();
  return scenes::stateHash(world);
}

void addPile(World& world, double shift) {
  for (int i = 0; i < 3; ++i) {
    const double z = 0.5 + 0.4 * i;
    world.addSphere(0.15, 1.0)->setPosition(shift, 0.0, z);
    world.addBox(0.3, 0.2, 0.25, 1.0)->setPosition(0.6 + shift, 0.01 * i, z);
    world.addCapsule(0.1, 0.2, 1.0)->setPosition(1.2 - 0.02 * i, shift, z);
    world.addCylinder(0.1, 0.2, 1.0)->setPosition(-0.6, shift + 0.01 * i, z);
  }
}

/// Shapes, a robot and a wire on terrain; each number another world.
std::uint64_t runTerrainWorld(size_t number) {
  World world;
  TerrainProperties hills = scenes::hills(6.0, 0.1, 0.3, static_cast<std::uint32_t>(number));
  HeightMap* terrain = world.addHeightMap(0.0, 0.0, hills);
  terrain->setExactContacts(number % 2 == 0);
  addPile(world, 0.01 * static_cast<double>(number));
  ArticulatedSystem* robot = world.addArticulatedSystem(kModels + "/quadruped.urdf");
  robot->setBasePos(Vec3{{-1.5, 0.0, 0.9}});
  world.addCompliantWire(robot, 0, {}, world.getObjList()[1], 0, {}, 1.0, 50.0);
  return step(world);
}

/// Meshes on each other, on all kinds of shapes, and met by rays.
std::uint64_t runMeshWorld(size_t number) {
  World world;
  world.addGround();
  for (int i = 0; i < 4; ++i) {
    Mesh* mesh = world.addMesh(kModels + "/meshes/octahedron.obj", 1.0, 0.02 * Mat33::identity(),
                               Vec3{}, 0.2);
    mesh->setPosition(0.05 * i + 0.01 * static_cast<double>(number), 0.0, 0.3 + 0.35 * i);
  }
  addPile(world, 0.1);
  double hits = 0.0;
  for (int i = 0; i < kSteps; ++i) {
    world.integrate();
    hits += static_cast<double>(
        world.rayTest(Vec3{{0.0, 0.0, 5.0}}, Vec3{{0.0, 0.01, -1.0}}, 10.0).count);
  }
  return scenes::stateHash(world) + static_cast<std::uint64_t>(hits);
}

TEST(Threads, WorldsOfPrimitivesAndHeightMapsAreIndependent) {
  EXPECT_EQ(inParallel(runTerrainWorld), oneByOne(runTerrainWorld));
}

TEST(Threads, MeshesCollideCorrectly) {
  EXPECT_EQ(inParallel(runMeshWorld), oneByOne(runMeshWorld));
}

// The count of ODE, the locale of numbers, all readers and the messages are shared by all worlds.
TEST(Threads, WorldsComeAndGo) {
  const auto comeAndGo = [](size_t number) {
    std::uint64_t sum = 0;
    for (int i = 0; i < 6; ++i) {
      World empty;
      empty.setERP(-1.0, 0.0);  // a warning
      for (const char* file : {"bodies", "height_maps", "robot_on_terrain"}) {
        World world(kModels + "/worlds/" + file + ".xml");
        world.integrate();
        sum += (number + 1) * scenes::stateHash(world);
      }
    }
    return sum;
  };
  std::vector<std::uint64_t> parallel, serial;
  const std::string printed = messages::of([&] {
    parallel = inParallel(comeAndGo);
    serial = oneByOne(comeAndGo);
  });
  EXPECT_EQ(parallel, serial);
  size_t warnings = 0;
  for (size_t p = printed.find("ERP"); p != std::string::npos; p = printed.find("ERP", p + 1))
    ++warnings;
  EXPECT_EQ(warnings, 2 * kThreads * 6);
}

}  // namespace
}  // namespace zelvik
