// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <tuple>
#include <zelvik/ContactReport.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

#include "world/ContactRecords.hpp"

namespace zelvik {

using contact::Contact;

namespace {

/// Above this speed of approach a contact is an impact (m/s).
constexpr double kImpactSpeed = 0.05;
/// Share of the friction cone that counts as its surface.
constexpr double kConeTolerance = 1e-6;

/// Velocity of an object at one of its contacts after the step (world axes); of a contact of a
/// robot with itself that of both sides.
Vec3 velocityAt(const Object& object, const Contact& c) {
  if (object.getBodyType() == BodyType::KINEMATIC) {  // moves by itself, no solver told it
    const auto& body = static_cast<const SingleBodyObject&>(object);
    return body.getLinearVelocity() +
           cross(body.getAngularVelocity(), c.position_ - body.getComPosition());
  }
  Vec3 velocity;
  object.getContactPointVel(c.contactIndex_, velocity);
  return transposeMul(c.frame_, velocity);
}

Vec3 slipOf(const std::vector<Object*>& objects, const Object& object, const Contact& c,
            const Vec3& normal) {
  Vec3 v = velocityAt(object, c);
  if (c.pairBodyType_ != BodyType::STATIC && !c.selfCollision_) {
    const Object& other = *objects[c.pairObjectIndex_];
    v -= velocityAt(other, other.getContacts()[c.pairContactIndex_]);
  }
  return v - dot(v, normal) * normal;
}

ContactMotion motionOf(const contact::Single3DContactProblem& p) {
  const double normal = p.imp_[2];
  if (!(normal > 0.0)) return ContactMotion::OPEN;
  if (-p.impactVel_ > kImpactSpeed) return ContactMotion::IMPACT;
  const double tangential = std::sqrt(p.imp_[0] * p.imp_[0] + p.imp_[1] * p.imp_[1]);
  return tangential < (1.0 - kConeTolerance) * p.mu_ * normal ? ContactMotion::STICK
                                                              : ContactMotion::SLIP;
}

/// Whether a shape has a name, or is one of a link of that name: "foot/0" of "foot".
bool isShapeOf(const std::string& shape, const std::string& name) {
  return shape.compare(0, name.size(), name) == 0 &&
         (shape.size() == name.size() || shape[name.size()] == '/');
}

const ArticulatedSystem* robotOf(const Touch& touch, size_t side) {
  const Object* object = touch.objects[side];
  return object->getObjectType() == ARTICULATED_SYSTEM
             ? static_cast<const ArticulatedSystem*>(object)
             : nullptr;
}

/// Takes points with weights to their mean.
struct Mean {
  Vec3 weighted{}, plain{};
  double weight = 0.0;
  size_t count = 0;

  void add(const Vec3& point, double w) {
    weighted += w * point;
    plain += point;
    weight += w;
    ++count;
  }
  Vec3 get() const {
    if (count == 0) return {};
    return weight > 0.0 ? (1.0 / weight) * weighted : (1.0 / static_cast<double>(count)) * plain;
  }
};

}  // namespace

bool ContactReport::Pair::operator<(const Pair& b) const {
  return std::tie(ids[0], ids[1], bodies[0], bodies[1]) <
         std::tie(b.ids[0], b.ids[1], b.bodies[0], b.bodies[1]);
}

void ContactReport::write(const std::vector<Object*>& objects, double dt) {
  touches_.clear();
  unsorted_.clear();
  touchOfPoint_.clear();
  for (size_t i = 0; i < objects.size(); ++i) appendContacts(objects, i, dt);
  sortPoints();
  for (Touch& touch : touches_) sumUpTouch(touch, points_.data() + touch.first);
  compareWithLast();
}

/// Of a pair of two lists the A side speaks.
void ContactReport::appendContacts(const std::vector<Object*>& objects, size_t index, double dt) {
  const Object& object = *objects[index];
  const size_t begin = touches_.size();
  for (const Contact& c : object.getContacts()) {
    if (!isSolvedPoint(c) || !(c.objectA_ || c.pairBodyType_ == BodyType::STATIC)) continue;
    const Object& other = *objects[c.pairObjectIndex_];

    const size_t otherBody = c.pairBodyType_ != BodyType::STATIC
                                 ? other.getContacts()[c.pairContactIndex_].localBodyIndex_
                                 : 0;
    const contact::Single3DContactProblem& p = *c.contactProblem_;
    ContactPoint point;
    point.position = c.position_;
    point.normal = c.objectA_ ? c.normal_ : -c.normal_;
    Vec3 impulse;
    c.getImpulse(impulse);
    point.force = (1.0 / dt) * impulse;
    point.slip = slipOf(objects, object, c, point.normal);
    point.approach = std::max(-p.impactVel_, 0.0);
    point.depth = -c.depth_;
    point.shapes[0] = c.shapeIndex_;
    point.shapes[1] = c.pairShapeIndex_;
    point.motion = motionOf(p);
    touchOfPoint_.push_back(touchOf(begin, {&object, &other}, {c.localBodyIndex_, otherBody}));
    unsorted_.push_back(point);
  }
}

/// The touch of two bodies among those from `begin` on, a new one if there is none.
size_t ContactReport::touchOf(size_t begin, const Object* const (&objects)[2],
                              const size_t (&bodies)[2]) {
  for (size_t t = touches_.size(); t-- > begin;) {
    Touch& touch = touches_[t];
    if (touch.objects[1] != objects[1] || touch.bodies[0] != bodies[0] ||
        touch.bodies[1] != bodies[1])
      continue;
    ++touch.count;
    return t;
  }
  Touch& touch = touches_.emplace_back();
  for (size_t s = 0; s < 2; ++s) {
    touch.objects[s] = objects[s];
    touch.bodies[s] = bodies[s];
  }
  touch.count = 1;
  return touches_.size() - 1;
}

/// Those of a touch together, in the order of the step.
void ContactReport::sortPoints() {
  size_t first = 0;
  for (Touch& touch : touches_) {
    touch.first = first;
    first += touch.count;
    touch.count = 0;
  }
  points_.resize(unsorted_.size());
  for (size_t i = 0; i < unsorted_.size(); ++i) {
    Touch& touch = touches_[touchOfPoint_[i]];
    points_[touch.first + touch.count++] = unsorted_[i];
  }
}

void ContactReport::sumUpTouch(Touch& touch, const ContactPoint* points) {
  Mean centre;
  for (const ContactPoint* p = points; p != points + touch.count; ++p) {
    touch.force += p->force;
    touch.moment += cross(p->position, p->force);
    centre.add(p->position, dot(p->force, p->normal));
  }
  touch.centre = centre.get();
}

void ContactReport::compareWithLast() {
  std::swap(pairs_, lastPairs_);
  pairs_.clear();
  for (Touch& touch : touches_) {
    const size_t id0 = touch.objects[0]->getIdInWorld(), id1 = touch.objects[1]->getIdInWorld();
    const bool turn = std::tie(id1, touch.bodies[1]) < std::tie(id0, touch.bodies[0]);
    const Pair pair = turn ? Pair{{id1, id0}, {touch.bodies[1], touch.bodies[0]}}
                           : Pair{{id0, id1}, {touch.bodies[0], touch.bodies[1]}};
    touch.begins = !std::binary_search(lastPairs_.begin(), lastPairs_.end(), pair);
    pairs_.push_back(pair);
  }
  std::sort(pairs_.begin(), pairs_.end());
  ended_.clear();
  for (const Pair& pair : lastPairs_)
    if (!std::binary_search(pairs_.begin(), pairs_.end(), pair))
      ended_.push_back({{pair.ids[0], pair.ids[1]}, {pair.bodies[0], pair.bodies[1]}});
}

// ---- questions ----

bool ContactReport::fits(const ContactFilter& filter, const Touch& touch, const ContactPoint& point,
                         size_t side) {
  if (filter.object != nullptr && filter.object != touch.objects[side]) return false;
  if (filter.body != kNone && filter.body != touch.bodies[side]) return false;
  if (!filter.shape.empty() && !isShapeOf(getShapeName(touch, point, side), filter.shape) &&
      filter.shape != getName(touch, side))
    return false;
  return filter.material.empty() || filter.material == getMaterial(touch, point, side);
}

ContactSum ContactReport::sumUp(const ContactFilter& on, const ContactFilter& by) const {
  ContactSum sum;
  Mean centre;
  for (const Touch& touch : touches_)
    for (size_t i = touch.first; i < touch.first + touch.count; ++i) {
      const ContactPoint& point = points_[i];
      const bool isOn0 = fits(on, touch, point, 0) && fits(by, touch, point, 1);
      if (!isOn0 && !(fits(on, touch, point, 1) && fits(by, touch, point, 0))) continue;
      const Vec3 force = isOn0 ? point.force : -point.force;
      ++sum.count;
      sum.force += force;
      sum.moment += cross(point.position, force);
      centre.add(point.position, dot(point.force, point.normal));
    }
  sum.centre = centre.get();
  return sum;
}

Vec3 ContactReport::getForce(const Object& object) const {
  return getForce(object, kNone);
}

Vec3 ContactReport::getForce(const Object& object, size_t body) const {
  Vec3 sum{};
  for (const Touch& touch : touches_)
    for (size_t side = 0; side < 2; ++side)
      if (touch.objects[side] == &object && (body == kNone || touch.bodies[side] == body))
        sum += side == 0 ? touch.force : -touch.force;
  return sum;
}

Vec3 ContactReport::getForce(const Object& object, const std::string& name) const {
  Vec3 sum{};
  for (const Touch& touch : touches_)
    for (size_t side = 0; side < 2; ++side) {
      if (touch.objects[side] != &object) continue;
      for (size_t i = touch.first; i < touch.first + touch.count; ++i)
        if (isShapeOf(getShapeName(touch, points_[i], side), name) || name == getName(touch, side))
          sum += side == 0 ? points_[i].force : -points_[i].force;
    }
  return sum;
}

const std::string& ContactReport::getName(const Touch& touch, size_t side) {
  const ArticulatedSystem* robot = robotOf(touch, side);
  return robot != nullptr ? robot->getBodyNames()[touch.bodies[side]]
                          : touch.objects[side]->getName();
}

const std::string& ContactReport::getShapeName(const Touch& touch, const ContactPoint& point,
                                               size_t side) {
  const ArticulatedSystem* robot = robotOf(touch, side);
  return robot != nullptr ? robot->getCollisionBodies()[point.shapes[side]].colName
                          : touch.objects[side]->getName();
}

const std::string& ContactReport::getMaterial(const Touch& touch, const ContactPoint& point,
                                              size_t side) {
  const size_t shape = point.shapes[side];
  const ArticulatedSystem* robot = robotOf(touch, side);
  const dGeomID geom =
      robot != nullptr ? robot->getCollisionBodies()[shape].colObj
                       : static_cast<const SingleBodyObject*>(touch.objects[side])->getGeom(shape);
  return geomRecord(geom).materialName;
}

}  // namespace zelvik
