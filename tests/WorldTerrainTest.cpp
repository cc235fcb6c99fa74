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

TEST(WorldRay, BadDirectionsHitNothingLongRaysAllAndTheMaskSelects) {
  World world;
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.3));
  world.addMesh(obj.path, 1.0, Mat33::identity(), {}, 1.0)->setPosition(10.0, 0, 1.0);
  for (double angle = 0.0; angle < 6.0; angle += 0.1) {  // single precision would lose the mesh
    const Vec3 d{{std::cos(angle), std::sin(angle), -0.3}}, middle{{10.01, 0.02, 1.03}};
    for (double length : {10.0, 1e7, HUGE_VAL})
      EXPECT_EQ(world.rayTest(middle - 3.0 * d, d, length).count, 2u) << angle << " " << length;
  }
  world.addHeightMap(2, 2, 4.0, 4.0, 0.0, 0.0, {0, 0, 0, 0});
  world.addSphere(0.2, 1.0, "", 4, 8)->setPosition(0, 0, 1.0);  // does not look for group 1
  const Vec3 start{{0.1, 0.05, 3.0}}, down{{0, 0, -1}};
  EXPECT_EQ(world.rayTest(start, down, 10.0, false, 4).count, 2u);  // the map looks for group 1
  EXPECT_EQ(world.rayTest({0.1, 0.05, 3}, {0, 0, -1}, 10.0, false, World::kGroundGroup).count, 1u);
  EXPECT_EQ(world.rayTest(start.e(), 2.0 * down.e(), 10.0, false, 4).count, 2u);
  EXPECT_EQ(world.rayTest(start, Vec3{}, 10.0).count, 0u);
  EXPECT_EQ(world.rayTest(start, Vec3{{NAN, 0, -1}}, 10.0).count, 0u);
}

TEST(WorldTerrain, ABallTouchesWhereverItsDistanceSaysSo) {
  // Small cells and ones larger than the ball; distances to the points of a fine grid.
  for (double cell : {0.05, 0.4}) {
    World world;
    TerrainProperties hills = scenes::hills(2.0, cell, 1.0, 11);
    HeightMap* map = world.addHeightMap(0.0, 0.0, hills);
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
    for (int i = 0; i < 5000; ++i) scene.world.integrate();
    for (size_t k = 0; k < 5; ++k) {
      double sinking = -1.0, speed = 0.0;
      for (int i = 0; i < 100; ++i) {
        scene.world.integrate();
        sinking = std::max(sinking, scene.sinkingOf(k));
        speed = std::max(speed, norm(scene.bodies[k]->getLinearVelocity()));
      }
      EXPECT_LT(sinking, 1e-3) << "body " << k << " cell " << cell;
      EXPECT_GT(sinking, -5e-4) << "body " << k << " floats";
      // A cylinder may rock on its rim by as much.
      EXPECT_LT(speed, 0.05) << "body " << k << " cell " << cell;
    }
  }
}

TEST(WorldTerrain, PeaksAndRidgesTouchBetweenTheCornersOfABody) {
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.4));
  const double half = std::sqrt(0.5);
  const Vec4 upright{{1, 0, 0, 0}}, onEdge{{std::cos(M_PI / 8), 0, std::sin(M_PI / 8), 0}},
      lying{{half, half, 0, 0}};
  // A peak under the middle; a ridge along x, below an edge or a round side along y.
  const std::vector<double> peak{0, 0, 0, 0, 0.3, 0, 0, 0, 0},
      ridge{0, 0, 0, 0.3, 0.3, 0.3, 0, 0, 0};
  const struct {
    ObjectType type;
    const std::vector<double>& heights;
    Vec4 orientation;
    double reach;  ///< of the body below its centre (m)
  } table[] = {{BOX, peak, upright, 0.2},         {MESH, peak, upright, 0.2},
               {CYLINDER, peak, upright, 0.2},    {BOX, ridge, onEdge, 0.4 * half},
               {MESH, ridge, onEdge, 0.4 * half}, {CYLINDER, ridge, lying, 0.2},
               {CAPSULE, ridge, lying, 0.2}};
  for (const auto& row : table)
    for (double depth : {-0.002, 0.003}) {
      World world;
      world.addHeightMap(3, 3, 2.0, 2.0, 0.0, 0.0, row.heights);
      SingleBodyObject* body =
          row.type == BOX        ? static_cast<SingleBodyObject*>(world.addBox(0.4, 0.4, 0.4, 1.0))
          : row.type == MESH     ? world.addMesh(obj.path, 1.0, Mat33::identity(), {}, 1.0)
          : row.type == CYLINDER ? static_cast<SingleBodyObject*>(world.addCylinder(0.2, 0.4, 1.0))
                                 : world.addCapsule(0.2, 0.4, 1.0);
      const double x = &row.heights == &ridge ? 0.3 : 0.01;
      const auto& q = row.orientation;
      body->setOrientation(q[0], q[1], q[2], q[3]);
      body->setPosition(x, 0.02, 0.3 + row.reach - depth);
      world.integrate1();
      ASSERT_EQ(body->getContacts().size(), depth > 0.0 ? 1u : 0u) << row.type << " " << row.reach;
      if (depth < 0.0) continue;
      const contact::Contact& c = body->getContacts()[0];
      EXPECT_NEAR(c.depth_, -depth, 1e-6) << row.type;
      EXPECT_LT(norm(c.normal_ - Vec3{{0, 0, 1}}), 1e-6);
      EXPECT_LT(norm(c.position_ - Vec3{{&row.heights == &ridge ? 0.3 : 0.0, 0, 0.3 - depth}}),
                1e-6);
    }
}

TEST(WorldTerrain, ALargeBodyRestsOnAFewOfItsManyTouches) {
  const TemporaryFile obj("cube.obj", scenes::cubeObj(1.0));
  std::vector<double> heights(121 * 121);
  std::mt19937 random(1);
  for (double& height : heights) height = 0.01 * static_cast<double>(random() % 1000) / 1000.0;
  for (const bool isMesh : {false, true}) {
    World world;
    world.addHeightMap(121, 121, 3.0, 3.0, 0.0, 0.0, heights);
    SingleBodyObject* plate = world.addBox(2.0, 2.0, 0.2, 40.0);
    if (isMesh) {
      world.removeObject(plate);
      const Mat33 inertia{{26.8, 0, 0, 0, 26.8, 0, 0, 0, 26.7}};
      plate = world.addMesh(obj.path, 40.0, inertia, {}, 2.0);
    }
    // Pressed so deep that hundreds of vertices of the ground are inside of it.
    plate->setPosition(0.0, 0.0, (isMesh ? 1.0 : 0.1) + 0.002);
    world.integrate1();
    const auto& contacts = plate->getContacts();
    EXPECT_LE(contacts.size(), 16u);
    EXPECT_GE(contacts.size(), 8u);
    Vec3 low{{9, 9, 9}}, high{{-9, -9, -9}};
    double deepest = 0.0;
    for (const contact::Contact& c : contacts)
      for (size_t k = 0; k < 3; ++k) {
        low[k] = std::min(low[k], c.position_[k]);
        high[k] = std::max(high[k], c.position_[k]);
        deepest = std::min(deepest, c.depth_);
      }
    // The deepest of all, and corners that hold the centre of mass between them.
    EXPECT_NEAR(deepest, -0.008, 2e-4);
    for (size_t k = 0; k < 2; ++k) {
      EXPECT_LT(low[k], -0.8);
      EXPECT_GT(high[k], 0.8);
    }
    world.integrate2();
    for (int i = 0; i < 40; ++i) world.integrate();
    EXPECT_GT(plate->getRotationMatrix()(2, 2), 0.9999);
  }
}

TEST(WorldTerrain, BodiesAtTheEdgesNeitherEndTheProcessNorGetLost) {
  const Vec3 down{{0, 0, -1}};
  for (bool exact : {true, false}) {
    for (size_t samples : {24, 42, 47, 62, 64, 78}) {  // rounding goes wrong in these at a far edge
      World world;
      std::vector<double> heights(samples * samples, 0.0);
      heights[samples + 1] = 0.01;
      world.addHeightMap(samples, samples, 10.0, 10.0, 0.0, 0.0, heights)->setExactContacts(exact);
      for (double side : {-5.5, 5.5})
        for (double along : {-5.5, 0.0, 5.5})
          for (bool alongX : {true, false}) {
            const Vec3 p{{alongX ? along : side, alongX ? side : along, 0.2}};
            world.addBox(1, 1, 1, 1.0)->setPosition(p);
            world.addSphere(0.5, 1.0)->setPosition(p);
            world.addCylinder(0.5, 1.0, 1.0)->setPosition(p);
          }
      for (int i = 0; i < 50; ++i) world.integrate();
      for (double x : {-5.0, 5.0}) world.rayTest(Vec3{{x, 0.5, 1}}, down, 5.0);
      EXPECT_EQ(world.getStepCount(), 50u);
    }
    // A turned map holds bodies out to its corners; these lie outside of the box that ODE sees.
    World world;
    HeightMap* map =
        world.addHeightMap(21, 21, 10.0, 10.0, 0.0, 0.0, std::vector<double>(441, 0.0));
    map->setExactContacts(exact);
    map->setOrientation(std::cos(M_PI / 8), 0, 0, std::sin(M_PI / 8));
    std::vector<Box*> boxes;
    for (double x : {-6.8, -3.0, 0.0, 6.8}) {
      boxes.push_back(world.addBox(0.2, 0.2, 0.2, 1.0));
      boxes.back()->setPosition(x, 0.0, 0.11);
      EXPECT_EQ(world.rayTest(Vec3{{x, 0.15, 1.0}}, down, 5.0).count, 1u) << x;
    }
    for (int i = 0; i < 100; ++i) world.integrate();
    for (Box* box : boxes) EXPECT_NEAR(box->getComPosition()[2], 0.1, 3e-3);
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
