// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A lidar over generated hills: rays in rows and columns, each row one angle below the horizon,
// printed as a picture of distances. Dark is near, blank is sky; letters are bodies.

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <zelvik/World.hpp>

namespace {

constexpr int kColumns = 76;
constexpr int kRows = 24;
constexpr double kRange = 25.0;                // (m)
constexpr double kFieldOfView = 1.6;           // (rad), level
constexpr double kTop = 0.12, kBottom = -0.5;  // (rad) above the horizon

zelvik::HeightMap* addHills(zelvik::World& world) {
  zelvik::TerrainProperties terrain;
  terrain.xSize = terrain.ySize = 50.0;
  terrain.xSamples = terrain.ySamples = 501;
  terrain.zScale = 6.0;
  terrain.frequency = 0.09;
  terrain.fractalOctaves = 4;
  terrain.seed = 11;
  return world.addHeightMap(0.0, 0.0, terrain);
}

/// Bodies with a letter as their name, on the ground in front of the lidar.
void addBodies(zelvik::World& world, const zelvik::HeightMap& hills) {
  zelvik::Box* box = world.addBox(1.5, 1.5, 2.0, 10.0);
  box->setPosition(-14.0, 3.0, hills.getHeight(-14.0, 3.0) + 1.0);
  box->setName("B");
  zelvik::Sphere* sphere = world.addSphere(0.8, 10.0);
  sphere->setPosition(-16.0, -2.5, hills.getHeight(-16.0, -2.5) + 0.8);
  sphere->setName("S");
}

/// The nearest hit of one ray; hits come unsorted.
const zelvik::RayHit* nearest(const zelvik::RayHitList& list) {
  const zelvik::RayHit* best = nullptr;
  for (size_t k = 0; k < list.count; ++k)
    if (best == nullptr || list.hits[k].geom.depth < best->geom.depth) best = &list.hits[k];
  return best;
}

char symbolOf(const zelvik::RayHit* hit) {
  static const std::string shades = "@%#*+=-:.";
  if (hit == nullptr) return ' ';
  if (!hit->object->getName().empty()) return hit->object->getName()[0];
  const double share = hit->geom.depth / kRange;
  return shades[std::min(static_cast<size_t>(share * 9.0), shades.size() - 1)];
}

}  // namespace

int main() {
  zelvik::World world;
  const zelvik::HeightMap* hills = addHills(world);
  addBodies(world, *hills);
  const zelvik::Mat<3, 1> eye{{-22.0, 0.0, hills->getHeight(-22.0, 0.0) + 1.5}};

  size_t hits = 0;
  double closest = std::numeric_limits<double>::max();
  for (int row = 0; row < kRows; ++row) {
    const double pitch = kTop + (kBottom - kTop) * row / (kRows - 1);
    std::string line;
    for (int column = 0; column < kColumns; ++column) {
      const double yaw = kFieldOfView * (0.5 - static_cast<double>(column) / (kColumns - 1));
      const zelvik::Mat<3, 1> direction{
          {std::cos(pitch) * std::cos(yaw), std::cos(pitch) * std::sin(yaw), std::sin(pitch)}};
      const zelvik::RayHit* hit = nearest(world.rayTest(eye, direction, kRange));
      line += symbolOf(hit);
      if (hit == nullptr) continue;
      ++hits;
      closest = std::min(closest, hit->geom.depth);
    }
    std::puts(line.c_str());
  }
  std::printf("%zu of %d rays hit within %.0f m, the nearest at %.2f m\n", hits, kRows * kColumns,
              kRange, closest);
}
