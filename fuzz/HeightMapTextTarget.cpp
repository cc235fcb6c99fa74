// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "HeightMapTrial.hpp"

// Text height maps: a map that loads carries bodies.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string file = fuzz::writeScratch("heights.txt", data, size);
  for (const bool exact : {false, true})
    fuzz::runBothWays([&] {
      World world;
      fuzz::meetShapes(world, world.addHeightMap(file, 0.0, 0.0), exact);
    });
  return 0;
}
