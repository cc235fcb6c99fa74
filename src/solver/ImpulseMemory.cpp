// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "solver/ImpulseMemory.hpp"

#include <algorithm>
#include <utility>
#include <zelvik/object/Object.hpp>

#include "core/StateArchive.hpp"

namespace zelvik {

using contact::Contact;
using Problem = contact::Single3DContactProblem;

ImpulseMemory::Key ImpulseMemory::keyOf(const ContactGroup& group) {
  return {std::min(group.sideA, group.sideB), std::max(group.sideA, group.sideB), group.isWire};
}

/// The contacts of a group; null if their object has dropped them since, or was taken out.
const Contact* ImpulseMemory::contactsOf(const ContactGroup& group,
                                         const std::vector<Object*>& objects) {
  if (group.object >= objects.size()) return nullptr;
  const std::vector<Contact>& contacts = objects[group.object]->getContacts();
  if (group.contact + group.count > contacts.size()) return nullptr;
  const Contact* first = &contacts[group.contact];
  return first->contactProblemIndex_ == group.problem ? first : nullptr;
}

/// In a function of its own, so that a saved impulse has the bits of one that was never saved.
[[gnu::noinline]] ImpulseMemory::Point ImpulseMemory::pointOf(const Contact& c) {
  return {c.position_, transposeMul(c.frame_, c.contactProblem_->imp_)};
}

/// Whether the contacts of a group are still there, as if they had just been solved.
bool ImpulseMemory::isKnown(const ContactGroup& group, const std::vector<Object*>& objects) const {
  if (areGroupsRestored_)
    return group.object < objects.size() && !objects[group.object]->hasForgottenContacts();
  return contactsOf(group, objects) != nullptr;
}

/// Of a group that is known.
template <typename Take>
void ImpulseMemory::forEachPoint(const ContactGroup& group, const std::vector<Object*>& objects,
                                 Take&& take) const {
  const Contact* contacts = areGroupsRestored_ ? nullptr : contactsOf(group, objects);
  for (std::uint32_t i = 0; i < group.count; ++i)
    if (areGroupsRestored_)
      take(restoredPoints_[group.contact + i]);
    else if (contacts[i].contactProblem_ != nullptr)
      take(pointOf(contacts[i]));
}

std::uint32_t& ImpulseMemory::headOf(const Key& key) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15ull;
  const std::uint64_t hash = (key.lower * kFactor ^ key.upper) * kFactor;
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

void ImpulseMemory::removeObject(size_t index, size_t last) {
  const auto isOf = [](std::uint64_t side, size_t object) { return side >> 32 == object; };
  std::erase_if(
      groups_, [&](const ContactGroup& g) { return isOf(g.sideA, index) || isOf(g.sideB, index); });
  for (ContactGroup& g : groups_) {
    for (std::uint64_t* side : {&g.sideA, &g.sideB})
      if (isOf(*side, last)) *side = ContactGroup::sideOf(index, *side & 0xFFFFFFFFu);
    if (g.object == last) g.object = static_cast<std::uint32_t>(index);
  }
}

void ImpulseMemory::store(const std::vector<Object*>& objects, double dt,
                          size_t objectChangeCount) {
  timeStep_ = dt;
  objectChangeCount_ = objectChangeCount;
  size_t chains = std::max<size_t>(heads_.size(), 64);
  while (chains < groups_.size()) chains *= 2;
  heads_.assign(chains, kNoRun);
  clearEntries();
  for (const ContactGroup& group : groups_) {
    if (!isKnown(group, objects)) continue;
    const Key key = keyOf(group);
    if (runs_.empty() || !(runs_.back().key == key)) appendRun(key);
    const double sign = group.sideA == key.lower ? 1.0 : -1.0;
    forEachPoint(group, objects, [&](const Point& p) {
      entries_.push_back({p.position, sign * p.impulse, recallCount_});
    });
    runs_.back().end = static_cast<std::uint32_t>(entries_.size());
  }
}

/// When written, groups that are known no more are left out.
void ImpulseMemory::visitState(StateArchive& archive, const std::vector<Object*>& objects) {
  size_t count = 0;
  for (const ContactGroup& group : groups_) count += isKnown(group, objects) ? 1 : 0;
  count = archive.count(count, 4 * sizeof(double));
  if (archive.isWriting()) {
    for (ContactGroup& group : groups_)
      if (isKnown(group, objects)) visitGroup(archive, objects, group);
    return;
  }
  if (archive.isReading()) {
    clear();
    restoredPoints_.clear();
    areGroupsRestored_ = true;
  }
  for (size_t i = 0; i < count && archive.isGood(); ++i) {
    ContactGroup group{};
    visitGroup(archive, objects, group);
    if (archive.isReading()) groups_.push_back(group);
  }
}

void ImpulseMemory::visitGroup(StateArchive& archive, const std::vector<Object*>& objects,
                               ContactGroup& group) {
  size_t count = 0;
  if (archive.isWriting()) forEachPoint(group, objects, [&](const Point&) { ++count; });
  count = archive.count(count, sizeof(Point));
  group.sideA = archive.word(group.sideA);
  group.sideB = archive.word(group.sideB);
  const std::uint64_t holder =
      archive.word(group.isWire ? ~std::uint64_t{group.object} : std::uint64_t{group.object});
  if (archive.isWriting()) {
    forEachPoint(group, objects, [&](Point point) { archive(point); });
    return;
  }
  group.isWire = holder >> 63 != 0;
  group.object = static_cast<std::uint32_t>(group.isWire ? ~holder : holder);
  group.contact = static_cast<std::uint32_t>(restoredPoints_.size());
  group.count = static_cast<std::uint32_t>(count);
  archive.require(group.object < objects.size());
  Point point{};
  for (size_t i = 0; i < count; ++i) {
    archive(point);
    if (archive.isReading()) restoredPoints_.push_back(point);
  }
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

void ImpulseMemory::recall(const std::vector<Object*>& objects, double dt,
                           size_t objectChangeCount) {
  if (entries_.empty() || objectChangeCount != objectChangeCount_) return;
  ++recallCount_;
  std::uint32_t cursor = 0;
  for (const ContactGroup& group : groups_) {
    const Contact* contacts = contactsOf(group, objects);
    if (contacts == nullptr) continue;
    const Key key = keyOf(group);
    const std::uint32_t run = findRun(key, cursor);
    if (run == kNoRun) continue;
    cursor = run;
    const double scale = (group.sideA == key.lower ? dt : -dt) / timeStep_;
    for (std::uint32_t i = 0; i < group.count; ++i) {
      const Contact& c = contacts[i];
      const Entry* entry = c.contactProblem_ == nullptr ? nullptr : takeNearest(run, c.position_);
      if (entry == nullptr) continue;
      Problem& p = *c.contactProblem_;
      p.imp_ = scale * (c.frame_ * entry->impulse);
      // Wires and contacts without friction have a tangential part of zero for ever.
      if (group.isWire || p.mu_ < Problem::kFrictionless) p.imp_ = {{0.0, 0.0, p.imp_[2]}};
    }
  }
}

}  // namespace zelvik
