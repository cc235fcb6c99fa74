// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The scenes in ODE with its own dynamics. Settings: step=quick|world, iterations (of quick), erp,
// cfm, space=hash|simple|sap.
//
// A robot is a set of bodies and joints. The PD law stands in the hinge's stops, as spring and
// damper: with step h, gains p and d, erp = h p / (h p + d) and cfm = 1 / (h p + d).

#include <ode/ode.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <zelvik/rotation.hpp>

#include "engines/Engine.hpp"
#include "scenes/RobotPoses.hpp"
#include "scenes/SceneNames.hpp"

namespace zelvik::bench {

namespace {

void setRotation(dBodyID body, const Mat33& R) {
  dMatrix3 rows = {};
  for (size_t i = 0; i < 3; ++i)
    for (size_t j = 0; j < 3; ++j) rows[4 * i + j] = R(i, j);
  dBodySetRotation(body, rows);
}

dGeomID createGeom(dSpaceID space, ShapeKind kind, const Vec3& s) {
  switch (kind) {
    case ShapeKind::SPHERE:
      return dCreateSphere(space, s[0]);
    case ShapeKind::BOX:
      return dCreateBox(space, s[0], s[1], s[2]);
    case ShapeKind::CAPSULE:
      return dCreateCapsule(space, s[0], s[1]);
    default:
      return dCreateCylinder(space, s[0], s[1]);
  }
}

dSpaceID createSpace(const Setting& setting) {
  const std::string word = setting.word("space", "hash");
  if (word == "hash") return dHashSpaceCreate(nullptr);
  if (word == "simple") return dSimpleSpaceCreate(nullptr);
  if (word == "sap") return dSweepAndPruneSpaceCreate(nullptr, dSAP_AXES_XZY);
  throw Unsupported("unknown space " + word);
}

class OdeEngine : public Engine {
 public:
  OdeEngine(const NeutralScene& scene, const Setting& setting)
      : scene_(scene), quick_(setting.word("step", "quick") == "quick") {
    dInitODE2(0);
    dRandSetSeed(0);  // quick steps reorder their rows at random
    world_ = dWorldCreate();
    space_ = createSpace(setting);
    contacts_ = dJointGroupCreate(0);
    dWorldSetGravity(world_, scene.gravity[0], scene.gravity[1], scene.gravity[2]);
    dWorldSetQuickStepNumIterations(world_, static_cast<int>(setting.number("iterations", 20)));
    dWorldSetERP(world_, setting.number("erp", dWorldGetERP(world_)));
    dWorldSetCFM(world_, setting.number("cfm", dWorldGetCFM(world_)));
    addGround();
    for (const scenes::RobotSetup& robot : scene.robots) addRobot(robot);
    for (const FreeBody& body : scene.bodies) addBody(body);
  }
  ~OdeEngine() override {
    dJointGroupDestroy(contacts_);
    dSpaceDestroy(space_);
    if (field_ != nullptr) dGeomHeightfieldDataDestroy(field_);
    dWorldDestroy(world_);
    dCloseODE();
  }
  OdeEngine(const OdeEngine&) = delete;
  OdeEngine& operator=(const OdeEngine&) = delete;

  void step() override {
    dJointGroupEmpty(contacts_);
    count_ = 0;
    dSpaceCollide(space_, this, near);
    for (size_t i = 0; i < scene_.bodies.size(); ++i)
      if (const Vec3& f = scene_.bodies[i].force; f[0] != 0.0)
        dBodyAddForce(bodies_[i], f[0], f[1], f[2]);
    if (!holdsPose_) addDamping();
    if (quick_)
      dWorldQuickStep(world_, scene_.dt);
    else
      dWorldStep(world_, scene_.dt);
  }

  void setTargets(const std::vector<double>& targets) override {
    for (size_t i = 1; i < model_.size(); ++i) {
      if (model_[i].joint != Joint::REVOLUTE) continue;
      const double target = targets[model_[i].firstCoordinate];
      dJointSetHingeParam(joints_[i], dParamLoStop, target);
      dJointSetHingeParam(joints_[i], dParamHiStop, target);
    }
  }

  size_t contactCount() const override { return count_; }
  double groundForce() const override { return std::numeric_limits<double>::quiet_NaN(); }

  BodyState body(size_t i) const override {
    BodyState state;
    std::copy_n(dBodyGetPosition(bodies_[i]), 3, state.position.v);
    std::copy_n(dBodyGetQuaternion(bodies_[i]), 4, state.quaternion.v);
    std::copy_n(dBodyGetLinearVel(bodies_[i]), 3, state.velocity.v);
    return state;
  }

  RobotState robot() const override {
    RobotState state{scene_.robots[0].coordinates, scene_.robots[0].velocities};
    readBase(state);
    for (size_t i = 1; i < model_.size(); ++i) {
      const ModelBody& body = model_[i];
      if (body.joint == Joint::SPHERICAL) {
        readBall(i, state);
        continue;
      }
      state.coordinates[body.firstCoordinate] = dJointGetHingeAngle(joints_[i]);
      state.velocities[body.firstVelocity] = dJointGetHingeAngleRate(joints_[i]);
    }
    return state;
  }

 private:
  static void near(void* data, dGeomID a, dGeomID b) {
    static_cast<OdeEngine*>(data)->collide(a, b);
  }

  void collide(dGeomID a, dGeomID b) {
    const dBodyID p = dGeomGetBody(a), q = dGeomGetBody(b);
    if (p == q || (p != nullptr && q != nullptr && dAreConnectedExcluding(p, q, dJointTypeContact)))
      return;
    constexpr int kMost = 32;
    dContact points[kMost];
    const int n = dCollide(a, b, kMost, &points[0].geom, sizeof(dContact));
    for (int i = 0; i < n; ++i) {
      dSurfaceParameters& surface = points[i].surface;
      surface = {};
      surface.mode = dContactApprox1 | (scene_.restitution > 0.0 ? dContactBounce : 0);
      surface.mu = scene_.friction;
      surface.bounce = scene_.restitution;
      surface.bounce_vel = 0.01;
      dJointAttach(dJointCreateContact(world_, contacts_, &points[i]), p, q);
    }
    count_ += static_cast<size_t>(n);
  }

  void addGround() {
    if (scene_.hasGround) dCreatePlane(space_, 0.0, 0.0, 1.0, 0.0);
    const scenes::TerrainGrid& t = scene_.terrain;
    if (t.samples == 0) return;
    // Height fields have y up here: a quarter turn about x, and rows in the opposite order.
    const int n = static_cast<int>(t.samples);
    std::vector<double> rows;
    for (size_t j = t.samples; j-- > 0;)
      rows.insert(rows.end(), t.heights.begin() + static_cast<long>(j * t.samples),
                  t.heights.begin() + static_cast<long>((j + 1) * t.samples));
    field_ = dGeomHeightfieldDataCreate();
    dGeomHeightfieldDataBuildDouble(field_, rows.data(), 1, t.size, t.size, n, n, 1.0, 0.0, 1.0, 0);
    const dGeomID geom = dCreateHeightfield(space_, field_, 1);
    dMatrix3 R;
    dRFromAxisAndAngle(R, 1.0, 0.0, 0.0, 0.5 * M_PI);
    dGeomSetRotation(geom, R);
  }

  void addBody(const FreeBody& source) {
    const dBodyID body = dBodyCreate(world_);
    const Vec3 moments = momentsOf(source);
    dMass mass;
    dMassSetParameters(&mass, source.mass, 0, 0, 0, moments[0], moments[1], moments[2], 0, 0, 0);
    dBodySetMass(body, &mass);
    dBodySetPosition(body, source.position[0], source.position[1], source.position[2]);
    dBodySetQuaternion(body, source.quaternion.v);
    dBodySetLinearVel(body, source.velocity[0], source.velocity[1], source.velocity[2]);
    dGeomSetBody(createGeom(space_, source.shape, source.size), body);
    bodies_.push_back(body);
  }

  void addShape(dBodyID body, const Vec3& com, const ModelShape& shape) {
    const dGeomID geom = createGeom(space_, shape.kind, shape.size);
    dGeomSetBody(geom, body);
    const Vec3 p = shape.position - com;
    dGeomSetOffsetPosition(geom, p[0], p[1], p[2]);
    dMatrix3 rows = {};
    for (size_t i = 0; i < 3; ++i)
      for (size_t j = 0; j < 3; ++j) rows[4 * i + j] = shape.rotation(i, j);
    dGeomSetOffsetRotation(geom, rows);
  }

  void place(size_t i, const BodyPose& pose) {
    dBodySetPosition(links_[i], pose.com[0], pose.com[1], pose.com[2]);
    setRotation(links_[i], pose.rotation);
    const Vec3 &v = pose.comVelocity, &w = pose.angularVelocity;
    dBodySetLinearVel(links_[i], v[0], v[1], v[2]);
    dBodySetAngularVel(links_[i], w[0], w[1], w[2]);
  }

  /// Joints take their zero from the pose in which they are attached.
  void addRobot(const scenes::RobotSetup& robot) {
    model_ = flatModel(robot);
    holdsPose_ = robot.holdsPose;
    const std::vector<BodyPose> zero = robotPoses(robot, zeroCoordinates(robot), {});
    joints_.assign(model_.size(), nullptr);
    for (size_t i = 0; i < model_.size(); ++i) {
      const Mat33& I = model_[i].inertia;
      dMass mass;
      dMassSetParameters(&mass, model_[i].mass, 0, 0, 0, I(0, 0), I(1, 1), I(2, 2), I(0, 1),
                         I(0, 2), I(1, 2));
      links_.push_back(dBodyCreate(world_));
      dBodySetMass(links_[i], &mass);
      place(i, zero[i]);
      for (const ModelShape& shape : model_[i].shapes)
        if (robot.collides) addShape(links_[i], model_[i].com, shape);
      if (i > 0) addJoint(robot, i, zero[i]);
    }
    const std::vector<BodyPose> start = robotPoses(robot, robot.coordinates, robot.velocities);
    for (size_t i = 0; i < model_.size(); ++i) place(i, start[i]);
    if (holdsPose_) setTargets(robot.coordinates);
  }

  void addJoint(const scenes::RobotSetup& robot, size_t i, const BodyPose& pose) {
    const ModelBody& body = model_[i];
    const dBodyID parent = links_[static_cast<size_t>(body.parent)];
    const Vec3 &p = pose.position, &a = pose.jointAxis;
    if (body.joint == Joint::SPHERICAL) {
      if (robot.holdsPose) throw Unsupported("no PD law on ball joints");
      joints_[i] = dJointCreateBall(world_, nullptr);
      dJointAttach(joints_[i], links_[i], parent);
      dJointSetBallAnchor(joints_[i], p[0], p[1], p[2]);
      return;
    }
    if (body.joint != Joint::REVOLUTE) throw Unsupported("only revolute and ball joints");
    joints_[i] = dJointCreateHinge(world_, nullptr);
    dJointAttach(joints_[i], links_[i], parent);
    dJointSetHingeAnchor(joints_[i], p[0], p[1], p[2]);
    dJointSetHingeAxis(joints_[i], a[0], a[1], a[2]);
    if (robot.holdsPose) {
      const double hp = scene_.dt * robot.pGain[body.firstVelocity];
      const double d = robot.dGain[body.firstVelocity] + body.damping;
      dJointSetHingeParam(joints_[i], dParamStopERP, hp / (hp + d));
      dJointSetHingeParam(joints_[i], dParamStopCFM, 1.0 / (hp + d));
    } else if (body.lower < body.upper) {
      dJointSetHingeParam(joints_[i], dParamLoStop, body.lower);
      dJointSetHingeParam(joints_[i], dParamHiStop, body.upper);
    }
  }

  void addDamping() {
    for (size_t i = 1; i < model_.size(); ++i)
      if (model_[i].joint == Joint::REVOLUTE && model_[i].damping > 0.0)
        dJointAddHingeTorque(joints_[i], -model_[i].damping * dJointGetHingeAngleRate(joints_[i]));
  }

  Mat33 rotationOf(size_t i) const {
    const dReal* rows = dBodyGetRotation(links_[i]);
    Mat33 R;
    for (size_t r = 0; r < 3; ++r)
      for (size_t c = 0; c < 3; ++c) R(r, c) = rows[4 * r + c];
    return R;
  }

  void readBase(RobotState& state) const {
    Vec3 com, v, w;
    std::copy_n(dBodyGetPosition(links_[0]), 3, com.v);
    std::copy_n(dBodyGetLinearVel(links_[0]), 3, v.v);
    std::copy_n(dBodyGetAngularVel(links_[0]), 3, w.v);
    const Vec3 arm = rotationOf(0) * model_[0].com;
    const Vec3 origin = com - arm, velocity = v - cross(w, arm);
    std::copy_n(origin.v, 3, state.coordinates.begin());
    std::copy_n(dBodyGetQuaternion(links_[0]), 4, state.coordinates.begin() + 3);
    std::copy_n(velocity.v, 3, state.velocities.begin());
    std::copy_n(w.v, 3, state.velocities.begin() + 3);
  }

  void readBall(size_t i, RobotState& state) const {
    const size_t parent = static_cast<size_t>(model_[i].parent);
    const Mat33 R = rotationOf(i), above = rotationOf(parent) * model_[i].rotation;
    Vec4 q;
    rotMatToQuat(transposeMul(above, R), q);
    Vec3 w, wParent;
    std::copy_n(dBodyGetAngularVel(links_[i]), 3, w.v);
    std::copy_n(dBodyGetAngularVel(links_[parent]), 3, wParent.v);
    const Vec3 rate = transposeMul(R, w - wParent);
    std::copy_n(q.v, 4, &state.coordinates[model_[i].firstCoordinate]);
    std::copy_n(rate.v, 3, &state.velocities[model_[i].firstVelocity]);
  }

  NeutralScene scene_;
  bool quick_, holdsPose_ = false;
  dWorldID world_ = nullptr;
  dSpaceID space_ = nullptr;
  dJointGroupID contacts_ = nullptr;
  dHeightfieldDataID field_ = nullptr;
  std::vector<dBodyID> bodies_, links_;
  std::vector<dJointID> joints_;
  std::vector<ModelBody> model_;
  size_t count_ = 0;
};

std::unique_ptr<Engine> make(const NeutralScene& scene, const Setting& setting) {
  return std::make_unique<OdeEngine>(scene, setting);
}

}  // namespace

}  // namespace zelvik::bench

int main(int argc, char** argv) {
  return zelvik::bench::runBenchmark(
      argc, argv,
      {"ode", "0.16", "PD as implicit stops; no rotor inertia, force limits, cone limits",
       zelvik::bench::make});
}
