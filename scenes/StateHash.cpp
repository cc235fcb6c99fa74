// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "StateHash.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zelvik::scenes {

namespace {

template <typename Values>
void append(const Values& values, size_t count, std::vector<double>& state) {
  for (size_t i = 0; i < count; ++i) state.push_back(values[i]);
}

std::uint64_t addToHash(std::uint64_t hash, double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  for (int byte = 0; byte < 8; ++byte) {
    hash = (hash ^ (bits & 0xff)) * 0x100000001b3u;
    bits >>= 8;
  }
  return hash;
}

}  // namespace

std::vector<double> stateOf(const World& world) {
  std::vector<double> state;
  for (const Object* object : world.getObjList()) {
    if (const auto* system = dynamic_cast<const ArticulatedSystem*>(object)) {
      append(system->getGeneralizedCoordinate(), system->getGeneralizedCoordinateDim(), state);
      append(system->getGeneralizedVelocity(), system->getDOF(), state);
    } else if (const auto* body = dynamic_cast<const SingleBodyObject*>(object)) {
      append(body->getComPosition(), 3, state);
      append(body->getQuaternion(), 4, state);
      append(body->getLinearVelocity(), 3, state);
      append(body->getAngularVelocity(), 3, state);
    }
  }
  return state;
}

std::uint64_t stateHash(const World& world) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const double value : stateOf(world)) hash = addToHash(hash, value);
  for (const contact::Single3DContactProblem& p : world.getContactProblems())
    for (size_t i = 0; i < 3; ++i) hash = addToHash(hash, p.imp_[i]);
  return hash;
}

bool isStateFinite(const World& world) {
  const std::vector<double> state = stateOf(world);
  return std::all_of(state.begin(), state.end(), [](double x) { return std::isfinite(x); });
}

}  // namespace zelvik::scenes
