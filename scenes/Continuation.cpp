// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Continuation.hpp"

#include <cmath>

#include "RandomTree.hpp"
#include "StateHash.hpp"
#include "Terrain.hpp"

namespace zelvik::scenes {

namespace {

const std::string kModels = ZELVIK_MODEL_DIR;

ArticulatedSystem* addQuadruped(World& world, double x,
                                ArticulatedSystem::IntegrationScheme scheme) {
  ArticulatedSystem* robot = world.addArticulatedSystem(kModels + "/quadruped.urdf");
  VecDyn pose = robot->getGeneralizedCoordinate(), gain(robot->getDOF());
  for (size_t leg = 0; leg < 4; ++leg) {
    pose[7 + 3 * leg + 1] = 0.6;
    pose[7 + 3 * leg + 2] = -1.2;
  }
  pose[0] = x;
  pose[2] = 0.6;
  for (size_t i = 0; i < gain.n; ++i) gain[i] = i < 6 ? 0.0 : 60.0;
  robot->setGeneralizedCoordinate(pose);
  robot->setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(gain);
  robot->setPTarget(pose);
  robot->setIntegrationScheme(scheme);
  return robot;
}

/// Robots of all integration schemes on flat ground.
void addRobots(World& world) {
  world.addGround();
  addQuadruped(world, 0.0, ArticulatedSystem::SEMI_IMPLICIT);
  addQuadruped(world, 0.3, ArticulatedSystem::TRAPEZOID);
  ArticulatedSystem* arm = world.addArticulatedSystem(kModels + "/arm.urdf");
  arm->setBasePos(Vec3{{1.5, 0.0, 0.2}});
  arm->setIntegrationScheme(ArticulatedSystem::RUNGE_KUTTA_4);
  RandomTreeOptions options;
  for (std::uint32_t i = 0; i < 2; ++i) {
    options.floatingBase = i == 1;
    Child tree = randomTree(5 + i, options);
    CollisionBody body;
    body.shape = Shape::SPHERE;
    body.size = {0.15};
    tree.collisionBodies.push_back(body);
    for (Child& child : tree.childrenMovable) child.collisionBodies.push_back(body);
    ArticulatedSystem* system = world.addArticulatedSystem(tree, kModels);
    randomiseState(*system, 11 + i);
    system->setBasePos(Vec3{{-1.0 - i, 0.0, 0.8}});
    system->setIntegrationScheme(ArticulatedSystem::EXPLICIT);
  }
}

void addTerrain(World& world) {
  TerrainProperties hills = scenes::hills(6.0, 0.1, 0.3);
  world.addHeightMap(0.0, 0.0, hills);
  world.addSphere(0.15, 1.0)->setPosition(0.0, 0.4, 0.8);
  world.addBox(0.3, 0.2, 0.1, 1.0)->setPosition(0.1, 0.45, 1.2);
  world.addCylinder(0.1, 0.3, 1.0)->setPosition(1.0, 0.0, 0.8);
  world.addCapsule(0.1, 0.3, 1.0)->setPosition(1.05, 0.0, 1.2);
  addQuadruped(world, -1.0, ArticulatedSystem::EXPLICIT);
}

/// Bodies that begin at equal places along x, on two static boxes that meet below them.
void addPile(World& world) {
  for (const double x : {-1.0, 1.0}) {
    Box* half = world.addBox(2.0, 4.0, 1.0, 1.0);
    half->setPosition(x, 0.0, -0.5);
    half->setBodyType(BodyType::STATIC);
  }
  for (int i = 0; i < 30; ++i) {
    const double y = 0.21 * (i % 5 - 2), z = 0.15 + 0.22 * (i / 5);
    SingleBodyObject* body = nullptr;
    if (i % 4 == 0)
      body = world.addSphere(0.1, 1.0);
    else if (i % 4 == 3)
      body = world.addCapsule(0.08, 0.1, 1.0);
    else
      body = world.addBox(0.2, 0.2, 0.2, 1.0);
    body->setPosition(0.0, y, z);
  }
}

/// Meshes, a compound, both kinds of wire, a kinematic body, a fixed base and a robot.
void addEverything(World& world) {
  world.addGround();
  for (int i = 0; i < 2; ++i)
    world.addMesh(kModels + "/meshes/octahedron.obj", 1.0, 0.02 * Mat33::identity(), {}, 0.2)
        ->setPosition(-1.0, 0.05 * i, 0.5 + 0.4 * i);
  Compound::CompoundObjectChild part{SPHERE, {0.1}, "", Mat33::identity(), {{0.2, 0.0, 0.0}}};
  Compound::CompoundObjectChild other = part;
  other.position = {{-0.2, 0.0, 0.0}};
  SingleBodyObject* dumbbell = world.addCompound({part, other}, 2.0, {}, 0.1 * Mat33::identity());
  dumbbell->setPosition(0.0, 1.0, 0.3);
  Box* platform = world.addBox(1.0, 1.0, 0.1, 1.0);
  platform->setPosition(1.5, 1.0, 0.2);
  platform->setBodyType(BodyType::KINEMATIC);
  platform->setVelocity(0.05, 0.0, 0.02, 0.0, 0.0, 0.1);
  world.addBox(0.2, 0.2, 0.2, 1.0)->setPosition(1.5, 1.0, 0.5);
  Box* block = world.addBox(0.5, 0.5, 0.2, 1.0);
  block->setPosition(-1.0, 0.0, 0.1);
  block->setBodyType(BodyType::STATIC);
  ArticulatedSystem* robot = addQuadruped(world, 0.2, ArticulatedSystem::SEMI_IMPLICIT);
  ArticulatedSystem* arm = world.addArticulatedSystem(kModels + "/arm.urdf");
  arm->setBasePos(Vec3{{0.0, -1.5, 0.0}});
  world.addStiffWire(robot, 0, {}, dumbbell, 0, {}, 0.8)->setStretchType(0);
  world.addCompliantWire(arm, 1, {}, robot, 0, {}, 0.5, 30.0)->setStretchType(2);
  // A stretch type that leaves a wire as it was.
  LengthConstraint* wire = world.addCompliantWire(dumbbell, 0, {}, block, 0, {}, 0.5, 3.0);
  wire->setStretchType(0);
  wire->update();
  wire->setStretchType(9);
}

void removeTwo(World& world) {
  world.removeObject(world.getObjList()[1]);
  world.removeObject(world.getObjList()[2]);
}

void touchAll(World& world) {
  for (size_t i = world.getObjList().size(); i-- > 0;)
    if (auto* body = dynamic_cast<SingleBodyObject*>(world.getObjList()[i])) {
      Vec3 p = body->getBodyPosition();
      if (body->getBodyType() == BodyType::STATIC && body->getObjectType() == BOX) p[0] += 1e-3;
      body->setPosition(p);
    }
}

void spoil(World& world) {
  const double nan = std::nan("");
  for (Object* object : world.getObjList()) {
    if (auto* robot = dynamic_cast<ArticulatedSystem*>(object)) {
      VecDyn u = robot->getGeneralizedVelocity();
      for (size_t i = 0; i < u.n; ++i) u[i] = nan;
      robot->setGeneralizedVelocity(u);
    } else if (object->getBodyType() != BodyType::STATIC) {
      static_cast<SingleBodyObject*>(object)->setVelocity(nan, nan, nan, nan, nan, nan);
    }
  }
}

/// Forces by what was read, so that a reading that is not restored shows.
void driveRobot(ArticulatedSystem& robot, size_t step) {
  Vec3 v{}, force{};
  robot.getVelocity(robot.getBodyCount() - 1, v);
  for (size_t k = 0; k < 3; ++k) force[k] = -2.0 * v[k];
  if (step % 3 == 0) robot.setExternalForce(robot.getBodyCount() - 1, force);
  if (step % 4 == 0) robot.setExternalTorque(0, 0.5 * v);
  VecDyn u = robot.getGeneralizedForce();
  for (size_t k = 0; k < u.n; ++k) u[k] *= 0.01;
  if (step % 6 == 0) robot.setGeneralizedForce(u);
  VecDyn target = robot.getPTarget();
  if (target.n > 0) target[target.n - 1] += step % 2 == 0 ? 1e-2 : -1e-2;
  robot.setPTarget(target);
  if (step % 90 == 50) {
    VecDyn q = robot.getGeneralizedCoordinate();
    q[q.n - 1] += 0.1;
    robot.setGeneralizedCoordinate(q);
  }
}

}  // namespace

std::unique_ptr<World> Continuation::build() const {
  auto world = std::make_unique<World>();
  world->setBroadPhase(broadPhase);
  world->setTimeStep(0.0025);
  world->setWarmStart(warmStart);
  world->setContactSolverParam(1.0, 1.0, 1.0, 30, 1e-8);
  if (scene == ROBOTS) addRobots(*world);
  if (scene == TERRAIN) addTerrain(*world);
  if (scene == PILE) addPile(*world);
  if (scene == EVERYTHING) addEverything(*world);
  if (event == REMOVED_OBJECTS) removeTwo(*world);
  return world;
}

std::unique_ptr<World> Continuation::buildUntil(size_t steps) const {
  std::unique_ptr<World> world = build();
  for (size_t i = 0; i < steps; ++i) step(*world);
  if (event == SETTERS_BEFORE) touchAll(*world);
  return world;
}

void Continuation::step(World& world) {
  const size_t step = world.getStepCount();
  for (Object* object : world.getObjList()) {
    const size_t turn = step + object->getIndexInWorld();
    if (auto* robot = dynamic_cast<ArticulatedSystem*>(object)) {
      driveRobot(*robot, turn);
      if (robot->getBodyType(0) == BodyType::STATIC && turn % 70 == 60) {
        Vec3 base{};
        robot->getPosition(0, base);
        base[1] += 0.05;
        robot->setBasePos(base);
      }
      continue;
    }
    auto* body = static_cast<SingleBodyObject*>(object);
    if (body->getBodyType() == BodyType::STATIC && body->getObjectType() == BOX) {
      if (turn % 40 == 20) {
        Vec3 p = body->getBodyPosition();
        p[0] += 1e-3;
        body->setPosition(p);
      }
    } else if (turn % 13 == 0) {
      body->setExternalForce(0, Vec3{{0.0, 0.0, 0.05}}, Vec3{{1.0, 0.5, 0.0}});
    }
  }
  for (const auto& wire : world.getStiffWires())
    if (step % 50 == 10) wire->setLength(0.99 * wire->getLength());
  world.integrate();
}

std::vector<std::uint64_t> Continuation::run(World& world, size_t steps) {
  std::vector<std::uint64_t> hashes;
  for (size_t i = 0; i < steps; ++i) {
    step(world);
    hashes.push_back(stateHash(world) ^ world.getStateHash());
  }
  return hashes;
}

std::unique_ptr<World> Continuation::goBack(Way way, std::unique_ptr<World> world,
                                            const State& state) const {
  if (way == FRESH_WORLD) world = build();
  // A world that has made steps of its own, or none.
  for (int i = 0; i < 2 + static_cast<int>(event); ++i) step(*world);
  if (event == NAN_BETWEEN) {
    spoil(*world);
    for (int i = 0; i < 5; ++i) step(*world);
  }
  // Forces that wait are no part of the moment that is restored.
  for (Object* object : world->getObjList())
    if (object->getBodyType() == BodyType::DYNAMIC) object->setExternalForce(0, Vec3{{1, 2, 3}});
  if (!world->restoreState(state)) return nullptr;
  return way == CLONE ? world->clone() : std::move(world);
}

const char* Continuation::nameOf(Scene scene) {
  constexpr const char* names[] = {"robots", "terrain", "pile", "everything"};
  return names[scene];
}

const char* Continuation::nameOf(World::BroadPhase phase) {
  constexpr const char* names[] = {"auto", "hash", "simple", "sap", "quadtree"};
  return names[static_cast<size_t>(phase)];
}

const char* Continuation::nameOf(Way way) {
  constexpr const char* names[] = {"same", "fresh", "clone"};
  return names[way];
}

const char* Continuation::nameOf(Event event) {
  constexpr const char* names[] = {"nothing", "setters-before", "nan-between", "removed"};
  return names[event];
}

std::string Continuation::name() const {
  return std::string(nameOf(scene)) + ", " + nameOf(broadPhase) + ", " +
         (warmStart ? "warm" : "cold") + ", " + nameOf(event);
}

}  // namespace zelvik::scenes
