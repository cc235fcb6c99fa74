// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

// No energy from a sliding contact.
//
// An impulse p changes the kinetic energy by p . v + 1/2 p . D p, with v the velocity without it.
// The target of the normal velocity may demand the work p_n target, and no visit may add more:
//
//   g(p) = p . w + 1/2 p . D p <= 0,   w = v - target n.
//
// Opening and sticking contacts keep it. The point of the sliding search is stationary in energy
// among the impulses that reach the target, and where the normal can hardly move by itself
// (D_nn / mu < |D_nt|) it may lie far out on the cone and break it. There the impulse is the
// minimum of g over the whole cone, a convex problem: at it p . (D p + w) = 0, so that
// g(p) = -1/2 p . D p. The normal velocity then stays above its target.

namespace zelvik::contact {

/// Rounding of g, relative to |p|^2 tr D and to the terms of p . w, with a margin of four: what is
/// nearer to the bound counts as beyond it.
inline constexpr double kEnergyRounding = 4e-15;

/// Whether g(p) > 0. @param w velocity without the impulse, minus the target (m/s)
inline bool createsEnergy(const Mat33& D, const Vec3& w, const Vec3& p) {
  const Vec3 work{{p[0] * w[0], p[1] * w[1], p[2] * w[2]}};
  const double g = work[0] + work[1] + work[2] + 0.5 * dot(p, D * p);
  const double scale = std::fabs(work[0]) + std::fabs(work[1]) + std::fabs(work[2]) +
                       squaredNorm(p) * (D[0] + D[4] + D[8]);
  return g > -kEnergyRounding * scale;
}

/// The impulse of the friction cone that makes g least; zero if that is the apex.
/// @param w velocity without the impulse, minus the target (m/s)
/// @param outside an impulse outside of the cone at which g is least without it, the sticking
/// candidate
Vec3 coneMinimum(const Single3DContactProblem& problem, const Vec3& w, const Vec3& outside);

}  // namespace zelvik::contact
