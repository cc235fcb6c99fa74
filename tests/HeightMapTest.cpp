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

void sortByDistance(Hits& hits) {
  std::sort(hits.begin(), hits.end(),
            [](const auto& a, const auto& b) { return a.distance < b.distance; });
}

/// Hits of ODE's own ray, by distance; those that are not on the ray are dropped.
Hits odeHits(const HeightMap& map, const Vec3& start, const Vec3& direction, double length) {
  const dGeomID ray = dCreateRay(nullptr, length);
  dGeomRaySet(ray, start[0], start[1], start[2], direction[0], direction[1], direction[2]);
  dContactGeom raw[50];
  const int count = dCollide(ray, map.getCollisionObject(), 50, raw, sizeof(dContactGeom));
  dGeomDestroy(ray);
  Hits hits;
  for (int i = 0; i < count; ++i) {
    const HeightMapRayHit hit{raw[i].depth,
                              {{raw[i].pos[0], raw[i].pos[1], raw[i].pos[2]}},
                              {{raw[i].normal[0], raw[i].normal[1], raw[i].normal[2]}}};
    if (norm(start + hit.distance * direction - hit.positionW) < 1e-9) hits.push_back(hit);
  }
  sortByDistance(hits);
  return hits;
}

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
  sortByDistance(hits);
  return hits;
}

void expectEqualHits(const Hits& ours, const Hits& theirs) {
  ASSERT_EQ(ours.size(), theirs.size());
  for (size_t k = 0; k < ours.size(); ++k) {
    EXPECT_NEAR(ours[k].distance, theirs[k].distance, 1e-9);
    EXPECT_LT(norm(ours[k].positionW - theirs[k].positionW), 1e-9);
    EXPECT_LT(norm(ours[k].normalW - theirs[k].normalW), 1e-9);
  }
}

TEST(HeightMap, HeightAndNormalAreThoseOfTheCollider) {
  const OdeScope ode;
  const HeightMap map = roughMap();
  scenes::RandomSource random(7);
  const Vec3 down{{0, 0, -1}};
  for (int k = 0; k < 3000; ++k) {
    double x = random.uniform(-1.0, 3.0), y = random.uniform(-4.5, 0.5);
    // Every third point on a line along y, along x, or on a diagonal.
    if (k % 9 == 0) x = std::floor(x * 2.0) / 2.0;
    if (k % 9 == 3) y = std::floor(y) + 0.5;
    if (k % 9 == 6) y = -4.5 + 2.0 * (x + 1.0) - std::floor(random.uniform(0.0, 4.0));
    if (y <= -4.49 || y >= 0.49) continue;  // the collider's edges are not exact in y
    const Hits hits = odeHits(map, {{x, y, 5.0}}, down, 10.0);
    ASSERT_EQ(hits.size(), 1u) << x << " " << y;
    EXPECT_NEAR(map.getHeight(x, y), hits[0].positionW[2], 1e-9);
    Vec3 normal;
    map.getNormal(x, y, normal);
    // Where a random point was moved onto a line its rounding decides between two triangles.
    if (k % 3 != 0 || k % 9 == 0) {
      EXPECT_LT(norm(normal - hits[0].normalW), 1e-9) << x << " " << y;
    }
  }
}

TEST(HeightMap, RowsRunFromLowYAndBordersGoOn) {
  const OdeScope ode;
  HeightMap map(2, 3, 2.0, 4.0, 1.0, 10.0, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(map.getObjectType(), HEIGHTMAP);
  EXPECT_EQ(map.getBodyType(), BodyType::STATIC);
  EXPECT_EQ(map.getHeight(0.0, 8.0), 1.0);
  EXPECT_EQ(map.getHeight(2.0, 12.0), 6.0);
  EXPECT_EQ(map.getHeight(-7.0, 1e300), 5.0);
  EXPECT_TRUE(std::isnan(map.getHeight(std::nan(""), 8.0)));
  Vec3 normal;
  map.getNormal(1.0, 10.0, normal);  // slopes 1/2 along x, 1 along y
  EXPECT_LT(norm(normal - (1.0 / 1.5) * Vec3{{-0.5, -1.0, 1.0}}), 1e-15);

  // The geom follows a new pose at once, the queries still tell of the old one.
  map.setPosition(1.0, 10.0, 100.0);
  EXPECT_EQ(map.getHeight(0.0, 8.0), 1.0);
  const auto hits = odeHits(map, {{0.5, 9.0, 200.0}}, {{0, 0, -1}}, 150.0);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_NEAR(hits[0].positionW[2], 100.0 + map.getHeight(0.5, 9.0), 1e-12);
}

TEST(HeightMap, WhatWouldEndTheProcessInOdeIsKeptFromIt) {
  const OdeScope ode;
  dContactGeom contacts[10];
  const dGeomID box = dCreateBox(nullptr, 1.0, 1.0, 1.0);
  for (unsigned long samples = 2; samples < 130; ++samples) {  // flush at the far edges
    const std::vector<double> heights(2 * samples, 0.1);
    const HeightMap alongX(samples, 2, 10.0, 4.0, 0.0, 0.0, heights);
    const HeightMap alongY(2, samples, 4.0, 10.0, 0.0, 0.0, heights);
    dGeomSetPosition(box, 5.5, 0.0, 0.0);
    dCollide(box, alongX.getCollisionObject(), 10, contacts, sizeof(dContactGeom));
    dGeomSetPosition(box, 0.0, -5.5, 0.0);
    dCollide(box, alongY.getCollisionObject(), 10, contacts, sizeof(dContactGeom));
  }
  const HeightMap map = roughMap();  // reach is counted in cells
  for (const auto& [side, x, inReach] : {std::tuple{1.0, 0.0, true},
                                         {1e8, 0.0, true},
                                         {1.0, 3e8, true},
                                         {1e9, 0.0, false},
                                         {1.0, 6e8, false}}) {
    dGeomBoxSetLengths(box, side, side, side);
    dGeomSetPosition(box, x, 0.0, 0.0);
    EXPECT_EQ(map.isInReach(box), inReach) << side << " " << x;
  }
  dGeomDestroy(box);
}

TEST(HeightMapRay, RandomRaysGiveTheHitsOfAllTriangles) {
  const OdeScope ode;
  HeightMap map = roughMap();
  scenes::RandomSource random(7);
  size_t total = 0;
  for (int k = 0; k < 3000; ++k) {
    if (k == 1500) {  // second half: moved and tilted
      map.setPosition(3.0, 2.0, 1.0);
      map.setOrientation(0.8, 0.36, -0.48, 0.0);
    }
    const Vec3 start =
        map.getBodyPosition() +
        Vec3{{random.uniform(-3.0, 3.0), random.uniform(-3.0, 3.0), random.uniform(-1.5, 2.0)}};
    Vec3 direction{
        {random.uniform(-1.0, 1.0), random.uniform(-1.0, 1.0), random.uniform(-0.7, 0.7)}};
    direction *= 1.0 / norm(direction);
    const double length = random.uniform(0.1, 8.0);
    const auto ours = ourHits(map, start, direction, length);
    expectEqualHits(ours, bruteForceHits(map, start, direction, length));
    if (k % 10 == 0) expectEqualHits(ours, odeHits(map, start, direction, length));
    total += ours.size();
  }
  EXPECT_GT(total, 600u);  // or the comparison would say little
}

TEST(HeightMapRay, RaysInSpecialPlaces) {
  const OdeScope ode;
  const HeightMap map = roughMap();
  const double half = std::sqrt(0.5), fifth = std::sqrt(0.2);
  const struct {
    Vec3 start, direction;
    double length;
  } table[] = {
      {{{-1.0, -2.0, 3.0}}, {{0, 0, -1}}, 10.0},          // down on the low x edge: hit
      {{{3.0, -2.0, 3.0}}, {{0, 0, -1}}, 10.0},           // on the high x edge: none
      {{{0.5, -1.5, 3.0}}, {{0, 0, -1}}, 10.0},           // on a sample
      {{{1.2, -2.2, -3.0}}, {{0, 0, 1}}, 10.0},           // from below
      {{{-2.0, -1.5, 0.2}}, {{1, 0, 0}}, 10.0},           // level, along a grid line
      {{{1.5, 3.0, 0.2}}, {{0, -1, 0}}, 10.0},            // level, along a grid line
      {{{0.3, -4.0, 2.0}}, {{0, half, -half}}, 4.0},      // slanted, along y
      {{{1.0, -2.0, 5.0}}, {{half, half, 0}}, 10.0},      // wholly above
      {{{-0.5, -2.0, -3.0}}, {{half, 0.0, -half}}, 3.0},  // wholly below
      {{{-0.5, -2.0, -5.0}}, {{0, 0, -1}}, 3.0},          // wholly below, away from it
      {{{9.0, 9.0, 1.0}}, {{0, 0, -1}}, 3.0},             // outside
      {{{9.0, 9.0, 0.3}}, {{half, half, 0}}, 3.0},        // outside, away from it
  };
  for (const auto& ray : table) {
    SCOPED_TRACE(testing::Message() << ray.start[0] << " " << ray.start[1] << " " << ray.start[2]);
    expectEqualHits(ourHits(map, ray.start, ray.direction, ray.length),
                    odeHits(map, ray.start, ray.direction, ray.length));
  }

  // Along diagonals the collider finds a point once or twice, by rounding; we find it once.
  size_t crossings = 0;
  for (size_t k = 0; k + 1 < 6; ++k)
    crossings += (map.getHeightMap()[10 * k] > 0.2) != (map.getHeightMap()[10 * k + 10] > 0.2);
  const auto hits = ourHits(map, {{-1.5, -5.5, 0.2}}, {{fifth, 2 * fifth, 0}}, 10.0);
  EXPECT_EQ(hits.size(), crossings);
  for (const HeightMapRayHit& hit : hits)
    EXPECT_NEAR(map.getHeight(hit.positionW[0], hit.positionW[1]), 0.2, 1e-12);
  EXPECT_EQ(ourHits(map, {{1.0, 0.5, 3.0}}, {{0, 0, -1}}, 10.0).size(), 1u);
  EXPECT_EQ(ourHits(map, {{1.0, -4.5, 3.0}}, {{0, 0, -1}}, 10.0).size(), 0u);
}

TEST(HeightMapRay, EndsOnTheSurfaceBadInputAndCapacity) {
  const OdeScope ode;
  HeightMap map(3, 3, 2.0, 2.0, 0.0, 0.0, {0, 0, 0, 0, 1, 0, 0, 0, 0});
  const Vec3 down{{0, 0, -1}}, up{{0, 0, 1}};
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const struct {
    Vec3 start, direction;
    double length;
    size_t count;
  } table[] = {
      {{{-0.5, 0.0, 0.5}}, down, 1.0, 1},  // begins there
      {{{-0.5, 0.0, 0.5}}, up, 1.0, 1},
      {{{-0.5, 0.0, 1.5}}, down, 1.0, 1},  // ends there
      {{{-0.5, 0.0, 1.5}}, down, 0.999, 0},
      {{{-0.5, 0.0, 1.5}}, down, infinity, 1},
      {{{-0.5, 0.0, 1.5}}, {{1.0, 0.0, 0.0}}, infinity, 0},
      {{{nan, 0.0, 1.5}}, down, 10.0, 0},
      {{{0.0, 0.0, 1.5}}, {{0.0, nan, -1.0}}, 10.0, 0},
      {{{0.0, 0.0, 1.5}}, down, -1.0, 0},
  };
  for (const auto& row : table)
    EXPECT_EQ(ourHits(map, row.start, row.direction, row.length).size(), row.count);

  HeightMapRayHit hits[2];
  hits[1].distance = -1.0;
  EXPECT_EQ(map.rayHits({{-2.0, 0.3, 0.3}}, {{1.0, 0.0, 0.0}}, 4.0, hits, 1), 1u);
  EXPECT_LT(hits[0].positionW[0], 0.0);  // the nearer of two
  EXPECT_EQ(hits[1].distance, -1.0);
  map.setPosition(0.0, nan, 0.0);
  EXPECT_EQ(ourHits(map, {{0.0, 0.0, 1.5}}, down, 10.0).size(), 0u);
}

TEST(HeightMapFile, TextAndItsFaults) {
  const OdeScope ode;
  const TemporaryFile good("map.txt", "2 3\n2.0 4e0\n1 2 \t 3\n4\n5 6\n");
  const HeightMap map(1.0, 10.0, good.path);
  EXPECT_EQ(map.getHeightMap(), (std::vector<double>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(map.getYSize(), 4.0);

  const struct {
    const char* text;
    const char* message;
  } table[] = {
      {"2 3 2.0", "Height Map is in a wrong format"},
      {"2 3 x 4 1 2 3", "Height Map is in a wrong format"},
      {"2 2 1 1 1 2 3", "insufficient number of height values"},
      {"2 2 1 1 1 2 3 4 5", "insufficient number of height values"},
      {"2 2 1 1 1 2 , 4", "insufficient number of height values"},
      {"4294967296 4294967296 1 1", "insufficient number of height values"},
      {"1 2 1 1 1 2", "but has 1 x 2"},
      {"2 2 0 1 1 2 3 4", "but is 0 x 1"},
      {"2 2 1 -1 1 2 3 4", "but is 1 x -1"},
      {"2 2 1 1 1 2 3 4e8", "The height at position 3 of a height map is 4e+08"},
  };
  for (const auto& row : table) {
    const TemporaryFile file("bad.txt", row.text);
    messages::expect(
        row.message,
        [&] {
          HeightMap refused(0.0, 0.0, file.path);
          EXPECT_EQ(refused.getCollisionObject(), nullptr);
          EXPECT_TRUE(std::isnan(refused.getHeight(0.0, 0.0)));
          refused.setPosition(1.0, 1.0, 1.0);
        },
        messages::OnFatal::GO_ON);
  }
  const TemporaryFile huge("huge.txt", "4294967295 4294967295 1 1 0");
  EXPECT_THROW(HeightMap(0.0, 0.0, huge.path), std::length_error);
  messages::expect("\n Error opening file.\n", [] { HeightMap(0.0, 0.0, "missing.txt"); });
  messages::expect("insufficient number of height values", [] {
    HeightMap(2, 2, 1.0, 1.0, 0.0, 0.0, {1, 2, 3});
  });
  messages::expect("The centre of a height map", [] {
    HeightMap(2, 2, 1.0, 1.0, std::nan(""), 0.0, {1, 2, 3, 4});
  });
}

TEST(Terrain, KnownValues) {
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
  EXPECT_EQ(smooth.getHeightMap(), HeightMap(5.0, 5.0, terrain).getHeightMap());

  terrain.stepSize = 0.3;
  const HeightMap terraced(0.0, 0.0, terrain);
  for (double h : terraced.getHeightMap())
    EXPECT_TRUE(std::fabs(h - 0.9) < 1e-12 || std::fabs(h - 1.2) < 1e-12) << h;
}

TEST(Terrain, CoordinatesBeyondIntegersAndRefusals) {
  const OdeScope ode;
  TerrainProperties terrain;
  terrain.xSamples = terrain.ySamples = 4;
  terrain.frequency = -0.37;  // negative coordinates
  const HeightMap mirrored(0.0, 0.0, terrain);
  EXPECT_GT(*std::min_element(mirrored.getHeightMap().begin(), mirrored.getHeightMap().end()), 0.0);
  terrain.frequency = 1e40;
  EXPECT_EQ(HeightMap(0.0, 0.0, terrain).getHeightMap()[5], 1.0);
  terrain.frequency = std::nan("");
  messages::expect("The height at position 0", [&] { HeightMap(0.0, 0.0, terrain); });
  terrain.ySamples = 1ul << 62;
  messages::expect("is too large", [&] { HeightMap(0.0, 0.0, terrain); });
  terrain.ySamples = 0;
  messages::expect("but has 4 x 0", [&] { HeightMap(0.0, 0.0, terrain); });
  terrain.fractalOctaves = static_cast<size_t>(-1);
  messages::expect("at most 1000 octaves", [&] { HeightMap(0.0, 0.0, terrain); });
}

}  // namespace
}  // namespace zelvik
