// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "solver/ContactSweep.hpp"

#include <zelvik/object/Object.hpp>

#include "contact/ContactLaw.hpp"
#include "contact/JointLimitLaw.hpp"

// The visits of rows (symbols: ContactSweep.hpp and ContactBatch.hpp). What a side adds to the
// velocity of a row (`velocityOf`), and what a change dp of the row's impulse does to it
// (`handOnTo`):
//
//   body    F u + L w                 u += push dp,  w += spin dp
//   point   its own entry v_i         v_j += (J_j M^-1 J_i^T) dp for all points j of the robot
//   query   `getContactPointVel`      `updateGenVelWithImpulse`
//
// The matrices of a body on the B side are negated; points and queries take the sign of the side.

namespace zelvik::contact {

namespace {

inline Lanes velocityOf(const BodySide& side) {
  return side.frame * side.velocity->linear + side.lever * side.velocity->angular;
}

inline void handOnTo(const BodySide& side, const Lanes& change) {
  side.velocity->linear += side.push * change;
  side.velocity->angular += side.spin * change;
}

inline void handOnTo(const PointSide& side, const Lanes& change) {
  *side.applied += change;
  const Lanes x = spreadLane<0>(change), y = spreadLane<1>(change), z = spreadLane<2>(change);
  const Lanes* block = side.blocks;
  for (size_t j = 0; j < side.count; ++j, block += 3)
    side.velocities[j] += block[0] * x + (block[1] * y + block[2] * z);
}

inline bool isZero(const Lanes& a) {
  return a[0] == 0.0 && a[1] == 0.0 && a[2] == 0.0;
}

/// The velocity of a side of a pair without a path of its own, as it enters with the side's sign.
Lanes velocityOfSide(const ContactRow& row, size_t side) {
  const double sign = side == 0 ? 1.0 : -1.0;
  switch (row.sideKinds[side]) {
    case SideKind::BODY:
      return velocityOf(row.bodies[side]);
    case SideKind::POINT:
      return sign * *row.points[side].velocity;
    case SideKind::QUERY: {
      Vec3 v;
      row.objects[side]->getContactPointVel(row.contactIdx[side], v);
      return sign * toLanes(v);
    }
    default:
      return Lanes{};
  }
}

void handOnToSide(const ContactRow& row, size_t side, const Lanes& change) {
  const double sign = side == 0 ? 1.0 : -1.0;
  switch (row.sideKinds[side]) {
    case SideKind::BODY:
      return handOnTo(row.bodies[side], change);
    case SideKind::POINT:
      return handOnTo(row.points[side], sign * change);
    case SideKind::QUERY:
      return row.objects[side]->updateGenVelWithImpulse(row.contactIdx[side],
                                                        toVec3(sign * change));
    default:
      return;
  }
}

/// What the record's law makes of the impulse where the closed form of rank 3 does not serve: other
/// ranks, no friction, and contacts that slide from `start`, which is outside of the cone.
/// @param v velocity with the impulse of the row (m/s)
/// @return false if the contact opens for good
__attribute__((noinline)) bool solveByLaw(ContactRow& row, const Lanes& start, const Lanes& v,
                                          double z, Lanes& impulse) {
  Single3DContactProblem& p = *row.problem;
  const Vec3 withoutOwn = toVec3(v) - p.delassus_ * toVec3(row.impulse);
  if (row.isBound) {
    const Vec3 w{{withoutOwn[0], withoutOwn[1], z}}, sticking = stickingImpulse(p, w);
    impulse = toLanes(sticks(sticking, p.mu_) ? sticking : coneMinimum(p, w, sticking));
    return true;
  }
  p.imp_ = toVec3(start);
  const bool isClosed = row.isOrdinary ? slide(p, withoutOwn, z) : solveOtherRank(p, withoutOwn, z);
  impulse = toLanes(p.imp_);
  return isClosed;
}

/// Whether a contact that lets go of its impulse makes energy: it held back, by friction, what now
/// moves on. @param v velocity with that impulse, minus the target (m/s)
__attribute__((noinline)) bool makesEnergyByOpening(const ContactRow& row, const Lanes& v) {
  const Vec3 p = toVec3(row.impulse);
  return 0.5 * dot(p, row.problem->delassus_ * p) > dot(p, toVec3(v));
}

}  // namespace

inline Lanes ContactSweep::velocity(const ContactRow& row) const {
  switch (row.coupling) {
    case Coupling::ONE_BODY:
      return row.free + velocityOf(row.bodies[0]);
    case Coupling::TWO_BODIES:
      return (row.free + velocityOf(row.bodies[0])) + velocityOf(row.bodies[1]);
    case Coupling::ONE_POINT:
      return row.free + row.sign * *row.points[0].velocity;
    default:
      return row.free + velocityOfSide(row, 0) + velocityOfSide(row, 1);
  }
}

inline void ContactSweep::handOn(const ContactRow& row, const Lanes& change) {
  switch (row.coupling) {
    case Coupling::ONE_BODY:
      return handOnTo(row.bodies[0], change);
    case Coupling::TWO_BODIES:
      handOnTo(row.bodies[0], change);
      return handOnTo(row.bodies[1], change);
    case Coupling::ONE_POINT:
      return handOnTo(row.points[0], row.sign * change);
    default:
      handOnToSide(row, 0, change);
      return handOnToSide(row, 1, change);
  }
}

double ContactSweep::sweep(bool forward, double relaxation) {
  double error = 0.0;
  if (forward)
    for (size_t i = 0; i < runs_.size(); ++i) error += visitRun(runs_[i], forward, relaxation);
  else
    for (size_t i = runs_.size(); i-- > 0;) error += visitRun(runs_[i], forward, relaxation);
  return error;
}

double ContactSweep::visitRun(const Run& run, bool forward, double relaxation) {
  switch (run.kind) {
    case SweepOrder::ONE_BODY:
      return runOf(oneBody_, run).visit(forward, bodyVelocities_.data(), relaxation);
    case SweepOrder::TWO_BODIES:
      return runOf(twoBodies_, run).visit(forward, bodyVelocities_.data(), relaxation);
    default:
      return visitRows(run, forward, relaxation);
  }
}

double ContactSweep::visitRows(const Run& run, bool forward, double relaxation) {
  double error = 0.0;
  const std::ptrdiff_t way = forward ? 1 : -1;
  ContactRow* row = &rows_[run.first + (forward ? 0 : run.count - 1)];
  for (std::uint32_t i = 0; i < run.count; ++i, row += way) error += visitRow(*row, relaxation);
  return error;
}

template <int sides>
inline ContactRun<sides> ContactSweep::runOf(Batches<sides>& all, const Run& run) {
  return {{&all.batches[run.first], run.count}, all.bodies[run.first]};
}

__attribute__((always_inline)) inline double ContactSweep::visitRow(ContactRow& row,
                                                                    double relaxation) {
  if (row.kind == RowKind::CONTACT) return visitContact(row, relaxation);
  return row.kind == RowKind::LIMIT ? visitLimit(row) : 0.0;
}

__attribute__((always_inline)) inline void ContactSweep::changeImpulse(ContactRow& row,
                                                                       const Lanes& change) {
  row.impulse += change;
  if (!isZero(change)) handOn(row, change);
}

/// The closed form where it serves, and the law of the record where it does not. As a call of its
/// own it would cost a robot on four feet one instruction in a hundred.
__attribute__((always_inline)) inline double ContactSweep::visitContact(ContactRow& row,
                                                                        double relaxation) {
  const Lanes v = velocity(row), old = row.impulse;
  const ClosedForm<OneContact> f = closedForm<OneContact>(row, old, v);
  if (f.opens && isZero(old)) return f.w * f.w;
  const bool opens = f.opens && !(row.isBound && makesEnergyByOpening(row, v));
  Lanes change;
  if (opens) {
    change = -relaxation * old;
  } else if (row.isOrdinary && f.sticks) {
    change = relaxation * f.change;
  } else {
    const Lanes withTarget = v + Lanes{0.0, 0.0, row.target, 0.0};
    Lanes impulse;
    const bool isClosed =
        solveByLaw(row, row.isOrdinary ? f.candidate : old, withTarget, f.z, impulse);
    change = impulse - old;
    if (isClosed) change *= relaxation;
  }
  changeImpulse(row, change);
  const double error = opens ? f.w : v[2];
  return error * error;
}

/// The row's impulse becomes zero.
void ContactSweep::takeBack(ContactRow& row) {
  if (row.kind == RowKind::CONTACT) return changeImpulse(row, -row.impulse);
  handOnTo(row.points[0], -*row.points[0].applied);
  row.problem->imp_.setZero();
}

double ContactSweep::visitLimit(ContactRow& row) {
  Single3DContactProblem& p = *row.problem;
  if (row.sideKinds[0] != SideKind::POINT) {
    const double residual = p.objA_->enforceJointLimits(p);
    return residual * residual;
  }
  const Lanes& u = *row.points[0].velocity;
  Vec3 change{};
  if (row.isBound) {
    const Vec3 push = row.isOrdinary ? Vec3{{p.mu_, 0.0, 0.0}} : -p.planeBasis_[0];
    const double speed = dot(push, toVec3(u));
    change = changeOfLimit(p, push, toVec3(u), toVec3(*row.points[0].applied));
    handOnTo(row.points[0], toLanes(change));
    return norm(change) == 0.0 ? 0.0 : speed * speed;
  }
  const double residual = row.isOrdinary ? enforceAxisLimit(p, u[0], change[0])
                                         : enforceConeLimit(p, toVec3(u), change);
  if (residual != 0.0) handOnTo(row.points[0], toLanes(change));
  return residual * residual;
}

void ContactSweep::handOnInitialImpulses() {
  for (const Run& run : runs_) {
    if (run.kind == SweepOrder::ONE_BODY)
      runOf(oneBody_, run).handOnImpulses(bodyVelocities_.data());
    if (run.kind == SweepOrder::TWO_BODIES)
      runOf(twoBodies_, run).handOnImpulses(bodyVelocities_.data());
  }
  for (const ContactRow& row : rows()) {
    if (row.kind == RowKind::CONTACT) {
      if (!isZero(row.impulse)) handOn(row, row.impulse);
    } else {
      row.problem->imp_.setZero();
    }
  }
}

}  // namespace zelvik::contact
