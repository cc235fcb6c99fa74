// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Harness.hpp"

namespace zelvik::fuzz {

/// A height map meets all kinds of shapes for ten steps, a ray, and a query of height.
inline void meetShapes(World& world, HeightMap* map, bool exact) {
  if (map == nullptr) return;
  map->setExactContacts(exact);
  const double x = map->getCenterX(), y = map->getCenterY(), z = map->getHeight(x, y);
  world.addSphere(0.3, 1.0)->setPosition(x + 0.3, y + 0.1, z + 0.2);
  world.addBox(0.5, 0.4, 0.3, 1.0)->setPosition(x - 0.4, y + 0.2, z + 0.1);
  world.addCapsule(0.2, 0.4, 1.0)->setPosition(x + 0.1, y - 0.5, z + 0.1);
  world.addCylinder(0.2, 0.4, 1.0)->setPosition(x + 0.1, y + 0.5, z);
  world.addMesh(scratchDirectory() + "cube.obj", 1.0, Mat<3, 3>::identity(), Mat<3, 1>{}, 0.4)
      ->setPosition(x - 0.1, y, z + 0.6);
  step(world);
  world.rayTest(Mat<3, 1>{{x, y, z + 1.0}}, Mat<3, 1>{{1.0, 0.3, -0.4}}, 20.0);
}

}  // namespace zelvik::fuzz
