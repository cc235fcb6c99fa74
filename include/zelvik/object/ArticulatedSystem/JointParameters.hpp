// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

/// A spring in a joint.
struct JointSpring {
  size_t bodyIdx = 0;                      ///< body below the joint
  double stiffness = 0.0;                  ///< (N/m or N m/rad)
  double mount[4] = {0.0, 0.0, 0.0, 0.0};  ///< rest coordinate: the first, or a quaternion
};

/// Limits of a joint coordinate: lower, upper (m or rad). Equal values: no limit. A spherical
/// joint reads the lower value as its largest angle; a negative one means none.
using JointLimit = Mat<2, 1>;

/// What the joints of an articulated system do by themselves, and what control asks of them: the
/// values that the setters of `ArticulatedSystem` write. Per velocity unless said otherwise.
struct JointParameters {
  // Of the model.
  std::vector<JointLimit> limits;    ///< first of a joint
  VecDyn damping;                    ///< (N s/m or N m s/rad), first velocity of a joint
  VecDyn friction;                   ///< stored only, first velocity of a joint
  VecDyn rotorInertia;               ///< added to the diagonal of M (kg or kg m^2)
  VecDyn forceUpperLimit;            ///< (N or N m)
  VecDyn forceLowerLimit;            ///< (N or N m)
  std::vector<JointSpring> springs;  ///< in the order in which they were set

  // Of control.
  std::uint32_t controlMode = 0;  ///< `ArticulatedSystem::ControlMode`
  VecDyn pGain;                   ///< (N/m or N m/rad)
  VecDyn dGain;                   ///< (N s/m or N m s/rad)
  // Of control, and state (`ArticulatedSystem::visitState`).
  VecDyn pTarget;      ///< per coordinate
  VecDyn dTarget;      ///< per velocity
  VecDyn feedForward;  ///< joint force (N or N m)
};

}  // namespace zelvik
