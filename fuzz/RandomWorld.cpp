// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "RandomWorld.hpp"

#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace zelvik::fuzz {

namespace {

constexpr size_t kMostObjects = 10;
constexpr double kSceneSize = 1.5;  ///< half the side of the square that bodies start in (m)

const std::string kModels = ZELVIK_MODEL_DIR;

}  // namespace

RandomWorld::RandomWorld(std::uint32_t seed, bool strays)
    : random_(seed), strayRandom_(seed + 1), strays_(strays), calm_(seed % 2 == 0) {
  fill();
}

size_t RandomWorld::pick(size_t count) {
  return static_cast<size_t>(random_.uniform(0.0, static_cast<double>(count)));
}

/// Uniform between the limits; in a world that is not calm one in twenty is outrageous.
double RandomWorld::number(double lower, double upper) {
  const double usual = random_.uniform(lower, upper);
  if (calm_ || !chance(0.05)) return usual;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double outrageous[] = {0.0,   -usual, 1e6 * usual, 1e-12 * usual, 1e8,        1e20,
                               1e160, -1e308, 5e-324,      kInfinity,     -kInfinity, std::nan("")};
  return outrageous[pick(std::size(outrageous))];
}

Vec3 RandomWorld::vector(double size) {
  const double x = number(-size, size), y = number(-size, size), z = number(-size, size);
  return {{x, y, z}};
}

Mat33 RandomWorld::inertia() {
  const double a = number(0.01, 0.05), b = number(0.01, 0.05), c = number(0.01, 0.05);
  return {{a + b, 0.0, 0.0, 0.0, a + c, 0.0, 0.0, 0.0, b + c}};
}

std::string RandomWorld::material() {
  const char* names[] = {"", "steel", "rubber", "ice"};
  return names[pick(std::size(names))];
}

Object* RandomWorld::anyObject() {
  const std::vector<Object*>& objects = world_.getObjList();
  return objects.empty() ? nullptr : objects[pick(objects.size())];
}

void RandomWorld::fill() {
  changeParameters();
  if (chance(0.8)) world_.addGround(number(-0.3, 0.0), material());
  if (chance(0.4)) addHeightMap();
  for (size_t i = 2 + pick(5); i > 0; --i) addObject();
  if (chance(0.1)) addCrowd();
  if (chance(0.4)) addWire();
  if (chance(0.3)) world_.setBroadPhase(static_cast<World::BroadPhase>(pick(5)));
  if (chance(0.3)) world_.setWarmStart(true);
  if (chance(0.3)) world_.setContactSurfaceLayer(number(0.0, 1e-3));
}

void RandomWorld::addObject() {
  if (world_.getObjList().size() >= kMostObjects) return;
  const double kind = random_.uniform(0.0, 1.0);
  if (kind < 0.55) {
    addShape();
  } else if (kind < 0.65) {
    addCompound();
  } else if (kind < 0.75) {
    addMesh();
  } else if (kind < 0.8) {
    addHeightMap();
  } else if (kind < 0.9) {
    addRobot();
  } else {
    addTree();
  }
}

void RandomWorld::place(SingleBodyObject* body) {
  const double z = number(0.0, 1.5);
  body->setPosition(number(-kSceneSize, kSceneSize), number(-kSceneSize, kSceneSize), z);
  // Exact quarter turns on a grid meet the special cases of the colliders.
  if (chance(0.7)) body->setOrientation(random_.unitQuaternion());
  if (chance(0.3)) body->setVelocity(vector(2.0), vector(5.0));
  const double type = random_.uniform(0.0, 1.0);
  if (type < 0.1) body->setBodyType(BodyType::STATIC);
  if (type > 0.9) body->setBodyType(BodyType::KINEMATIC);
  if (chance(0.1)) body->setLinearDamping(number(0.0, 2.0));
  if (chance(0.1)) {
    const double damping = number(0.0, 0.05);
    body->setAngularDamping({{damping, damping, damping}});
  }
}

void RandomWorld::addShape() {
  const double a = number(0.05, 0.4), b = number(0.05, 0.4), c = number(0.05, 0.4);
  const double mass = number(0.2, 3.0);
  switch (pick(5)) {
    case 0:
      return place(world_.addSphere(a, mass, material()));
    case 4:
      return addHull();
    case 1:
      return place(world_.addBox(a, b, c, mass, material()));
    case 2:
      return place(world_.addCylinder(a, b, mass, material()));
    default:
      return place(world_.addCapsule(a, b, mass, material()));
  }
}

/// The hull of a pyramid of many sides, one of a thousand of them dented: which is refused.
void RandomWorld::addHull() {
  const unsigned sides = 3 + static_cast<unsigned>(pick(60));
  const double radius = random_.uniform(0.05, 0.4), height = number(0.05, 0.4);
  std::vector<double> corners{0.0, 0.0, height, 0.0, 0.0, chance(0.001) ? height : 0.0};
  std::vector<unsigned> triangles;
  for (unsigned k = 0; k < sides; ++k) {
    const double angle = 2.0 * std::numbers::pi * k / sides;
    corners.insert(corners.end(), {radius * std::cos(angle), radius * std::sin(angle), 0.0});
    const unsigned a = 2 + k, b = 2 + (k + 1) % sides;
    triangles.insert(triangles.end(), {0, a, b, 1, b, a});
  }
  place(world_.addConvexHull(corners, triangles, number(0.2, 3.0), material()));
}

/// Enough small bodies for what is done otherwise with many: the search of pairs, full batches.
void RandomWorld::addCrowd() {
  for (size_t i = 0; i < 60; ++i) {
    const double size = random_.uniform(0.05, 0.2);
    const Vec3 p = {
        {random_.uniform(-0.5, 0.5), random_.uniform(-0.5, 0.5), random_.uniform(0.0, 1.0)}};
    if (chance(0.5))
      world_.addSphere(0.5 * size, number(0.2, 3.0), material())->setPosition(p);
    else
      world_.addBox(size, size, size, number(0.2, 3.0), material())->setPosition(p);
  }
}

void RandomWorld::addCompound() {
  const ObjectType shapes[] = {BOX, CYLINDER, CAPSULE, SPHERE};
  std::vector<Compound::CompoundObjectChild> children;
  for (size_t i = 2 + pick(3); i > 0; --i) {
    Compound::CompoundObjectChild child{};
    child.objectType = shapes[pick(std::size(shapes))];
    for (double& size : child.objectParam) size = number(0.05, 0.3);
    child.material = material();
    child.rotation = random_.rotation();
    child.position = vector(0.3);
    children.push_back(child);
  }
  place(world_.addCompound(children, number(0.5, 3.0), vector(0.1), inertia()));
}

void RandomWorld::addMesh() {
  place(world_.addMesh(kModels + "/meshes/octahedron.obj", number(0.2, 2.0), inertia(),
                       vector(0.05), number(0.1, 0.5), material()));
}

void RandomWorld::addHeightMap() {
  const size_t columns = 2 + pick(12), rows = 2 + pick(12);
  std::vector<double> heights(columns * rows);
  const double roughness = chance(0.2) ? 0.0 : number(0.0, 0.4);
  for (double& height : heights) height = random_.uniform(-1.0, 0.0) * roughness;
  HeightMap* map = world_.addHeightMap(columns, rows, number(1.0, 5.0), number(1.0, 5.0),
                                       number(-1.0, 1.0), number(-1.0, 1.0), heights, material());
  if (map != nullptr) map->setExactContacts(chance(0.5));
}

void RandomWorld::addRobot() {
  const char* names[] = {"/arm.urdf", "/quadruped.urdf"};
  ArticulatedSystem* robot = world_.addArticulatedSystem(kModels + names[pick(std::size(names))]);
  if (chance(0.8))
    robot->setBasePos(Vec3{{number(-1.0, 1.0), number(-1.0, 1.0), number(0.3, 1.0)}});
  if (chance(0.7)) control(*robot);
}

void RandomWorld::addTree() {
  scenes::RandomTreeOptions options;
  options.bodies = 1 + pick(8);
  options.floatingBase = chance(0.5);
  options.chain = chance(0.3);
  Child tree = scenes::randomTree(static_cast<std::uint32_t>(pick(1u << 30)), options);
  CollisionBody body;
  body.shape = Shape::SPHERE;
  body.size = {number(0.05, 0.2)};
  body.material = material();
  tree.collisionBodies.push_back(body);
  for (Child& child : tree.childrenMovable) child.collisionBodies.push_back(body);
  ArticulatedSystem* system = world_.addArticulatedSystem(tree, kModels);
  if (system == nullptr || system->getDOF() == 0) return;
  scenes::randomiseState(*system, static_cast<std::uint32_t>(pick(1u << 30)));
  const size_t scheme = pick(4);
  system->setIntegrationScheme(static_cast<ArticulatedSystem::IntegrationScheme>(scheme));
  if (chance(0.5)) control(*system);
}

void RandomWorld::addWire() {
  Object *a = anyObject(), *b = anyObject();
  if (a == nullptr || a == b) return;
  const Vec3 pointA = vector(0.1), pointB = vector(0.1);
  const double length = number(0.1, 1.5);
  if (chance(0.5))
    world_.addStiffWire(a, 0, pointA, b, 0, pointB, length);
  else
    world_.addCompliantWire(a, 0, pointA, b, 0, pointB, length, number(1.0, 500.0));
}

void RandomWorld::removeSomething() {
  if (!world_.getStiffWires().empty() && chance(0.3))
    return world_.removeObject(world_.getStiffWires().back().get());
  if (!world_.getCompliantWires().empty() && chance(0.3))
    return world_.removeObject(world_.getCompliantWires().front().get());
  if (Object* object = anyObject()) world_.removeObject(object);
}

void RandomWorld::teleport(Object* object) {
  const bool isTerrain = object->getObjectType() == GROUND || object->getObjectType() == HEIGHTMAP;
  if (calm_ && isTerrain) return;
  if (auto* body = dynamic_cast<SingleBodyObject*>(object)) return place(body);
  auto* system = dynamic_cast<ArticulatedSystem*>(object);
  if (system == nullptr) return;
  if (chance(0.5))
    system->setBasePos(vector(1.0));
  else
    scenes::randomiseState(*system, static_cast<std::uint32_t>(pick(1u << 30)));
}

void RandomWorld::push(Object* object) {
  const auto* system = dynamic_cast<ArticulatedSystem*>(object);
  const size_t bodies = system != nullptr ? system->getBodyCount() : 1;
  const size_t body = pick(bodies + (calm_ ? 0 : 1));
  object->setExternalForce(body, vector(20.0));
  if (chance(0.5)) object->setExternalTorque(body, vector(1.0));
  if (chance(0.3)) object->setExternalForce(body, vector(0.2), vector(20.0));
}

void RandomWorld::control(ArticulatedSystem& system) {
  VecDyn p(system.getDOF()), d(system.getDOF());
  for (size_t i = 0; i < system.getDOF(); ++i) {
    p[i] = number(0.0, 200.0);
    d[i] = number(0.0, 10.0);
  }
  for (size_t i = 0; system.getJointType(0) == Joint::FLOATING && i < 6; ++i) p[i] = d[i] = 0.0;
  system.setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  system.setPGain(p);
  system.setDGain(d);
  system.setPTarget(system.getGeneralizedCoordinate());
}

void RandomWorld::changeParameters() {
  world_.setTimeStep(number(0.0005, 0.01));
  if (chance(0.3)) world_.setGravity(vector(10.0));
  if (chance(0.3)) world_.setERP(number(0.0, 0.3), number(0.0, 0.1));
  if (chance(0.2))
    world_.setContactSolverParam(number(0.5, 1.0), 1.0, 1.0, static_cast<int>(pick(100)),
                                 number(0.0, 1e-6));
  const double friction = chance(0.2) ? 0.0 : number(0.0, 1.5);
  world_.setDefaultMaterial(friction, number(0.0, 1.0), number(0.0, 0.1));
  const std::string a = material(), b = material();
  world_.setMaterialPairProp(a, b, number(0.0, 1.5), number(0.0, 1.0), number(0.0, 0.1));
}

void RandomWorld::castRay() {
  const Vec3 start = vector(2.0), direction = vector(1.0);
  world_.rayTest(start, direction, number(0.0, 10.0));
}

/// Now and then something happens; mostly nothing does.
void RandomWorld::disturb() {
  if (chance(0.02)) addObject();
  if (chance(0.015)) removeSomething();
  if (chance(0.005)) addWire();
  if (chance(0.01)) changeParameters();
  if (chance(0.005)) world_.setWarmStart(!world_.isWarmStarted());
  if (chance(0.005)) world_.setBroadPhase(static_cast<World::BroadPhase>(pick(5)));
  if (chance(0.05)) castRay();
  Object* object = anyObject();
  if (object == nullptr) return;
  if (chance(0.05)) push(object);
  if (chance(0.02)) teleport(object);
}

/// Draws from a source of its own.
void RandomWorld::stray() {
  const auto chance = [this](double p) { return strayRandom_.uniform(0.0, 1.0) < p; };
  if (!chance(0.1) || world_.getBroadPhase() == World::BroadPhase::QUADTREE) return;
  const State state = world_.saveState();
  while (!chance(0.3)) {
    for (Object* object : world_.getObjList()) {
      if (chance(0.3)) object->setExternalForce(0, strayRandom_.vector(20.0));
      auto* body = dynamic_cast<SingleBodyObject*>(object);
      if (body != nullptr && chance(0.3)) body->setPosition(strayRandom_.vector(1.0));
      if (body != nullptr && chance(0.1)) body->setVelocity(strayRandom_.vector(1e200), {});
      auto* system = dynamic_cast<ArticulatedSystem*>(object);
      if (system == nullptr || !chance(0.3)) continue;
      VecDyn q = system->getGeneralizedCoordinate();
      for (size_t i = 0; i < q.n; ++i) q[i] += strayRandom_.uniform(-0.1, 0.1);
      system->setGeneralizedCoordinate(q);
      system->setPTarget(q);
      system->setBasePos(strayRandom_.vector(1.0));
    }
    world_.integrate();
  }
  world_.restoreState(state);
}

void RandomWorld::step() {
  if (strays_) stray();
  disturb();
  world_.integrate1();
  contactCount_ += world_.getContactProblems().size();
  if (chance(0.05)) castRay();
  if (chance(0.01)) removeSomething();
  if (chance(0.05))
    if (Object* object = anyObject()) push(object);
  if (chance(0.02))
    if (Object* object = anyObject()) teleport(object);
  world_.integrate2();
}

}  // namespace zelvik::fuzz
