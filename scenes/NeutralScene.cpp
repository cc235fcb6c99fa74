// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "NeutralScene.hpp"

#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>
#include <regex>
#include <sstream>

#include "StandingRobot.hpp"
#include "Terrain.hpp"

namespace zelvik::scenes {

namespace {

using std::numbers::pi;
const std::string kQuadruped = ZELVIK_MODEL_DIR "/quadruped.urdf";
const std::string kHumanoid = ZELVIK_MODEL_DIR "/humanoid.urdf";

std::vector<double> valuesOf(const VecDyn& v) {
  return {v.v, v.v + v.n};
}

/// A robot in its nominal pose with its feet on the plane, held by PD control.
RobotSetup standing(const std::string& urdf) {
  const StandingRobot source(urdf);
  RobotSetup robot;
  robot.urdf = urdf;
  robot.coordinates = valuesOf(source.robot->getGeneralizedCoordinate());
  robot.velocities.assign(source.robot->getDOF(), 0.0);
  robot.pGain = valuesOf(source.robot->getPGain());
  robot.dGain = valuesOf(source.robot->getDGain());
  robot.holdsPose = true;
  return robot;
}

NeutralScene robotScene(const std::string& urdf, double dt, int warmUp, int steps) {
  NeutralScene scene;
  scene.robots.push_back(standing(urdf));
  scene.dt = dt;
  scene.warmUpSteps = warmUp;
  scene.steps = steps;
  return scene;
}

NeutralScene quadrupedStanding() {
  return robotScene(kQuadruped, 0.0025, 800, 4000);
}

/// Hips and knees of a robot. Knees bend twice as far, so that feet stay below hips.
std::vector<std::pair<size_t, double>> hipsAndKnees(const std::string& urdf) {
  World world;
  const ArticulatedSystem& system = *world.addArticulatedSystem(urdf);
  std::vector<std::pair<size_t, double>> moving;
  for (size_t i = 1; i < system.getBodyCount(); ++i) {
    const std::string& joint = system.getJointNames()[i];
    if (joint.ends_with("_HFE")) moving.push_back({system.getGcStart()[i], 1.0});
    if (joint.ends_with("_KFE")) moving.push_back({system.getGcStart()[i], -2.0});
  }
  return moving;
}

NeutralScene quadrupedMoving() {
  NeutralScene scene = quadrupedStanding();
  scene.robots[0].movingTargets = hipsAndKnees(kQuadruped);
  scene.robots[0].targetAmplitude = 0.1;
  scene.robots[0].targetFrequency = 1.0;
  return scene;
}

NeutralScene quadrupedInTheAir() {
  NeutralScene scene = quadrupedStanding();
  scene.hasGround = false;
  return scene;
}

NeutralScene limp(const std::string& urdf, double dt, int steps) {
  NeutralScene scene = robotScene(urdf, dt, 0, steps);
  scene.robots[0].holdsPose = false;
  return scene;
}

/// A cube of bodies over the ground, pushed a little out of their columns.
NeutralScene pile(int side, ShapeKind shape) {
  NeutralScene scene;
  scene.dt = 0.005;
  scene.steps = 400;
  for (int i = 0; i < side * side * side; ++i) {
    const double shift = 0.01 * (i % 7);
    FreeBody body;
    body.shape = shape;
    body.size = shape == ShapeKind::SPHERE ? Vec3{{0.1, 0.0, 0.0}} : Vec3{{0.2, 0.2, 0.2}};
    body.position = {{0.25 * (i % side) + shift, 0.25 * (i / side % side) - shift,
                      0.2 + 0.25 * (i / side / side)}};
    scene.bodies.push_back(body);
  }
  return scene;
}

NeutralScene pyramid() {
  NeutralScene scene;
  scene.dt = 0.005;
  scene.steps = 400;
  for (int level = 0; level < 10; ++level)
    for (int i = 0; i < 10 - level; ++i) {
      FreeBody body;
      body.shape = ShapeKind::BOX;
      body.size = {{0.2, 0.2, 0.2}};
      body.position = {{0.21 * (i + 0.5 * level), 0.0, 0.1 + 0.2 * level}};
      scene.bodies.push_back(body);
    }
  return scene;
}

TerrainGrid terrainGrid(double size, double cell, double height) {
  TerrainProperties properties = hills(size, cell, height);
  World world;
  const HeightMap* map = world.addHeightMap(0.0, 0.0, properties);
  return {map->getXSamples(), size, map->getHeightMap()};
}

NeutralScene spheresOnTerrain() {
  NeutralScene scene;
  scene.dt = 0.005;
  scene.steps = 400;
  scene.hasGround = false;
  scene.terrain = terrainGrid(10.0, 0.1, 0.8);
  for (int i = 0; i < 100; ++i) {
    FreeBody body;
    body.size = {{0.15, 0.0, 0.0}};
    body.position = {{0.6 * (i % 10 - 4.5), 0.6 * (i / 10 - 4.5), 1.2 + 0.01 * (i % 7)}};
    scene.bodies.push_back(body);
  }
  return scene;
}

NeutralScene quadrupedOnTerrain() {
  NeutralScene scene = quadrupedStanding();
  const RobotOnTerrain source(kQuadruped);
  const HeightMap& map = *source.terrain;
  scene.hasGround = false;
  scene.terrain = {map.getXSamples(), map.getXSize(), map.getHeightMap()};
  scene.robots[0].coordinates = valuesOf(source.robot->getGeneralizedCoordinate());
  scene.robots[0].pGain = valuesOf(source.robot->getPGain());
  scene.robots[0].dGain = valuesOf(source.robot->getDGain());
  return scene;
}

/// One link of a generated robot: a rod along x from its joint.
void writeLink(std::ostream& out, int i) {
  out << "<link name=\"l" << 1000 + i << "\"><inertial><origin xyz=\"0.1 0 0\"/>"
      << "<mass value=\"0.5\"/><inertia ixx=\"0.0004\" iyy=\"0.0018\" izz=\"0.002\" ixy=\"0\" "
      << "ixz=\"0\" iyz=\"0\"/></inertial></link>\n";
}

void writeJoint(std::ostream& out, int i, int parent) {
  static const char* const kAxes[3] = {"0 1 0", "0 0 1", "1 0 0"};
  out << "<joint name=\"j" << 1000 + i << "\" type=\"revolute\"><parent link=\"l" << 1000 + parent
      << "\"/><child link=\"l" << 1000 + i << "\"/><origin xyz=\"0.2 0 0\"/><axis xyz=\""
      << kAxes[i % 3] << "\"/></joint>\n";
}

/// A free robot of n links without shapes, whose tree is told by the parent of each link.
NeutralScene freeTree(int n, const std::function<int(int)>& parentOf) {
  std::ostringstream urdf;
  urdf.imbue(std::locale::classic());
  urdf << "<robot name=\"tree\">\n";
  for (int i = 0; i < n; ++i) {
    writeLink(urdf, i);
    if (i > 0) writeJoint(urdf, i, parentOf(i));
  }
  urdf << "</robot>\n";
  RobotSetup robot;
  robot.urdf = urdf.str();
  robot.coordinates = {0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};
  robot.velocities.assign(6, 0.0);
  for (int i = 1; i < n; ++i) {
    robot.coordinates.push_back(0.2 + 0.1 * (i % 4));
    robot.velocities.push_back(0.3 * (i % 5 - 2));
  }
  NeutralScene scene;
  scene.robots.push_back(robot);
  scene.hasGround = false;
  scene.dt = 0.001;
  scene.warmUpSteps = 20;
  scene.steps = 400;
  return scene;
}

NeutralScene chain(int n) {
  return freeTree(n, [](int i) { return i - 1; });
}

/// Eight branches of five links on one base.
NeutralScene branches() {
  return freeTree(41, [](int i) { return (i - 1) % 5 == 0 ? 0 : i - 1; });
}

/// A binary tree of 63 links.
NeutralScene binaryTree() {
  return freeTree(63, [](int i) { return (i - 1) / 2; });
}

/// Flat boxes on the ground, far apart.
NeutralScene flatBoxes(int count) {
  NeutralScene scene;
  scene.friction = 0.5;
  scene.steps = 800;
  for (int i = 0; i < count; ++i) {
    FreeBody box;
    box.shape = ShapeKind::BOX;
    box.size = {{0.4, 0.4, 0.1}};
    box.position = {{0.0, 20.0 * i, 0.05}};
    scene.bodies.push_back(box);
  }
  return scene;
}

/// A vector at 0, 15, ... 60 degrees to the x axis.
Vec3 fan(double length, int i) {
  const double angle = pi / 12.0 * (i % 5);
  return {{length * std::cos(angle), length * std::sin(angle), 0.0}};
}

/// A1: boxes that slide away at 3 m/s in five directions.
NeutralScene slidingBoxes() {
  NeutralScene scene = flatBoxes(5);
  for (int i = 0; i < 5; ++i) scene.bodies[i].velocity = fan(3.0, i);
  return scene;
}

/// A2: boxes pulled by 0.9 and 1.1 times the friction limit in five directions.
NeutralScene pulledBoxes() {
  NeutralScene scene = flatBoxes(10);
  for (int i = 0; i < 10; ++i) {
    FreeBody& box = scene.bodies[i];
    box.force = fan((i < 5 ? 0.9 : 1.1) * scene.friction * box.mass * 9.81, i);
  }
  return scene;
}

/// Lets bodies that stand on the ground begin a little inside of it, as bodies at rest do. Without,
/// they land in the first steps.
NeutralScene settled(NeutralScene scene) {
  constexpr double kOverlap = 1e-5;  // m
  for (FreeBody& body : scene.bodies) body.position[2] -= kOverlap;
  return scene;
}

/// A3: an elastic ball from 1 m, 10 s.
NeutralScene bouncingBall() {
  NeutralScene scene;
  scene.restitution = 1.0;
  scene.steps = 4000;
  FreeBody ball;
  ball.size = {{0.1, 0.0, 0.0}};
  ball.position = {{0.0, 0.0, 1.1}};
  scene.bodies.push_back(ball);
  return scene;
}

std::string textOf(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// A4: the quadruped in free space, its joints moving, without damping, rotors and limits.
NeutralScene floatingRobot() {
  NeutralScene scene = quadrupedInTheAir();
  RobotSetup& robot = scene.robots[0];
  robot.urdf = std::regex_replace(textOf(kQuadruped), std::regex("<(dynamics|limit)[^>]*>"), "");
  robot.holdsPose = robot.collides = false;
  scene.dt = 0.001;
  scene.steps = 10000;
  for (size_t k = 0; k < 6; ++k) robot.velocities[k] = k < 3 ? 0.1 : 0.5;
  for (size_t k = 6; k < robot.velocities.size(); ++k)
    robot.velocities[k] = 0.5 * (static_cast<double>(k % 4) - 1.5);
  scene.gravity.setZero();
  scene.warmUpSteps = 0;
  return scene;
}

/// A5: a scene at rest, after 10 s.
NeutralScene atRest(NeutralScene scene) {
  scene.warmUpSteps = 0;
  scene.steps = static_cast<int>(std::lround(10.0 / scene.dt));
  return scene;
}

struct Entry {
  const char* name;
  std::function<NeutralScene()> build;
};

const std::vector<Entry>& entries() {
  static const std::vector<Entry> kEntries = {
      {"S1", quadrupedStanding},
      {"S1m", quadrupedMoving},
      {"S2", quadrupedInTheAir},
      {"S3", [] { return limp(kQuadruped, 0.0025, 400); }},
      {"S4-216-spheres", [] { return pile(6, ShapeKind::SPHERE); }},
      {"S4-1000-spheres", [] { return pile(10, ShapeKind::SPHERE); }},
      {"S4-216-boxes", [] { return pile(6, ShapeKind::BOX); }},
      {"S5", pyramid},
      {"S6-standing", [] { return robotScene(kHumanoid, 0.001, 800, 2000); }},
      {"S6-falling", [] { return limp(kHumanoid, 0.001, 1500); }},
      {"S7-chain-10", [] { return chain(10); }},
      {"S7-chain-20", [] { return chain(20); }},
      {"S7-chain-40", [] { return chain(40); }},
      {"S7-chain-80", [] { return chain(80); }},
      {"S7-branches-41", branches},
      {"S7-binary-63", binaryTree},
      {"S8", spheresOnTerrain},
      {"S9", quadrupedOnTerrain},
      {"A1", slidingBoxes},
      {"A1-settled", [] { return settled(slidingBoxes()); }},
      {"A2", pulledBoxes},
      {"A2-settled", [] { return settled(pulledBoxes()); }},
      {"A3", bouncingBall},
      {"A4", floatingRobot},
      {"A5-S1", [] { return atRest(quadrupedStanding()); }},
      {"A5-S4-spheres", [] { return atRest(pile(6, ShapeKind::SPHERE)); }},
      {"A5-S4-boxes", [] { return atRest(pile(6, ShapeKind::BOX)); }},
      {"A5-S5", [] { return atRest(pyramid()); }},
  };
  return kEntries;
}

}  // namespace

Vec3 momentsOf(const FreeBody& body) {
  const double m = body.mass, r = body.size[0], l = body.size[1];
  const auto round = [](double axial, double across) { return Vec3{{across, across, axial}}; };
  switch (body.shape) {
    case ShapeKind::SPHERE:
      return round(0.4 * m * r * r, 0.4 * m * r * r);
    case ShapeKind::BOX: {
      const double xx = r * r, yy = l * l, zz = body.size[2] * body.size[2];
      return (m / 12.0) * Vec3{{yy + zz, xx + zz, xx + yy}};
    }
    case ShapeKind::CYLINDER:
      return round(0.5 * m * r * r, m * (3.0 * r * r + l * l) / 12.0);
    case ShapeKind::CAPSULE:
      break;
  }
  // A cylinder and two half spheres, whose centres of mass lie 3 r / 8 beyond its ends.
  const double cylinder = m * l / (l + 4.0 / 3.0 * r), caps = m - cylinder;
  return round(0.5 * cylinder * r * r + 0.4 * caps * r * r,
               cylinder * (3.0 * r * r + l * l) / 12.0 +
                   caps * (0.4 * r * r + 0.25 * l * l + 0.375 * l * r));
}

double NeutralScene::weight() const {
  double mass = 0.0;
  for (const FreeBody& body : bodies) mass += body.mass;
  for (const RobotSetup& robot : robots) {
    World world;
    const ArticulatedSystem& system = *world.addArticulatedSystem(robot.urdf, ZELVIK_MODEL_DIR);
    for (size_t i = 0; i < system.getBodyCount(); ++i) mass += system.getMass(i);
  }
  return mass * norm(gravity);
}

std::vector<double> NeutralScene::targetsAt(double time) const {
  if (robots.empty()) return {};
  const RobotSetup& robot = robots[0];
  std::vector<double> targets = robot.coordinates;
  const double angle = robot.targetAmplitude * std::sin(2.0 * pi * robot.targetFrequency * time);
  for (const auto& [place, factor] : robot.movingTargets) targets[place] += factor * angle;
  return targets;
}

NeutralScene neutralScene(const std::string& name) {
  for (const Entry& entry : entries())
    if (entry.name == name) {
      NeutralScene scene = entry.build();
      scene.name = name;
      return scene;
    }
  return {};
}

const std::vector<std::string>& neutralSceneNames() {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const Entry& entry : entries()) names.push_back(entry.name);
    return names;
  }();
  return kNames;
}

}  // namespace zelvik::scenes
