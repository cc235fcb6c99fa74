// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The scenes in Bullet, double precision. Settings: iterations (10), erp, frictions=1|2
// (directions).
//
// Robots are Featherstone multibodies built link by link; frames of links stand at their centres of
// mass, along the principal axes. The PD law is a joint motor: with step h, gains p and d, it aims
// for the velocity h p / (h p + d) times the error over h. The compliance 1 / (h p + d) of the law
// is left out, which makes the joint a little stiffer.

#include <BulletDynamics/Featherstone/btMultiBodyConstraintSolver.h>
#include <BulletDynamics/Featherstone/btMultiBodyDynamicsWorld.h>
#include <BulletDynamics/Featherstone/btMultiBodyJointLimitConstraint.h>
#include <BulletDynamics/Featherstone/btMultiBodyJointMotor.h>
#include <BulletDynamics/Featherstone/btMultiBodyLinkCollider.h>
#include <BulletDynamics/Featherstone/btMultiBodySphericalJointMotor.h>
#include <btBulletDynamicsCommon.h>

#include <BulletCollision/CollisionShapes/btHeightfieldTerrainShape.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <zelvik/rotation.hpp>

#include "engines/Engine.hpp"
#include "scenes/RobotPoses.hpp"
#include "scenes/SceneNames.hpp"

namespace zelvik::bench {

namespace {

btVector3 toBullet(const Vec3& v) {
  return {v[0], v[1], v[2]};
}
Vec3 fromBullet(const btVector3& v) {
  return {{v[0], v[1], v[2]}};
}

btMatrix3x3 toBullet(const Mat33& R) {
  return {R(0, 0), R(0, 1), R(0, 2), R(1, 0), R(1, 1), R(1, 2), R(2, 0), R(2, 1), R(2, 2)};
}
Mat33 fromBullet(const btMatrix3x3& m) {
  Mat33 R;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) R(static_cast<size_t>(i), static_cast<size_t>(j)) = m[i][j];
  return R;
}
btQuaternion toQuaternion(const Mat33& R) {
  btQuaternion q;
  toBullet(R).getRotation(q);
  return q;
}

std::unique_ptr<btCollisionShape> createShape(ShapeKind kind, const Vec3& s) {
  switch (kind) {
    case ShapeKind::SPHERE:
      return std::make_unique<btSphereShape>(s[0]);
    case ShapeKind::BOX:
      return std::make_unique<btBoxShape>(btVector3(0.5 * s[0], 0.5 * s[1], 0.5 * s[2]));
    case ShapeKind::CAPSULE:
      return std::make_unique<btCapsuleShapeZ>(s[0], s[1]);
    default:
      return std::make_unique<btCylinderShapeZ>(btVector3(s[0], s[0], 0.5 * s[1]));
  }
}

/// A body of the model in the frame of its centre of mass and principal axes.
struct Link {
  ModelBody body;
  Mat33 axes = Mat33::identity();  ///< principal axes in the body frame
  Vec3 moments{};
};

Link makeLink(const ModelBody& body) {
  Link link{body, Mat33::identity(), {}};
  const Mat33& I = body.inertia;
  link.moments = {{I(0, 0), I(1, 1), I(2, 2)}};
  if (std::fabs(I(0, 1)) + std::fabs(I(0, 2)) + std::fabs(I(1, 2)) > 1e-12)
    scenes::principalAxes(I, link.axes, link.moments);
  return link;
}

class BulletEngine : public Engine {
 public:
  BulletEngine(const NeutralScene& scene, const Setting& setting)
      : scene_(scene), dispatcher_(&configuration_) {
    createWorld();
    world_->setGravity(toBullet(scene.gravity));
    btContactSolverInfo& info = world_->getSolverInfo();
    info.m_numIterations = static_cast<int>(setting.number("iterations", 10));
    info.m_erp2 = setting.number("erp", info.m_erp2);
    info.m_restitutionVelocityThreshold = 0.01;
    if (setting.number("frictions", 1) > 1.5) info.m_solverMode |= SOLVER_USE_2_FRICTION_DIRECTIONS;
    addGround();
    for (const scenes::RobotSetup& robot : scene.robots) addRobot(robot);
    for (const FreeBody& body : scene.bodies) addBody(body);
  }

  ~BulletEngine() override {
    for (auto& constraint : constraints_) multiWorld_->removeMultiBodyConstraint(constraint.get());
    if (multiBody_ != nullptr) multiWorld_->removeMultiBody(multiBody_.get());
    for (auto& object : objects_) world_->removeCollisionObject(object.get());
  }
  BulletEngine(const BulletEngine&) = delete;
  BulletEngine& operator=(const BulletEngine&) = delete;

  void step() override {
    for (size_t i = 0; i < bodies_.size(); ++i)
      if (scene_.bodies[i].force[0] != 0.0)
        bodies_[i]->applyCentralForce(toBullet(scene_.bodies[i].force));
    if (multiBody_ != nullptr && !scene_.robots[0].holdsPose) addDamping();
    world_->stepSimulation(scene_.dt, 0);
  }

  void setTargets(const std::vector<double>& targets) override {
    for (size_t i = 1; i < links_.size(); ++i)
      if (motors_[i] != nullptr)
        motors_[i]->setPositionTarget(targets[links_[i].body.firstCoordinate], gains_[i]);
  }

  size_t contactCount() const override {
    size_t count = 0;
    for (int i = 0; i < dispatcher_.getNumManifolds(); ++i)
      count += static_cast<size_t>(manifold(i).getNumContacts());
    return count;
  }
  double groundForce() const override { return std::numeric_limits<double>::quiet_NaN(); }

  BodyState body(size_t i) const override {
    const btTransform& pose = bodies_[i]->getWorldTransform();
    const btQuaternion q = pose.getRotation();
    return {fromBullet(pose.getOrigin()),
            {{q.w(), q.x(), q.y(), q.z()}},
            fromBullet(bodies_[i]->getLinearVelocity())};
  }

  RobotState robot() const override {
    RobotState state{scene_.robots[0].coordinates, scene_.robots[0].velocities};
    std::vector<Mat33> rotations = {readBase(state)};
    for (size_t i = 1; i < links_.size(); ++i) {
      const ModelBody& body = links_[i].body;
      const int k = static_cast<int>(i) - 1;
      rotations.push_back(fromBullet(multiBody_->getLink(k).m_cachedWorldTransform.getBasis()) *
                          transpose(links_[i].axes));
      if (body.joint == Joint::SPHERICAL) {
        Vec4 q;
        const Mat33 above = rotations[static_cast<size_t>(body.parent)] * body.rotation;
        rotMatToQuat(transposeMul(above, rotations[i]), q);
        std::copy_n(q.v, 4, &state.coordinates[body.firstCoordinate]);
        continue;
      }
      state.coordinates[body.firstCoordinate] = multiBody_->getJointPos(k);
      state.velocities[body.firstVelocity] = multiBody_->getJointVel(k);
    }
    return state;
  }

 private:
  const btPersistentManifold& manifold(int i) const {
    return *const_cast<btCollisionDispatcher&>(dispatcher_).getManifoldByIndexInternal(i);
  }

  /// Single bodies alone need no solver for multibodies, which is the slower one.
  void createWorld() {
    if (scene_.robots.empty()) {
      solver_ = std::make_unique<btSequentialImpulseConstraintSolver>();
      world_ = std::make_unique<btDiscreteDynamicsWorld>(&dispatcher_, &broadPhase_, solver_.get(),
                                                         &configuration_);
      return;
    }
    auto solver = std::make_unique<btMultiBodyConstraintSolver>();
    auto world = std::make_unique<btMultiBodyDynamicsWorld>(&dispatcher_, &broadPhase_,
                                                            solver.get(), &configuration_);
    multiWorld_ = world.get();
    solver_ = std::move(solver);
    world_ = std::move(world);
  }

  /// Coefficients of a pair are the products of those of the bodies.
  void setMaterial(btCollisionObject& object) const {
    object.setFriction(std::sqrt(scene_.friction));
    object.setRestitution(std::sqrt(scene_.restitution));
    object.setActivationState(DISABLE_DEACTIVATION);
  }

  void addStatic(std::unique_ptr<btCollisionShape> shape, const Vec3& position) {
    auto ground = std::make_unique<btRigidBody>(0.0, nullptr, shape.get());
    btTransform pose = btTransform::getIdentity();
    pose.setOrigin(toBullet(position));
    ground->setWorldTransform(pose);
    setMaterial(*ground);
    world_->addRigidBody(ground.get());
    objects_.push_back(std::move(ground));
    shapes_.push_back(std::move(shape));
  }

  void addGround() {
    if (scene_.hasGround)
      addStatic(std::make_unique<btStaticPlaneShape>(btVector3(0.0, 0.0, 1.0), 0.0), Vec3{});
    const scenes::TerrainGrid& t = scene_.terrain;
    if (t.samples == 0) return;
    const auto [low, high] = std::minmax_element(t.heights.begin(), t.heights.end());
    const int n = static_cast<int>(t.samples);
    auto shape = std::make_unique<btHeightfieldTerrainShape>(n, n, scene_.terrain.heights.data(),
                                                             *low, *high, 2, false);
    const double cell = t.size / (n - 1);
    shape->setLocalScaling(btVector3(cell, cell, 1.0));
    addStatic(std::move(shape), {{0.0, 0.0, 0.5 * (*low + *high)}});
  }

  void addBody(const FreeBody& source) {
    shapes_.push_back(createShape(source.shape, source.size));
    auto body = std::make_unique<btRigidBody>(source.mass, nullptr, shapes_.back().get(),
                                              toBullet(momentsOf(source)));
    const Vec4& q = source.quaternion;
    body->setWorldTransform(
        btTransform(btQuaternion(q[1], q[2], q[3], q[0]), toBullet(source.position)));
    body->setInterpolationWorldTransform(body->getWorldTransform());
    body->setLinearVelocity(toBullet(source.velocity));
    setMaterial(*body);
    world_->addRigidBody(body.get());
    bodies_.push_back(body.get());
    objects_.push_back(std::move(body));
  }

  void addRobot(const scenes::RobotSetup& robot) {
    for (const ModelBody& body : scenes::flatModel(robot)) links_.push_back(makeLink(body));
    const int count = static_cast<int>(links_.size()) - 1;
    multiBody_ = std::make_unique<btMultiBody>(count, links_[0].body.mass,
                                               toBullet(links_[0].moments), false, false);
    for (size_t i = 1; i < links_.size(); ++i) setUpLink(i);
    multiBody_->finalizeMultiDof();
    multiBody_->setCanSleep(false);
    multiBody_->setLinearDamping(0.0);
    multiBody_->setAngularDamping(0.0);
    multiBody_->setMaxCoordinateVelocity(1e9);
    multiBody_->setMaxAppliedImpulse(1e9);
    multiBody_->setHasSelfCollision(robot.collides);
    multiWorld_->addMultiBody(multiBody_.get());
    placeRobot(robot);
    for (size_t i = 0; i < links_.size(); ++i)
      if (robot.collides && !links_[i].body.shapes.empty()) addCollider(i);
    updatePoses();
    motors_.assign(links_.size(), nullptr);
    gains_.assign(links_.size(), 0.0);
    for (size_t i = 1; i < links_.size(); ++i) addJointConstraints(robot, i);
    if (robot.holdsPose) setTargets(robot.coordinates);
  }

  void setUpLink(size_t i) {
    const Link &link = links_[i], &parent = links_[static_cast<size_t>(link.body.parent)];
    const int k = static_cast<int>(i) - 1, above = link.body.parent - 1;
    const btQuaternion rotation =
        toQuaternion(transpose(link.axes) * transpose(link.body.rotation) * parent.axes);
    const btVector3 pivot =
        toBullet(transposeMul(parent.axes, link.body.position - parent.body.com));
    const btVector3 com = toBullet(transposeMul(link.axes, link.body.com));
    const btVector3 moments = toBullet(link.moments);
    if (link.body.joint == Joint::SPHERICAL)
      multiBody_->setupSpherical(k, link.body.mass, moments, above, rotation, pivot, com, true);
    else if (link.body.joint == Joint::REVOLUTE)
      multiBody_->setupRevolute(k, link.body.mass, moments, above, rotation,
                                toBullet(transposeMul(link.axes, link.body.axis)), pivot, com,
                                true);
    else
      throw Unsupported("only revolute and ball joints");
  }

  void placeRobot(const scenes::RobotSetup& robot) {
    const BodyPose base = robotPoses(robot, robot.coordinates, robot.velocities)[0];
    multiBody_->setBaseWorldTransform(
        btTransform(toBullet(base.rotation * links_[0].axes), toBullet(base.com)));
    multiBody_->setBaseVel(toBullet(base.comVelocity));
    multiBody_->setBaseOmega(toBullet(base.angularVelocity));
    for (size_t i = 1; i < links_.size(); ++i) {
      const ModelBody& body = links_[i].body;
      if (body.joint != Joint::REVOLUTE) continue;
      multiBody_->setJointPos(static_cast<int>(i) - 1, robot.coordinates[body.firstCoordinate]);
      multiBody_->setJointVel(static_cast<int>(i) - 1, robot.velocities[body.firstVelocity]);
    }
  }

  void updatePoses() {
    btAlignedObjectArray<btQuaternion> rotations;
    btAlignedObjectArray<btVector3> origins;
    multiBody_->forwardKinematics(rotations, origins);
    multiBody_->updateCollisionObjectWorldTransforms(rotations, origins);
  }

  /// One shape in place stands alone, others go into a compound.
  btCollisionShape* linkShape(const Link& link) {
    auto compound = std::make_unique<btCompoundShape>();
    for (const ModelShape& shape : link.body.shapes) {
      shapes_.push_back(createShape(shape.kind, shape.size));
      const Vec3 p = transposeMul(link.axes, shape.position - link.body.com);
      const Mat33 R = transpose(link.axes) * shape.rotation;
      if (link.body.shapes.size() == 1 && norm(p) < 1e-12 &&
          R(0, 0) + R(1, 1) + R(2, 2) > 3 - 1e-12)
        return shapes_.back().get();
      compound->addChildShape(btTransform(toBullet(R), toBullet(p)), shapes_.back().get());
    }
    shapes_.push_back(std::move(compound));
    return shapes_.back().get();
  }

  void addCollider(size_t i) {
    const int k = static_cast<int>(i) - 1;
    auto collider = std::make_unique<btMultiBodyLinkCollider>(multiBody_.get(), k);
    collider->setCollisionShape(linkShape(links_[i]));
    setMaterial(*collider);
    world_->addCollisionObject(collider.get(), btBroadphaseProxy::DefaultFilter,
                               btBroadphaseProxy::AllFilter);
    if (i == 0)
      multiBody_->setBaseCollider(collider.get());
    else
      multiBody_->getLink(k).m_collider = collider.get();
    objects_.push_back(std::move(collider));
  }

  void addConstraint(std::unique_ptr<btMultiBodyConstraint> constraint) {
    multiWorld_->addMultiBodyConstraint(constraint.get());
    constraint->finalizeMultiDof();
    constraints_.push_back(std::move(constraint));
  }

  void addJointConstraints(const scenes::RobotSetup& robot, size_t i) {
    const ModelBody& body = links_[i].body;
    const int k = static_cast<int>(i) - 1;
    if (!robot.holdsPose) {
      if (body.joint == Joint::REVOLUTE && body.lower < body.upper)
        addConstraint(std::make_unique<btMultiBodyJointLimitConstraint>(multiBody_.get(), k,
                                                                        body.lower, body.upper));
      return;
    }
    const double hp = scene_.dt * robot.pGain[body.firstVelocity];
    gains_[i] = hp / (hp + robot.dGain[body.firstVelocity] + body.damping);
    if (body.joint == Joint::SPHERICAL) {
      auto motor = std::make_unique<btMultiBodySphericalJointMotor>(multiBody_.get(), k, 1e6);
      motor->setErp(1.0);
      motor->setVelocityTarget(btVector3(0.0, 0.0, 0.0), 1.0);
      motor->setPositionTarget(btQuaternion::getIdentity(), gains_[i]);
      addConstraint(std::move(motor));
      return;
    }
    auto motor = std::make_unique<btMultiBodyJointMotor>(multiBody_.get(), k, 0.0, 1e6);
    motor->setErp(1.0);
    motor->setVelocityTarget(0.0, 1.0);
    motors_[i] = motor.get();
    addConstraint(std::move(motor));
  }

  void addDamping() {
    for (size_t i = 1; i < links_.size(); ++i) {
      const int k = static_cast<int>(i) - 1;
      if (const double d = links_[i].body.damping; d > 0.0)
        multiBody_->addJointTorque(k, -d * multiBody_->getJointVel(k));
    }
  }

  /// Base coordinates and velocities; returns the rotation of the base body.
  Mat33 readBase(RobotState& state) const {
    const btTransform pose = multiBody_->getBaseWorldTransform();
    const Mat33 R = fromBullet(pose.getBasis()) * transpose(links_[0].axes);
    const Vec3 arm = R * links_[0].body.com, w = fromBullet(multiBody_->getBaseOmega());
    const Vec3 origin = fromBullet(pose.getOrigin()) - arm;
    const Vec3 velocity = fromBullet(multiBody_->getBaseVel()) - cross(w, arm);
    Vec4 q;
    rotMatToQuat(R, q);
    std::copy_n(origin.v, 3, state.coordinates.begin());
    std::copy_n(q.v, 4, state.coordinates.begin() + 3);
    std::copy_n(velocity.v, 3, state.velocities.begin());
    std::copy_n(w.v, 3, state.velocities.begin() + 3);
    return R;
  }

  NeutralScene scene_;
  btDefaultCollisionConfiguration configuration_;
  btCollisionDispatcher dispatcher_;
  btDbvtBroadphase broadPhase_;
  std::unique_ptr<btConstraintSolver> solver_;
  std::vector<std::unique_ptr<btCollisionShape>> shapes_;
  std::vector<std::unique_ptr<btCollisionObject>> objects_;
  std::unique_ptr<btMultiBody> multiBody_;
  std::vector<std::unique_ptr<btMultiBodyConstraint>> constraints_;
  std::unique_ptr<btDiscreteDynamicsWorld> world_;
  btMultiBodyDynamicsWorld* multiWorld_ = nullptr;
  std::vector<btRigidBody*> bodies_;
  std::vector<Link> links_;
  std::vector<btMultiBodyJointMotor*> motors_;
  std::vector<double> gains_;
};

std::unique_ptr<Engine> make(const NeutralScene& scene, const Setting& setting) {
  return std::make_unique<BulletEngine>(scene, setting);
}

}  // namespace

}  // namespace zelvik::bench

int main(int argc, char** argv) {
  const int version = btGetVersion();
  return zelvik::bench::runBenchmark(
      argc, argv,
      {"bullet", std::to_string(version / 100) + "." + std::to_string(version % 100),
       "double precision; PD as joint motors; no rotor inertia, force limits, cone limits",
       zelvik::bench::make});
}
