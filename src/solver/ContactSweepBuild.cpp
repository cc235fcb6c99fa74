// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

#include "contact/ContactLaw.hpp"
#include "solver/ContactSweep.hpp"

// From records and objects to rows, and back.
//
// A rigid body with the velocities (u, C w) and the contact Jacobian G = [F, F [r]x^T] is a side
// with F, the lever F [r]x^T C, and what an impulse does, F^T / m and C^T [r]x F^T (symbols:
// ContactBatch.hpp). A robot with the points i, whose Jacobians are J_i, hands the solver their
// velocities J_i u and the blocks J_j M^-1 J_i^T between all of them; after the sweeps its own
// velocity follows from the sums of impulses, u += M^-1 sum of J_i^T p_i.

namespace zelvik::contact {

namespace {

constexpr double kIdentity[12] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};

Columns33 columnsOf(const Mat33& A, double factor) {
  return {{factor * toLanes(column(A, 0)), factor * toLanes(column(A, 1)),
           factor * toLanes(column(A, 2))}};
}

/// Three values and a zero.
Lanes lanesAt(const double* v) {
  return Lanes{v[0], v[1], v[2], 0.0};
}

/// Block of the velocities at one point per unit impulse at another one, whose responses are given.
void computeBlock(const double* columns, const size_t* idx, size_t size,
                  const double* const* responses, Lanes* block) {
  Lanes x{}, y{}, z{};
  for (size_t e = 0; e < size; ++e) {
    const Lanes column = loadLanes(columns + 3 * e);
    x += column * responses[0][idx[e]];
    y += column * responses[1][idx[e]];
    z += column * responses[2][idx[e]];
  }
  block[0] = x;
  block[1] = y;
  block[2] = z;
}

/// The transpose; fourth values are of no use on either side.
void transposeBlock(const Lanes* from, Lanes* to) {
  Lanes a = from[0], b = from[1], c = from[2], d{};
  transposeLanes(a, b, c, d);
  to[0] = a;
  to[1] = b;
  to[2] = c;
}

}  // namespace

const std::vector<ContactPair>& ContactSweep::findContactPairs(
    const ContactProblemList& problems, const std::vector<Object*>& objects) {
  size_t count = problems.size();
  while (count > 0 && problems[count - 1].rank_ == Single3DContactProblem::JOINT_LIMIT) --count;
  foundPairs_.assign(count, ContactPair{});
  for (size_t i = 0; i < count; ++i) {
    foundPairs_[i].problem = static_cast<std::uint32_t>(i);
    foundPairs_[i].count = 1;
  }
  for (const Object* object : objects)
    for (const Contact& c : object->getContacts())
      if (!c.skip_ && c.contactProblemIndex_ < count)
        foundPairs_[c.contactProblemIndex_].sides[c.objectA_ ? 0 : 1] = {
            static_cast<std::uint32_t>(object->getIndexInWorld()),
            static_cast<std::uint32_t>(c.localBodyIndex_), object->getBodyType(c.localBodyIndex_),
            static_cast<std::uint32_t>(c.contactIndex_)};
  return foundPairs_;
}

void ContactSweep::build(ContactProblemList& problems, const std::vector<ContactPair>& pairs,
                         const std::vector<Object*>& objects,
                         const ContactPreparation& preparation) {
  erp_ = preparation.erp;
  startBodies(objects);
  order_.clear(objects.size());
  oneBody_.clear();
  twoBodies_.clear();
  rowCount_ = 0;
  immovable_ = {};
  size_t limit = placeAll(problems, pairs, preparation);
  oneBody_.fill(bodyVelocities_.data(), preparation);
  twoBodies_.fill(bodyVelocities_.data(), preparation);
  listRuns();

  robots_.clear();
  points_.clear();
  for (Object* object : objects)
    if (object->getBodyType() == BodyType::DYNAMIC && object->getObjectType() == ARTICULATED_SYSTEM)
      attachRobot(static_cast<ArticulatedSystem&>(*object), problems, limit);
  connectPoints();
  chooseCouplings();
}

void ContactSweep::startBodies(const std::vector<Object*>& objects) {
  bodies_.assign(objects.size(), Body{});
  parts_.assign(objects.size(), OTHER_PART);
  bodyVelocities_.resize(objects.size() + kFirstBodySlot);
  bodyVelocities_[kZeroSlot] = {};
  for (size_t o = 0; o < objects.size(); ++o) {
    const std::vector<Contact>& contacts = objects[o]->getContacts();
    if (contacts.empty() || objects[o]->getBodyType() != BodyType::DYNAMIC) continue;
    bodies_[o].contacts = contacts.data();
    bodies_[o].contactCount = contacts.size();
    if (objects[o]->getObjectType() != ARTICULATED_SYSTEM)
      startBody(static_cast<SingleBodyObject&>(*objects[o]));
  }
}

/// The objects of a pair that impulses move: neither the twin of a merged contact, nor an object
/// that has dropped its contacts since or is not dynamic any more.
inline ContactSweep::Sides ContactSweep::sidesOf(const ContactPair& pair) const {
  Sides who;
  for (size_t s = 0; s < 2; ++s) {
    const ContactPair::Side& side = pair.sides[s];
    if (!side.keepsContacts()) continue;
    const Body& owner = bodies_[side.object];
    if (side.contact + pair.count > owner.contactCount || owner.contacts[side.contact].skip_)
      continue;
    who.object[s] = side.object;
    who.contact[s] = side.contact;
  }
  return who;
}

/// Places contacts by pair, and joint limits after them. Problems of objects that have left the
/// world are in no pair: they are not visited.
/// @return the first joint limit; limits stand in the order of their objects
size_t ContactSweep::placeAll(ContactProblemList& problems, const std::vector<ContactPair>& pairs,
                              const ContactPreparation& preparation) {
  if (rowOf_.size() < problems.size()) rowOf_.resize(problems.size());
  size_t end = 0;
  for (const ContactPair& pair : pairs) {
    Sides who = sidesOf(pair);
    end = pair.problem + pair.count;
    for (size_t i = pair.problem; i < end; ++i, ++who.contact[0], ++who.contact[1])
      place(problems[i], i, who, preparation);
  }
  const auto isLimit = [&](size_t i) {
    return problems[i].rank_ == Single3DContactProblem::JOINT_LIMIT;
  };
  while (end < problems.size() && !isLimit(end)) ++end;
  for (size_t i = end; i < problems.size(); ++i) {
    if (!isLimit(i)) continue;
    Sides who;
    who.object[0] = static_cast<std::uint32_t>(problems[i].objA_->getIndexInWorld());
    place(problems[i], i, who, preparation);
  }
  return end;
}

/// Before any impulse (m/s).
double ContactSweep::normalVelocity(const Single3DContactProblem& p, const Sides& who) const {
  double z = p.tauStar_[2];
  for (size_t s = 0; s < 2; ++s) {
    Object* asked = s == 0 ? p.objA_ : p.objB_;
    if (asked == nullptr) continue;  // `tauStar_` has it
    const std::uint32_t object = who.object[s];
    const SingleBodyObject* body = object != ContactPair::kNobody ? bodies_[object].body : nullptr;
    if (body != nullptr) {
      const double* g = bodies_[object].jacobians[who.contact[s]].v + 2;
      const double* u = bodies_[object].velocity->v;
      const double v =
          (g[0] * u[0] + g[3] * u[1] + g[6] * u[2]) + (g[9] * u[3] + g[12] * u[4] + g[15] * u[5]);
      z += s == 0 ? v : -v;
      continue;
    }
    Vec3 v{};
    asked->addContactPointVel(s == 0 ? p.contactIdxA_ : p.contactIdxB_, v);
    z += s == 0 ? v[2] : -v[2];
  }
  return z;
}

void ContactSweep::startBody(SingleBodyObject& body) {
  Body& entry = bodies_[body.getIndexInWorld()];
  entry.body = &body;
  const BodyContacts contacts = body.viewContacts();
  entry.jacobians = contacts.jacobians.data();
  entry.velocity = &contacts.velocity;
  entry.mass = {AngularScale(contacts.inverseInertia), contacts.inverseMass};
  if (entry.mass.scale.isFactor) parts_[body.getIndexInWorld()] = BODY_PART;
  BodyVelocity& velocity = bodyVelocities_[body.getIndexInWorld() + kFirstBodySlot];
  velocity = {};
  if (body.usesFullDelassus()) return;
  const Mat<6, 1>& u = contacts.velocity;
  velocity.linear = lanesAt(u.v);
  velocity.angular = toLanes(entry.mass.scale.solve({{u[3], u[4], u[5]}}));
}

SweepOrder::Kind ContactSweep::kindOf(const Single3DContactProblem& p, const Sides& who) const {
  using Problem = Single3DContactProblem;
  const auto partOf = [this](std::uint32_t object) -> unsigned {
    return object == ContactPair::kNobody ? NO_PART : parts_[object];
  };
  const unsigned parts = partOf(who.object[0]) + partOf(who.object[1]);
  // A batch hands on impulses of zero, too: a block with infinite entries must not be in it.
  const double* d = p.delassus_.v;
  const double sum = sumOfLanes(loadLanes(d) + loadLanes(d + 4)) + d[8];
  if (p.rank_ != Problem::FULL || !(p.mu_ >= Problem::kFrictionless) || !std::isfinite(sum) ||
      who.object[0] == who.object[1])
    return SweepOrder::SINGLE;
  if (parts == BODY_PART) return SweepOrder::ONE_BODY;
  return parts == 2 * BODY_PART ? SweepOrder::TWO_BODIES : SweepOrder::SINGLE;
}

/// Gives a problem its stop, and its place in a batch or a row.
void ContactSweep::place(Single3DContactProblem& p, size_t index, const Sides& who,
                         const ContactPreparation& preparation) {
  p.checkRank();
  const SweepOrder::Stop& stop = order_.insert(kindOf(p, who), who.object[0], who.object[1]);
  if (stop.kind == SweepOrder::ONE_BODY) return oneBody_.append(stop, p, who, bodies_);
  if (stop.kind == SweepOrder::TWO_BODIES) return twoBodies_.append(stop, p, who, bodies_);
  p.dzzInv_ = 1.0 / p.delassus_(2, 2);
  if (p.rank_ != Single3DContactProblem::JOINT_LIMIT)
    preparation.prepare(p, normalVelocity(p, who));
  rowOf_[index] = stop.index;
  if (rows_.size() == rowCount_) rows_.emplace_back();
  ContactRow& row = rows_[rowCount_++];
  writeRow(p, row);
  if (row.kind == RowKind::IDLE) noteImmovable(p, who);
  for (size_t s = 0; s < 2; ++s)
    if (who.object[s] != ContactPair::kNobody && bodies_[who.object[s]].body != nullptr)
      attachBody(who, s, row);
}

template <int sides>
void ContactSweep::Batches<sides>::clear() {
  members.clear();
  bodies.clear();
}

template <int sides>
inline void ContactSweep::Batches<sides>::append(const SweepOrder::Stop& stop,
                                                 Single3DContactProblem& p, const Sides& who,
                                                 const std::vector<Body>& owners) {
  if (stop.index == members.size()) {
    members.emplace_back();
    bodies.emplace_back();
  }
  BatchMembers<sides>& m = members[stop.index];
  const size_t lane = stop.count - 1, first = who.object[0] == ContactPair::kNobody ? 1 : 0;
  m.problems[lane] = &p;
  m.sign[lane] = first == 0 ? 1.0 : -1.0;
  for (size_t side = 0; side < sides; ++side) {
    const std::uint32_t object = who.object[first + side];
    const Body& owner = owners[object];
    m.jacobians[side][lane] = owner.jacobians[who.contact[first + side]].v;
    m.masses[side][lane] = &owner.mass;
    bodies[stop.index].slots[side][lane] = object + kFirstBodySlot;
  }
}

template <int sides>
void ContactSweep::Batches<sides>::fill(const BodyVelocity* velocities,
                                        const ContactPreparation& preparation) {
  if (batches.size() < members.size()) batches.resize(members.size());
  for (size_t i = 0; i < members.size(); ++i)
    batches[i].fill(members[i], bodies[i], velocities, preparation);
}

void ContactSweep::listRuns() {
  runs_.clear();
  for (const SweepOrder::Stop& stop : order_.stops())
    if (!runs_.empty() && joinsRun(runs_.back(), stop))
      ++runs_.back().count;
    else
      runs_.push_back({stop.kind, stop.index, 1});
}

/// Takes the bodies of a stop into those of a run, if they fit.
bool ContactSweep::joinsRun(const Run& run, const SweepOrder::Stop& stop) {
  if (run.kind != stop.kind) return false;
  if (stop.kind == SweepOrder::SINGLE) return true;
  return stop.kind == SweepOrder::ONE_BODY
             ? oneBody_.bodies[run.first].merge(oneBody_.bodies[stop.index])
             : twoBodies_.bodies[run.first].merge(twoBodies_.bodies[stop.index]);
}

void ContactSweep::writeRow(Single3DContactProblem& p, ContactRow& row) {
  using Problem = Single3DContactProblem;
  row.problem = &p;
  row.kind = p.rank_ == Problem::JOINT_LIMIT     ? RowKind::LIMIT
             : p.rank_ == Problem::NOTHING_MOVES ? RowKind::IDLE
                                                 : RowKind::CONTACT;
  row.sideKinds[0] = row.sideKinds[1] = SideKind::NONE;
  row.isBound = false;
  row.sign = 1.0;
  row.target = p.targetVelZ_;
  row.opening = p.openingVelZ_;
  row.free = toLanes(p.tauStar_) - Lanes{0.0, 0.0, p.targetVelZ_, 0.0};
  row.impulse = toLanes(p.imp_);
  row.normal = toLanes(column(p.delassus_, 2));
  row.isOrdinary = isOrdinary(p);
  row.cone = p.mu_ * p.mu_ * kConeTolerance;
  row.stick = columnsOf(p.delassusInv_, -1.0);
}

/// Notes a body that is too heavy for its contact to count. All of D is in proportion to 1 / mass,
/// which gives the limit. (D is zero for a wire from a body to itself.)
void ContactSweep::noteImmovable(const Single3DContactProblem& p, const Sides& who) {
  if (!(p.delassus_(2, 2) > 0.0)) return;
  for (const std::uint32_t object : who.object) {
    const SingleBodyObject* body = object != ContactPair::kNobody ? bodies_[object].body : nullptr;
    if (body == nullptr || immovable_.body != nullptr) continue;
    const double mobility = p.delassus_(2, 2) / Single3DContactProblem::kLeastMobility;
    immovable_ = {body, body->getMass(0) * mobility};
  }
}

void ContactSweep::attachBody(const Sides& who, size_t s, ContactRow& row) {
  const Body& entry = bodies_[who.object[s]];
  const double sign = s == 0 ? 1.0 : -1.0;
  row.sideKinds[s] = SideKind::BODY;
  BodySide& side = row.bodies[s];
  side.velocity = &bodyVelocities_[who.object[s] + kFirstBodySlot];
  const Mat<3, 6>& G = entry.jacobians[who.contact[s]];
  const Mat<6, 3>& B = entry.body->getImpulseMaps()[who.contact[s]];
  Mat33 leverT;
  for (int c = 0; c < 3; ++c) {
    const Vec3 lever = entry.mass.scale.timesC({{G(c, 3), G(c, 4), G(c, 5)}});
    for (int k = 0; k < 3; ++k) leverT(k, c) = lever[k];
  }
  for (size_t k = 0; k < 3; ++k) {
    side.frame.c[k] = sign * lanesAt(G.v + 3 * k);
    side.lever.c[k] = sign * toLanes(zelvik::row(leverT, k));
    side.push.c[k] = sign * lanesAt(B.v + 6 * k);
    side.spin.c[k] =
        sign * (entry.mass.scale.isFactor ? toLanes(column(leverT, k)) : lanesAt(B.v + 6 * k + 3));
  }
}

void ContactSweep::attachRobot(ArticulatedSystem& system, const ContactProblemList& problems,
                               size_t& limit) {
  const size_t first = points_.size();
  const std::vector<Contact>& contacts = system.getContacts();
  const RobotContacts view = system.viewContacts();
  const size_t known = std::min(contacts.size(), view.count);
  size_t limits = 0;
  while (limit + limits < problems.size() && problems[limit + limits].objA_ == &system) ++limits;
  if (known + limits <= kMaxPoints) {
    for (size_t i = 0; i < known; ++i)
      if (!contacts[i].skip_) appendContactPoint(view, contacts[i], i);
    for (size_t k = 0; k < limits; ++k)
      appendLimitPoint(view, problems[limit + k], rowOf_[limit + k]);
    if (points_.size() > first)
      robots_.push_back(
          {view.velocity.v, view.tree.dof, first, points_.size() - first, 0, budgetOf(first)});
  } else {
    for (size_t i = 0; i < contacts.size(); ++i)
      if (!contacts[i].skip_) attachQuery(system, i);
  }
  limit += limits;
}

void ContactSweep::appendContactPoint(const RobotContacts& robot, const Contact& c,
                                      size_t contactIdx) {
  const SparseJacobian& J = robot.jacobians[contactIdx];
  const double* responses = robot.responses[contactIdx].v;
  const size_t stride = robot.responseStride;
  points_.push_back({J.v.v,
                     J.idx.data(),
                     J.size,
                     {responses, responses + stride, responses + 2 * stride},
                     {},
                     rowOf_[c.contactProblemIndex_],
                     c.objectA_ ? 0u : 1u});
}

/// A limit of an axis moves one velocity, a limit of a cone three.
void ContactSweep::appendLimitPoint(const RobotContacts& robot, const Single3DContactProblem& p,
                                    size_t row) {
  const size_t n = robot.tree.dof, d = robot.tree.dofStart[p.contactIdxA_];
  const double* inverse = robot.massInverse.v;
  const bool isAxis = robot.tree.jointType[p.contactIdxA_] != Joint::SPHERICAL;
  if (zeros_.size() < n) zeros_.resize(n, 0.0);
  rows_[row].isOrdinary = isAxis;
  points_.push_back({kIdentity,
                     nullptr,
                     isAxis ? 1u : 3u,
                     {inverse + d * n, isAxis ? nullptr : inverse + (d + 1) * n,
                      isAxis ? nullptr : inverse + (d + 2) * n},
                     {d, d + 1, d + 2},
                     row,
                     0});
}

void ContactSweep::attachQuery(Object& object, size_t contactIdx) {
  const Contact& c = object.getContacts()[contactIdx];
  const size_t s = c.objectA_ ? 0 : 1;
  ContactRow& row = rows_[rowOf_[c.contactProblemIndex_]];
  row.sideKinds[s] = SideKind::QUERY;
  row.objects[s] = &object;
  row.contactIdx[s] = contactIdx;
}

/// Makes room for velocities and blocks, computes them, and connects the rows with them.
void ContactSweep::connectPoints() {
  size_t blockCount = 0;
  for (Robot& robot : robots_) {
    robot.firstBlock = blockCount;
    blockCount += 3 * robot.count * robot.count;
  }
  if (blocks_.size() < blockCount) blocks_.resize(blockCount);
  if (pointVelocities_.size() < points_.size()) {
    pointVelocities_.resize(points_.size());
    pointImpulses_.resize(points_.size());
  }
  // No list grows from here on, so pointers into them stay valid.
  for (Point& point : points_) {
    if (point.velocityIdx == nullptr) point.velocityIdx = point.limitIdx;
    for (const double*& response : point.responses)
      if (response == nullptr) response = zeros_.data();
  }
  for (const Robot& robot : robots_) {
    computePoints(robot);
    for (size_t i = 0; i < robot.count; ++i) {
      const Point& point = points_[robot.first + i];
      ContactRow& row = rows_[point.row];
      row.sideKinds[point.side] = SideKind::POINT;
      row.points[point.side] = {&pointVelocities_[robot.first + i],
                                &pointImpulses_[robot.first + i], &pointVelocities_[robot.first],
                                &blocks_[robot.firstBlock + 3 * i * robot.count], robot.count};
    }
  }
}

/// Velocities before the sweeps, and the blocks, of which only half are computed.
void ContactSweep::computePoints(const Robot& robot) {
  const Point* points = &points_[robot.first];
  const size_t n = robot.count;
  Lanes* blocks = &blocks_[robot.firstBlock];
  const double* u = robot.velocity;
  for (size_t j = 0; j < n; ++j) {
    const Point& point = points[j];
    Lanes v{};
    for (size_t e = 0; e < point.size; ++e)
      v += loadLanes(point.columns + 3 * e) * u[point.velocityIdx[e]];
    pointVelocities_[robot.first + j] = v;
    pointImpulses_[robot.first + j] = Lanes{};
    for (size_t i = 0; i <= j; ++i) {
      Lanes* block = blocks + 3 * (i * n + j);
      computeBlock(point.columns, point.velocityIdx, point.size, points[i].responses, block);
      if (i < j) transposeBlock(block, blocks + 3 * (j * n + i));
    }
  }
}

/// Chooses the path of each row. If a row has one side only, that side becomes the first, and
/// `sign` says which one it was.
void ContactSweep::chooseCouplings() {
  for (ContactRow& row : rows()) {
    const SideKind a = row.sideKinds[0], b = row.sideKinds[1];
    row.coupling = Coupling::OTHER;
    if (a == SideKind::BODY && b == SideKind::BODY) {
      row.coupling = Coupling::TWO_BODIES;
      // A wire from a body to itself moves nothing.
      if (row.bodies[0].velocity == row.bodies[1].velocity) row.kind = RowKind::IDLE;
    }
    if (a != SideKind::NONE && b != SideKind::NONE) continue;
    const size_t s = a != SideKind::NONE ? 0 : 1;
    if (row.sideKinds[s] == SideKind::BODY) {
      row.coupling = Coupling::ONE_BODY;
      if (s == 1) row.bodies[0] = row.bodies[1];
    } else if (row.sideKinds[s] == SideKind::POINT) {
      row.coupling = Coupling::ONE_POINT;
      if (s == 1) row.points[0] = row.points[1];
      row.sign = s == 0 ? 1.0 : -1.0;
    }
  }
}

void ContactSweep::finish() {
  for (size_t i = 0; i < oneBody_.members.size(); ++i) oneBody_.batches[i].writeImpulses();
  for (size_t i = 0; i < twoBodies_.members.size(); ++i) twoBodies_.batches[i].writeImpulses();
  for (const ContactRow& row : rows())
    if (row.kind == RowKind::CONTACT) row.problem->imp_ = toVec3(row.impulse);
  for (size_t o = 0; o < bodies_.size(); ++o) {
    SingleBodyObject* body = bodies_[o].body;
    if (body == nullptr || body->usesFullDelassus()) continue;
    const BodyVelocity& velocity = bodyVelocities_[o + kFirstBodySlot];
    const Vec3 angular = bodies_[o].mass.scale.times(toVec3(velocity.angular));
    Mat<6, 1>& u = *bodies_[o].velocity;
    for (int k = 0; k < 3; ++k) {
      u[k] = velocity.linear[k];
      u[3 + k] = angular[k];
    }
  }
  for (const Robot& robot : robots_) finishRobot(robot);
}

/// u += M^-1 J^T p, summed over the points.
void ContactSweep::finishRobot(const Robot& robot) {
  double* u = robot.velocity;
  for (size_t i = robot.first; i < robot.first + robot.count; ++i) {
    const Point& point = points_[i];
    if (point.size == 0) continue;
    const Lanes p = pointImpulses_[i];
    for (size_t k = 0; k < robot.dof; ++k)
      u[k] += point.responses[0][k] * p[0] + point.responses[1][k] * p[1] +
              point.responses[2][k] * p[2];
  }
}

}  // namespace zelvik::contact
