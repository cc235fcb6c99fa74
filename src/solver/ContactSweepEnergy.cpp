// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>

#include "contact/ContactLaw.hpp"
#include "solver/ContactSweep.hpp"

// Contacts of a robot with itself that hold each other: no velocities meet all of their targets,
// the sweeps end before they agree, and each visit may add what its own target demands.
//
// With everything at its target no contact gains, p . v <= p_n t, since friction opposes the slip,
// and to take the overlaps out costs at most the sum of 1/2 t^2 M / 0.1 (`kLeastSystemMobility`).
// Where contacts gain more than that, the robot's rows start again from zero, without correction.
// Each then moves to the minimum over its cone of
//
//   g = sum of 1/2 p . (v0 + v) - p_n t,   v0 the velocity without any impulse,
//
// with the others frozen. So no visit of a contact of rank 2 or 3 raises g, which is zero at the
// start, and sweeps may end early. (Other ranks keep their law, and blocks that only count as of
// rank 2 are solved in their plane: for these it is no promise.) That holds for contacts that open,
// too: friction may hold back more than the normal pushes, and to let go of both would give it
// free. Such a contact moves to the minimum; where g does not rise, it opens as ever.

namespace zelvik::contact {

namespace {

/// The part of a target that takes overlap out (m/s).
double correctionOf(const Single3DContactProblem& p, double erp) {
  return p.systemMass_ > 0.0 ? std::clamp(-p.depth_ * erp, 0.0, std::max(p.targetVelZ_, 0.0)) : 0.0;
}

}  // namespace

/// Energy that the correction of overlaps may cost at the points from `firstPoint` to the last,
/// those of one robot (J).
double ContactSweep::budgetOf(size_t firstPoint) const {
  double budget = 0.0;
  for (size_t i = firstPoint; i < points_.size(); ++i) {
    const ContactRow& row = rows_[points_[i].row];
    if (row.kind != RowKind::CONTACT || !(row.problem->systemMass_ > 0.0)) continue;
    const double t = std::max(-row.problem->depth_ * erp_, 0.0);
    budget += 0.5 * t * t * row.problem->systemMass_ / Single3DContactProblem::kLeastSystemMobility;
  }
  return budget;
}

bool ContactSweep::restartWhereEnergyIsMade() {
  bool isDue = false;
  for (const Robot& robot : robots_) {
    if (!(robot.budget > 0.0) || !makesEnergy(robot)) continue;
    restart(robot);
    isDue = true;
  }
  return isDue;
}

/// Whether the joint limits of a robot and its contacts with itself and with fixed or kinematic
/// things made more energy than its budget. Contacts with other moving bodies are left out: the
/// energy may be theirs. (The law of limits takes no impulse back: what they have pushed stays with
/// a joint that others have pushed away since.)
bool ContactSweep::makesEnergy(const Robot& robot) const {
  double atEnd = 0.0, mean = 0.0;  // p . v and p . (v0 + v) / 2
  const double* u = robot.velocity;
  for (size_t i = robot.first; i < robot.first + robot.count; ++i) {
    const Point& point = points_[i];
    const ContactRow& row = rows_[point.row];
    if (row.kind == RowKind::IDLE || row.coupling != Coupling::ONE_POINT) continue;
    const bool isLimit = row.kind == RowKind::LIMIT;
    const Lanes p = isLimit ? pointImpulses_[i] : row.impulse;
    const Lanes v =
        isLimit ? pointVelocities_[i]
                : row.free + row.sign * pointVelocities_[i] + Lanes{0.0, 0.0, row.target, 0.0};
    Lanes changed = pointVelocities_[i];
    for (size_t e = 0; e < point.size; ++e)
      changed -= loadLanes(point.columns + 3 * e) * u[point.velocityIdx[e]];
    atEnd += OneContact::dot(p, v);
    mean += OneContact::dot(p, v - (0.5 * row.sign) * changed);
  }
  return atEnd > robot.budget && mean > robot.budget;
}

void ContactSweep::restart(const Robot& robot) {
  for (size_t i = robot.first; i < robot.first + robot.count; ++i) {
    ContactRow& row = rows_[points_[i].row];
    Single3DContactProblem& p = *row.problem;
    if (row.kind == RowKind::IDLE) continue;
    takeBack(row);
    if (row.kind == RowKind::LIMIT) {
      row.isBound = true;
      continue;
    }
    const double correction = correctionOf(p, erp_);
    p.targetVelZ_ -= correction;
    row.target -= correction;
    row.free[2] += correction;
    row.opening = std::max(row.opening, row.target);
    row.isBound =
        p.mu_ >= Single3DContactProblem::kFrictionless &&
        (p.rank_ == Single3DContactProblem::FULL || p.rank_ == Single3DContactProblem::PLANE);
  }
}

}  // namespace zelvik::contact
