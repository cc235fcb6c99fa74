// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <zelvik/object/HeightMap.hpp>

#include "Messages.hpp"
#include "RandomTree.hpp"
#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

using namespace terrain_test;

/// Rough ground of 9 x 6 samples on 4 x 5 m, round (1, -2). Cells are 0.5 x 1 m: grid lines and
/// diagonals are exact numbers.
HeightMap roughMap() {
  scenes::RandomSource random(7);
  std::vector<double> heights(54);
  for (double& h : heights) h = random.uniform(-0.5, 1.0);
  return HeightMap(9, 6, 4.0, 5.0, 1.0, -2.0, heights);
}

using Hits = std::vector<HeightMapRayHit>;

Hits ourHits(const HeightMap& map, const Vec3& start, const Vec3& direction, double length) {
  HeightMapRayHit hits[50];
  const size_t count = map.rayHits(start, direction, length, hits, 50);
  return {hits, hits + count};
}

/// Heights of a vertex of the caller's grid in world axes, at the present pose.
Vec3 vertexOf(const HeightMap& map, size_t i, size_t j) {
  const double x = (static_cast<double>(i) / static_cast<double>(map.getXSamples() - 1) - 0.5);
  const double y = (static_cast<double>(j) / static_cast<double>(map.getYSamples() - 1) - 0.5);
  const Vec3 local{
      {x * map.getXSize(), y * map.getYSize(), map.getHeightMap()[j * map.getXSamples() + i]}};
  return map.getBodyPosition() + map.getRotationMatrix() * local;
}

/// Adds where the ray meets the triangle abc, if it does.
void meetTriangle(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& start,
                  const Vec3& direction, double length, Hits& hits) {
  const Vec3 n = cross(b - a, c - a);
  const double t = dot(n, a - start) / dot(n, direction);
  if (!(t >= 0.0 && t <= length)) return;
  const Vec3 p = start + t * direction;
  for (const auto& [from, to] : {std::pair{a, b}, std::pair{b, c}, std::pair{c, a}})
    if (dot(n, cross(to - from, p - from)) < 0.0) return;
  hits.push_back({t, p, (1.0 / norm(n)) * n});
}

/// Hits by looking at every triangle, sorted by distance.
Hits bruteForceHits(const HeightMap& map, const Vec3& start, const Vec3& direction, double length) {
  Hits hits;
  for (size_t j = 0; j + 1 < map.getYSamples(); ++j)
    for (size_t i = 0; i + 1 < map.getXSamples(); ++i) {
      const Vec3 low = vertexOf(map, i, j), high = vertexOf(map, i + 1, j + 1);
      meetTriangle(low, vertexOf(map, i + 1, j), high, start, direction, length, hits);
      meetTriangle(low, high, vertexOf(map, i, j + 1), start, direction, length, hits);
    }
  std::sort(hits.begin(), hits.end(),
            [](const auto& a, const auto& b) { return a.distance < b.distance; });
  return hits;
}

TEST(HeightMap, HeightAndNormalAreThoseOfTheCollider) {
  const OdeScope ode;
  const HeightMap map = roughMap();
  scenes::RandomSource random(7);
  const dGeomID ray = dCreateRay(nullptr, 10.0);
  for (int k = 0; k < 3000; ++k) {
    double x = random.uniform(-1.0, 3.0), y = random.uniform(-4.49, 0.49);
    // Every third point on a line along y, along x, or on a diagonal.
    if (k % 9 == 0) x = std::floor(x * 2.0) / 2.0;
    if (k % 9 == 3) y = std::floor(y) + 0.5;
    if (k % 9 == 6) y = -4.5 + 2.0 * (x + 1.0) - std::floor(random.uniform(0.0, 4.0));
    if (y <= -4.49 || y >= 0.49) continue;  // the collider's edges are not exact in y
    dGeomRaySet(ray, x, y, 5.0, 0.0, 0.0, -1.0);
    dContactGeom hit;
    ASSERT_EQ(dCollide(ray, map.getCollisionObject(), 1, &hit, sizeof hit), 1) << x << " " << y;
    EXPECT_NEAR(map.getHeight(x, y), hit.pos[2], 1e-9);
    if (k % 9 == 3 || k % 9 == 6) continue;  // rounding decides between two triangles there
    Vec3 normal;
    map.getNormal(x, y, normal);
    EXPECT_LT(norm(normal - Vec3{{hit.normal[0], hit.normal[1], hit.normal[2]}}), 1e-9) << k;
  }
  dGeomDestroy(ray);
}

TEST(HeightMap, RowsRunFromLowYBordersGoOnAndQueriesKeepTheFirstPose) {
  const OdeScope ode;
  HeightMap map(2, 3, 2.0, 4.0, 1.0, 10.0, {1, 2, 3, 4, 5, 6});
  map.setPosition(1.0, 10.0, 100.0);
  EXPECT_EQ(map.getHeight(0.0, 8.0), 1.0);
  EXPECT_EQ(map.getHeight(2.0, 12.0), 6.0);
  EXPECT_EQ(map.getHeight(-7.0, 1e300), 5.0);
  EXPECT_TRUE(std::isnan(map.getHeight(std::nan(""), 8.0)));
  EXPECT_NEAR(ourHits(map, {{0.0, 12.0, 200.0}}, {{0, 0, -1}}, 150.0).at(0).distance, 95.0, 1e-12);
}

TEST(HeightMap, WhatWouldEndTheProcessInOdeIsKeptFromIt) {
  const OdeScope ode;
  dContactGeom contacts[10];
  const dGeomID box = dCreateBox(nullptr, 1.0, 1.0, 1.0);
  for (unsigned long samples = 2; samples < 130; ++samples) {  // flush at the far edges
    const std::vector<double> heights(2 * samples, 0.1);
    for (bool x : {true, false}) {
      const HeightMap map(x ? samples : 2, x ? 2 : samples, 10.0, 10.0, 0.0, 0.0, heights);
      dGeomSetPosition(box, x ? 5.5 : 0.0, x ? 0.0 : -5.5, 0.0);
      dCollide(box, map.getCollisionObject(), 10, contacts, sizeof(dContactGeom));
    }
  }
  const HeightMap map = roughMap();  // reach is counted in cells
  for (double x : {3e8, 6e8}) {
    dGeomSetPosition(box, x, 0.0, 0.0);
    EXPECT_EQ(map.isInReach(box), x < 5e8);
  }
  dGeomDestroy(box);
}

TEST(HeightMapRay, RandomRaysGiveTheHitsOfAllTriangles) {
  const OdeScope ode;
  HeightMap map = roughMap();
  scenes::RandomSource random(7);
  const auto draw = [&](double r, double z) {
    return Vec3{{random.uniform(-r, r), random.uniform(-r, r), random.uniform(-z, z)}};
  };
  size_t total = 0;
  for (int k = 0; k < 3000; ++k) {
    if (k == 1500) {  // second half: moved and tilted
      map.setPosition(3.0, 2.0, 1.0);
      map.setOrientation(0.8, 0.36, -0.48, 0.0);
    }
    const Vec3 start = map.getBodyPosition() + draw(3.0, 1.8);
    Vec3 direction = draw(1.0, 0.7);
    direction *= 1.0 / norm(direction);
    const double length = random.uniform(0.1, 8.0);
    const Hits ours = ourHits(map, start, direction, length);
    const Hits theirs = bruteForceHits(map, start, direction, length);
    ASSERT_EQ(ours.size(), theirs.size());
    for (size_t n = 0; n < ours.size(); ++n, ++total) {
      EXPECT_LT(norm(ours[n].positionW - start - ours[n].distance * direction), 1e-9);
      EXPECT_LT(norm(ours[n].positionW - theirs[n].positionW), 1e-9);
      EXPECT_LT(norm(ours[n].normalW - theirs[n].normalW), 1e-9);
    }
  }
  EXPECT_GT(total, 600u);  // or the comparison would say little
}

TEST(HeightMapRay, BordersEndsAndLinesBelongToOneTriangleEach) {
  const OdeScope ode;
  const HeightMap map(3, 3, 2.0, 2.0, 0.0, 0.0, {0, 0, 0, 0, 1, 0, 0, 0, 0});
  const double infinity = std::numeric_limits<double>::infinity(), half = std::sqrt(0.5);
  const std::tuple<Vec3, Vec3, double, size_t> table[] = {
      {{{-1.0, 0.3, 3.0}}, {{0, 0, -1}}, 9.0, 1},  // of two edges the lower in x and
      {{{1.0, 0.3, 3.0}}, {{0, 0, -1}}, 9.0, 0},
      {{{0.3, 1.0, 3.0}}, {{0, 0, -1}}, 9.0, 1},  // the higher in y belong to the map
      {{{0.3, -1.0, 3.0}}, {{0, 0, -1}}, 9.0, 0},
      {{{0.0, 0.0, 3.0}}, {{0, 0, -1}}, infinity, 1},     // six triangles meet
      {{{-0.5, 0.0, 0.5}}, {{0, 0, -1}}, 1.0, 1},         // begins on the surface
      {{{-0.5, 0.0, 1.5}}, {{0, 0, -1}}, 1.0, 1},         // ends there
      {{{-0.5, 0.0, 1.5}}, {{0, 0, -1}}, 0.999, 0},       // ends above
      {{{-2.0, 0.0, 0.5}}, {{1, 0, 0}}, infinity, 2},     // along a grid line
      {{{-2.0, -2.0, 0.5}}, {{half, half, 0}}, 10.0, 2},  // along a diagonal
      {{{0.0, 0.0, 1.5}}, {{0.0, NAN, -1.0}}, 10.0, 0},
      {{{0.0, 0.0, 1.5}}, {{0, 0, -1}}, -1.0, 0},
  };
  for (const auto& [start, direction, length, count] : table)
    EXPECT_EQ(ourHits(map, start, direction, length).size(), count) << start[0] << " " << start[1];
  HeightMapRayHit nearest;
  EXPECT_EQ(map.rayHits({{-2.0, 0.3, 0.3}}, {{1.0, 0.0, 0.0}}, 4.0, &nearest, 1), 1u);
  EXPECT_LT(nearest.positionW[0], 0.0);
}

TEST(HeightMap, BrokenFilesAndTerrainsAreRefusedAndLeaveNoGeom) {
  const OdeScope ode;
  const std::pair<const char*, const char*> table[] = {
      {"2 3 x 4 1 2 3", "Height Map is in a wrong format"},
      {"2 2 1 1 1 2 3 4 5", "insufficient number of height values"},
      {"4294967296 4294967296 1 1", "insufficient number of height values"},
      {"4294967296 1000 1 1 0", "insufficient number of height values"},
      {"2 2 1 -1 1 2 3 4", "but is 1 x -1"},
      {"1 4 1 1 1 2 3 4", "needs 2 or more samples in each direction, but has 1 x 4"},
      {"2 2 1 1 1 2 3 4e8", "The height at position 3 of a height map is 4e+08"},
  };
  for (const auto& [text, message] : table) {
    const TemporaryFile file("bad.txt", text);
    const auto build = [&] {
      HeightMap refused(0.0, 0.0, file.path);
      EXPECT_EQ(refused.getCollisionObject(), nullptr);
      EXPECT_TRUE(std::isnan(refused.getHeight(0.0, 0.0)));
    };
    messages::refused(message, build);
  }
  TerrainProperties terrain;
  terrain.frequency = std::nan("");
  messages::expect("The height at position 0", [&] { HeightMap(0.0, 0.0, terrain); });
  const auto build = [&] { EXPECT_EQ(HeightMap(0.0, 0.0, terrain).getCollisionObject(), nullptr); };
  terrain.fractalOctaves = 1000000000;
  messages::refused("but 1000000000 are asked for", build);
  terrain.xSamples = terrain.ySamples = 1u << 16;
  messages::refused("65536 x 65536 samples is too large", build);
  messages::refused("Error opening file", [] {
    EXPECT_EQ(HeightMap(0.0, 0.0, "/no/such/file").getCollisionObject(), nullptr);
  });
}

TEST(Terrain, NoiseIsThatOfThePublishedAlgorithm) {
  const OdeScope ode;
  TerrainProperties terrain;
  terrain.frequency = 0.1;
  terrain.xSize = terrain.ySize = 10.0;
  terrain.zScale = 2.0;
  terrain.fractalLacunarity = 2.0;
  terrain.fractalGain = 0.25;
  terrain.fractalOctaves = 3;
  terrain.xSamples = terrain.ySamples = 4;
  terrain.seed = 0;
  const HeightMap smooth(0.0, 0.0, terrain);
  const double firstRow[] = {1.0, 1.111607142857, 1.0, 0.936011904762};
  for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(smooth.getHeightMap()[i], firstRow[i], 1e-12);
  EXPECT_NEAR(smooth.getHeightMap()[15], 1.118313743955, 1e-12);
  terrain.stepSize = 0.3;
  const HeightMap terraced(0.0, 0.0, terrain);
  for (double h : terraced.getHeightMap())
    EXPECT_TRUE(std::fabs(h - 0.9) < 1e-12 || std::fabs(h - 1.2) < 1e-12) << h;
  terrain.stepSize = 0.0;
  terrain.frequency = 1e40;  // beyond integers
  EXPECT_EQ(HeightMap(0.0, 0.0, terrain).getHeightMap()[5], 1.0);
}

}  // namespace
}  // namespace zelvik
