// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ImpulseMemory.hpp"

#include <algorithm>
#include <zelvik/object/Object.hpp>

namespace zelvik {

using contact::Contact;
using Problem = contact::Single3DContactProblem;

ImpulseMemory::Key ImpulseMemory::contactKey(const std::vector<Object*>& objects,
                                             const Object& object, const Contact& c) {
  size_t bodyB = 0;  // of a partner without a record
  const std::vector<Contact>& others = objects[c.pairObjectIndex_]->getContacts();
  if (c.pairBodyType_ != BodyType::STATIC && c.pairContactIndex_ < others.size())
    bodyB = others[c.pairContactIndex_].localBodyIndex_;
  const bool isWire = c.contactProblem_->rank_ == Problem::NORMAL_ONLY;
  return {object.getIndexInWorld(), c.localBodyIndex_, c.pairObjectIndex_, bodyB, isWire ? 1u : 0u};
}

/// Each contact that has a problem once, from the side that assembles it.
template <typename Visit>
void ImpulseMemory::forEachAssembled(const std::vector<Object*>& objects, Visit visit) {
  for (const Object* object : objects) {
    if (object->getBodyType() != BodyType::DYNAMIC) continue;
    for (const Contact& c : object->getContacts()) {
      const bool isOtherSide = c.pairBodyType_ == BodyType::DYNAMIC && !c.objectA_;
      if (!c.skip_ && !isOtherSide && c.pairObjectIndex_ < objects.size()) visit(*object, c);
    }
  }
}

std::uint32_t& ImpulseMemory::headOf(const Key& key) {
  std::uint64_t hash = 0;
  for (const size_t part : {key.object, key.body, key.otherObject, key.otherBody, key.isWire})
    hash = (hash ^ part) * 0x9E3779B97F4A7C15ull;
  return heads_[(hash >> 32) & (heads_.size() - 1)];
}

void ImpulseMemory::append(const Key& key, const Vec3& position, const Vec3& impulse) {
  std::uint32_t& head = headOf(key);
  entries_.push_back({key, position, impulse, head, false});
  head = static_cast<std::uint32_t>(entries_.size() - 1);
}

void ImpulseMemory::store(const std::vector<Object*>& objects, double dt,
                          size_t objectChangeCount) {
  timeStep_ = dt;
  objectChangeCount_ = objectChangeCount;
  size_t count = 0;
  for (const Object* object : objects) count += object->getContacts().size();
  size_t chains = std::max<size_t>(heads_.size(), 64);
  while (chains < 2 * count) chains *= 2;
  heads_.assign(chains, kNoEntry);
  entries_.clear();
  forEachAssembled(objects, [&](const Object& object, const Contact& c) {
    if (c.contactProblem_ == nullptr) return;
    Vec3 impulse;
    c.getImpulse(impulse);
    append(contactKey(objects, object, c), c.position_, impulse);
  });
}

ImpulseMemory::Entry* ImpulseMemory::takeNearest(const Key& key, const Vec3& position) {
  Entry* nearest = nullptr;
  double least = 0.0;
  for (std::uint32_t i = headOf(key); i != kNoEntry; i = entries_[i].next) {
    Entry& entry = entries_[i];
    if (entry.isTaken || !(entry.key == key)) continue;
    const Vec3 way = entry.position - position;
    const double distance2 = dot(way, way);
    if (nearest != nullptr && !(distance2 < least)) continue;
    nearest = &entry;
    least = distance2;
  }
  if (nearest != nullptr) nearest->isTaken = true;
  return nearest;
}

void ImpulseMemory::recall(const std::vector<Object*>& objects, double dt,
                           size_t objectChangeCount) {
  if (entries_.empty() || objectChangeCount != objectChangeCount_) return;
  for (Entry& entry : entries_) entry.isTaken = false;
  const double scale = dt / timeStep_;
  forEachAssembled(objects, [&](const Object& object, const Contact& c) {
    if (c.contactProblem_ == nullptr) return;
    const Entry* entry = takeNearest(contactKey(objects, object, c), c.position_);
    if (entry == nullptr) return;
    Problem& p = *c.contactProblem_;
    p.imp_ = (c.objectA_ ? scale : -scale) * (c.frame_ * entry->impulse);
    // Wires and contacts without friction have a tangential part of zero for ever.
    if (p.rank_ == Problem::NORMAL_ONLY || p.mu_ < Problem::kFrictionless)
      p.imp_ = {{0.0, 0.0, p.imp_[2]}};
  });
}

}  // namespace zelvik
