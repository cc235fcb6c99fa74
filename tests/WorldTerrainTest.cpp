// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <zelvik/World.hpp>

#include "Terrain.hpp"
#include "TerrainTestTools.hpp"

// Generated terrain in a world: rays, bodies that come to rest, a robot that is pushed about.

namespace zelvik {
namespace {

using namespace terrain_test;

TEST(WorldRay, HitsAreThoseOfBruteForce) {
  World world;
  TerrainProperties hills = scenes::hills(6.0, 0.3, 1.5);
  HeightMap* map = world.addHeightMap(1.0, -2.0, hills);
  std::mt19937 generator(3);
  std::uniform_real_distribution<double> draw(-1.0, 1.0);
  const auto inside = [&](double z) {
    return Vec3{{1.0 + 2.5 * draw(generator), -2.0 + 2.5 * draw(generator), z + draw(generator)}};
  };
  std::vector<Sphere*> spheres;
  for (int i = 0; i < 10; ++i) {
    spheres.push_back(world.addSphere(0.3, 1.0));
    spheres.back()->setPosition(inside(2.0));
  }
  size_t hits = 0;
  for (int ray = 0; ray < 400; ++ray) {
    Vec3 start = inside(4.5), d = inside(1.0) - start;
    const double length = 1.5 * norm(d);
    d *= 1.0 / norm(d);
    std::vector<double> expected, found;
    for (Sphere* sphere : spheres) {
      const Vec3 m = start - sphere->getComPosition();
      const double q = dot(m, d) * dot(m, d) - squaredNorm(m) + 0.09, t = -dot(m, d) - std::sqrt(q);
      if (q > 0.0 && t > 0.0 && t < length) expected.push_back(t);
    }
    HeightMapRayHit ground[100];  // tested against all triangles elsewhere
    const size_t count = map->rayHits(start, d, length, ground, 100);
    for (size_t k = 0; k < count; ++k) expected.push_back(ground[k].distance);
    const RayHitList& list = world.rayTest(start, 3.0 * d, length);
    for (size_t k = 0; k < list.count; ++k) {
      found.push_back(list.hits[k].geom.depth);
      EXPECT_LT(norm(list.hits[k].position - start - found.back() * d), 1e-9);
    }
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    ASSERT_EQ(found.size(), expected.size()) << ray;
    for (size_t k = 0; k < found.size(); ++k, ++hits) ASSERT_NEAR(found[k], expected[k], 1e-9);
  }
  EXPECT_GT(hits, 400u);
}

TEST(WorldRay, BadDirectionsHitNothingAndTheMaskSelects) {
  World world;
  world.addHeightMap(2, 2, 4.0, 4.0, 0.0, 0.0, {0, 0, 0, 0});
  world.addSphere(0.2, 1.0, "", 4, 8)->setPosition(0, 0, 1.0);  // does not look for group 1
  const Vec3 start{{0.1, 0.05, 3.0}}, down{{0, 0, -1}};
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, 4).count, 2u);  // the map looks for group 1
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, World::kGroundGroup).count, 1u);
  EXPECT_EQ(world.rayTest(start, Vec3{}, 10.0).count, 0u);
  EXPECT_EQ(world.rayTest(start, Vec3{{NAN, 0, -1}}, 10.0).count, 0u);
}

TEST(WorldTerrain, ABallTouchesWhereverItsDistanceSaysSo) {
  // Small cells and ones larger than the ball; distances to the points of a fine grid.
  for (double cell : {0.05, 0.4}) {
    World world;
    TerrainProperties hills = scenes::hills(2.0, cell, 1.0, 11);
    HeightMap* map = world.addHeightMap(0.0, 0.0, hills);
    map->setExactContacts(true);
    Sphere* ball = world.addSphere(0.15, 1.0);
    std::mt19937 generator(4);
    std::uniform_real_distribution<double> draw(-1.0, 1.0);
    size_t touches = 0;
    for (int i = 0; i < 100; ++i) {
      const double x = 0.7 * draw(generator), y = 0.7 * draw(generator);
      const Vec3 p{{x, y, map->getHeight(x, y) + 0.15 + 0.1 * draw(generator)}};
      double distance = 1e9;
      for (int u = -60; u <= 60; ++u)
        for (int v = -60; v <= 60; ++v) {
          const double qx = x + u * 0.005, qy = y + v * 0.005;
          distance = std::min(distance, norm(Vec3{{qx, qy, map->getHeight(qx, qy)}} - p));
        }
      ball->setPosition(p);
      world.integrate1();
      double deepest = 0.0;
      for (const contact::Contact& c : ball->getContacts()) deepest = std::max(deepest, -c.depth_);
      ASSERT_NEAR(deepest, std::max(0.15 - distance, 0.0), 1e-3) << x << " " << y;
      touches += ball->getContacts().size();
    }
    EXPECT_GT(touches, 40u);
  }
}

TEST(WorldTerrain, BodiesComeToRestOnTheSurface) {
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.3));
  for (double cell : {0.3, 0.1}) {
    scenes::BodiesOnTerrain scene(cell, obj.path, 8);
    for (int i = 0; i < 1600; ++i) scene.world.integrate();
    double sinking[5] = {-1, -1, -1, -1, -1};
    for (int i = 0; i < 400; ++i) {
      scene.world.integrate();
      for (size_t k = 0; k < 5 && i % 20 == 0; ++k)
        sinking[k] = std::max(sinking[k], scene.sinkingOf(k));
    }
    // A corner of the ground pokes into the faces of the box and the cube unseen, by millimetres
    // on large cells; the round bodies sink in no deeper than by landing.
    const double bound[5] = {8e-3, 1e-3, 1e-3, 1e-3, 5e-3};
    for (size_t k = 0; k < 5; ++k) {
      EXPECT_LT(sinking[k], bound[k]) << "body " << k << " cell " << cell;
      EXPECT_GT(sinking[k], -2e-3) << "body " << k << " floats";
      // The ball may still roll down, at a damped crawl.
      EXPECT_LT(norm(scene.bodies[k]->getLinearVelocity()), k == 1 ? 0.4 : 0.1) << "body " << k;
    }
  }
}

TEST(WorldTerrain, ARobotIsPushedAboutForTwentySeconds) {
  scenes::RobotOnTerrain scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  double lowest = 1e9, deepest = -1e9;
  for (int i = 0; i < 8000; ++i) {
    // A push of 0.2 s every 2 s, in ever another direction; the last ones knock it over.
    const double angle = 1.3 * (i / 800), push = i < 5600 ? 35.0 : 90.0;
    if (i % 800 < 80)
      scene.robot->setExternalForce(0, Vec3{{push * std::cos(angle), push * std::sin(angle), 0}});
    scene.world.integrate();
    lowest = std::min(lowest, scene.clearance());
    deepest = std::max(deepest, scene.deepestFoot());
    if (i < 5600) {
      ASSERT_LT(scene.tilt(), 0.4) << i;
    }
  }
  EXPECT_GT(lowest, 0.05);   // on its back it lies on a trunk of 0.14 m
  EXPECT_LT(deepest, 6e-3);  // a foot that comes down at 2 m/s goes that far in one step
  EXPECT_LT(scene.robot->getGeneralizedVelocity().e().norm(), 0.05);
}

}  // namespace
}  // namespace zelvik
