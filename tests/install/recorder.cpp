// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A program outside of the tree that uses the library of recordings.
#include <zelvik/World.hpp>
#include <zelvik/view/Recorder.hpp>

int main() {
  zelvik::World world;
  world.addGround();
  world.addSphere(0.1, 1.0)->setPosition(0.0, 0.0, 0.5);
  zelvik::view::Recorder recorder(world);
  for (int i = 0; i < 10; ++i) {
    world.integrate();
    recorder.capture();
  }
  const zelvik::view::Image image = recorder.render();
  return recorder.getFrameCount() == 10 && image.width == 640 ? 0 : 1;
}
