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

Vec3 gridPoint(const HeightMap& map, size_t i, size_t j) {
  const double dx = map.getXSize() / static_cast<double>(map.getXSamples() - 1);
  const double dy = map.getYSize() / static_cast<double>(map.getYSamples() - 1);
  return {{map.getCenterX() - 0.5 * map.getXSize() + static_cast<double>(i) * dx,
           map.getCenterY() - 0.5 * map.getYSize() + static_cast<double>(j) * dy,
           map.getHeightMap()[j * map.getXSamples() + i]}};
}

/// Calls `visit(a, b, c)` with the corners of every triangle of the map.
template <typename Visit>
void forTriangles(const HeightMap& map, Visit&& visit) {
  for (size_t j = 0; j + 1 < map.getYSamples(); ++j)
    for (size_t i = 0; i + 1 < map.getXSamples(); ++i) {
      const Vec3 a = gridPoint(map, i, j), b = gridPoint(map, i + 1, j + 1);
      visit(a, gridPoint(map, i + 1, j), b);
      visit(a, b, gridPoint(map, i, j + 1));
    }
}

/// Distance along the unit ray to the triangle; -1 for none.
double rayTriangle(const Vec3& start, const Vec3& d, const Vec3& a, const Vec3& b, const Vec3& c) {
  const Vec3 n = cross(b - a, c - a);
  const double t = dot(a - start, n) / dot(d, n);
  const Vec3 p = start + t * d;
  const bool inside = dot(cross(b - a, p - a), n) >= 0.0 && dot(cross(c - b, p - b), n) >= 0.0 &&
                      dot(cross(a - c, p - c), n) >= 0.0;
  return inside ? t : -1.0;
}

double raySphere(const Vec3& start, const Vec3& d, const Vec3& center, double radius) {
  const Vec3 m = start - center;
  const double b = dot(m, d), q = b * b - squaredNorm(m) + radius * radius;
  return q < 0.0 ? -1.0 : -b - std::sqrt(q);
}

/// A box as its six faces, each of two triangles.
double rayCube(const Vec3& start, const Vec3& d, const Box& box) {
  std::vector<float> v;
  std::vector<unsigned int> f;
  scenes::cubeMesh(0.5, v, f);
  double nearest = -1.0;
  for (size_t k = 0; k < f.size(); k += 3) {
    Vec3 corner[3];
    for (size_t i = 0; i < 3; ++i) {
      const float* p = &v[3 * f[k + i]];
      box.getPosition(0, Vec3{{p[0], p[1], p[2]}}, corner[i]);
    }
    const double t = rayTriangle(start, d, corner[0], corner[1], corner[2]);
    if (t > 0.0 && (nearest < 0.0 || t < nearest)) nearest = t;
  }
  return nearest;
}

TEST(WorldRay, HitsAreThoseOfBruteForce) {
  World world;
  TerrainProperties hills = scenes::hills(6.0, 0.3, 1.5);
  HeightMap* map = world.addHeightMap(1.0, -2.0, hills);
  std::mt19937 generator(3);
  std::uniform_real_distribution<double> draw(-1.0, 1.0);
  const auto inside = [&](double z) {
    return Vec3{{1.0 + 2.5 * draw(generator), -2.0 + 2.5 * draw(generator), z + draw(generator)}};
  };
  std::vector<Box*> boxes;
  std::vector<Sphere*> spheres;
  for (int i = 0; i < 6; ++i) {
    boxes.push_back(world.addBox(0.5, 0.5, 0.5, 1.0));
    boxes.back()->setPosition(inside(2.0));
    boxes.back()->setOrientation(Eigen::Quaterniond(1.0, draw(generator), draw(generator), 0.3));
    spheres.push_back(world.addSphere(0.3, 1.0));
    spheres.back()->setPosition(inside(2.0));
  }
  size_t hitsOnBodies = 0, hitsOnGround = 0;
  for (int ray = 0; ray < 400; ++ray) {
    Vec3 start = inside(4.5), d = inside(1.0) - start;
    const double length = 1.5 * norm(d);
    d *= 1.0 / norm(d);
    std::vector<double> expected, found;
    const auto expect = [&](double t) {
      if (t > 0.0 && t < length) expected.push_back(t);
    };
    for (Box* box : boxes) expect(rayCube(start, d, *box));
    for (Sphere* sphere : spheres) expect(raySphere(start, d, sphere->getComPosition(), 0.3));
    hitsOnBodies += expected.size();
    forTriangles(*map, [&](const Vec3& a, const Vec3& b, const Vec3& c) {
      expect(rayTriangle(start, d, a, b, c));
    });
    const RayHitList& list = world.rayTest(start, 3.0 * d, length);
    for (size_t k = 0; k < list.count; ++k) {
      found.push_back(list.hits[k].geom.depth);
      hitsOnGround += list.hits[k].object == map ? 1 : 0;
      EXPECT_LT(norm(list.hits[k].position - start - found.back() * d), 1e-9);
    }
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    ASSERT_EQ(found.size(), expected.size()) << ray;
    for (size_t k = 0; k < found.size(); ++k) ASSERT_NEAR(found[k], expected[k], 1e-9);
  }
  EXPECT_GT(hitsOnBodies, 60u);
  EXPECT_GT(hitsOnGround, 300u);
}

TEST(WorldRay, BadDirectionsHitNothingAndTheMaskSelects) {
  World world;
  world.addHeightMap(2, 2, 4.0, 4.0, 0.0, 0.0, {0, 0, 0, 0});
  world.addSphere(0.2, 1.0, "", 4, 8)->setPosition(0, 0, 1.0);  // does not look for group 1
  const Vec3 start{{0.1, 0.05, 3.0}}, down{{0, 0, -1}};
  EXPECT_EQ(world.rayTest(start, down, 10.0).count, 2u);
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, 4).count, 2u);  // the map looks for group 1
  world.getObjList()[0]->updateCollision();
  static_cast<HeightMap*>(world.getObjList()[0])->setCollisionMask(2);
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, 4).hits[0].object, world.getObjList()[1]);
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, World::kGroundGroup).count, 1u);
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, 2).count, 0u);
  for (const Vec3& bad : {Vec3{}, Vec3{{NAN, 0, -1}}, Vec3{{0, 0, -INFINITY}}})
    EXPECT_EQ(world.rayTest(start, bad, 10.0).count, 0u);
  EXPECT_EQ(world.rayTest(start, down, NAN).count, 0u);
  EXPECT_EQ(world.rayTest(Vec3{{NAN, 0, 0}}, down, 10.0).count, 0u);
}

TEST(WorldTerrain, ABallTouchesWhereverItsDistanceSaysSo) {
  // Small cells and ones larger than the ball; distances by brute force over all triangles.
  for (double cell : {0.05, 0.4}) {
    World world;
    TerrainProperties hills = scenes::hills(2.0, cell, 1.0, 11);
    HeightMap* map = world.addHeightMap(0.0, 0.0, hills);
    map->setPosition(0.3, 0.2, 0.1);
    Sphere* ball = world.addSphere(0.15, 1.0);
    std::mt19937 generator(4);
    std::uniform_real_distribution<double> draw(-1.0, 1.0);
    size_t touches = 0;
    for (int i = 0; i < 200; ++i) {
      const double x = 0.9 * draw(generator), y = 0.9 * draw(generator);
      const Vec3 p{{x, y, map->getHeight(x, y) + 0.15 + 0.1 * draw(generator)}};
      double distance = 1e9;
      forTriangles(*map, [&](const Vec3& a, const Vec3& b, const Vec3& c) {
        for (int u = 0; u <= 40; ++u)  // a grid of points: too far by 1e-4 of a cell's square
          for (int v = 0; u + v <= 40 && norm(a - p) < 0.3 + 2.0 * cell; ++v)
            distance =
                std::min(distance, norm(a + (u / 40.0) * (b - a) + (v / 40.0) * (c - a) - p));
      });
      Vec3 world1;
      map->SingleBodyObject::getPosition(0, p, world1);
      ball->setPosition(world1);
      world.integrate1();
      double deepest = 0.0;
      for (const contact::Contact& c : ball->getContacts()) deepest = std::max(deepest, -c.depth_);
      ASSERT_NEAR(deepest, std::max(0.15 - distance, 0.0), 0.01 * cell) << x << " " << y;
      touches += ball->getContacts().size();
    }
    EXPECT_GT(touches, 80u);
  }
}

TEST(WorldTerrain, BodiesComeToRestOnTheSurface) {
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.3));
  for (double cell : {0.3, 0.1})
    for (unsigned seed : {8u, 9u}) {
      scenes::BodiesOnTerrain scene(cell, obj.path, seed);
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
        EXPECT_LT(sinking[k], bound[k]) << "body " << k << " cell " << cell << " seed " << seed;
        EXPECT_GT(sinking[k], -2e-3) << "body " << k << " floats";
        EXPECT_LT(norm(scene.bodies[k]->getLinearVelocity()), 0.1) << "body " << k;
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
  EXPECT_GT(lowest, 0.05);  // on its back it lies on a trunk of 0.14 m
  EXPECT_LT(deepest, 6e-3);  // a foot that comes down at 2 m/s goes that far in one step
  EXPECT_LT(scene.robot->getGeneralizedVelocity().e().norm(), 0.05);
}

TEST(WorldTerrain, BodiesFlushAtTheEdgesDoNotEndTheProcess) {
  for (size_t samples : {24, 42, 47, 62, 64, 78}) {
    World world;
    world.addHeightMap(samples, samples, 10.0, 10.0, 0.0, 0.0,
                       std::vector<double>(samples * samples, 0.0));
    for (double x : {-1.0, 0.0, 1.0})
      for (double y : {-1.0, 0.0, 1.0}) {
        if (x == 0.0 && y == 0.0) continue;
        world.addBox(1, 1, 1, 1.0)->setPosition(5.5 * x, 5.5 * y, 0.2);
        world.addSphere(0.5, 1.0)->setPosition(5.5 * x, 5.5 * y, 0.2);
        world.addCylinder(0.5, 1.0, 1.0)->setPosition(5.5 * x, 5.5 * y, 0.2);
      }
    for (int i = 0; i < 3; ++i) world.integrate();
    // Straight down beside each edge and on it, and along the edges.
    for (double x : {-5.0, 5.0}) {
      world.rayTest(Vec3{{x, 0.5, 1}}, Vec3{{0, 0, -1}}, 5.0);
      world.rayTest(Vec3{{x, -9, 0.5}}, Vec3{{0, 1, -0.01}}, 20.0);
      world.rayTest(Vec3{{-9, x, 0.5}}, Vec3{{1, 0, -0.01}}, 20.0);
    }
    EXPECT_EQ(world.getStepCount(), 3u);
  }
}

}  // namespace
}  // namespace zelvik
