// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The scenes in DART. Settings: solver=dantzig|pgs, detector=dart|fcl.
//
// The PD law is a joint spring with damper, which this engine takes implicitly. The ground is a
// large box.

#include <dart/collision/CollisionObject.hpp>
#include <dart/collision/dart/DARTCollisionDetector.hpp>
#include <dart/collision/fcl/FCLCollisionDetector.hpp>
#include <dart/config.hpp>
#include <dart/constraint/BoxedLcpConstraintSolver.hpp>
#include <dart/constraint/ConstraintSolver.hpp>
#include <dart/constraint/DantzigBoxedLcpSolver.hpp>
#include <dart/constraint/PgsBoxedLcpSolver.hpp>
#include <dart/dynamics/BallJoint.hpp>
#include <dart/dynamics/BodyNode.hpp>
#include <dart/dynamics/BoxShape.hpp>
#include <dart/dynamics/CapsuleShape.hpp>
#include <dart/dynamics/CylinderShape.hpp>
#include <dart/dynamics/FreeJoint.hpp>
#include <dart/dynamics/RevoluteJoint.hpp>
#include <dart/dynamics/ShapeNode.hpp>
#include <dart/dynamics/Skeleton.hpp>
#include <dart/dynamics/SphereShape.hpp>
#include <dart/dynamics/WeldJoint.hpp>
#include <dart/simulation/World.hpp>

#include <algorithm>
#include <iostream>
#include <limits>

#include "engines/Engine.hpp"
#include "scenes/SceneNames.hpp"

namespace zelvik::bench {

namespace {

using dart::dynamics::BodyNode;
Eigen::Vector3d toEigen(const Vec3& v) {
  return v.e();
}

Eigen::Isometry3d pose(const Vec3& position, const Mat33& rotation) {
  Eigen::Isometry3d T = Eigen::Isometry3d::Identity();
  T.translation() = position.e();
  T.linear() = rotation.e();
  return T;
}

Eigen::Isometry3d pose(const Vec3& position, const Vec4& q) {
  Eigen::Isometry3d T = Eigen::Isometry3d::Identity();
  T.translation() = position.e();
  T.linear() = Eigen::Quaterniond(q[0], q[1], q[2], q[3]).toRotationMatrix();
  return T;
}

dart::dynamics::ShapePtr createShape(ShapeKind kind, const Vec3& s) {
  switch (kind) {
    case ShapeKind::SPHERE:
      return std::make_shared<dart::dynamics::SphereShape>(s[0]);
    case ShapeKind::BOX:
      return std::make_shared<dart::dynamics::BoxShape>(toEigen(s));
    case ShapeKind::CAPSULE:
      return std::make_shared<dart::dynamics::CapsuleShape>(s[0], s[1]);
    default:
      return std::make_shared<dart::dynamics::CylinderShape>(s[0], s[1]);
  }
}

class DartEngine : public Engine {
 public:
  DartEngine(const NeutralScene& scene, const Setting& setting)
      : scene_(scene), detector_(setting.word("detector", "dart")) {
    world_ = dart::simulation::World::create();
    world_->setTimeStep(scene.dt);
    world_->setGravity(toEigen(scene.gravity));
    if (setting.word("solver", "dantzig") == "pgs")
      world_->setConstraintSolver(std::make_unique<dart::constraint::BoxedLcpConstraintSolver>(
          std::make_shared<dart::constraint::PgsBoxedLcpSolver>()));
    dart::constraint::ConstraintSolver& solver = *world_->getConstraintSolver();
    if (detector_ == "dart")
      solver.setCollisionDetector(dart::collision::DARTCollisionDetector::create());
    else
      solver.setCollisionDetector(dart::collision::FCLCollisionDetector::create());
    solver.getCollisionOption().maxNumContacts = 100000;
    if (scene.terrain.samples > 0) throw Unsupported("no terrain with this collision detector");
    if (scene.hasGround) addGround();
    for (const scenes::RobotSetup& robot : scene.robots) addRobot(robot);
    for (const FreeBody& body : scene.bodies) addBody(body);
  }

  void step() override {
    for (size_t i = 0; i < bodies_.size(); ++i)
      if (scene_.bodies[i].force[0] != 0.0)
        bodies_[i]->addExtForce(toEigen(scene_.bodies[i].force));
    world_->step();
  }

  void setTargets(const std::vector<double>& targets) override {
    for (size_t i = 1; i < model_.size(); ++i)
      if (model_[i].joint == Joint::REVOLUTE)
        links_[i]->getParentJoint()->setRestPosition(0, targets[model_[i].firstCoordinate]);
  }

  size_t contactCount() const override {
    return world_->getConstraintSolver()->getLastCollisionResult().getNumContacts();
  }

  double groundForce() const override {
    double sum = 0.0;
    if (ground_ == nullptr) return std::numeric_limits<double>::quiet_NaN();
    const auto& result = world_->getConstraintSolver()->getLastCollisionResult();
    for (const dart::collision::Contact& c : result.getContacts()) {
      const auto first = c.collisionObject1->getShapeFrame()->asShapeNode()->getBodyNodePtr();
      const auto second = c.collisionObject2->getShapeFrame()->asShapeNode()->getBodyNodePtr();
      // The force acts on the first object.
      if (second == ground_) sum += c.force[2];
      if (first == ground_) sum -= c.force[2];
    }
    return sum;
  }

  BodyState body(size_t i) const override {
    const Eigen::Isometry3d T = bodies_[i]->getWorldTransform();
    BodyState state;
    state.position.e() = T.translation();
    state.velocity.e() = bodies_[i]->getCOMLinearVelocity();
    writeQuaternion(T.linear(), state.quaternion.v);
    return state;
  }

  RobotState robot() const override {
    RobotState state{scene_.robots[0].coordinates, scene_.robots[0].velocities};
    const Eigen::Isometry3d T = links_[0]->getWorldTransform();
    Eigen::Map<Eigen::Vector3d> position(state.coordinates.data());
    Eigen::Map<Eigen::Vector3d> linear(state.velocities.data()), angular(&state.velocities[3]);
    position = T.translation();
    linear = links_[0]->getLinearVelocity();
    angular = links_[0]->getAngularVelocity();
    writeQuaternion(T.linear(), &state.coordinates[3]);
    for (size_t i = 1; i < model_.size(); ++i) {
      const dart::dynamics::Joint* joint = links_[i]->getParentJoint();
      if (model_[i].joint == Joint::SPHERICAL) {
        writeQuaternion(joint->getTransformFromParentBodyNode().linear().transpose() *
                            joint->getRelativeTransform().linear(),
                        &state.coordinates[model_[i].firstCoordinate]);
        continue;
      }
      state.coordinates[model_[i].firstCoordinate] = joint->getPosition(0);
      state.velocities[model_[i].firstVelocity] = joint->getVelocity(0);
    }
    return state;
  }

 private:
  static void writeQuaternion(const Eigen::Matrix3d& R, double* out) {
    const Eigen::Quaterniond q(R);
    out[0] = q.w();
    out[1] = q.x();
    out[2] = q.y();
    out[3] = q.z();
  }

  void addShape(BodyNode& body, const dart::dynamics::ShapePtr& shape,
                const Eigen::Isometry3d& offset) const {
    auto* node =
        body.createShapeNodeWith<dart::dynamics::CollisionAspect, dart::dynamics::DynamicsAspect>(
            shape);
    node->setRelativeTransform(offset);
    node->getDynamicsAspect()->setFrictionCoeff(scene_.friction);
    node->getDynamicsAspect()->setRestitutionCoeff(scene_.restitution);
  }

  void addShape(BodyNode& body, ShapeKind kind, const Vec3& size,
                const Eigen::Isometry3d& offset) const {
    if (detector_ == "dart" && kind != ShapeKind::SPHERE && kind != ShapeKind::BOX)
      throw Unsupported("this collision detector knows spheres and boxes only");
    addShape(body, createShape(kind, size), offset);
  }

  void addGround() {
    auto skeleton = dart::dynamics::Skeleton::create("ground");
    ground_ = skeleton->createJointAndBodyNodePair<dart::dynamics::WeldJoint>().second;
    const Vec3 size{{1000.0, 1000.0, 10.0}};
    addShape(*ground_, ShapeKind::BOX, size, pose(Vec3{{0.0, 0.0, -5.0}}, Mat33::identity()));
    world_->addSkeleton(skeleton);
  }

  void addBody(const FreeBody& source) {
    auto skeleton = dart::dynamics::Skeleton::create("body" + std::to_string(bodies_.size()));
    const auto [joint, body] = skeleton->createJointAndBodyNodePair<dart::dynamics::FreeJoint>();
    dart::dynamics::Inertia inertia;
    const Vec3 m = momentsOf(source);
    inertia.setMass(source.mass);
    inertia.setMoment(m[0], m[1], m[2], 0.0, 0.0, 0.0);
    body->setInertia(inertia);
    addShape(*body, source.shape, source.size, Eigen::Isometry3d::Identity());
    joint->setTransform(pose(source.position, source.quaternion));
    joint->setLinearVelocity(toEigen(source.velocity));
    world_->addSkeleton(skeleton);
    bodies_.push_back(body);
  }

  void addRobot(const scenes::RobotSetup& robot) {
    model_ = scenes::flatModel(robot);
    auto skeleton = dart::dynamics::Skeleton::create("robot");
    for (size_t i = 0; i < model_.size(); ++i) {
      links_.push_back(i == 0 ? addRoot(*skeleton, robot) : addLink(*skeleton, robot, i));
      setInertia(i);
      for (const ModelShape& shape : model_[i].shapes)
        if (robot.collides)
          addShape(*links_[i], shape.kind, shape.size, pose(shape.position, shape.rotation));
    }
    skeleton->setSelfCollisionCheck(robot.collides);
    skeleton->setAdjacentBodyCheck(false);
    world_->addSkeleton(skeleton);
    if (robot.holdsPose) setTargets(robot.coordinates);
  }

  void setInertia(size_t i) {
    const Mat33& I = model_[i].inertia;
    dart::dynamics::Inertia inertia;
    inertia.setMass(model_[i].mass);
    inertia.setLocalCOM(toEigen(model_[i].com));
    inertia.setMoment(I(0, 0), I(1, 1), I(2, 2), I(0, 1), I(0, 2), I(1, 2));
    links_[i]->setInertia(inertia);
  }

  static BodyNode* addRoot(dart::dynamics::Skeleton& skeleton, const scenes::RobotSetup& robot) {
    const auto [joint, body] = skeleton.createJointAndBodyNodePair<dart::dynamics::FreeJoint>();
    const std::vector<double>&q = robot.coordinates, &u = robot.velocities;
    joint->setTransform(pose(Vec3{{q[0], q[1], q[2]}}, Vec4{{q[3], q[4], q[5], q[6]}}));
    joint->setLinearVelocity(Eigen::Vector3d(u[0], u[1], u[2]));
    joint->setAngularVelocity(Eigen::Vector3d(u[3], u[4], u[5]));
    return body;
  }

  BodyNode* addLink(dart::dynamics::Skeleton& skeleton, const scenes::RobotSetup& robot, size_t i) {
    const ModelBody& model = model_[i];
    BodyNode* parent = links_[static_cast<size_t>(model.parent)];
    dart::dynamics::Joint* joint = nullptr;
    BodyNode* body = nullptr;
    if (model.joint == Joint::SPHERICAL)
      std::tie(joint, body) =
          skeleton.createJointAndBodyNodePair<dart::dynamics::BallJoint>(parent);
    else if (model.joint == Joint::REVOLUTE)
      std::tie(joint, body) = addHinge(skeleton, *parent, model);
    else
      throw Unsupported("only revolute and ball joints");
    joint->setTransformFromParentBodyNode(pose(model.position, model.rotation));
    if (model.joint == Joint::REVOLUTE) {
      joint->setPosition(0, robot.coordinates[model.firstCoordinate]);
      joint->setVelocity(0, robot.velocities[model.firstVelocity]);
    }
    addSprings(*joint, model, robot);
    return body;
  }

  static std::pair<dart::dynamics::Joint*, BodyNode*> addHinge(dart::dynamics::Skeleton& skeleton,
                                                               BodyNode& parent,
                                                               const ModelBody& model) {
    const auto [joint, body] =
        skeleton.createJointAndBodyNodePair<dart::dynamics::RevoluteJoint>(&parent);
    joint->setAxis(toEigen(model.axis));
    if (model.lower < model.upper) {
      joint->setPositionLowerLimit(0, model.lower);
      joint->setPositionUpperLimit(0, model.upper);
      joint->setLimitEnforcement(true);
    }
    return {joint, body};
  }

  static void addSprings(dart::dynamics::Joint& joint, const ModelBody& model,
                         const scenes::RobotSetup& robot) {
    const size_t k = model.firstVelocity;
    for (size_t axis = 0; axis < joint.getNumDofs(); ++axis) {
      joint.setDampingCoefficient(axis, model.damping + (robot.holdsPose ? robot.dGain[k] : 0.0));
      if (robot.holdsPose) joint.setSpringStiffness(axis, robot.pGain[k]);
    }
  }

  NeutralScene scene_;
  std::string detector_;
  dart::simulation::WorldPtr world_;
  std::vector<ModelBody> model_;
  std::vector<BodyNode*> links_, bodies_;
  BodyNode* ground_ = nullptr;
};

std::unique_ptr<Engine> make(const NeutralScene& scene, const Setting& setting) {
  return std::make_unique<DartEngine>(scene, setting);
}

}  // namespace

}  // namespace zelvik::bench

int main(int argc, char** argv) {
  std::cout.setstate(std::ios::failbit);  // a message for every name that is given to a body
  return zelvik::bench::runBenchmark(
      argc, argv,
      {"dart", DART_VERSION, "PD and damping implicit; no rotor inertia, force limits, cone limits",
       zelvik::bench::make});
}
