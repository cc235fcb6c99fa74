// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/rotation.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"
#include "Terrain.hpp"
#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

using namespace terrain_test;

Mat33 diagonal(double a, double b, double c) {
  return {{a, 0, 0, 0, b, 0, 0, 0, c}};
}

/// A bar of length 1 with a ball at each end.
std::vector<Compound::CompoundObjectChild> dumbbellChildren() {
  const Mat33 straight = Mat33::identity();
  return {{SPHERE, {0.1, 0, 0, 0}, "left", straight, {{-0.5, 0, 0}}},
          {BOX, {1.0, 0.04, 0.04, 0}, "bar", straight, {}},
          {SPHERE, {0.1, 0, 0, 0}, "right", straight, {{0.5, 0, 0}}}};
}

/// Every geom of an object with the body that it belongs to.
std::vector<std::pair<dGeomID, size_t>> geomsOf(const Object& object) {
  std::vector<std::pair<dGeomID, size_t>> geoms;
  if (object.getObjectType() == ARTICULATED_SYSTEM) {
    for (const auto& body : static_cast<const ArticulatedSystem&>(object).getCollisionBodies())
      geoms.push_back({body.colObj, body.localIdx});
    return geoms;
  }
  const auto& single = static_cast<const SingleBodyObject&>(object);
  for (size_t k = 0; k < single.getGeomCount(); ++k) geoms.push_back({single.getGeom(k), 0});
  return geoms;
}

/// Expects that two bodies stand alike, `offset` apart.
void expectSamePose(const SingleBodyObject& a, const SingleBodyObject& b, const Vec3& offset,
                    double tolerance) {
  EXPECT_LT(norm(a.getComPosition() - b.getComPosition() - offset), tolerance);
  for (size_t k = 0; k < 9; ++k)
    EXPECT_NEAR(a.getRotationMatrix()[k], b.getRotationMatrix()[k], tolerance);
}

/// A world that grows and shrinks at random beside a plain list of what it should hold.
class ChangingWorld {
 public:
  void addRandom() {
    Object* object = addKind(generator_() % 9);
    list.push_back(object);
    if (object->getObjectType() == HEIGHTMAP || object->getObjectType() == GROUND) return;
    std::uniform_real_distribution<double> draw(-1.0, 1.0);
    const Vec3 p{{draw(generator_), draw(generator_), 0.6 + 0.5 * draw(generator_)}};
    if (object->getObjectType() == ARTICULATED_SYSTEM) {
      auto& robot = static_cast<ArticulatedSystem&>(*object);
      VecDyn gc = robot.getGeneralizedCoordinate();
      for (size_t i = 0; i < 3; ++i) gc[i] = p[i];
      robot.setGeneralizedCoordinate(gc);
    } else {
      static_cast<SingleBodyObject&>(*object).setPosition(p);
    }
  }

  void removeRandom() {
    const size_t i = generator_() % list.size();
    world.removeObject(list[i]);
    list[i] = list.back();
    list.pop_back();
  }

  /// Wires between two objects, a step, and the removal of the wires or of one of the objects.
  void stepWithWires() {
    Object *a = list[generator_() % list.size()], *b = list[generator_() % list.size()];
    const Vec3 p{{0, 0, 0.3}};
    world.addStiffWire(a, 0, p, b, 0, -p, 0.5)->setStretchType(2);
    world.addCompliantWire(b, 0, p, a, 0, -p, 0.5, 20.0)->setStretchType(2);
    world.integrate();
    checkContacts();
    if (generator_() % 2 == 0) removeRandom();
    if (!world.getStiffWires().empty()) world.removeObject(world.getStiffWires()[0].get());
    if (!world.getCompliantWires().empty()) world.removeObject(world.getCompliantWires()[0].get());
  }

  void checkIndices() const {
    ASSERT_EQ(world.getObjList(), list);
    for (size_t i = 0; i < list.size(); ++i) {
      ASSERT_EQ(list[i]->getIndexInWorld(), i);
      for (const auto& [geom, body] : geomsOf(*list[i])) {
        ASSERT_EQ(geomRecord(geom).objectIdx, i);
        ASSERT_EQ(geomRecord(geom).localBodyIdx, body);
      }
    }
  }

  /// Each contact knows its partner, and a partner that can move knows it back.
  void checkContacts() {
    for (size_t i = 0; i < list.size(); ++i)
      for (const contact::Contact& c : list[i]->getContacts()) {
        ASSERT_LT(c.pairObjectIndex_, list.size());
        ++contacts;
        if (c.pairBodyType_ == STATIC) continue;
        const contact::Contact& twin =
            list[c.pairObjectIndex_]->getContacts().at(c.pairContactIndex_);
        ASSERT_EQ(twin.pairObjectIndex_, i);
        ASSERT_EQ(twin.contactProblemIndex_, c.contactProblemIndex_);
        ASSERT_NE(twin.objectA_, c.objectA_);
      }
  }

  World world;
  std::vector<Object*> list;
  size_t contacts = 0;

 private:
  Object* addKind(size_t kind) {
    if (kind == 0) return world.addSphere(0.2, 1.0);
    if (kind == 1) return world.addBox(0.3, 0.4, 0.2, 1.0);
    if (kind == 2) return world.addCapsule(0.1, 0.3, 1.0);
    if (kind == 3) return world.addGround(-0.2);
    if (kind == 4) return world.addCompound(dumbbellChildren(), 1.0, {}, diagonal(0.1, 0.2, 0.2));
    if (kind == 5) return world.addMesh(obj_.path, 1.0, diagonal(0.02, 0.02, 0.02), {}, 1.0);
    if (kind == 6 && find(MESH)) return world.addMesh(static_cast<Mesh*>(find(MESH)));
    if (kind == 7) return addMap(generator_() % 4);
    return world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  }
  HeightMap* addMap(size_t kind) {
    TerrainProperties hills = scenes::hills(4.0, 0.5, 0.2);
    if (kind == 0) return world.addHeightMap(0.0, 0.0, hills);
    if (kind == 1) return world.addHeightMap(text_.path, 0.0, 0.0);
    if (kind == 2 && find(HEIGHTMAP))
      return world.addHeightMap(static_cast<HeightMap*>(find(HEIGHTMAP)));
    return world.addHeightMap(2, 2, 4.0, 4.0, 0.0, 0.0, {0, 0.1, 0.2, 0.1});
  }
  Object* find(ObjectType type) const {
    for (Object* object : list)
      if (object->getObjectType() == type) return object;
    return nullptr;
  }

  std::mt19937 generator_{5};
  const TemporaryFile obj_{"cube.obj", scenes::cubeObj(0.3)},
      text_{"map.txt", "2 3 4.0 4.0\n0 0.1 0.2 0.1 0 0.1\n"};
};

TEST(WorldObjects, RandomChangesKeepIndicesOwnersAndContactsRight) {
  ChangingWorld scene;
  for (int round = 0; round < 150 && !HasFatalFailure(); ++round) {
    while (scene.list.size() < 16) scene.addRandom();
    scene.stepWithWires();
    scene.checkIndices();
  }
  EXPECT_GT(scene.contacts, 5000u);
}

TEST(WorldObjects, CopiesTakeMaterialAndDataOfTheirSource) {
  World world;
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.3));
  Mesh* mesh = world.addMesh(obj.path, 2.0, diagonal(1, 2, 3), {{0.1, 0, 0}}, 2.0, "steel", 4, 8);
  const Mesh* copy = world.addMesh(mesh);
  EXPECT_EQ(geomRecord(copy->getCollisionObject()).materialName, "steel");
  EXPECT_EQ(world.addMesh(mesh, "wood")->getMaterial(), "wood");
  EXPECT_EQ(copy->getVertices(), mesh->getVertices());
  EXPECT_EQ(copy->getBodyInertia()[4], 2.0);
  EXPECT_EQ(copy->getComOffset()[0], 0.1);
  HeightMap* map = world.addHeightMap(3, 2, 4.0, 1.0, 7.0, 8.0, {0, 1, 2, 3, 4, 5}, "soil");
  map->setExactContacts(false);
  const HeightMap* twin = world.addHeightMap(map);
  EXPECT_EQ(geomRecord(twin->getCollisionObject()).materialName, "soil");
  EXPECT_EQ(twin->getHeight(9.0, 8.5), 5.0);
  EXPECT_FALSE(twin->usesExactContacts());
}

TEST(WorldObjects, ACompoundFliesAsTheBoxOfItsMassAndItsPartsPassThroughEachOther) {
  World world;
  const Mat33 straight = Mat33::identity();
  Box* box = world.addBox(0.6, 0.3, 0.2, 3.0);
  const std::vector<Compound::CompoundObjectChild> halves{
      {BOX, {0.34, 0.3, 0.2, 0}, "", straight, {{-0.13, 0, 0}}},
      {BOX, {0.34, 0.3, 0.2, 0}, "", straight, {{0.13, 0, 0}}}};  // overlapping
  Compound* compound = world.addCompound(halves, 3.0, {}, box->getBodyInertia());
  for (SingleBodyObject* body : std::initializer_list<SingleBodyObject*>{box, compound}) {
    body->setPosition(body == box ? 5.0 : 0.0, 0, 0);
    body->setVelocity(1, 2, 3, 4, -5, 6);
  }
  for (int i = 0; i < 400; ++i) {
    world.integrate();
    ASSERT_TRUE(world.getContactProblems().empty());
  }
  expectSamePose(*box, *compound, {{5, 0, 0}}, 1e-12);
}

TEST(WorldObjects, ADumbbellLandsOnBothEnds) {
  World world;
  world.addGround();
  Compound* bell = world.addCompound(dumbbellChildren(), 2.0, {}, diagonal(0.02, 0.5, 0.5));
  bell->setOrientation(Eigen::Quaterniond(Eigen::AngleAxisd(0.2, Eigen::Vector3d::UnitY())));
  bell->setPosition(0, 0, 0.5);
  for (int i = 0; i < 800; ++i) world.integrate();
  ASSERT_EQ(bell->getContacts().size(), 2u);
  const auto& contacts = bell->getContacts();
  EXPECT_NEAR(norm(contacts[0].position_ - contacts[1].position_), 1.0, 1e-3);
  // What it sank in by landing goes at 0.3 of its depth per second.
  EXPECT_NEAR(bell->getComPosition()[2], 0.1, 3e-3);
  EXPECT_NEAR(bell->getRotationMatrix()(2, 0), 0.0, 2e-3);
}

/// A robot of one link, whose collision shape is `geometry`.
std::string linkWith(const std::string& geometry) {
  return "<robot name='r'><link name='base'><inertial><mass value='1'/><inertia ixx='0.02' "
         "iyy='0.02' izz='0.03' ixy='0' ixz='0' iyz='0'/></inertial><collision><geometry>" +
         geometry + "</geometry></collision></link></robot>";
}

TEST(WorldObjects, ALinkWithAMeshRestsAsOneWithABox) {
  const TemporaryDirectory directory;
  directory.write("cube.obj", scenes::cubeObj(1.0));
  World world;
  world.addGround(0.0);
  std::vector<ArticulatedSystem*> links;
  for (const char* geometry :
       {"<box size='0.4 0.3 0.2'/>", "<mesh filename='cube.obj' scale='0.4 0.3 0.2'/>"}) {
    links.push_back(world.addArticulatedSystem(linkWith(geometry), directory.path));
    Mat33 R;
    quatToRotMat(Vec4{{0.98, 0.1, 0.15, 0.08}} * (1.0 / norm(Vec4{{0.98, 0.1, 0.15, 0.08}})), R);
    links.back()->setBaseOrientation(R);
    links.back()->setBasePos(Vec3{{2.0 * static_cast<double>(links.size()), 0.0, 0.3}});
  }
  for (int i = 0; i < 1000; ++i) world.integrate();
  Vec3 p[2];
  for (size_t k = 0; k < 2; ++k) links[k]->getPosition(0, p[k]);
  // Landing has pressed both in by a millimetre, which goes slowly.
  EXPECT_NEAR(p[0][2], 0.1, 2e-3);
  EXPECT_LT(norm(p[1] - p[0] - Vec3{{2.0, 0.0, 0.0}}), 2e-3);
}

TEST(WorldObjects, WhatALinkCannotLoadIsRefused) {
  const TemporaryDirectory directory;
  directory.write("cube.obj", scenes::cubeObj(1.0));
  World world;
  const std::pair<const char*, const char*> table[] = {
      {"<mesh filename='cube.obj' scale='1 1e9 1'/>", "scale 1e+09 is no scale of the mesh"},
      {"<mesh filename='none.obj'/>", "none.obj is not found."},
      {"<cylinder radius='-1' length='1'/>", "-1 is no size of a cylinder"}};
  for (const auto& row : table)
    messages::refused(row.second,
                      [&] { world.addArticulatedSystem(linkWith(row.first), directory.path); });
  const std::string file = directory.write("robot.sdf", linkWith("<sphere radius='1'/>"));
  messages::refused("robot.sdf: unsupported file type", [&] { world.addArticulatedSystem(file); });
  world.integrate();
}

TEST(WorldObjects, AMaskSetLaterLetsABodyFall) {
  World world;
  world.addGround(0.0);
  Sphere *stays = world.addSphere(0.1, 1.0), *falls = world.addSphere(0.1, 1.0);
  stays->setPosition(0, 0, 0.1);
  falls->setPosition(1, 0, 0.1);
  // Either side's consent is enough for a contact.
  falls->setCollisionMask(0);
  falls->setCollisionGroup(0);
  for (int i = 0; i < 100; ++i) world.integrate();
  EXPECT_NEAR(stays->getComPosition()[2], 0.1, 1e-3);
  EXPECT_LT(falls->getComPosition()[2], 0.0);
}

TEST(WorldObjects, TheBufferOfContactsGrows) {
  World world;
  world.addGround(0.0);
  std::vector<Box*> boxes;
  for (int i = 0; i < 160; ++i) {
    boxes.push_back(world.addBox(0.1, 0.1, 0.1, 1.0));
    boxes.back()->setPosition(0.3 * (i % 40), 0.3 * (i / 40), 0.049);
  }
  world.integrate();
  EXPECT_EQ(world.getContactProblems().size(), 4 * boxes.size());
  for (const Box* box : boxes) {
    Vec3 velocity;
    box->getVelocity(0, velocity);
    ASSERT_EQ(box->getContacts().size(), 4u);
    // Gravity alone would give 0.05 m/s; what is left pushes the box out.
    ASSERT_LT(std::fabs(velocity[2]), 1e-3);
  }
}

TEST(WorldObjects, FailedChecksInsideOfOdeCostThePairOnly) {
  World world;
  world.addGround();
  // The space skips sizes of 0; a disc as thin as this fails with every cylinder and capsule.
  world.addCylinder(0.2, 1e-20, 1.0)->setPosition(0, 0, 0.1);
  Cylinder* cylinder = world.addCylinder(0.2, 0.4, 1.0);
  cylinder->setPosition(0, 0, 0.2);
  world.addBox(0.2, 0.2, 0.0, 1.0)->setPosition(0.01, 0.03, 0.1);
  world.addCapsule(0.0, 0.3, 1.0)->setPosition(0, 0, 0.2);
  Sphere* point = world.addSphere(0.0, 1.0);
  for (int i = 0; i < 100; ++i) world.integrate();
  EXPECT_NEAR(cylinder->getComPosition()[2], 0.2, 1e-2);
  const Vec3 above = point->getComPosition() + Vec3{{0, 0, 2}};
  EXPECT_GT(world.rayTest(above, Vec3{{0, 0, -1}}, 5.0).count, 0u);
}

TEST(WorldObjects, MaterialsOfThePairDecideForEveryKindOfGeom) {
  World world;
  const TemporaryFile obj("cube.obj", scenes::cubeObj(0.3));
  world.setDefaultMaterial(0.11, 0.0, 0.01);
  world.addHeightMap(2, 2, 40.0, 40.0, 0.0, 0.0, {0, 0, 0, 0}, "soil");
  const std::vector<SingleBodyObject*> bodies{
      world.addSphere(0.15, 1.0, "m0"),
      world.addBox(0.3, 0.3, 0.3, 1.0, "m1"),
      world.addCylinder(0.15, 0.3, 1.0, "m2"),
      world.addCapsule(0.15, 0.3, 1.0, "m3"),
      world.addMesh(obj.path, 1.0, diagonal(0.02, 0.02, 0.02), {}, 1.0, "m4"),
      world.addCompound(dumbbellChildren(), 1.0, {}, diagonal(0.1, 0.2, 0.2))};
  const double height[] = {0.149, 0.149, 0.149, 0.299, 0.149, 0.099};
  for (size_t i = 0; i < 6; ++i) bodies[i]->setPosition(2.0 + 2.0 * double(i), 0, height[i]);
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  VecDyn gc = robot->getGeneralizedCoordinate();
  gc[2] = 0.05;  // legs stretched: feet, shanks and thighs in the ground
  robot->setGeneralizedCoordinate(gc);
  std::map<std::string, double> friction;
  for (const char* name : {"m0", "m1", "m2", "m3", "m4", "left", "right", "rubber"}) {
    friction[name] = 0.2 + 0.01 * static_cast<double>(friction.size());
    world.setMaterialPairProp("soil", name, friction[name], 2.0 * friction[name], 0.0);
  }
  world.integrate1();
  const auto materialOf = [&](const contact::Contact& c) -> std::string {
    const contact::Single3DContactProblem& p = world.getContactProblems()[c.contactProblemIndex_];
    for (const auto& [name, mu] : friction)
      if (p.mu_ == mu && p.restitution_ == 2.0 * mu) return name;
    return p.mu_ == 0.11 && p.restitution_ == 0.0 ? "default" : "wrong";
  };
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_FALSE(bodies[i]->getContacts().empty());
    for (const contact::Contact& c : bodies[i]->getContacts())
      EXPECT_EQ(materialOf(c), i < 5                   ? bodies[i]->getMaterial()
                               : c.position_[0] < 12.0 ? "left"
                                                       : "right");
  }
  // Each of the four feet, balls of rubber, touches once; the rest of the legs has no material.
  std::map<std::string, size_t> touches;
  for (const contact::Contact& c : robot->getContacts())
    if (c.pairObjectIndex_ == 0) ++touches[materialOf(c)];
  EXPECT_EQ(touches["rubber"], 4u);
  EXPECT_GT(touches["default"], 4u);
  EXPECT_EQ(touches.size(), 2u);
}

}  // namespace
}  // namespace zelvik
