// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Harness.hpp"

// OBJ files: a mesh that loads meets all kinds of shapes for ten steps, and a ray.

namespace {

using zelvik::Mat;

void meetShapes(const std::string& file) {
  zelvik::World world;
  world.addGround(-1.0);
  const Mat<3, 3> inertia = Mat<3, 3>::identity();
  world.addMesh(file, 1.0, inertia, Mat<3, 1>{}, 1.0);
  world.addSphere(0.3, 1.0)->setPosition(0.3, 0.1, 0.4);
  world.addBox(0.5, 0.4, 0.3, 1.0)->setPosition(-0.4, 0.2, 0.1);
  world.addCapsule(0.2, 0.4, 1.0)->setPosition(0.1, -0.5, 0.2);
  world.addCylinder(0.2, 0.4, 1.0)->setPosition(0.1, 0.5, -0.2);
  world.addMesh(file, 1.0, inertia, Mat<3, 1>{}, 0.7)->setPosition(0.2, 0.3, 0.9);
  zelvik::fuzz::step(world);
  world.rayTest(Mat<3, 1>{{0.1, 0.2, 5.0}}, Mat<3, 1>{{0.0, 0.01, -1.0}}, 20.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string file = fuzz::writeScratch("mesh.obj", data, size);
  fuzz::runBothWays([&] { meetShapes(file); });
  return 0;
}
