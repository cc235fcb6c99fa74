// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "engines/Ruler.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <zelvik/object/GeomRecord.hpp>

#include "scenes/SceneNames.hpp"
#include "scenes/WorldBuilder.hpp"

namespace zelvik::bench {

namespace {

using std::numbers::pi;

double horizontal(const Vec3& d) {
  return std::hypot(d[0], d[1]);
}

Vec3 centreOf(dGeomID geom) {
  const dReal* p = dGeomGetPosition(geom);
  return {{p[0], p[1], p[2]}};
}

/// Angle between a horizontal displacement and the i-th direction of A1 and A2 (degrees).
double directionError(const Vec3& d, size_t i) {
  const double intended = 15.0 * static_cast<double>(i % 5);
  return std::fabs(std::atan2(d[1], d[0]) * 180.0 / pi - intended);
}

void run(const NeutralScene& scene, Engine& engine, int begin, int end) {
  for (int k = begin; k < end; ++k) stepWithTargets(scene, engine, k);
}

int totalSteps(const NeutralScene& scene) {
  return scene.warmUpSteps + scene.steps;
}

/// Sliding boxes: where they stop, against v^2 / (2 mu g).
Figures slidingAccuracy(const NeutralScene& scene, Engine& engine) {
  run(scene, engine, 0, totalSteps(scene));
  double distanceError = 0.0, angleError = 0.0;
  for (size_t i = 0; i < scene.bodies.size(); ++i) {
    const Vec3 d = engine.body(i).position - scene.bodies[i].position;
    const double v = norm(scene.bodies[i].velocity);
    const double exact = v * v / (2.0 * scene.friction * norm(scene.gravity));
    distanceError = std::max(distanceError, std::fabs(horizontal(d) - exact));
    angleError = std::max(angleError, directionError(d, i));
  }
  const double halfStep = 0.5 * scene.dt * norm(scene.bodies[0].velocity);
  return {{"distance_error_m", distanceError},
          {"half_step_m", halfStep},
          {"direction_error_deg", angleError}};
}

/// Pulled boxes: creep below the friction limit, motion under the surplus above it.
Figures pullingAccuracy(const NeutralScene& scene, Engine& engine) {
  run(scene, engine, 0, totalSteps(scene));
  const double time = totalSteps(scene) * scene.dt;
  double creep = 0.0, shortfall = 0.0, angleError = 0.0;
  for (size_t i = 0; i < scene.bodies.size(); ++i) {
    const Vec3 d = engine.body(i).position - scene.bodies[i].position;
    if (i < 5) {
      creep = std::max(creep, horizontal(d) / time);
      continue;
    }
    const double exact = 0.5 * 0.1 * scene.friction * norm(scene.gravity) * time * time;
    shortfall = std::max(shortfall, std::fabs(horizontal(d) / exact - 1.0));
    angleError = std::max(angleError, directionError(d, i));
  }
  return {{"creep_m_per_s", creep},
          {"sliding_error_relative", shortfall},
          {"direction_error_deg", angleError}};
}

/// Elastic ball: the highest point of the last two seconds, and the energy at the end.
Figures bounceAccuracy(const NeutralScene& scene, Engine& engine) {
  const int steps = totalSteps(scene), tail = static_cast<int>(2.0 / scene.dt);
  const double radius = scene.bodies[0].size[0], drop = scene.bodies[0].position[2] - radius;
  double apex = 0.0;
  for (int k = 0; k < steps; ++k) {
    engine.step();
    if (k >= steps - tail) apex = std::max(apex, engine.body(0).position[2] - radius);
  }
  const BodyState end = engine.body(0);
  const double energy =
      norm(scene.gravity) * (end.position[2] - radius) + 0.5 * dot(end.velocity, end.velocity);
  return {{"apex_error_relative", apex / drop - 1.0},
          {"energy_error_relative", energy / (norm(scene.gravity) * drop) - 1.0}};
}

/// Floating robot: drift of energy and momentum.
Figures floatingAccuracy(const NeutralScene& scene, Engine& engine) {
  Ruler ruler(scene);
  ruler.take(engine);
  const double energy = ruler.kineticEnergy();
  const Mat<6, 1> momentum = ruler.momentum();
  double worst = 0.0;
  for (int k = 0; k < totalSteps(scene); ++k) {
    engine.step();
    if (k % 100 != 99) continue;
    ruler.take(engine);
    worst = std::max(worst, std::fabs(ruler.kineticEnergy() / energy - 1.0));
  }
  ruler.take(engine);
  const Mat<6, 1> drift = ruler.momentum() - momentum;
  const auto relative = [&](size_t k) {
    const Vec3 d{{drift[k], drift[k + 1], drift[k + 2]}};
    return norm(d) / norm(Vec3{{momentum[k], momentum[k + 1], momentum[k + 2]}});
  };
  return {{"energy_error_relative", worst},
          {"linear_momentum_error_relative", relative(0)},
          {"angular_momentum_error_relative", relative(3)}};
}

/// Whether a robot stands on the plane, so that its feet should not slip.
bool hasStandingRobot(const NeutralScene& scene) {
  return scene.hasGround && !scene.robots.empty() && scene.robots[0].holdsPose;
}

/// Scenes with contact: overlap, creep and slip at the end, over one second; force against weight.
Figures restAccuracy(const NeutralScene& scene, Engine& engine) {
  const int begin = totalSteps(scene), second = static_cast<int>(std::lround(1.0 / scene.dt));
  run(scene, engine, 0, begin);
  Ruler ruler(scene);
  ruler.take(engine);
  const std::vector<Vec3> before = ruler.marks();
  double force = 0.0, penetration = ruler.penetration(), mean = ruler.meanPenetration();
  int samples = 1;
  const bool stands = hasStandingRobot(scene);
  FootSlip slip(scene);
  for (int k = begin; k < begin + second; ++k) {
    const RobotState old = stands ? engine.robot() : RobotState{};
    stepWithTargets(scene, engine, k);
    if (stands) slip.add(old.coordinates, engine.robot().velocities);
    force += engine.groundForce() / second;
    if ((k - begin) % 50 != 49) continue;
    ruler.take(engine);
    penetration = std::max(penetration, ruler.penetration());
    mean += ruler.meanPenetration();
    ++samples;
  }
  ruler.take(engine);
  const std::vector<Vec3> after = ruler.marks();
  double creep = 0.0;
  for (size_t i = 0; i < before.size(); ++i)
    creep = std::max(creep, horizontal(after[i] - before[i]) / (second * scene.dt));
  Figures figures = {{"penetration_m", penetration},
                     {"mean_penetration_m", mean / samples},
                     {"creep_m_per_s", creep},
                     {"force_to_weight_minus_1", force / scene.weight() - 1.0}};
  if (stands) figures.push_back({"foot_slip_m_per_s", slip.rootMeanSquare()});
  if (!scene.bodies.empty()) figures.push_back({"mean_height_m", ruler.meanHeight()});
  return figures;
}

}  // namespace

Ruler::Ruler(const NeutralScene& scene) {
  const BuiltWorld built = buildWorld(world_, scene);
  bodies_ = built.bodies;
  robot_ = built.robot;
  if (robot_ == nullptr) return;
  for (size_t i = 0; i < robot_->getCollisionBodies().size(); ++i)
    if (dGeomGetClass(robot_->getCollisionBodies()[i].colObj) == dSphereClass)
      feet_.push_back(robot_->getCollisionBodies()[i].colObj);
}

void Ruler::take(const Engine& engine) {
  for (size_t i = 0; i < bodies_.size(); ++i) {
    const BodyState state = engine.body(i);
    bodies_[i]->setOrientation(state.quaternion);
    bodies_[i]->setPosition(state.position);
  }
  if (robot_ != nullptr) return take(engine.robot());
  world_.integrate1();
}

void Ruler::take(const RobotState& state) {
  robot_->setGeneralizedCoordinate(state.coordinates.data(), state.coordinates.size());
  robot_->setGeneralizedVelocity(state.velocities.data(), state.velocities.size());
  world_.integrate1();
}

double Ruler::penetration() const {
  double deepest = 0.0;
  for (const Object* object : world_.getObjList())
    for (const contact::Contact& c : object->getContacts()) deepest = std::max(deepest, -c.depth_);
  return deepest;
}

double Ruler::meanPenetration() const {
  double sum = 0.0;
  size_t count = 0;
  for (const Object* object : world_.getObjList())
    for (const contact::Contact& c : object->getContacts()) {
      sum -= std::min(c.depth_, 0.0);
      ++count;
    }
  return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

std::vector<Vec3> Ruler::marks() const {
  std::vector<Vec3> places;
  for (const SingleBodyObject* body : bodies_) places.push_back(body->getComPosition());
  if (robot_ == nullptr) return places;
  for (const dGeomID foot : feet_) places.push_back(centreOf(foot));
  return places;
}

std::vector<double> Ruler::slip() const {
  constexpr double kTouch = 1e-3;  // height up to which a foot counts as touching (m)
  std::vector<double> speeds;
  for (const dGeomID foot : feet_) {
    const Vec3 centre = centreOf(foot);
    const double radius = dGeomSphereGetRadius(foot);
    if (centre[2] - radius > kTouch) continue;
    const size_t body = geomRecord(foot).localBodyIdx;
    Vec3 origin, velocity, turn;
    robot_->getPosition(body, origin);
    robot_->getVelocity(body, velocity);
    robot_->getAngularVelocity(body, turn);
    const Vec3 arm = centre - origin - Vec3{{0.0, 0.0, radius}};
    speeds.push_back(horizontal(velocity + cross(turn, arm)));
  }
  return speeds;
}

double Ruler::meanHeight() const {
  double sum = 0.0;
  for (const SingleBodyObject* body : bodies_) sum += body->getComPosition()[2];
  return sum / static_cast<double>(bodies_.size());
}

double Ruler::kineticEnergy() const {
  return robot_->getKineticEnergy();
}

Mat<6, 1> Ruler::momentum() const {
  Vec3 angular;
  robot_->getAngularMomentum(Vec3{}, angular);
  const VecDyn& linear = robot_->getGeneralizedMomentum();
  return {{linear[0], linear[1], linear[2], angular[0], angular[1], angular[2]}};
}

void FootSlip::add(const std::vector<double>& coordinates, const std::vector<double>& velocities) {
  ruler_.take(RobotState{coordinates, velocities});
  for (const double speed : ruler_.slip()) {
    sum_ += speed * speed;
    ++count_;
  }
}

double FootSlip::rootMeanSquare() const {
  return std::sqrt(sum_ / static_cast<double>(count_));
}

void stepWithTargets(const NeutralScene& scene, Engine& engine, int step) {
  if (!scene.robots.empty() && scene.robots[0].targetAmplitude != 0.0)
    engine.setTargets(scene.targetsAt(step * scene.dt));
  engine.step();
}

Figures accuracyOf(const NeutralScene& scene, Engine& engine) {
  if (scene.name.starts_with("A1")) return slidingAccuracy(scene, engine);
  if (scene.name.starts_with("A2")) return pullingAccuracy(scene, engine);
  if (scene.name == "A3") return bounceAccuracy(scene, engine);
  if (scene.name == "A4") return floatingAccuracy(scene, engine);
  if (scene.hasGround || scene.terrain.samples > 0) return restAccuracy(scene, engine);
  return {};
}

}  // namespace zelvik::bench
