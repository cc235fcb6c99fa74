// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include "StandingRobot.hpp"

// A warmed-up step of the standing quadruped allocates nothing. The C library's allocation
// functions are replaced for this program and count while the switch is on; every C++ allocation
// ends in them. With a broad phase that does not allocate, the count covers the whole step. A
// sanitizer has its own functions in their place: there the test is left out.

#if !defined(__SANITIZE_ADDRESS__)

namespace {
bool counting = false;
size_t allocations = 0;
}  // namespace

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

TEST(Allocation, WarmedUpStepOfAStandingRobotHasNone) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  scene.world.setBroadPhase(World::BroadPhase::SIMPLE);
  for (int i = 0; i < 400; ++i) scene.world.integrate();
  ASSERT_EQ(scene.groundContacts(), 4u);
  counting = true;
  void* volatile probe = std::malloc(8);  // the counter counts
  const size_t offset = allocations;
  for (int i = 0; i < 400; ++i) scene.world.integrate();
  const size_t after = allocations;
  counting = false;
  std::free(probe);
  EXPECT_EQ(offset, 1u);
  EXPECT_EQ(after - offset, 0u);
}

}  // namespace
}  // namespace zelvik

#endif
