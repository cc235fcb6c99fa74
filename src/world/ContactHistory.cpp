// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/ContactHistory.hpp"

#include <algorithm>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "world/ContactRecords.hpp"

namespace zelvik {

namespace {

size_t bodyCountOf(const Object& object) {
  return object.getObjectType() == ARTICULATED_SYSTEM
             ? static_cast<const ArticulatedSystem&>(object).getBodyCount()
             : 1;
}

/// The times of a body that touches or not for another `dt` (s).
void countTime(BodyContactHistory& body, bool touches, double dt) {
  if (touches && !body.touches) body.lastTimeInAir = body.timeInAir;
  if (!touches && body.touches) body.lastTimeInContact = body.timeInContact;
  body.timeInContact = touches ? body.timeInContact + dt : 0.0;
  body.timeInAir = touches ? 0.0 : body.timeInAir + dt;
  body.touches = touches;
}

}  // namespace

void ContactHistory::beginAnew(const std::vector<Object*>& objects) {
  begins_.assign(1, 0);
  for (const Object* object : objects) begins_.push_back(begins_.back() + bodyCountOf(*object));
  bodies_.assign(begins_.back(), {});
  sums_.resize(begins_.back());
}

void ContactHistory::append(const std::vector<Object*>& objects, size_t changes, double dt) {
  if (changes != changes_) beginAnew(objects);
  changes_ = changes;
  std::fill(sums_.begin(), sums_.end(), Vec3{});
  for (size_t i = 0; i < objects.size(); ++i)
    for (const contact::Contact& c : objects[i]->getContacts()) {
      if (!isSolvedPoint(c)) continue;
      Vec3 impulse;
      c.getImpulse(impulse);
      sums_[begins_[i] + c.localBodyIndex_] += impulse;
    }
  for (size_t b = 0; b < bodies_.size(); ++b) {
    const double impulse = norm(sums_[b]);
    bodies_[b].impulse += sums_[b];
    bodies_[b].largestForce = std::max(bodies_[b].largestForce, impulse / dt);
    countTime(bodies_[b], impulse > 0.0, dt);
  }
}

void ContactHistory::startInterval() {
  for (BodyContactHistory& body : bodies_) {
    body.impulse.setZero();
    body.largestForce = 0.0;
  }
}

const BodyContactHistory* ContactHistory::find(size_t objectIndex, size_t body) const {
  if (objectIndex + 1 >= begins_.size()) return nullptr;
  const size_t place = begins_[objectIndex] + body;
  return place < begins_[objectIndex + 1] ? &bodies_[place] : nullptr;
}

}  // namespace zelvik
