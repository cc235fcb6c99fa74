// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <zelvik/World.hpp>
#include <zelvik/object/Cone.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

namespace zelvik {
namespace {

const TemporaryDirectory temporary;
const std::string kRoot = std::filesystem::path(ZELVIK_MODEL_DIR).parent_path();
const std::string kData = kRoot + "/tests/data/";
const std::string kRobot =
    "<robot name='r'><link name='a'><inertial><mass value='1'/><inertia ixx='1' iyy='1' izz='1'/>"
    "</inertial></link></robot>";

std::string exported(const World& world, const std::string& name = "exported.xml") {
  messages::of([&] { world.exportToXml(temporary.path, name); });
  return temporary.read(name);
}

SingleBodyObject& bodyOf(World& world, const std::string& name) {
  return static_cast<SingleBodyObject&>(*world.getObject(name));
}

/// Whatever the file says arrives in the world, and goes out again to the digit.
TEST(WorldExport, WhatTheFileSaysGoesOutAgainToTheDigit) {
  World world(kData + "every_attribute.xml");
  EXPECT_EQ(bodyOf(world, "box").getMaterial() + bodyOf(world, "box").getAppearance(), "ared");
  EXPECT_EQ(world.getMaterialManager().getMaterialPairProp("a", "b").friction, 0.3);
  // The half turn about x takes the centre of mass, 1 m above the origin, below it.
  EXPECT_EQ(bodyOf(world, "box").getComPosition()[2], 2.14159265);
  std::string text = exported(world);
  for (size_t at; (at = text.find(kRoot)) != std::string::npos;)
    text.replace(at, kRoot.size(), "ROOT");
  std::stringstream expected;
  expected << std::ifstream(kData + "exported_world.xml").rdbuf();
  EXPECT_EQ(text, expected.str());
}

TEST(WorldExport, AnExportedWorldExportsTheSameAgain) {
  World empty, world(kData + "every_attribute.xml");
  for (const char* name : {"mesh", "noise", "heights", "ground"})
    world.removeObject(world.getObject(name));
  for (const World* original : {&empty, &world}) {
    const std::string first = exported(*original);
    EXPECT_EQ(exported(World(temporary.path + "exported.xml"), "again.xml"), first);
  }
  // What does not come back.
  world.addGround(0.5)->setAppearance("green");
  world.addStiffWire(world.getObjList()[0], 0, {}, world.getObjList()[1], 0, {}, 1.0);
  exported(world);
  World copy(temporary.path + "exported.xml");
  EXPECT_EQ(bodyOf(copy, "box").getMaterial() + bodyOf(copy, "box").getAppearance(), "default");
  EXPECT_EQ(copy.getMaterialManager().getMaterialPairProp("a", "b").friction, 0.8);
  EXPECT_TRUE(copy.getStiffWires().empty());
  EXPECT_EQ(static_cast<Ground&>(bodyOf(copy, "unnamed_6")).getHeight(), 0.0);
}

TEST(WorldExport, ABodyWithAnOffsetStandsWhereItWasPutAndComesBack) {
  const Eigen::Quaterniond halfTurn(0.0, 0.0, 0.0, 1.0);
  const Eigen::Vector3d put(1.0, 2.0, 3.0);
  World world;
  world.setGravity({0.0, 0.0, 0.0});
  for (int form = 0; form < 3; ++form) {
    Box* box = world.addBox(0.2, 0.2, 0.2, 1.0, "", 1, 0);
    box->setComOffset({{0.3, 0.0, 0.0}});
    if (form == 0) box->setPose(put, halfTurn);
    if (form == 1) box->setPose(put, Eigen::Vector4d(0.0, 0.0, 0.0, 1.0));
    if (form == 2) box->setPose(put, halfTurn.toRotationMatrix());
  }
  exported(world);
  World copy(temporary.path + "exported.xml");
  for (World* w : {&world, &copy}) {
    w->integrate();
    for (const Object* object : w->getObjList()) {
      const auto& box = static_cast<const Box&>(*object);
      EXPECT_LT((box.getBodyPosition().e() - put).norm(), 1e-12);
      EXPECT_LT((box.getComPosition().e() - Eigen::Vector3d(0.7, 2.0, 3.0)).norm(), 1e-12);
    }
  }
}

TEST(WorldExport, MeshesAndHeightMapsDoNotLoadAgain) {
  for (const std::string name : {"mesh", "heights"}) {
    World world(kData + "every_attribute.xml");
    while (world.getObjList().size() > 1)
      world.removeObject(world.getObjList()[world.getObjList()[0]->getName() == name]);
    exported(world);
    const std::string told = messages::of([] { World copy(temporary.path + "exported.xml"); });
    EXPECT_NE(told.find(name == "mesh" ? "scale, at row:7" : "a proper init"), std::string::npos);
  }
}

// The host may have chosen a locale that writes 0,25.
TEST(WorldExport, ADecimalCommaOfTheHostLeavesNumbersAlone) {
  const std::string command =
      "localedef -i de_DE -f UTF-8 " + temporary.path + "de_DE.UTF-8 >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef cannot make de_DE.UTF-8 here";
  const std::string expected = exported(World(kData + "every_attribute.xml"));
  setenv("LOCPATH", temporary.path.c_str(), 1);
  EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  EXPECT_EQ(exported(World(kData + "every_attribute.xml")), expected);
  std::setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
}

// Its text goes into a file of its own; without shapes the mask is written as -1, all bits.
TEST(WorldExport, ARobotFromTextGetsAFile) {
  World world;
  messages::of([&] { world.addArticulatedSystem(kRobot); });
  EXPECT_NE(exported(world).find("<articulatedSystem name=\"unnamed_0\" resDir=\"\" urdfPath=\"" +
                                 temporary.path +
                                 "unnamed_0.urdf\" collisionGroup=\"1\" collisionMask=\"-1\">"),
            std::string::npos);
  EXPECT_EQ(temporary.read("unnamed_0.urdf"), kRobot);
  EXPECT_EQ(messages::of([] { World copy(temporary.path + "exported.xml"); }), "");
  EXPECT_EQ(messages::of([] { ArticulatedSystem(kRobot, "resources").exportModelText("x.ur"); }),
            "ArticulatedSystem.hpp: Articulated System is only saved to a URDF format");
}

TEST(WorldExport, RobotsFromTextGetFilesOfTheirOwn) {
  const auto text = [](const std::string& link) {
    return "<robot name='r'><link name='world'/><link name='" + link +
           "'/><joint name='j' type='fixed'><parent link='world'/><child link='" + link +
           "'/></joint></robot>";
  };
  World world;
  const std::string there = temporary.write("twin_2.urdf", text("fromFile"));
  messages::of([&] {
    world.addArticulatedSystem(there)->setName("twin");
    for (const std::string name : {"twin", "twin", "twin", "a/../b", "a__b"})
      world.addArticulatedSystem(text(name + std::to_string(world.getObjList().size())), ".")
          ->setName(name);
  });
  exported(world);
  // None has a coordinate: an empty list reads as no values.
  EXPECT_EQ(messages::of([&] {
              const World copy(temporary.path + "exported.xml");
              ASSERT_EQ(copy.getObjList().size(), world.getObjList().size());
              for (size_t i = 0; i < copy.getObjList().size(); ++i) {
                const auto of = [i](const World& w) {
                  const auto& robot = static_cast<const ArticulatedSystem&>(*w.getObjList()[i]);
                  return robot.getName() + " " + robot.getBodyNames().at(0);
                };
                EXPECT_EQ(of(copy), of(world));
              }
            }),
            "");
}

TEST(WorldExport, AnOrderOfJointsIsWarnedOf) {
  World world;
  messages::of([&] {
    world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf", "", {"RH_HAA"})->setName("dog");
    world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf")->setName("cat");
  });
  const std::string told = messages::of([&] { world.exportToXml(temporary.path, "dogs.xml"); });
  EXPECT_NE(told.find("the robot 'dog' was made with an order of joints"), std::string::npos);
  EXPECT_EQ(told.find("cat"), std::string::npos);
}

TEST(WorldExport, WhatHasNoFormatOrPlaceIsRefused) {
  World tree, cone, empty;
  messages::of([&] { tree.addArticulatedSystem(Child()); });
  messages::of([&] { cone.getObjList().push_back(new Cone(1, 1, 1)); }, messages::OnFatal::GO_ON);
  const std::string joined = temporary.path + "joined";
  const std::tuple<const World*, std::string, std::string> rows[] = {
      {&tree, temporary.path,
       "ArticulatedSystem.hpp: This articulated system was created with an existing urdf file"},
      {&cone, temporary.path, "WorldExportObjects.cpp: Cone collision shape is not supported"},
      {&empty, "../", "Path.hpp: '../' is an invalid path"},
      {&empty, "/no/such/",
       "ZelvikTinyXmlWriter.hpp: Saving world to: /no/such/w.xml\nZelvikTinyXmlWriter.hpp: failed "
       "to save file: /no/such/w.xml. Make sure the directory exists"},
      {&empty, joined, "ZelvikTinyXmlWriter.hpp: Saving world to: " + joined + "w.xml"},
  };
  for (const auto& [world, directory, message] : rows) {
    EXPECT_EQ(messages::of(
                  [&source = world, &target = directory] { source->exportToXml(target, "w.xml"); },
                  messages::OnFatal::GO_ON),
              message);
  }
}

}  // namespace
}  // namespace zelvik
