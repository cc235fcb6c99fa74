// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <string>
#include <zelvik/Materials.hpp>

#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

void expectProperties(const MaterialPairProperties& p, double friction, double restitution,
                      double threshold) {
  EXPECT_EQ(p.friction, friction);
  EXPECT_EQ(p.restitution, restitution);
  EXPECT_EQ(p.restitutionThreshold, threshold);
  EXPECT_EQ(p.reserved, 0.0);
}

TEST(Materials, UnknownNamesGetTheDefaultAndUnsetPairsTheBuiltInValues) {
  MaterialManager manager;
  expectProperties(manager.getMaterialPairProp("", ""), 0.8, 0.0, 0.01);
  manager.setDefaultMaterialProperties(0.4, 0.2, 0.05);
  manager.setMaterialPairProp("a", "b", 1.0, 0.3, 0.02);
  manager.setMaterialPairProp("c", "c", 0.1, 0.0, 0.0);
  expectProperties(manager.getMaterialPairProp("a", "x"), 0.4, 0.2, 0.05);
  expectProperties(manager.getMaterialPairProp("x", "a"), 0.4, 0.2, 0.05);
  // Asking for x did not make it known: it would get the built-in values.
  expectProperties(manager.getMaterialPairProp("x", "x"), 0.4, 0.2, 0.05);
  // Known names, never paired. The record that this inserts can be overwritten.
  expectProperties(manager.getMaterialPairProp("a", "c"), 0.8, 0.0, 0.01);
  manager.setMaterialPairProp("c", "a", 0.25, 0.0, 0.0);
  expectProperties(manager.getMaterialPairProp("a", "c"), 0.25, 0.0, 0.0);

  // A copy stands for itself, default and next id included.
  MaterialManager copy = manager;
  copy.setMaterialPairProp("d", "a", 0.6, 0.0, 0.0);
  expectProperties(manager.getMaterialPairProp("d", "a"), 0.4, 0.2, 0.05);
  expectProperties(copy.getMaterialPairProp("a", "d"), 0.6, 0.0, 0.0);
  expectProperties(copy.getMaterialPairProp("b", "a"), 1.0, 0.3, 0.02);
}

// 60 names, all pairs: no two pairs share a record.
TEST(Materials, PairsDoNotCollideAreSymmetricAndOverwritten) {
  MaterialManager manager;
  for (double offset : {7.0, 0.0})
    for (int i = 0; i < 60; ++i)
      for (int j = 0; j <= i; ++j)
        manager.setMaterialPairProp(std::to_string(i), std::to_string(j), offset + i + 0.001 * j, 0,
                                    0);
  for (int i = 0; i < 60; ++i)
    for (int j = 0; j <= i; ++j)
      ASSERT_EQ(manager.getMaterialPairProp(std::to_string(j), std::to_string(i)).friction,
                i + 0.001 * j);
}

TEST(Materials, TheFirstDefaultAndTheLastOfEqualPairsOfAFileCount) {
  const terrain_test::TemporaryFile file(
      "materials.xml",
      "<zelvik><material>"
      "<pair_prop name1='a' name2='b' friction='1' restitution='2' restitution_threshold='3'/>"
      "<default friction='0.5' restitution='0.6' restitution_threshold='0.7'/>"
      "<default friction='9' restitution='9' restitution_threshold='9'/>"
      "<pair_prop name1='b' name2='a' friction='0.4' restitution='0' restitution_threshold='0'/>"
      "</material><material><default/></material></zelvik>");
  MaterialManager manager(file.path);
  EXPECT_EQ(manager.getMaterialPairProp("a", "b").friction, 0.4);
  const auto fallback = manager.getMaterialPairProp("a", "unknown");
  EXPECT_EQ(fallback.friction, 0.5);
  EXPECT_EQ(fallback.restitution, 0.6);
  EXPECT_EQ(fallback.restitutionThreshold, 0.7);
}

}  // namespace
}  // namespace zelvik
