// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Materials.hpp>

#include "Harness.hpp"

// Material files: a world steps with whatever table comes out, and pairs are the same both ways.

namespace {

void tryMaterials(zelvik::MaterialManager& materials) {
  const zelvik::MaterialPairProperties ab = materials.getMaterialPairProp("steel", "rubber");
  const zelvik::MaterialPairProperties ba = materials.getMaterialPairProp("rubber", "steel");
  const bool isNumber = ab.friction == ab.friction;
  if (isNumber && ab.friction != ba.friction) zelvik::fuzz::fail("the order of names matters");
  zelvik::World world;
  world.updateMaterialProp(materials);
  world.addGround(0.0, "steel");
  world.addBox(0.2, 0.2, 0.2, 1.0, "rubber")->setPosition(0.0, 0.0, 0.09);
  world.addSphere(0.1, 1.0, "ice")->setPosition(0.0, 0.0, 0.28);
  zelvik::fuzz::step(world);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string file = fuzz::writeScratch("materials.xml", data, size);
  fuzz::runBothWays([&] {
    MaterialManager materials(file);
    tryMaterials(materials);
  });
  return 0;
}
