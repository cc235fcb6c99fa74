// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Bodies on generated terrain: make the ground, drop a row of bodies on it, read where they lie.
// With an argument, the name of a PNG file, it also draws them.

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>
#include <zelvik/World.hpp>
#include <zelvik/view/Recorder.hpp>

namespace {

/// Ground of 8 m by 8 m with cells of 10 cm and heights between 0 and 0.6 m. Equal properties give
/// equal ground: change the seed for another.
zelvik::TerrainProperties ground() {
  zelvik::TerrainProperties terrain;
  terrain.xSize = terrain.ySize = 8.0;
  terrain.xSamples = terrain.ySamples = 81;
  terrain.zScale = 0.6;
  terrain.frequency = 0.3;  // hills of some 3 m
  terrain.fractalOctaves = 4;
  terrain.seed = 8;
  return terrain;
}

struct Entry {
  const char* name;
  zelvik::SingleBodyObject* body;
};

}  // namespace

int main(int argc, char** argv) {
  zelvik::World world;
  zelvik::view::Recorder recorder(world);
  world.setTimeStep(0.005);
  zelvik::TerrainProperties properties = ground();
  zelvik::HeightMap* terrain = world.addHeightMap(0.0, 0.0, properties, "soil");

  // Friction goes by the pair of materials; a pair that is not set has the default properties.
  world.setDefaultMaterial(0.8, 0.0, 0.01);
  world.setMaterialPairProp("soil", "rubber", 1.0, 0.2, 0.01);

  const std::vector<Entry> row{{"box", world.addBox(0.3, 0.25, 0.2, 2.0)},
                               {"sphere", world.addSphere(0.15, 2.0, "rubber")},
                               {"capsule", world.addCapsule(0.1, 0.3, 2.0)},
                               {"cylinder", world.addCylinder(0.12, 0.3, 2.0)}};
  for (size_t i = 0; i < row.size(); ++i) {
    const double x = static_cast<double>(i) - 1.5;
    // Orientation first, position after it; the height of the ground is known anywhere.
    row[i].body->setOrientation(0.9, 0.3, 0.2, -0.1);
    row[i].body->setPosition(x, 0.2, terrain->getHeight(x, 0.2) + 0.5);
    row[i].body->setAngularDamping({{0.05, 0.05, 0.05}});  // round bodies would roll for long
  }

  std::puts("   t     contacts  fastest body");
  for (int step = 1; step <= 2000; ++step) {
    world.integrate();
    recorder.capture();
    if (step % 400 != 0) continue;
    double fastest = 0.0;
    for (const Entry& entry : row)
      fastest = std::max(fastest, norm(entry.body->getLinearVelocity()));
    std::printf("%4.0f s  %8zu  %8.4f m/s\n", world.getWorldTime(),
                world.getContactProblems().size(), fastest);
  }

  std::puts("\nbody          x       y   centre   ground   above the ground along its normal");
  for (const Entry& entry : row) {
    const zelvik::Mat<3, 1>& p = entry.body->getComPosition();
    const double height = terrain->getHeight(p[0], p[1]);
    zelvik::Mat<3, 1> normal;
    terrain->getNormal(p[0], p[1], normal);
    std::printf("%-9s %6.3f  %6.3f   %6.3f   %6.3f   %6.3f m\n", entry.name, p[0], p[1], p[2],
                height, (p[2] - height) * normal[2]);
  }
  if (argc > 1) {  // a name without extension
    recorder.writePng(std::string(argv[1]) + ".png");
    if (recorder.hasHtmlViewer()) recorder.writeHtml(std::string(argv[1]) + ".html");
  }
}
