// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "scenes/WorldBuilder.hpp"

#include "scenes/SceneNames.hpp"

namespace zelvik::bench {

namespace {

SingleBodyObject* addShape(World& world, const FreeBody& body) {
  const Vec3& s = body.size;
  switch (body.shape) {
    case ShapeKind::SPHERE:
      return world.addSphere(s[0], body.mass);
    case ShapeKind::BOX:
      return world.addBox(s[0], s[1], s[2], body.mass);
    case ShapeKind::CAPSULE:
      return world.addCapsule(s[0], s[1], body.mass);
    default:
      return world.addCylinder(s[0], s[1], body.mass);
  }
}

SingleBodyObject* addBody(World& world, const FreeBody& body) {
  SingleBodyObject* object = addShape(world, body);
  object->setOrientation(body.quaternion);
  object->setPosition(body.position);
  object->setVelocity(body.velocity, Vec3{});
  return object;
}

Object* addGround(World& world, const scenes::NeutralScene& scene) {
  const scenes::TerrainGrid& t = scene.terrain;
  if (t.samples > 0)
    return world.addHeightMap(t.samples, t.samples, t.size, t.size, 0.0, 0.0, t.heights);
  return scene.hasGround ? world.addGround() : nullptr;
}

ArticulatedSystem* addRobot(World& world, const RobotSetup& setup) {
  const unsigned long group = setup.collides ? World::kDefaultGroup : 0;
  const unsigned long mask = setup.collides ? World::kAllMask : 0;
  ArticulatedSystem* robot =
      world.addArticulatedSystem(setup.urdf, ZELVIK_MODEL_DIR, {}, group, mask);
  robot->setGeneralizedCoordinate(setup.coordinates.data(), setup.coordinates.size());
  robot->setGeneralizedVelocity(setup.velocities.data(), setup.velocities.size());
  if (!setup.holdsPose) return robot;
  robot->setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot->setPGain(setup.pGain.data(), setup.pGain.size());
  robot->setDGain(setup.dGain.data(), setup.dGain.size());
  robot->setPTarget(setup.coordinates.data(), setup.coordinates.size());
  return robot;
}

}  // namespace

BuiltWorld buildWorld(World& world, const scenes::NeutralScene& scene) {
  BuiltWorld built;
  world.setTimeStep(scene.dt);
  world.setGravity(scene.gravity);
  world.setDefaultMaterial(scene.friction, scene.restitution, 0.01);
  built.ground = addGround(world, scene);
  for (const RobotSetup& setup : scene.robots) built.robot = addRobot(world, setup);
  for (const FreeBody& body : scene.bodies) built.bodies.push_back(addBody(world, body));
  return built;
}

}  // namespace zelvik::bench
