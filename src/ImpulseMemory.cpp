// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ImpulseMemory.hpp"

#include <algorithm>
#include <utility>
#include <zelvik/object/Object.hpp>

namespace zelvik {

using contact::Contact;
using Problem = contact::Single3DContactProblem;

ImpulseMemory::Key ImpulseMemory::contactKey(const std::vector<Object*>& objects,
                                             const Object& object, const Contact& c, bool isWire) {
  size_t bodyB = 0;  // of a partner without a record
  const std::vector<Contact>& others = objects[c.pairObjectIndex_]->getContacts();
  if (c.pairBodyType_ != BodyType::STATIC && c.pairContactIndex_ < others.size())
    bodyB = others[c.pairContactIndex_].localBodyIndex_;
  return {object.getIndexInWorld() << 32 | c.pairObjectIndex_,
          c.localBodyIndex_ << 32 | bodyB << 1 | (isWire ? 1u : 0u)};
}

/// Each contact that has a problem once, from the side that assembles it, with its key and whether
/// this is the key of the contact before. Points of a pair are neighbours: their key is made once,
/// unless the partner has several bodies.
template <typename Visit>
void ImpulseMemory::forEachAssembled(const std::vector<Object*>& objects, const Wires& wires,
                                     Visit visit) {
  Key key{};
  bool isWire = false, wasWire = false;
  for (const Object* object : objects) {
    if (object->getBodyType() != BodyType::DYNAMIC) continue;
    const Contact* last = nullptr;
    for (const Contact& c : object->getContacts()) {
      const bool isOtherSide = c.pairBodyType_ == BodyType::DYNAMIC && !c.objectA_;
      if (c.skip_ || isOtherSide || c.pairObjectIndex_ >= objects.size()) continue;
      if (c.contactProblem_ == nullptr) continue;
      isWire = wires.contain(c.contactProblemIndex_);
      const bool isSame = last != nullptr && c.pairObjectIndex_ == last->pairObjectIndex_ &&
                          c.localBodyIndex_ == last->localBodyIndex_ && isWire == wasWire &&
                          objects[c.pairObjectIndex_]->getObjectType() != ARTICULATED_SYSTEM;
      if (!isSame) key = contactKey(objects, *object, c, isWire);
      visit(c, key, isSame);
      last = &c;
      wasWire = isWire;
    }
  }
}

std::uint32_t& ImpulseMemory::headOf(const Key& key) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15ull;
  const std::uint64_t hash = (key.objects * kFactor ^ key.bodies) * kFactor;
  return heads_[(hash >> 32) & (heads_.size() - 1)];
}

/// The first run with the key from `run` on.
std::uint32_t ImpulseMemory::findInChain(const Key& key, std::uint32_t run) const {
  while (run != kNoRun && !(runs_[run].key == key)) run = runs_[run].next;
  return run;
}

/// A run that begins with the next entry.
void ImpulseMemory::appendRun(const Key& key) {
  const std::uint32_t first = static_cast<std::uint32_t>(entries_.size());
  std::uint32_t& head = headOf(key);
  const std::uint32_t other = findInChain(key, head);
  if (other != kNoRun) runs_[other].isAlone = false;
  runs_.push_back({key, first, first, head, other == kNoRun});
  head = static_cast<std::uint32_t>(runs_.size() - 1);
}

void ImpulseMemory::store(const std::vector<Object*>& objects, const Wires& wires, double dt,
                          size_t objectChangeCount) {
  timeStep_ = dt;
  objectChangeCount_ = objectChangeCount;
  size_t count = 0;
  for (const Object* object : objects) count += object->getContacts().size();
  size_t chains = std::max<size_t>(heads_.size(), 64);
  while (chains < count) chains *= 2;  // most contacts are in two lists
  heads_.assign(chains, kNoRun);
  clear();
  forEachAssembled(objects, wires, [&](const Contact& c, const Key& key, bool isSame) {
    if (!isSame && (runs_.empty() || !(runs_.back().key == key))) appendRun(key);
    Entry& entry = entries_.emplace_back();
    entry.position = c.position_;
    entry.takenBy = recallCount_;
    c.getImpulse(entry.impulse);
    ++runs_.back().end;
  });
}

/// The run that the cursor is at or the next one, if the key is theirs, or the first of its chain.
std::uint32_t ImpulseMemory::findRun(const Key& key, std::uint32_t cursor) {
  for (std::uint32_t run = cursor; run < runs_.size() && run < cursor + 2; ++run)
    if (runs_[run].isAlone && runs_[run].key == key) return run;
  return findInChain(key, headOf(key));
}

/// Out of the runs from `run` on that have its key.
ImpulseMemory::Entry* ImpulseMemory::takeNearest(std::uint32_t run, const Vec3& position) {
  const Run& only = runs_[run];
  if (only.isAlone && only.end == only.first + 1) {
    Entry& entry = entries_[only.first];
    return std::exchange(entry.takenBy, recallCount_) == recallCount_ ? nullptr : &entry;
  }
  Entry* nearest = nullptr;
  double least = 0.0;
  const Key key = only.key;
  while (run != kNoRun) {
    const Run& r = runs_[run];
    for (std::uint32_t i = r.end; i-- > r.first;) {
      Entry& entry = entries_[i];
      if (entry.takenBy == recallCount_) continue;
      const Vec3 way = entry.position - position;
      const double distance2 = dot(way, way);
      if (nearest != nullptr && !(distance2 < least)) continue;
      nearest = &entry;
      least = distance2;
    }
    run = r.isAlone ? kNoRun : findInChain(key, r.next);
  }
  if (nearest != nullptr) nearest->takenBy = recallCount_;
  return nearest;
}

void ImpulseMemory::recall(const std::vector<Object*>& objects, const Wires& wires, double dt,
                           size_t objectChangeCount) {
  if (entries_.empty() || objectChangeCount != objectChangeCount_) return;
  ++recallCount_;
  const double scale = dt / timeStep_;
  std::uint32_t cursor = 0, run = kNoRun;
  forEachAssembled(objects, wires, [&](const Contact& c, const Key& key, bool isSame) {
    if (!isSame) run = findRun(key, cursor);
    if (run == kNoRun) return;
    cursor = run;
    const Entry* entry = takeNearest(run, c.position_);
    if (entry == nullptr) return;
    Problem& p = *c.contactProblem_;
    p.imp_ = (c.objectA_ ? scale : -scale) * (c.frame_ * entry->impulse);
    // Wires and contacts without friction have a tangential part of zero for ever.
    if (p.mu_ < Problem::kFrictionless || wires.contain(c.contactProblemIndex_))
      p.imp_ = {{0.0, 0.0, p.imp_[2]}};
  });
}

}  // namespace zelvik
