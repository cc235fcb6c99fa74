// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/urdf.hpp>

#include "Messages.hpp"
#include "RandomTree.hpp"

namespace zelvik {
namespace {

using messages::OnFatal;
using urdf::readUrdfTree;
using urdf::UrdfTree;

const std::string kWhere = "ZelvikTinyXmlWrapper.hpp: in '\"URDF from a string\"' at row:1 col:";

std::string robot(const std::string& content) {
  return "<robot>" + content + "</robot>";
}

/// A joint from `parent` to `child` with further content.
std::string jointText(const std::string& name, const std::string& type, const std::string& parent,
                      const std::string& child, const std::string& more = "<axis xyz='0 0 2'/>") {
  return "<joint name='" + name + "' type='" + type + "'>" + more + "<parent link='" + parent +
         "'/><child link='" + child + "'/></joint>";
}

/// "name(movable children | fixed children)", depth first.
std::string shapeOf(const Child& node) {
  std::string text = node.bodyName;
  if (node.childrenMovable.empty() && node.childrenFixed.empty()) return text;
  text += "(";
  for (const Child& child : node.childrenMovable) text += shapeOf(child) + " ";
  text += "|";
  for (const Child& child : node.childrenFixed) text.append(" ").append(shapeOf(child));
  return text + ")";
}

std::string shapeOf(const std::string& text, const std::vector<std::string>& order = {}) {
  return shapeOf(readUrdfTree(text, order).root);
}

TEST(UrdfOrientation, EveryAttributeTurnsAsItsDefinition) {
  const double residue = 1.2246467991473532e-16, h = std::sqrt(0.5);
  const std::pair<std::string, Mat33> rows[] = {
      {"", {{7, 7, 7, 7, 7, 7, 7, 7, 7}}},
      {"quat='2 0 0 0'", Mat33::identity()},
      {"rpy='1 2 3' quat='3 0 0 3'", {{0, 1, 0, -1, 0, 0, 0, 0, 1}}},
      {"rpy='1.5707963267948966 0 0' zaxis='1 0 0'", {{1, 0, 0, 0, 0, 1, 0, -1, 0}}},
      {"rpy='0 1.5707963267948966 0'", {{0, 0, -1, 0, 1, 0, 1, 0, 0}}},
      // Rz(90) Ry(90) Rx(0): the order of the three turns shows.
      {"rpy='0,1.5707963267948966,1.5707963267948966'", {{0, 0, -1, -1, 0, 0, 0, 1, 0}}},
      {"axisangle='0 0 1 1.5707963267948966' zaxis='1 0 0'", {{0, 1, 0, -1, 0, 0, 0, 0, 1}}},
      // The axis is not normalised: 2 in place of 1 gives 4 (1 - c) + c and 2 s.
      {"axisangle='2 0 0 1.5707963267948966'", {{4, 0, 0, 0, 0, 2, 0, -2, 0}}},
      {"zaxis='0 0 1'", Mat33::identity()},
      {"zaxis='0 0 -1'", {{1, 0, 0, 0, -1, residue, 0, -residue, -1}}},
      {"zaxis='1 0 0'", {{0, 0, -1, 0, 1, 0, 1, 0, 0}}},
      {"zaxis='0 0.70710678118654757 0.70710678118654757'", {{1, 0, 0, 0, h, -h, 0, h, h}}},
  };
  for (const auto& [attributes, expected] : rows) {
    Mat33 R{{7, 7, 7, 7, 7, 7, 7, 7, 7}};
    const std::string text = "<origin " + attributes + "/>";
    EXPECT_TRUE(urdf::getOrientation(ZelvikTinyXmlWrapper(text, "origin"), R));
    for (size_t i = 0; i < 9; ++i)
      EXPECT_NEAR(R[i], expected[i], expected[i] == residue ? 0.0 : 1e-15) << attributes;
  }
}

TEST(UrdfShape, EveryGeometryIsReadWithItsSizes) {
  const std::tuple<std::string, Shape::Type, std::vector<double>, std::string> rows[] = {
      {"<box size='1 2 3'/>", Shape::BOX, {1, 2, 3}, ""},
      {"<mesh filename='a.obj'/>", Shape::MESH, {1, 1, 1}, "a.obj"},
      {"<mesh filename='a.obj' scale='2, 3, 4'/>", Shape::MESH, {2, 3, 4}, "a.obj"},
      {"<cylinder radius='1' length='2'/>", Shape::CYLINDER, {1, 2}, ""},
      {"<capsule radius='1' length='2'/><box/>", Shape::CAPSULE, {1, 2}, ""},
      {"<sphere radius='.5'/>", Shape::SPHERE, {0.5}, ""}};
  for (const auto& [text, shape, sizes, file] : rows) {
    const ZelvikTinyXmlWrapper geometry("<geometry>" + text + "</geometry>", "geometry");
    urdf::UrdfBody body;
    EXPECT_TRUE(urdf::geometry2body(geometry, body, "")) << text;
    EXPECT_TRUE(body.shape == shape && body.shapeParam == sizes && body.fileName == file) << text;
    EXPECT_EQ(body.scale[0], shape == Shape::MESH ? sizes[0] : 1.0) << text;
  }
}

TEST(UrdfJoint, TypesLimitsAndDynamicsAreRead) {
  const std::pair<const char*, Joint::Type> types[] = {
      {"revolute", Joint::REVOLUTE},   {"continuous", Joint::REVOLUTE},
      {"prismatic", Joint::PRISMATIC}, {"spherical", Joint::SPHERICAL},
      {"fixed", Joint::FIXED},         {"free", Joint::FLOATING},
      {"floating", Joint::FLOATING}};
  const std::string common = "<axis xyz='0 0 2'/><origin xyz='1 2 3' zaxis='1 0 0'/>";
  for (const auto& [text, type] : types) {
    urdf::UrdfJoint joint;
    const std::string limit = type == Joint::SPHERICAL ? "" : "<limit velocity='1'/>";
    const ZelvikTinyXmlWrapper element(jointText("j", text, "a", "b", common + limit), "joint");
    EXPECT_TRUE(urdf::readJoint(element, joint)) << text;
    EXPECT_EQ(joint.type, type);
    const bool readsAxis = type != Joint::FIXED && type != Joint::SPHERICAL;
    const std::vector<double> read = {joint.axis[2], joint.lower,  joint.upper,
                                      joint.effort,  joint.pos[2], joint.rot(0, 2)};
    using Limits = std::numeric_limits<double>;
    EXPECT_EQ(read, std::vector<double>(
                        {readsAxis ? 2.0 : 0.0, Limits::lowest(), Limits::max(), -1.0, 3.0, 1.0}));
  }

  const std::string full =
      "<axis xyz='0 0 2'/><limit lower='0.5' upper='2' effort='3'/><limit lower='9'/>"
      "<dynamics damping='4' friction='5' stiffness='6' rotor_inertia='7' spring_mount='8 0 0 1'/>";
  for (const char* type : {"revolute", "spherical"}) {
    const bool spherical = type[0] == 's';
    const UrdfTree tree = readUrdfTree(robot(jointText("j", type, "a", "b", full)));
    ASSERT_TRUE(tree.ok);
    const Child& body = tree.root.childrenMovable.at(0);
    const std::vector<double> read = {body.jointAxis[2],  body.jointLimit[0], body.jointLimit[1],
                                      body.effort,        body.damping,       body.friction,
                                      body.stiffness,     body.rotorInertia,  body.springMount[0],
                                      body.springMount[3]};
    using V = std::vector<double>;
    const double none = std::numeric_limits<double>::max();
    EXPECT_EQ(read, spherical ? V({0, 0.5, none, 3, 4, 5, 6, 7, 8, 1})
                              : V({1, 0.5, 2, 3, 4, 5, 6, 7, 8, 0}));
  }
}

TEST(UrdfLink, MassShapesAndMaterialsAreRead) {
  const std::string text = robot(
      "<material name='red'><color rgba='1 0 0 0.5'/></material><sensor/>"
      "<link name='base'><unknown/>"
      "<inertial><origin xyz='1 2 3' rpy='0 0 1.5707963267948966'/><mass value='2'/>"
      "<inertia ixx='1' iyy='2' izz='3' ixy='0.5' ixz='0.25' iyz='0.125'/></inertial>"
      "<visual><geometry><box size='1 1 1'/></geometry><material name='red'/></visual>"
      "<collision><geometry><box size='1 1 1'/></geometry><material name='red'>"
      "<contact name='rubber'/></material></collision>"
      "<visual><geometry><box size='1 1 1'/></geometry><material name='unheard'/></visual>"
      "<collision><origin xyz='0 0 4'/><geometry><sphere radius='1'/></geometry></collision></link>"
      "<link name='base'><inertial><mass value='99'/></inertial></link>");
  const Child base = readUrdfTree(text).root;
  EXPECT_EQ(base.jointType, Joint::FLOATING);
  EXPECT_EQ(base.mass, 2.0);
  EXPECT_EQ(base.com[2], 3.0);
  const Mat33 inertia{
      {2, -0.5, -0.125, -0.5, 1, 0.25, -0.125, 0.25, 3}};  // x of the file is y of the link
  for (size_t i = 0; i < 9; ++i) EXPECT_NEAR(base.inertia[i], inertia[i], 1e-15) << i;
  std::string shapes;
  for (const CollisionBody& body : base.collisionBodies)
    shapes += body.collisionBodyName + ":" + body.material + ":" + body.visualMaterial + " ";
  EXPECT_EQ(shapes, "base/0:rubber:red base/1:: ");
  EXPECT_EQ(base.collisionBodies[1].posOffset[2], 4.0);
  ASSERT_EQ(base.visObjects.size(), 2u);
  for (const VisObject& visual : base.visObjects) EXPECT_EQ(visual.color[0], 0.7);

  const Child massless = readUrdfTree(robot("<link name='a'><inertial><origin xyz='1 1 1'/><mass/>"
                                            "<inertia ixx='1' iyy='1' izz='1'/></inertial></link>"))
                             .root;
  EXPECT_EQ(massless.inertia[0], 0.0);
}

TEST(UrdfLink, AMotionWithoutMassIsWarnedOf) {
  const auto link = [](const std::string& name, const std::string& mass,
                       const std::string& inertia) {
    return "<link name='" + name + "'><inertial><mass value='" + mass + "'/><inertia ixx='" +
           inertia + "' iyy='" + inertia + "' izz='" + inertia + "'/></inertial></link>";
  };
  const auto warnings = [](const std::string& content) {
    return messages::of([&] { ArticulatedSystem(robot(content), "."); });
  };
  const auto fault = [](const std::string& body, const std::string& what) {
    return "ArticulatedSystemInitCheck.cpp: the " + body + " " + what +
           ": the state of the robot becomes NaN";
  };
  const std::string noMass = "and what it carries have no mass",
                    noInertia = "and what it carries have no inertia about their joint",
                    still =
                        "has a motion in the zero pose that moves no mass (it needs mass and "
                        "inertia of its own)";
  const std::string base = link("base", "1", "1"), hinge = jointText("j", "revolute", "base", "a");
  EXPECT_EQ(warnings("<link name='base'/>"), fault("floating base 'base'", noMass));
  EXPECT_EQ(warnings(link("base", "1", "0")), fault("floating base 'base'", noInertia));
  EXPECT_EQ(warnings(base + hinge), fault("body 'a'", noMass));
  EXPECT_EQ(warnings(base + hinge + link("a", "1", "0")), fault("body 'a'", noInertia));
  // Wheels on a base that the file gives no mass, or one that is no number.
  const std::string wheels = jointText("l", "continuous", "base", "left") +
                             jointText("r", "continuous", "base", "right") +
                             link("left", "1", "1") + link("right", "1", "1");
  EXPECT_EQ(warnings("<link name='base'/>" + wheels), fault("floating base 'base'", still));
  EXPECT_EQ(warnings(base + wheels), "");
  EXPECT_EQ(warnings(link("base", "heavy", "1") + hinge + link("a", "heavy", "1")),
            fault("floating base 'base'", noMass));
  // On a fixed base all that moves counts, each branch for itself.
  const std::string onWorld = jointText("w", "fixed", "world", "base");
  EXPECT_EQ(
      warnings("<link name='world'/>" + onWorld + link("base", "0", "0") + hinge +
               jointText("k", "revolute", "a", "b") + jointText("m", "revolute", "base", "c")),
      fault("body 'a'", noMass) + "\n" + fault("body 'c'", noMass));
  EXPECT_EQ(warnings(base + hinge + link("a", "1", "1")), "");
  // Two hinges in one place, as of a hip: the link between them needs no mass, unless it can turn
  // without the next.
  const std::string across = "<axis xyz='1 0 0'/>";
  EXPECT_EQ(
      warnings(base + hinge + jointText("k", "revolute", "a", "b", across) + link("b", "1", "1")),
      "");
  EXPECT_EQ(warnings(base + hinge + jointText("k", "revolute", "a", "b") + link("b", "1", "1")),
            fault("body 'a'", still));
  const std::string rotor = "<axis xyz='0 0 1'/><dynamics rotor_inertia='1'/>";
  EXPECT_EQ(warnings(base + jointText("j", "revolute", "base", "a", rotor) + link("a", "1", "0")),
            "");
}

TEST(UrdfTreeBuilding, ChildrenAreOrderedAndTheWorldFixesItsBase) {
  const std::string two = jointText("b", "revolute", "r", "x") + jointText("a", "fixed", "r", "y") +
                          jointText("c", "revolute", "r", "z");
  EXPECT_EQ(shapeOf(robot(two)), "r(x z | y)");
  EXPECT_EQ(shapeOf(robot(two), {"c"}), "r(z x | y)");
  EXPECT_EQ(shapeOf(robot(two), {"c", "a", "b"}), "r(z x | y)");
  EXPECT_EQ(shapeOf(robot("<link name='b'/><link name='a'/>" + two)), "a");
  EXPECT_EQ(shapeOf(robot(jointText("a", "fixed", "r", "x") + jointText("a", "fixed", "r", "y"))),
            "r(| x)");

  const std::string world =
      robot(jointText("j2", "fixed", "world", "base", "<origin xyz='0 0 1'/>") +
            jointText("j3", "fixed", "world", "other", "<origin xyz='0 0 5' rpy='1 0 0'/>") +
            jointText("j4", "revolute", "base", "tip"));
  UrdfTree tree;
  EXPECT_EQ(messages::of([&] { tree = readUrdfTree(world); }), "");
  EXPECT_EQ(shapeOf(tree.root), "base(tip |)");
  EXPECT_EQ(tree.root.jointType, Joint::FIXED);
  EXPECT_EQ(tree.root.jointName, "j2");
  EXPECT_EQ(tree.root.parentJointName, "world");
  EXPECT_EQ(tree.fixedBasePosition[2], 1.0);   // of the first joint under "world"
  EXPECT_EQ(tree.root.jointPosition[2], 5.0);  // of the last one
  EXPECT_NEAR(tree.root.jointRotation(1, 1), std::cos(1.0), 1e-15);
  EXPECT_EQ(messages::of(
                [&] { tree = readUrdfTree(robot(jointText("j", "revolute", "world", "base"))); }),
            "urdfLoader2.cpp: the joint 'j' under the link \"world\" is treated as fixed");
  EXPECT_EQ(tree.root.jointType, Joint::FIXED);
}

TEST(UrdfFaults, AreToldByPlaceAndEndTheReading) {
  const std::string body = "<link name='a'><collision>", end = "</collision></link>";
  const auto lacks = [](const std::string& kind) {
    return [kind](int column, const std::string& node, const std::string& name) {
      return kWhere + std::to_string(column) + ", the node '" + node + "' does not contain a " +
             kind + " called '" + name + "'";
    };
  };
  const auto attribute = lacks("attribute"), child = lacks("child");
  const auto mismatch = [](const std::string& path, int column) {
    return "ZelvikTinyXmlWrapper.hpp: Dimension mismatch. File: \"URDF from a string\", Attribute: "
           "robot/link/" +
           path + ", at row:1 col:" + std::to_string(column) + " should have a dimension of 3";
  };
  const std::string loader = "urdfLoader2.cpp: ";
  const struct {
    std::string content, text;
    std::vector<std::string> order = {};
  } rows[] = {
      {"<link/>", attribute(8, "link", "name")},
      {"<material name='m'><color/></material>", attribute(27, "color", "rgba")},
      {"<joint name='j'/>", attribute(8, "joint", "type")},
      {jointText("j", "screw", "a", "b"),
       "urdfLoader2Elements.cpp: currently only support revolute/prismatic/fixed joint/spherical"},
      {jointText("j", "revolute", "a", "b", ""), child(8, "joint", "axis")},
      {"<joint name='j' type='fixed'><child link='b'/></joint>", child(8, "joint", "parent")},
      {jointText("j", "fixed", "a", "b", "<origin rpy='0 0 0'/>"), attribute(37, "origin", "xyz")},
      {jointText("j", "spherical", "a", "b", "<limit upper='1'/>"),
       kWhere +
           "41, the node 'limit'Spherical joint needs the attribute \"lower\" to have a limit."},
      {jointText("j", "spherical", "a", "b", "<limit lower='-1'/>"),
       kWhere + "41, the node 'limit'Spherical joint cannot have negative limit"},
      {body + end, child(23, "collision", "geometry")},
      {body + "<geometry/>" + end, kWhere + "34, the node 'geometry' does not contain a child"},
      {body + "<geometry><cone/></geometry>" + end,
       kWhere + "44, the node 'cone' unrecognized shape: \"cone\""},
      {body + "<geometry><box size='1 2'/></geometry>" + end,
       mismatch("collision/geometry/box/size", 44)},
      {"<link name='a'><inertial/></link>", child(23, "inertial", "mass")},
      {"<link name='a'><inertial><origin xyz='1 2'/><mass/></inertial></link>",
       mismatch("inertial/origin/xyz", 33)},
      {"<link name='a'><inertial><mass/><inertia ixx='1' izz='1'/></inertial></link>",
       attribute(40, "inertia", "iyy")},
      {"", kWhere + "1, the node 'robot' does not contain a link that is no child of a joint"},
      {"<link name='world'/>",
       kWhere + "1, the node 'robot' contains a link 'world' without children"},
      {"", loader + "given joint names are not found in the file", {"j"}},
      {jointText("j", "fixed", "a", "b"),
       loader + "given joint names are not found in the file",
       {"j", "j"}},
      {jointText("j", "floating", "a", "b"),
       loader + "Floating joints are only supported at the root: 'j'"},
      {jointText("i", "fixed", "r", "a") + jointText("j", "fixed", "a", "b") +
           jointText("k", "fixed", "b", "a"),
       loader + "the joints form a loop through the link 'b'"},
      {jointText("j", "fixed", "a", "b") + jointText("k", "fixed", "a", "b"),
       loader + "the link 'b' is the child of more than one joint"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(messages::of([&] { readUrdfTree(robot(row.content), row.order); }), row.text);
    // Where the callback returns, reading stops all the same, with the one message.
    bool ok = true;
    EXPECT_EQ(
        messages::of([&] { ok = readUrdfTree(robot(row.content), row.order).ok; }, OnFatal::GO_ON),
        row.text);
    EXPECT_FALSE(ok) << row.text;
  }
}

TEST(UrdfTreeBuilding, TooLongChainsAreRefused) {
  std::string text;
  for (int i = 0; i <= 2000; ++i) {
    const std::string name = std::to_string(i);
    text += jointText(name, "fixed", name, std::to_string(i + 1));
  }
  messages::refused("more than 2000 joints deep",
                    [&] { EXPECT_FALSE(readUrdfTree(robot(text)).ok); });
}

TEST(UrdfTreeBuilding, AThousandLinksBecomeASystem) {
  std::string text = "<link name='0'/>";
  for (int i = 1; i < 1000; ++i) {
    const std::string name = std::to_string(i);
    text += "<link name='" + name +
            "'><inertial><mass value='1'/><inertia ixx='1' iyy='1' izz='1'/></inertial></link>" +
            jointText(name, "revolute", std::to_string((i - 1) / 3), name);
  }
  const ArticulatedSystem system(robot(text), ".");
  EXPECT_EQ(system.getBodyCount(), 1000u);
  EXPECT_EQ(system.getDOF(), 999u + 6u);
}

TEST(UrdfTreeBuilding, EqualsTheTreeBuiltByHand) {
  // A floating base, a chain of all moving joint types and a tool on a fixed joint.
  const std::string common =
      "<axis xyz='0 0.6 0.8'/><origin xyz='0.1 -0.2 0.3' quat='0.5 0.5 -0.5 0.5'/>"
      "<limit lower='0.5' upper='2' effort='3'/><dynamics damping='0.4' stiffness='6' "
      "rotor_inertia='0.7'/>";
  const std::pair<const char*, Joint::Type> joints[] = {{"fixed", Joint::FIXED},
                                                        {"spherical", Joint::SPHERICAL},
                                                        {"prismatic", Joint::PRISMATIC},
                                                        {"revolute", Joint::REVOLUTE},
                                                        {"floating", Joint::FLOATING}};
  std::string text;
  Child tree;
  for (size_t i = 0; i < 5; ++i) {
    const bool root = i == 4, spherical = i == 1;
    const std::string link = std::to_string(4 - i), parent = std::to_string(root ? 9 : 3 - i);
    text += "<link name='" + link +
            "'><inertial><origin xyz='0.1 0.2 0.3'/><mass value='2'/><inertia ixx='0.5' ixy='0.1' "
            "iyy='0.6' izz='0.7'/></inertial></link>";
    if (!root) text += jointText("to" + link, joints[i].first, parent, link, common);
    Child node;
    node.bodyName = link;
    node.mass = 2.0;
    node.com = {{0.1, 0.2, 0.3}};
    node.inertia = {{0.5, 0.1, 0, 0.1, 0.6, 0, 0, 0, 0.7}};
    node.jointType = joints[i].second;
    if (!root) {
      node.jointName = "to" + link;
      node.jointPosition = {{0.1, -0.2, 0.3}};
      quatToRotMat({{0.5, 0.5, -0.5, 0.5}}, node.jointRotation);
      if (!spherical) node.jointAxis = {{0.0, 0.6, 0.8}};
      node.jointLimit[0] = 0.5;
      node.jointLimit[1] = spherical ? std::numeric_limits<double>::max() : 2.0;
      node.effort = 3.0;
      node.damping = 0.4;
      node.stiffness = 6.0;
      node.rotorInertia = 0.7;
    }
    if (i > 0)
      (tree.jointType == Joint::FIXED ? node.childrenFixed : node.childrenMovable).push_back(tree);
    tree = node;
  }
  ArticulatedSystem loaded(robot(text), "."), built(tree, ".");
  const auto arrays = [](ArticulatedSystem& system) {
    scenes::randomiseState(system, 1);
    system.updateTimeStepIfNecessary(0.01);
    system.preContactSolverUpdate1({{0.0, 0.0, -9.81}}, 0.01);
    return std::tuple(Eigen::MatrixXd(system.getMassMatrix().e()),
                      Eigen::VectorXd(system.getNonlinearities().e()),
                      Eigen::VectorXd(system.getForceUpperLimit().e()), system.getBodyNames(),
                      system.getJointNames(), system.getParents(), system.getGcStart());
  };
  EXPECT_EQ(loaded.getBodyCount(), 4u);
  EXPECT_TRUE(arrays(loaded) == arrays(built));
}

}  // namespace
}  // namespace zelvik
