// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/World.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

namespace zelvik {
namespace {

namespace fs = std::filesystem;
using messages::OnFatal;

const TemporaryDirectory temporary;

std::string objects(const std::string& text) {
  return "<zelvik><objects>" + text + "</objects></zelvik>";
}

// The first fault in the order of reading is told, whatever stands first in the file.
TEST(WorldFile, TheFirstFaultIsToldAndEndsTheReading) {
  const auto attribute = [](const std::string& node, const std::string& what) {
    return ", the node '" + node + "' does not contain a attribute called '" + what + "'";
  };
  const auto child = [](const std::string& node, const std::string& what) {
    return ", the node '" + node + "' does not contain a child called '" + what + "'";
  };
  const std::string hills = "<heightmap png='x' text='y'", sphere = "<sphere mass='1'><dim ";
  const std::pair<std::string, std::string> rows[] = {
      {"<zelvik><gravity/><material><default/></material></zelvik>",
       attribute("default", "friction")},
      {"<zelvik><objectClass/><erp/><timeStep/></zelvik>", attribute("timeStep", "value")},
      {"<zelvik><objectClass/><erp erp='1'/></zelvik>", attribute("erp", "erp2")},
      {"<zelvik><objectClass/></zelvik>",
       "WorldFile.cpp: unrecognized object type in \"URDF from a string\" "
       "zelvik/objectClass/objectClass"},
      {"<zelvik/>", child("zelvik", "objects")},
      {objects("<ground/><what/>"), attribute("ground", "name")},
      {objects("<what/>"), "WorldFileShapes.cpp: Unrecognized body type"},
      {objects("<cone mass='1'/>"), "WorldFileShapes.cpp: Cone shape is not supported"},
      {objects("<box mass='1' body_type='x' com='1'><dim x='1' y='1' z='1'/></box>"),
       "in '\"URDF from a string\"' at row:1 col:18, the node 'box'Unrecognized body type. Should "
       "be \"dynamic\", \"kinematic\" or \"static\". "},
      {objects(sphere + "radius='1'/><state/></sphere>"), attribute("state", "pos")},
      {objects(sphere + "radius='-1'/><state/></sphere>"), "Sphere.cpp: "},
      {objects("<mesh mass='1' scale='2'/>"), "mesh/scale, at row:1"},
      {objects("<compound mass='1' com='0 0 0'><children/></compound>"), "less than 2 children"},
      {objects("<compound mass='1' com='0 0 0'><children><cone><dim x='1'/><state pos='0 0 0' "
               "quat='1 0 0 0'/></cone><cone><dim x='1'/><state pos='0 0 0' quat='1 0 0 0'/></cone>"
               "</children></compound>"),
       "Compound.cpp: Unsupported shape: cone for a compound object"},
      {objects("<heightmap/>"),
       "WorldFileHeightMap.cpp: Height map in \"URDF from a string\", zelvik/objects/heightmap/ "
       "does not have a proper initialization properties. Need one of: height, "
       "terrainProperties, and png"},
      {objects(hills + "><terrainProperties/></heightmap>"),
       attribute("terrainProperties", "xSample")},
      {objects("<articulatedSystem urdfPath='a/b.urdf'/>"),
       "WorldFileSystem.cpp: Could not find URDF file: a/b.urdf"},
      // Whatever the file holds, it is read or refused.
      {"", "ZelvikTinyXmlWrapper.hpp: cannot read file: ''"},
      {std::string(5000, '/'), "cannot read file: '///"},
      {"<zelvik", child("zelvik", "objects")},
      {objects("<ground name='caf\xe9'/>"), attribute("ground", "name")},  // half a letter
  };
  for (const auto& [text, message] : rows) {
    const std::string file = temporary.write("fault.xml", text);
    const std::string told = messages::of([&] { World world(file); });
    EXPECT_NE(told.find(message), std::string::npos) << text << "\n" << told;
    // A callback that comes back ends the reading just so.
    EXPECT_EQ(messages::of([&] { World world(file); }, OnFatal::GO_ON), told);
  }
  EXPECT_EQ(messages::of([] { World world("../x.xml"); }, OnFatal::GO_ON),
            "Path.hpp: '../x.xml' is an invalid path");
  EXPECT_THROW(World(temporary.write("bits.xml", objects("<ground collisionGroup='x'/>"))),
               std::invalid_argument);
}

TEST(WorldFile, StatesOfOtherLengthAreCutAndNestedRobotsFound) {
  const fs::path here = fs::current_path();
  fs::current_path(temporary.path);
  temporary.write("nest/nest/a.urdf",
                  "<robot name='r'><link name='a'><inertial><mass value='1'/><inertia ixx='1' "
                  "iyy='1' izz='1'/></inertial></link></robot>");
  temporary.write("w.xml", objects("<articulatedSystem name='' urdfPath='nest/a.urdf'><state "
                                   "qpos='5' qvel='1 2 3 4 5 6 7'/></articulatedSystem>"));
  EXPECT_EQ(messages::of([&] {
              World world("w.xml");
              auto& robot = static_cast<ArticulatedSystem&>(*world.getObject(""));
              EXPECT_EQ(robot.getGeneralizedCoordinate()[0] + robot.getGeneralizedCoordinate()[3],
                        6.0);
            }),
            "WorldFileState.cpp: zelvik/objects/articulatedSystem/state/qpos has 1 values, but the "
            "system has 7\nWorldFileState.cpp: zelvik/objects/articulatedSystem/state/qvel has 7 "
            "values, but the system has 6");
  // A base without a name does not end the reading.
  temporary.write("b.urdf",
                  "<robot name='r'><link name='world'/><link name=''/><joint name='j' "
                  "type='fixed'><parent link='world'/><child link=''/></joint></robot>");
  temporary.write("w.xml", objects("<articulatedSystem name='b' urdfPath='b.urdf'><state qpos='0'/>"
                                   "</articulatedSystem><ground name='g'/>"));
  messages::of([&] { EXPECT_NE(World("w.xml").getObject("g"), nullptr); });
  fs::current_path(here);
}

TEST(WorldFile, TheDirectoryOfTheFileIsPastedIn) {
  const fs::path here = fs::current_path();
  for (const std::string name :
       {"plain", "two words", "a&b", "q'u\"o<t>e", "[THIS_DIR]", "&amp;"}) {
    temporary.write(name + "/map.txt", "2 2 1 1 0 0 0 0");
    const std::string file = temporary.write(
        name + "/w.xml", "<!-- [THIS_DIR] -->" + objects("<heightmap name='[THIS_DIR]' "
                                                         "text='[THIS_DIR]/map.txt'/>"));
    EXPECT_EQ(World(file).getObjList().at(0)->getName(), temporary.path + name);
    fs::current_path(temporary.path + name);
    EXPECT_EQ(World("w.xml").getObjList().at(0)->getName(), ".");
    fs::current_path(here);
  }
}

TEST(WorldFile, OurWorldsRun) {
  size_t count = 0;
  for (const auto& entry : fs::directory_iterator(ZELVIK_MODEL_DIR "/worlds")) {
    World world(entry.path().string());
    for (int i = 0; i < 1000; ++i) world.integrate();
    for (const Object* object : world.getObjList()) {
      Vec3 position;
      object->getPosition(0, position);
      EXPECT_LT(norm(position), 20.0) << entry.path() << " " << object->getName();
    }
    ++count;
  }
  EXPECT_EQ(count, 4u);
}

}  // namespace
}  // namespace zelvik
