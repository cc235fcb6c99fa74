// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <zelvik/model/Robot.hpp>

#include "Messages.hpp"
#include "ModelTestTools.hpp"
#include "TemporaryDirectory.hpp"

// Reading of robots as they are published: structure, findings, base, pose.

namespace zelvik {
namespace {

using model::Model;
using model::Options;
using model::Severity;

const std::string kMass =
    "<inertial><mass value='1'/><inertia ixx='.01' iyy='.01' izz='.01'/></inertial>";

std::string link(const std::string& name, const std::string& content = kMass) {
  return "<link name='" + name + "'>" + content + "</link>\n";
}

std::string joint(const std::string& name, const std::string& type, const std::string& parent,
                  const std::string& child, const std::string& content = "") {
  return "<joint name='" + name + "' type='" + type + "'><parent link='" + parent +
         "'/><child link='" + child + "'/>" + content + "</joint>\n";
}

std::string robot(const std::string& content) {
  return "<robot name='r'>\n" + content + "</robot>";
}

/// Two links and the joint between them.
std::string pair(const std::string& type, const std::string& content) {
  return robot(link("a") + link("b") + joint("j", type, "a", "b", content));
}

// What is in the dialect already means the same by both ways, to the bit.
TEST(ModelRobot, DialectFilesMoveAlikeByBothReaders) {
  for (const char* name : {"arm", "quadruped", "humanoid"}) {
    const std::string file = std::string(ZELVIK_MODEL_DIR) + "/" + name + ".urdf";
    World world[2];
    ArticulatedSystem* systems[] = {world[0].addArticulatedSystem(file),
                                    model::addRobot(world[1], file)};
    ASSERT_EQ(systems[0]->getJointNames(), systems[1]->getJointNames()) << name;
    EXPECT_EQ(systems[0]->getBodyNames(), systems[1]->getBodyNames()) << name;
    EXPECT_EQ(systems[0]->getFrames().size(), systems[1]->getFrames().size()) << name;
    for (World& w : world)
      for (int i = 0; i < 50; ++i) w.integrate();
    const VecDyn &a = systems[0]->getGeneralizedCoordinate(),
                 &b = systems[1]->getGeneralizedCoordinate();
    for (std::size_t i = 0; i < systems[0]->getGeneralizedCoordinateDim(); ++i)
      EXPECT_EQ(a[i], b[i]) << name << " " << i;
  }
}

TEST(ModelRobot, FilesOfOtherWritersAreUnderstood) {
  const Model read = model::readRobot(robot(
      "<material name='sand'><color rgba='.9 .8 .6 1'/></material>\n" +
      link("a", kMass + "<visual><geometry><box size='1,2 3'/></geometry>"
                        "<material><color rgba='1 0 0'/></material></visual>"
                        "<visual><geometry><sphere radius='1'/></geometry>"
                        "<material name='sand'/></visual>") +
      link("b") + link("c") + link("d") +
      joint("turn", "continuous", "a", "b",
            "<origin xyz='\t1\n 2\t+3 ' rpy='0 0 0'/><limit lower='-1' upper='1' effort='5'/>") +
      joint("slide", "prismatic", "b", "c",
            "<origin rpy='0 0 0'/><axis xyz='0 0 2'/><limit lower='2' upper='-1'/>") +
      joint("fix", "fixed", "c", "d") + "<gazebo reference='a'/><transmission name='t'/>\n"));
  ASSERT_TRUE(read.ok()) << read.report.text();
  ASSERT_EQ(read.root.visObjects.size(), 2u);
  EXPECT_EQ(read.root.visObjects[0].color[1], 0.0);
  EXPECT_EQ(read.root.visObjects[0].size, (std::vector<double>{1.0, 2.0, 3.0}));
  EXPECT_EQ(read.root.visObjects[1].color[2], 0.6);

  const Child& turn = read.root.childrenMovable.at(0);
  EXPECT_EQ(turn.jointPosition[2], 3.0);
  EXPECT_EQ(turn.jointAxis[0], 1.0) << "no axis means x";
  EXPECT_LT(turn.jointLimit[0], -1e300) << "a continuous joint has no limits";
  EXPECT_EQ(turn.effort, 5.0);
  const Child& slide = turn.childrenMovable.at(0);
  EXPECT_EQ(slide.jointAxis[2], 1.0);
  EXPECT_EQ(slide.jointLimit[0], -1.0) << "reversed limits are turned";
  EXPECT_EQ(slide.childrenFixed.at(0).bodyName, "d");
  EXPECT_EQ(read.report.links.back().became, "frame of body 'c'");
  EXPECT_EQ(read.report.unused.at("gazebo"), 1u);
  EXPECT_EQ(read.report.mass, 4.0);
  EXPECT_EQ(read.report.velocities, 8u);
}

struct Odd {
  const char* code;
  Severity severity;
  int line;
  std::string file;
  const char* inMessage;  ///< or in the advice
};

// Each odd file has one finding of its kind, with its place and a helpful word.
TEST(ModelFindings, NameWhatIsOddAndWhere) {
  const std::string odd =
      "<inertial><mass value='1'/><inertia ixx='.1' iyy='.1' izz='.5'/></inertial>";
  const std::string negative =
      "<inertial><mass value='1'/><inertia ixx='-.1' iyy='.1' izz='.1'/></inertial>";
  const Severity note = Severity::NOTE, warning = Severity::WARNING, error = Severity::ERROR;
  const std::vector<Odd> table = {
      {"xml", error, 2, "<robot>\n<link name='a'></robot>", "no XML"},
      {"no-robot", error, 0, "<mujoco/>", "Only URDF"},
      {"no-links", error, 0, "<robot/>", "no links"},
      {"link-missing", warning, 4,
       robot(link("left_foot") + link("b") + joint("j", "fixed", "left_fot", "b")), "'left_foot'"},
      {"unknown-element", warning, 2, robot(link("a", kMass + "<colision/>")), "<collision>"},
      {"joint-type", error, 4, pair("revolut", ""), "\"revolute\""},
      {"several-roots", warning, 2,
       robot(link("a") + link("b") + link("c") + joint("j", "fixed", "b", "c")), "from 'b'"},
      {"loop", error, 0, robot(link("a") + joint("j", "fixed", "a", "a")), "loop"},
      {"two-parents", error, 6,
       robot(link("a") + link("b") + link("c") + joint("j", "fixed", "a", "c") +
             joint("k", "fixed", "b", "c")),
       "'j'"},
      {"duplicate-name", warning, 3, robot(link("a") + link("a")), "another link"},
      {"not-a-number", error, 4, pair("fixed", "<origin xyz='1 2'/>"), "3 numbers"},
      {"not-a-number", error, 4, pair("fixed", "<origin xyz='1 2 nan'/>"), "nan"},
      {"not-a-number", error, 4, pair("fixed", "<origin xyz='1 2 1e999'/>"), "1e999"},
      {"zero-rotation", error, 4, pair("fixed", "<origin quat='0 0 0 0'/>"), "quat"},
      {"axis-zero", error, 4, pair("revolute", "<axis xyz='0 0 0'/>"), "direction"},
      {"axis-missing", note, 4, pair("revolute", ""), "1 0 0"},
      {"limit-empty", warning, 4, pair("revolute", "<limit effort='1' lower='0' upper='0'/>"),
       "fixed"},
      {"limit-reversed", warning, 4, pair("revolute", "<limit lower='1' upper='-1'/>"), "round"},
      {"effort-zero", note, 4, pair("revolute", "<limit effort='0'/>"), "unlimited"},
      {"dynamics-negative", warning, 4, pair("revolute", "<dynamics damping='-1'/>"), "-1"},
      {"mimic-unused", warning, 4, pair("revolute", "<mimic joint='k'/>"), "'k'"},
      {"friction-unused", note, 4, pair("revolute", "<dynamics friction='1'/>"), "dry"},
      {"inertia-triangle", warning, 2, robot(link("a", odd)), "0.5"},
      {"inertia-negative", warning, 2, robot(link("a", negative)), "-0.1"},
      {"inertia-zero", warning, 2, robot(link("a", "<inertial><mass value='1'/></inertial>")),
       "1 kg"},
      {"no-mass", error, 2, robot(link("a", "")), "fixedBase"},
      {"joint-massless", warning, 4,
       robot(link("a") + link("b", "") + joint("j", "revolute", "a", "b")), "'b'"},
      {"floating-joint", error, 4, pair("floating", ""), "floating"},
      {"geometry", error, 2, robot(link("a", "<visual><geometry><cone/></geometry></visual>")),
       "cone"},
      {"size", error, 2,
       robot(link("a", "<visual><geometry><sphere radius='-1'/></geometry></visual>")), "-1"},
  };
  for (const Odd& odd_ : table) {
    const Model read = model::readRobot(odd_.file);
    const model::Finding* finding = findingOf(read.report, odd_.code);
    ASSERT_NE(finding, nullptr) << odd_.code << "\n" << odd_.file << read.report.text();
    EXPECT_EQ(finding->severity, odd_.severity) << odd_.code;
    EXPECT_EQ(finding->line, odd_.line) << odd_.code;
    EXPECT_NE((finding->message + finding->advice).find(odd_.inMessage), std::string::npos)
        << finding->message << " / " << finding->advice;
    EXPECT_EQ(read.ok(), read.report.count(error) == 0);
    if (read.ok()) {  // what loads can be stepped
      World world;
      ArticulatedSystem* system = model::addRobot(world, read);
      for (int i = 0; i < 10; ++i) world.integrate();
      Vec3 position;
      system->getPosition(0, position);
      EXPECT_TRUE(std::isfinite(norm(position))) << odd_.code;
    }
  }
}

TEST(ModelFindings, StrictMakesErrorsOfWarnings) {
  const std::string text = pair("revolute", "<limit lower='1' upper='-1'/>");
  Options options;
  EXPECT_TRUE(model::readRobot(text, options).ok());
  options.strict = true;
  World world;
  messages::expect("limit", [&] { model::addRobot(world, text, options); });
  EXPECT_TRUE(world.getObjList().empty());
  // A report takes what would be printed.
  model::Report report;
  options.strict = false;
  EXPECT_EQ(messages::of([&] { model::addRobot(world, text, options, &report); }), "");
  EXPECT_NE(report.text().find(":4:1") == std::string::npos ? report.text().find("line 4:1")
                                                            : std::size_t{0},
            std::string::npos);
  EXPECT_NE(report.json().find("\"code\": \"limit-reversed\""), std::string::npos);
}

TEST(ModelBase, StandsWhereFileAndOptionsPutIt) {
  const std::string placed = "<origin xyz='1 0 0' rpy='0 0 1.5707963267948966'/>";
  const std::string free =
      robot(link("odom", "") + link("a") + joint("j", "floating", "odom", "a", placed));
  const std::string bolted =
      robot(link("world", "") + link("a") + joint("j", "fixed", "world", "a", placed));
  const std::string moving =
      robot(link("world", "") + link("a") + joint("j", "revolute", "world", "a", placed));
  Options lifted;
  lifted.basePosition = {{0.0, 0.0, 2.0}};
  for (const std::string& text : {free, bolted}) {
    for (int fixed = -1; fixed < 2; ++fixed) {
      if (fixed >= 0) lifted.fixedBase = fixed == 1;
      if (fixed < 0) lifted.fixedBase.reset();
      World world;
      const ArticulatedSystem* system = model::addRobot(world, text, lifted);
      const bool isFixed = fixed < 0 ? text == bolted : fixed == 1;
      EXPECT_EQ(system->getDOF(), isFixed ? 0u : 6u);
      EXPECT_EQ(system->getBodyNames().at(0), "a");
      Vec3 position;
      Mat33 rotation;
      system->getPosition(0, position);
      system->getOrientation(0, rotation);
      EXPECT_EQ(position[0], 1.0);
      EXPECT_EQ(position[2], 2.0);
      EXPECT_NEAR(rotation(1, 0), 1.0, 1e-15);
    }
  }
  // A joint that moves under the world moves.
  World world;
  EXPECT_EQ(model::addRobot(world, moving)->getDOF(), 1u);
}

TEST(ModelJoints, OptionsSetOrderPoseAndDefaults) {
  const std::string text =
      robot(link("a") + link("b") + link("c") +
            joint("first", "revolute", "a", "b", "<limit lower='0.5' upper='1'/>") +
            joint("second", "revolute", "a", "c", "<dynamics damping='3'/>"));
  Options options;
  options.jointOrder = {"second"};
  options.jointPositions = {{"second", 0.25}};
  options.damping = 0.1;
  options.armature = 0.2;
  World world;
  const ArticulatedSystem* system = model::addRobot(world, text, options);
  EXPECT_EQ(system->getJointNames(), (std::vector<std::string>{"ROOT", "second", "first"}));
  EXPECT_EQ(system->getGeneralizedCoordinate()[7], 0.25);
  EXPECT_EQ(system->getGeneralizedCoordinate()[8], 0.5) << "the limit next to 0";
  const Model read = model::readRobot(text, options);
  EXPECT_EQ(read.root.childrenMovable[0].damping, 3.0);
  EXPECT_EQ(read.root.childrenMovable[1].damping, 0.1);
  EXPECT_EQ(read.root.childrenMovable[1].rotorInertia, 0.2);

  options.jointPositions = {{"secnd", 0.0}};
  const model::Report report = model::readRobot(text, options).report;
  ASSERT_NE(findingOf(report, "option"), nullptr);
  EXPECT_NE(findingOf(report, "option")->advice.find("'second'"), std::string::npos);
}

// In its plane the body slides in both directions and turns, and nowhere else.
TEST(ModelJoints, PlanarJointIsMadeOfThree) {
  World world;
  ArticulatedSystem* system =
      model::addRobot(world, robot(link("world", "") + link("a") + link("b") +
                                   joint("bolt", "fixed", "world", "a") +
                                   joint("p", "planar", "a", "b", "<axis xyz='0 0 1'/>")));
  ASSERT_EQ(system->getJointNames(), (std::vector<std::string>{"p_x", "p_y", "p"}));
  Eigen::VectorXd gc(3);
  gc << 0.3, 0.4, 0.5;
  system->setGeneralizedCoordinate(gc);
  Vec3 position;
  Mat33 rotation;
  system->getPosition(3, position);
  system->getOrientation(3, rotation);
  EXPECT_NEAR(std::hypot(position[0], position[1]), 0.5, 1e-15);
  EXPECT_EQ(position[2], 0.0);
  EXPECT_NEAR(rotation(0, 0), std::cos(0.5), 1e-15);
  EXPECT_NEAR(rotation(2, 2), 1.0, 1e-15);
}

// Balls of links that are no neighbours overlap: they pass each other, and that is said.
TEST(ModelCollisions, OverlapsOfTheZeroPoseAreIgnoredAndListed) {
  const std::string ball =
      kMass + "<collision><geometry><sphere radius='0.1'/></geometry></collision>";
  const std::string text =
      robot(link("a", ball) + link("b", ball) + link("c", ball) + joint("j", "revolute", "a", "b") +
            joint("k", "revolute", "b", "c"));
  Options options;
  model::Report report;
  for (const bool ignores : {true, false}) {
    options.ignoreInitialOverlaps = ignores;
    World world;
    world.setGravity(Vec3{});
    model::addRobot(world, text, options, &report);
    EXPECT_EQ(findingOf(report, "overlap") != nullptr, ignores);
    messages::of([&] { world.integrate(); });
    EXPECT_EQ(world.getContactProblems().empty(), ignores);
  }
  options.ignoreInitialOverlaps = true;
  World world;
  messages::expect("'a/0' and 'c/0'", [&] { model::addRobot(world, text, options); });
}

TEST(ModelXacro, IsExpandedByItsOwnCommand) {
  const TemporaryDirectory directory;
  const std::string file =
      directory.write("r.xacro", robot("<xacro:property name='m' value='1'/>"));
  const std::string path = std::getenv("PATH");
  setenv("PATH", directory.path.c_str(), 1);
  const Model without = model::readRobot(file);
  ASSERT_NE(findingOf(without.report, "xacro"), nullptr);
  EXPECT_FALSE(without.ok());
  const std::string command =
      directory.write("xacro", "#!/bin/sh\necho \"" + robot(link("a")) + "\"\n");
  chmod(command.c_str(), 0700);
  const Model with = model::readRobot(file);
  setenv("PATH", path.c_str(), 1);
  EXPECT_TRUE(with.ok()) << with.report.text();
  EXPECT_EQ(with.root.bodyName, "a");
  // What is left of it in comments is no reason to expand.
  EXPECT_TRUE(model::readRobot(robot(link("a") + "<!-- <xacro:leg x='${1}'/> -->")).ok());
}

}  // namespace
}  // namespace zelvik
