// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

// Poses and velocities of a world file.

namespace zelvik::worldfile {

namespace {

/// Copies what there is room for; another number of values than there should be is a warning.
/// @param present the vector of the system, whose other values stay
VecDyn fit(const Element& state, const char* attribute, const VecDyn& values,
           const VecDyn& present) {
  if (values.n != present.n)
    MSG_WARN(state.getFullTree() << attribute << " has " << values.n
                                 << " values, but the system has " << present.n);
  VecDyn fitted(present);
  std::copy_n(values.v, std::min(values.n, present.n), fitted.v);
  return fitted;
}

}  // namespace

bool readSystemState(const Element& element, ArticulatedSystem& system) {
  const Element state = element.getFirstChildMust("state");
  VecDyn values;
  if (!state.readMust("qpos", values)) return false;
  system.setGeneralizedCoordinate(fit(state, "qpos", values, system.getGeneralizedCoordinate()));
  if (state.getAttributeIfExists("qvel", values))
    system.setGeneralizedVelocity(fit(state, "qvel", values, system.getGeneralizedVelocity()));
  return true;
}

bool readBodyState(const Element& element, SingleBodyObject& body) {
  const Element state = element.getFirstChildMust("state");
  Mat<3, 1> position, linear = body.getLinearVelocity(), angular = body.getAngularVelocity();
  Mat<4, 1> quaternion = body.getQuaternion();
  if (!(state.readMust("pos", position) && state.readIfPresent("quat", quaternion) &&
        state.readIfPresent("linVel", linear) && state.readIfPresent("angVel", angular)))
    return false;
  // In this order the position places the centre of mass, too.
  body.setOrientation(quaternion);
  body.setPosition(position);
  body.setVelocity(linear, angular);
  return true;
}

}  // namespace zelvik::worldfile
