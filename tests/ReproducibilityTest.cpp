// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <zelvik/World.hpp>

#include "Sanitizers.hpp"
#include "StateHash.hpp"
#include "Terrain.hpp"

// Equal programs give equal bits, whatever else the process does and wherever its memory lies.

namespace zelvik {
namespace {

#if defined(ZELVIK_SANITIZED)
constexpr int kSteps = 500;
#else
constexpr int kSteps = 10000;
#endif

const std::string kModels = ZELVIK_MODEL_DIR;

/// Everything at once: terrain, all shapes, a compound, meshes, a robot with motors, both wires.
std::unique_ptr<World> mixedWorld(World::BroadPhase broadPhase = World::BroadPhase::AUTO) {
  auto world = std::make_unique<World>();
  world->setBroadPhase(broadPhase);
  world->setTimeStep(0.002);
  world->setMaterialPairProp("rubber", "rock", 0.6, 0.3, 0.05);
  TerrainProperties hills = scenes::hills(8.0, 0.1, 0.3);
  world->addHeightMap(0.0, 0.0, hills, "rock")->setExactContacts(true);
  Sphere* ball = world->addSphere(0.15, 1.0, "rubber");
  ball->setPosition(0.0, 0.0, 1.0);
  world->addBox(0.3, 0.2, 0.1, 1.0, "rubber")->setPosition(0.1, 0.05, 1.4);
  world->addCylinder(0.1, 0.3, 1.0)->setPosition(1.0, 0.0, 0.8);
  Capsule* capsule = world->addCapsule(0.1, 0.3, 1.0);
  capsule->setPosition(1.05, 0.0, 1.2);
  Compound::CompoundObjectChild part{SPHERE, {0.1}, "rubber", Mat33::identity(), {{0.2, 0.0, 0.0}}};
  Compound::CompoundObjectChild other = part;
  other.position = {{-0.2, 0.0, 0.0}};
  world->addCompound({part, other}, 2.0, {}, 0.1 * Mat33::identity())->setPosition(0.0, 1.0, 0.8);
  for (int i = 0; i < 2; ++i)
    world->addMesh(kModels + "/meshes/octahedron.obj", 1.0, 0.02 * Mat33::identity(), {}, 0.2)
        ->setPosition(-1.0, 0.05 * i, 0.8 + 0.4 * i);
  ArticulatedSystem* robot = world->addArticulatedSystem(kModels + "/quadruped.urdf");
  VecDyn gain(robot->getDOF()), target = robot->getGeneralizedCoordinate();
  for (size_t i = 0; i < gain.n; ++i) gain[i] = i < 6 ? 0.0 : 60.0;
  robot->setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(gain);
  robot->setPTarget(target);
  robot->setBasePos(Vec3{{-1.5, -1.5, 1.0}});
  world->addStiffWire(robot, 0, {}, ball, 0, {}, 1.5);
  world->addCompliantWire(robot, 0, {}, capsule, 0, {}, 1.5, 30.0);
  return world;
}

/// Hash of all steps' hashes.
class HashedRun {
 public:
  explicit HashedRun(World::BroadPhase broadPhase = World::BroadPhase::AUTO)
      : world_(mixedWorld(broadPhase)) {}
  void step() {
    world_->integrate();
    hash_ = 31 * hash_ + scenes::stateHash(*world_);
  }
  std::uint64_t finish(int steps = kSteps) {
    while (world_->getStepCount() < static_cast<size_t>(steps)) step();
    return hash_;
  }

 private:
  std::unique_ptr<World> world_;
  std::uint64_t hash_ = 0;
};

TEST(Reproducibility, EqualProgramsGiveEqualBits) {
  const std::uint64_t hash = HashedRun().finish();
  // Again, in memory that has been used, in turns with a second one, while others come and go.
  std::vector<std::unique_ptr<World>> noise;
  std::vector<std::vector<char>> heap;
  HashedRun a, b;
  for (int i = 0; i < kSteps; ++i) {
    if (i % 50 == 0) heap.emplace_back(static_cast<size_t>(37 * i % 4001), 'x');
    if (i % 200 == 0 && noise.size() < 5) noise.push_back(mixedWorld());
    if (i % 300 == 0) noise.erase(noise.begin());
    if (i % 10 == 0 && !noise.empty()) noise.front()->integrate();
    i % 2 == 0 ? a.step() : b.step();
  }
  EXPECT_EQ(b.finish(), hash);
  EXPECT_EQ(a.finish(), hash);
}

// Only for `ProcessesAgree`, which calls it by name.
TEST(Reproducibility, DISABLED_PrintHash) {
  std::printf("hash %lx", HashedRun().finish());
  for (const auto kind : {World::BroadPhase::HASH, World::BroadPhase::SIMPLE,
                          World::BroadPhase::SWEEP_AND_PRUNE, World::BroadPhase::QUADTREE})
    std::printf(" %lx", HashedRun(kind).finish(kSteps / 10));
  std::printf("\n");
}

/// The hash that `DISABLED_PrintHash` prints in a process of its own.
std::string hashOfProcess(const std::string& environment) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = environment + " '" + self + "' --gtest_also_run_disabled_tests " +
                              "--gtest_filter=Reproducibility.DISABLED_PrintHash 2>&1";
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string hash;
  for (char line[256]; pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr;)
    if (std::string(line).rfind("hash ", 0) == 0) hash = line;
  if (pipe == nullptr || pclose(pipe) != 0) return "";
  return hash;
}

// Each process has its addresses at random; the environment fills memory that is allocated or freed
// with other bytes (of the C library's own allocator), so that a value which nobody set would show.
TEST(Reproducibility, ProcessesAgree) {
  std::set<std::string> hashes;
  for (const char* environment :
       {"", "MALLOC_PERTURB_=85", "MALLOC_PERTURB_=170 MALLOC_ARENA_MAX=1"})
    hashes.insert(hashOfProcess(environment));
  EXPECT_EQ(hashes.size(), 1u);
  EXPECT_NE(*hashes.begin(), "");
}

}  // namespace
}  // namespace zelvik
