// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

// Convex hulls: what is refused, mass data, and that a box as a hull does what the box does.

namespace zelvik {
namespace {

struct Arrays {
  std::vector<double> corners;
  std::vector<unsigned> triangles = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                                     2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};

  ConvexHull* addTo(World& world, double mass = 1.0) const {
    return world.addConvexHull(corners, triangles, mass);
  }
};

/// Corner k lies at high x, y, z where the bits 0, 1, 2 of k are set.
Arrays boxArrays(double x, double y, double z, const Vec3& middle = {}) {
  Arrays box;
  for (int k = 0; k < 8; ++k)
    for (int i = 0; i < 3; ++i)
      box.corners.push_back(middle[static_cast<size_t>(i)] + (k >> i & 1 ? 0.5 : -0.5) * (i == 0 ? x
                                                                                          : i == 1
                                                                                              ? y
                                                                                              : z));
  return box;
}

Arrays ball(int rings, int sides) {
  Arrays out;
  out.triangles.clear();
  for (int r = 0; r <= rings; ++r)
    for (int s = 0; s < sides; ++s) {
      const double u = std::numbers::pi * r / rings, v = 2.0 * std::numbers::pi * s / sides;
      const double sine = r % rings == 0 ? 0.0 : std::sin(u);  // the poles are each one corner
      out.corners.insert(out.corners.end(),
                         {sine * std::cos(v) + 0.0, sine * std::sin(v) + 0.0, std::cos(u)});
      if (r == rings) continue;
      const auto at = [&](int ring, int side) {
        return static_cast<unsigned>(ring * sides + side % sides);
      };
      const unsigned a = at(r, s), b = at(r, s + 1), c = at(r + 1, s), d = at(r + 1, s + 1);
      out.triangles.insert(out.triangles.end(), {a, c, d, a, d, b});
    }
  return out;
}

TEST(ConvexHull, WhatIsNoConvexSolidIsRefused) {
  Arrays open = boxArrays(1, 1, 1), inverted = open, dented = open, flat = boxArrays(1, 1, 1e-12);
  Arrays wild = open, twice = open;
  open.triangles.resize(33);
  for (size_t t = 0; t < 36; t += 3) std::swap(inverted.triangles[t], inverted.triangles[t + 1]);
  for (size_t i = 21; i < 24; ++i) dented.corners[i] = 0.1;
  wild.triangles[7] = 8;
  twice.triangles.insert(twice.triangles.end(), {0, 2, 1});
  const std::pair<Arrays, const char*> rows[] = {
      {open, "it is not closed: the edge from corner 3 to 5 belongs to one triangle only"},
      {inverted, "its triangles turn clockwise seen from outside"},
      {dented, "it is not convex: corner"},
      {flat, "it encloses no volume"},
      {ball(20, 40), "it has 762 corners, more than 256"},
      {twice, "two triangles have the edge from corner 0 to 2 in the same sense"},
      {wild, "The index 8 at position 7 of a convex hull is out of range, there are 8 vertices"}};
  for (const auto& row : rows) {
    World world;
    ConvexHull* hull = nullptr;
    messages::refused(std::string("ConvexHull.cpp: ConvexHull: ") + row.second,
                      [&] { hull = row.first.addTo(world); });
    ASSERT_NE(hull, nullptr);
    EXPECT_EQ(hull->getCollisionObject(), nullptr);
    world.integrate();
  }
  World world;
  EXPECT_NE(ball(12, 20).addTo(world)->getCollisionObject(), nullptr);
}

TEST(ConvexHull, MassDataAreThoseOfTheSolid) {
  World world;
  const Vec3 middle{{0.3, -2.0, 0.1}};
  Arrays arrays = boxArrays(0.2, 0.3, 0.5, middle);
  // A corner given twice, and one in the middle of the face at low z, which has four triangles.
  arrays.corners.insert(arrays.corners.end(), {0.4, -1.85, 0.35, 0.3, -2.0, -0.15});
  arrays.triangles[34] = 8;
  arrays.triangles.erase(arrays.triangles.begin(), arrays.triangles.begin() + 6);
  arrays.triangles.insert(arrays.triangles.end(), {0, 2, 9, 2, 3, 9, 3, 1, 9, 1, 0, 9});
  ConvexHull* hull = arrays.addTo(world, 3.0);
  const Box* box = world.addBox(0.2, 0.3, 0.5, 3.0);
  EXPECT_NEAR(norm(hull->getComOffset() - middle), 0.0, 1e-12);
  EXPECT_LT((hull->getBodyInertia().e() - box->getBodyInertia().e()).norm(), 1e-12);

  // A ball of many corners, to the share of it that they leave out.
  World other;
  const Arrays round = ball(12, 20);
  EXPECT_NEAR(round.addTo(other, 1.0)->getBodyInertia()(1, 1), 0.4, 0.02);
}

SingleBodyObject* addBlock(World& world, bool isHull, double x, double y, double z) {
  if (isHull) return boxArrays(x, y, z).addTo(world);
  return world.addBox(x, y, z, 1.0);
}

void addFloor(World& world, const std::string& kind) {
  world.setDefaultMaterial(0.3, 0.0, 0.01);
  if (kind == "plane") world.addGround();
  if (kind == "map") world.addHeightMap(41, 41, 20, 20, 0, 0, std::vector<double>(41 * 41, 0.0));
  if (kind != "box" && kind != "hull") return;
  SingleBodyObject* floor = addBlock(world, kind == "hull", 20, 20, 1);
  floor->setPosition(0, 0, -0.5);
  floor->setBodyType(BodyType::STATIC);
}

TEST(ConvexHull, ABoxAsAHullRestsAndSlidesAndStands) {
  for (const std::string kind : {"plane", "map", "box", "hull"}) {
    World world;
    addFloor(world, kind);
    SingleBodyObject* slider = addBlock(world, true, 0.3, 0.2, 0.1);
    slider->setPose(Vec3{{-3, 1, 0.05}}, Vec4{{std::cos(0.2), 0, 0, std::sin(0.2)}});
    slider->setVelocity(3, 0, 0, 0, 0, 0);
    std::vector<SingleBodyObject*> tower;
    for (int k = 0; k < 3; ++k) tower.push_back(addBlock(world, k != 1, 0.2, 0.2, 0.2));
    for (int k = 0; k < 3; ++k) tower[static_cast<size_t>(k)]->setPosition(0, 0, 0.1 + 0.2 * k);
    for (int k = 0; k < 150; ++k) world.integrate();
    EXPECT_NEAR(slider->getLinearVelocity()[0], 3.0 - 0.3 * 9.81 * 0.75, 0.01) << kind;
    EXPECT_NEAR(slider->getBodyPosition()[2], 0.05, 1e-4) << kind;
    for (int k = 0; k < 300; ++k) world.integrate();
    EXPECT_NEAR(tower[2]->getBodyPosition()[2], 0.5, 1e-3) << kind;
    EXPECT_NEAR(norm(tower[2]->getLinearVelocity()), 0.0, 1e-3) << kind;
    for (const contact::Contact& contact : tower[2]->getContacts())
      EXPECT_NEAR(std::fabs(contact.normal_[2]), 1.0, 1e-6) << kind;
  }
}

/// Two hulls and a box that have begun to fall onto each other.
void addPile(World& world) {
  world.addGround();
  ball(6, 9).addTo(world)->setPosition(0, 0, 1.0);
  SingleBodyObject* block = boxArrays(0.5, 0.4, 0.3, {{0.1, 0, 0}}).addTo(world);
  block->setPosition(0.2, 0.1, 2.2);
  block->setOrientation(0.5, 0.5, 0.5, 0.5);
  world.addBox(0.5, 0.5, 0.5, 1.0)->setPosition(0.1, -0.1, 3.0);
  int number = 0;
  for (Object* object : world.getObjList()) object->setName(std::to_string(number++));
  for (int k = 0; k < 40; ++k) world.integrate();
}

TEST(ConvexHull, CopiesAndStatesContinueToTheBit) {
  World world;
  addPile(world);
  const State state = world.saveState();
  const std::unique_ptr<World> copy = world.clone();
  for (int k = 0; k < 200; ++k) world.integrate();
  for (int k = 0; k < 200; ++k) copy->integrate();
  const auto hash = world.getStateHash();
  EXPECT_EQ(copy->getStateHash(), hash);
  world.restoreState(state);
  for (int k = 0; k < 200; ++k) world.integrate();
  EXPECT_EQ(world.getStateHash(), hash);
}

TEST(ConvexHull, WorldFilesKeepEveryDigitAndRaysMeetIt) {
  World world;
  addPile(world);
  const TemporaryDirectory directory;
  messages::of([&] { world.exportToXml(directory.path, "pile.xml"); });
  World loaded(directory.path + "pile.xml");
  for (const size_t k : {1u, 2u}) {
    const auto& was = static_cast<ConvexHull&>(*world.getObjList()[k]);
    ASSERT_EQ(loaded.getObjList()[k]->getObjectType(), HULL);
    const auto& now = static_cast<ConvexHull&>(*loaded.getObjList()[k]);
    EXPECT_EQ(now.getCorners(), was.getCorners());
    EXPECT_EQ(now.getTriangles(), was.getTriangles());
    EXPECT_NEAR(norm(now.getComOffset() - was.getComOffset()), 0.0, 1e-6);
  }
  const RayHitList& hits = loaded.rayTest({{0, 0, 9}}, {{0, 0, -1}}, 20.0);
  bool isHit = false;
  for (size_t k = 0; k < hits.count; ++k) isHit |= hits.hits[k].object == loaded.getObjList()[1];
  EXPECT_TRUE(isHit);
}

TEST(ConvexHull, IsAShapeOfRobots) {
  const TemporaryDirectory directory;
  directory.write("cube.obj",
                  "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 0 0 1\nv 1 0 1\nv 0 1 1\nv 1 1 1\n"
                  "f 1 3 4 2\nf 5 6 8 7\nf 1 2 6 5\nf 3 7 8 4\nf 1 5 7 3\nf 2 4 8 6\n");
  directory.write("open.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  Child root;
  root.bodyName = "base";
  root.jointType = Joint::FLOATING;
  root.mass = 1.0;
  root.inertia = Mat33::identity();
  CollisionBody& shape = root.collisionBodies.emplace_back();
  shape.shape = Shape::HULL;
  shape.scale = {{-0.2, 0.2, 0.2}};  // mirrored, so that its triangles turn the other way
  shape.meshFileName = "cube.obj";
  World world;
  world.addGround();
  ArticulatedSystem* robot = world.addArticulatedSystem(root, directory.path);
  ASSERT_EQ(robot->getCollisionBodies().size(), 1u);
  robot->setBasePos(Vec3{{0.1, -0.1, -0.001}});
  const std::unique_ptr<World> copy = world.clone();
  for (World* each : {&world, copy.get()}) {
    each->integrate1();
    EXPECT_EQ(each->getObjList()[1]->getContacts().size(), 4u);
  }
  shape.meshFileName = "open.obj";
  messages::refused("the mesh open.obj is no convex hull: it is not closed",
                    [&] { world.addArticulatedSystem(root, directory.path); });
}

}  // namespace
}  // namespace zelvik
