// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
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
TEST(WorldFile, Faults) {
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
      {objects("<box mass='1' body_type='x'/>"), child("box", "dim")},
      {objects("<box mass='1' body_type='x' com='1'><dim x='1' y='1' z='1'/></box>"),
       "in '\"URDF from a string\"' at row:1 col:18, the node 'box'Unrecognized body type. Should "
       "be \"dynamic\", \"kinematic\" or \"static\". "},
      {objects(sphere + "radius='1'/><state/></sphere>"), attribute("state", "pos")},
      {objects(sphere + "radius='-1'/><state/></sphere>"), "Sphere.cpp: "},
      {objects("<mesh mass='1' scale='2'/>"), "mesh/scale, at row:1"},
      {objects("<compound mass='1' com='0 0 0'><children/></compound>"), "less than 2 children"},
      {objects("<heightmap/>"),
       "WorldFileHeightMap.cpp: Height map in \"URDF from a string\", zelvik/objects/heightmap/ "
       "does not have a proper initialization properties. Need one of: height, "
       "terrainProperties, and png"},
      {objects(hills + "><terrainProperties/></heightmap>"),
       attribute("terrainProperties", "xSample")},
      {objects(hills + "/>"), attribute("heightmap", "heightScale")},
      {objects("<articulatedSystem urdfPath='a/b.urdf'/>"),
       "WorldFileSystem.cpp: Could not find URDF file: a/b.urdf"},
      // Whatever the file holds, it is read or refused.
      {"", "ZelvikTinyXmlWrapper.hpp: cannot read file: ''"},
      {std::string(5000, '/'), "cannot read file: '///"},
      {"<zelvik", child("zelvik", "objects")},
      {"\xff\xfe<", "file does not contain node 'zelvik'"},
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

TEST(WorldFile, RobotsOfOtherDimensionsAndInNestedDirectories) {
  fs::create_directories(temporary.path + "nest/nest");
  fs::copy_file(ZELVIK_MODEL_DIR "/arm.urdf", temporary.path + "nest/nest/arm.urdf");
  const std::string file = temporary.write(
      "robot.xml", objects("<articulatedSystem name='r' urdfPath='nest/arm.urdf'><state "
                           "qpos='1 2' qvel='1 2 3 4 5 6 7 8 9'/></articulatedSystem>"));
  const fs::path here = fs::current_path();
  fs::current_path(temporary.path);
  EXPECT_EQ(messages::of([&] {
              World world(file);
              auto& robot = static_cast<ArticulatedSystem&>(*world.getObject("r"));
              EXPECT_EQ(robot.getGeneralizedCoordinate()[1], 2.0);
              EXPECT_EQ(robot.getGeneralizedVelocity()[7], 8.0);
            }),
            "WorldFileState.cpp: zelvik/objects/articulatedSystem/state/qpos has 2 values, but the "
            "system has 8\nWorldFileState.cpp: zelvik/objects/articulatedSystem/state/qvel has 9 "
            "values, but the system has 8");
  fs::current_path(here);
}

TEST(WorldFile, DirectoryOfTheFile) {
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

// The host may have chosen a locale that writes 0,25.
TEST(WorldFile, HostsWithADecimalComma) {
  const std::string directory = temporary.path + "locales";
  fs::create_directories(directory);
  const std::string command =
      "localedef -i de_DE -f UTF-8 " + directory + "/de_DE.UTF-8 >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef cannot make de_DE.UTF-8 here";
  const auto exported = [&](const std::string& name) {
    messages::of(
        [&] { World(ZELVIK_MODEL_DIR "/worlds/bodies.xml").exportToXml(temporary.path, name); });
    return temporary.read(name);
  };
  const std::string expected = exported("point.xml");
  setenv("LOCPATH", directory.c_str(), 1);
  const bool isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
  const std::string actual = exported("comma.xml");
  std::setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
  ASSERT_TRUE(isSet);
  EXPECT_NE(expected.find("radius=\"0.1\""), std::string::npos);
  EXPECT_EQ(actual, expected);
}

}  // namespace
}  // namespace zelvik
