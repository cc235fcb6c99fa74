// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "StandingRobot.hpp"
#include "Terrain.hpp"

// A warmed-up step allocates nothing. The C library's allocation
// functions are replaced for this program and count while the switch is on; every C++ allocation
// ends in them. The default broad phase does not allocate, so the count covers the whole step. A
// sanitizer has its own functions in their place: there the test is left out.

#include "Sanitizers.hpp"

#if !defined(ZELVIK_SANITIZED)

namespace {
bool counting = false;
size_t allocations = 0;
size_t failingNew = 0;  ///< counts down to the allocation of C++ that fails; 0 for none
}  // namespace

void* operator new(size_t size) {
  if (failingNew > 0 && --failingNew == 0) throw std::bad_alloc();
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  std::free(block);
}

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
  if (counting) ++allocations;
  return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  if (counting) ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
  if (counting) ++allocations;
  return __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
  if (counting) ++allocations;
  return __libc_memalign(alignment, size);
}
int posix_memalign(void** block, size_t alignment, size_t size) {
  if (counting) ++allocations;
  *block = __libc_memalign(alignment, size);
  return *block != nullptr ? 0 : 12;
}
}

namespace zelvik {
namespace {

/// Allocations of `steps` steps of the world, each with a look at its contacts if `asks`.
size_t countAllocations(World& world, int steps, bool asks = false) {
  counting = true;
  void* volatile probe = std::malloc(8);  // the counter counts
  const size_t offset = allocations;
  for (int i = 0; i < steps; ++i) {
    world.integrate();
    if (asks) world.getContactReport();
  }
  const size_t after = allocations;
  counting = false;
  std::free(probe);
  EXPECT_GT(offset, 0u);
  return after - offset;
}

/// Allocations of 400 steps, after some to warm up. Lists grow until each has met its longest, and
/// when that is depends on rounding: what is still growing gets a few more turns. A step that
/// allocates by habit does so in each of them.
size_t allocationsOf(World& world, bool asks = false) {
  for (int i = 0; i < 400; ++i) world.integrate();
  size_t count = countAllocations(world, 400, asks);
  for (int turn = 0; turn < 12 && count > 0; ++turn) count = countAllocations(world, 400, asks);
  return count;
}

TEST(Allocation, WarmedUpStepOfAStandingRobotHasNone) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  EXPECT_EQ(allocationsOf(scene.world), 0u);
  EXPECT_EQ(scene.groundContacts(), 4u);
  scene.world.setLedger(true);
  scene.world.setWatch();
  scene.world.setContactHistory(true);
  EXPECT_EQ(allocationsOf(scene.world, true), 0u) << "with reports";
}

TEST(Allocation, SavingAndRestoringAMomentHasNone) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  World& world = scene.world;
  world.setWarmStart(true);
  for (int i = 0; i < 400; ++i) world.integrate();
  State state;
  const auto goBackAndForth = [&] {
    for (int i = 0; i < 10; ++i) {
      world.saveState(state);
      for (int k = 0; k < 3; ++k) world.integrate();
      world.restoreState(state);
      world.getStateHash();
    }
  };
  goBackAndForth();
  const size_t before = allocations;
  counting = true;
  goBackAndForth();
  counting = false;
  EXPECT_EQ(allocations - before, 0u);
}

TEST(Allocation, WarmedUpStepOfAPileHasNone) {
  for (const bool warmStart : {false, true}) {
    World world;
    world.setWarmStart(warmStart);
    world.addGround();
    for (int i = 0; i < 12; ++i) {
      world.addSphere(0.1, 1.0)->setPosition(0.15 * (i % 4), 0.15 * (i / 4), 0.1 + 0.3 * (i % 2));
      world.addBox(0.2, 0.2, 0.2, 1.0)->setPosition(2.0 + 0.01 * i, 0.0, 0.1 + 0.2 * i);
    }
    EXPECT_EQ(allocationsOf(world), 0u);
    EXPECT_GT(world.getContactProblems().size(), 40u);
  }
}

TEST(Allocation, WarmedUpStepWithWiresHasNone) {
  World world;
  world.addGround();
  Box* anchor = world.addBox(0.1, 0.1, 0.1, 1.0);
  anchor->setBodyType(STATIC);
  anchor->setPosition(0, 0, 3);
  SingleBodyObject *above = anchor, *below = nullptr;
  for (int i = 0; i < 4; ++i, above = below) {
    below = world.addSphere(0.05, 1.0);
    below->setPosition(0, 0, 2.5 - 0.5 * i);
    if (i % 2 == 0)
      world.addStiffWire(above, 0, {}, below, 0, {}, 0.5);
    else
      world.addCompliantWire(above, 0, {}, below, 0, {}, 0.5, 1000.0);
  }
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/arm.urdf");
  world.addCompliantWire(robot, robot->getBodyCount() - 1, {}, anchor, 0, {}, 1.0, 100.0);
  EXPECT_EQ(allocationsOf(world), 0u);
}

TEST(Allocation, WarmedUpStepOnTerrainHasNone) {
  World world;
  TerrainProperties hills = scenes::hills(6.0, 0.2, 1.5);
  world.addHeightMap(0.0, 0.0, hills);
  for (int i = 0; i < 8; ++i)
    world.addSphere(0.15, 1.0)->setPosition(0.5 * (i % 4) - 1.0, i < 4 ? 0.3 : -0.3, 1.0);
  EXPECT_EQ(allocationsOf(world), 0u);
}

/// A step and rays in a world whose colliders allocate, where one allocation fails.
/// @return whether any did
bool survivesAFailure(World::BroadPhase phase, size_t failing) {
  World world;
  world.setBroadPhase(phase);
  world.addHeightMap(3, 3, 2.0, 2.0, 0.0, 0.0, std::vector<double>(9, 0.0));
  for (int i = 0; i < 3; ++i)
    world.addMesh(ZELVIK_MODEL_DIR "/meshes/octahedron.obj", 1.0, Mat33::identity(), {}, 0.2)
        ->setPosition(0.1 * i, 0.0, 0.1);
  for (int i = 0; i < 40; ++i) world.addSphere(0.1, 1.0)->setPosition(0.01 * i, 0.0, 0.05);
  bool failed = false;
  failingNew = failing;
  try {
    world.integrate1();
    world.rayTest(Vec3{{0.1, 0.0, 1.0}}, Vec3{{0.0, 0.0, -1.0}}, 5.0);
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  failingNew = 0;
  world.integrate();
  EXPECT_GT(world.getContactProblems().size(), 100u);
  EXPECT_GT(world.rayTest(Vec3{{0.1, 0.0, 1.0}}, Vec3{{0.0, 0.0, -1.0}}, 5.0).count, 0u);
  return failed;
}

// ODE would end the process with a space that an exception has left locked. Its hash space
// allocates by itself while it is locked: there only the first allocation, which tries for it, can
// fail.
TEST(Allocation, AFailedOneInAStepLeavesTheWorldUsable) {
  for (const auto phase : {World::BroadPhase::AUTO, World::BroadPhase::SIMPLE,
                           World::BroadPhase::SWEEP_AND_PRUNE, World::BroadPhase::QUADTREE}) {
    size_t failing = 1;
    while (survivesAFailure(phase, failing)) failing += 1 + failing / 8;
    EXPECT_GT(failing, 20u) << static_cast<int>(phase);
  }
  EXPECT_TRUE(survivesAFailure(World::BroadPhase::HASH, 1));
}

}  // namespace
}  // namespace zelvik

#endif
