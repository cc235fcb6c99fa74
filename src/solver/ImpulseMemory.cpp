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

namespace {

/// Number of a body of an object.
std::uint64_t numberOf(const ContactPair::Side& side) {
  return static_cast<std::uint64_t>(side.object) << 32 | side.body;
}

ContactPair::Side sideOfNumber(std::uint64_t number) {
  ContactPair::Side side;
  side.object = static_cast<std::uint32_t>(number >> 32);
  side.body = static_cast<std::uint32_t>(number);
  return side;
}

}  // namespace

ImpulseMemory::Key ImpulseMemory::keyOf(const ContactPair& pair) {
  const std::uint64_t a = numberOf(pair.sides[0]), b = numberOf(pair.sides[1]);
  return {std::min(a, b), std::max(a, b), pair.isWire};
}

/// 1 if `imp_` acts on the lower body of the key, -1 if it acts on the other one.
double ImpulseMemory::signOf(const ContactPair& pair, const Key& key) {
  return numberOf(pair.sides[0]) == key.lower ? 1.0 : -1.0;
}

/// The contacts of a pair; null if their object has dropped them since, or was taken out.
const Contact* ImpulseMemory::contactsOf(const ContactPair& pair,
                                         const std::vector<Object*>& objects) {
  const ContactPair::Side& side = pair.holdingSide();
  if (side.object >= objects.size()) return nullptr;
  const std::vector<Contact>& contacts = objects[side.object]->getContacts();
  if (side.contact + pair.count > contacts.size()) return nullptr;
  const Contact* first = &contacts[side.contact];
  return first->contactProblemIndex_ == pair.problem ? first : nullptr;
}

/// Never inlined: each call then rounds alike, and a saved impulse has the bits of one that was
/// never saved.
[[gnu::noinline]] ImpulseMemory::Point ImpulseMemory::pointOf(const Contact& c) {
  return {c.position_, transposeMul(c.frame_, c.contactProblem_->imp_)};
}

/// Those whose impulses the next `store` takes: without a warm start in the last step there are
/// none.
const std::vector<ContactPair>& ImpulseMemory::solvedPairs(
    const std::vector<ContactPair>& pairsOfStep) const {
  return source_ == Source::STEP ? pairsOfStep : restoredPairs_;
}

/// Whether the contacts of a pair are still there, as if they had just been solved.
bool ImpulseMemory::isKnown(const ContactPair& pair, const std::vector<Object*>& objects) const {
  if (source_ == Source::STEP) return contactsOf(pair, objects) != nullptr;
  const std::uint32_t object = pair.holdingSide().object;
  return object < objects.size() && !objects[object]->hasForgottenContacts();
}

/// Calls `take` with the solved contacts of a pair that is known.
template <typename Take>
void ImpulseMemory::forEachPoint(const ContactPair& pair, const std::vector<Object*>& objects,
                                 Take&& take) const {
  const Contact* contacts = source_ == Source::STEP ? contactsOf(pair, objects) : nullptr;
  for (std::uint32_t i = 0; i < pair.count; ++i)
    if (contacts == nullptr)
      take(restoredPoints_[pair.point + i]);
    else if (contacts[i].contactProblem_ != nullptr)
      take(pointOf(contacts[i]));
}

std::uint32_t& ImpulseMemory::headOf(const Key& key) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15ull;
  const std::uint64_t hash = (key.lower * kFactor ^ key.upper) * kFactor;
  return heads_[(hash >> 32) & (heads_.size() - 1)];
}

/// The first stretch with the key from `stretch` on.
std::uint32_t ImpulseMemory::findInChain(const Key& key, std::uint32_t stretch) const {
  while (stretch != kNoStretch && !(stretches_[stretch].key == key))
    stretch = stretches_[stretch].next;
  return stretch;
}

/// A stretch that begins with the next entry.
void ImpulseMemory::appendStretch(const Key& key) {
  const std::uint32_t first = static_cast<std::uint32_t>(entries_.size());
  std::uint32_t& head = headOf(key);
  const std::uint32_t other = findInChain(key, head);
  if (other != kNoStretch) stretches_[other].isAlone = false;
  stretches_.push_back({key, first, first, head, other == kNoStretch});
  head = static_cast<std::uint32_t>(stretches_.size() - 1);
}

void ImpulseMemory::store(const std::vector<ContactPair>& pairs,
                          const std::vector<Object*>& objects, double dt,
                          size_t objectChangeCount) {
  timeStep_ = dt;
  objectChangeCount_ = objectChangeCount;
  const std::vector<ContactPair>& solved = solvedPairs(pairs);
  size_t chains = std::max<size_t>(heads_.size(), 64);
  while (chains < solved.size()) chains *= 2;
  heads_.assign(chains, kNoStretch);
  clearEntries();
  for (const ContactPair& pair : solved) {
    if (!isKnown(pair, objects)) continue;
    const Key key = keyOf(pair);
    if (stretches_.empty() || !(stretches_.back().key == key)) appendStretch(key);
    const double sign = signOf(pair, key);
    forEachPoint(pair, objects, [&](const Point& p) {
      entries_.push_back({p.position, sign * p.impulse, recallCount_});
    });
    stretches_.back().end = static_cast<std::uint32_t>(entries_.size());
  }
}

void ImpulseMemory::visitState(StateArchive& archive, const std::vector<ContactPair>& pairs,
                               const std::vector<Object*>& objects) {
  if (archive.isWriting()) return writeState(archive, solvedPairs(pairs), objects);
  const size_t count = archive.count(0, 4 * sizeof(double));
  if (archive.isReading()) {
    clear();
    restoredPoints_.clear();
    source_ = Source::STATE;
  }
  for (size_t i = 0; i < count && archive.isGood(); ++i) readPair(archive, objects.size());
}

/// Pairs that are known no more are left out. The number of a wire's holder is inverted.
void ImpulseMemory::writeState(StateArchive& archive, const std::vector<ContactPair>& pairs,
                               const std::vector<Object*>& objects) const {
  size_t known = 0;
  for (const ContactPair& pair : pairs) known += isKnown(pair, objects) ? 1 : 0;
  archive.count(known, 4 * sizeof(double));
  for (const ContactPair& pair : pairs) {
    if (!isKnown(pair, objects)) continue;
    size_t points = 0;
    forEachPoint(pair, objects, [&](const Point&) { ++points; });
    archive.count(points, sizeof(Point));
    archive.word(numberOf(pair.sides[0]));
    archive.word(numberOf(pair.sides[1]));
    const std::uint64_t holder = pair.holdingSide().object;
    archive.word(pair.isWire ? ~holder : holder);
    forEachPoint(pair, objects, [&](Point point) { archive(point); });
  }
}

/// As `writeState` has written it.
void ImpulseMemory::readPair(StateArchive& archive, size_t objectCount) {
  ContactPair pair;
  pair.count = static_cast<std::uint32_t>(archive.count(0, sizeof(Point)));
  for (ContactPair::Side& side : pair.sides) side = sideOfNumber(archive.word(0));
  const std::uint64_t word = archive.word(0);
  pair.isWire = word >> 63 != 0;
  const std::uint64_t holder = pair.isWire ? ~word : word;
  pair.holder = pair.sides[0].object == holder ? 0 : 1;
  archive.require(holder < objectCount && pair.holdingSide().object == holder);
  pair.point = static_cast<std::uint32_t>(restoredPoints_.size());
  Point point{};
  for (std::uint32_t i = 0; i < pair.count; ++i) {
    archive(point);
    if (archive.isReading()) restoredPoints_.push_back(point);
  }
  if (archive.isReading()) restoredPairs_.push_back(pair);
}

/// The stretch that the cursor is at or the next one, if the key is theirs, or the first of its
/// chain.
std::uint32_t ImpulseMemory::findStretch(const Key& key, std::uint32_t cursor) {
  for (std::uint32_t i = cursor; i < stretches_.size() && i < cursor + 2; ++i)
    if (stretches_[i].isAlone && stretches_[i].key == key) return i;
  return findInChain(key, headOf(key));
}

/// The nearest entry that no contact has taken, out of the stretches from `stretch` on that have
/// its key; null if there is none.
ImpulseMemory::Entry* ImpulseMemory::takeNearest(std::uint32_t stretch, const Vec3& position) {
  const Stretch& only = stretches_[stretch];
  if (only.isAlone && only.end == only.first + 1) {
    Entry& entry = entries_[only.first];
    return std::exchange(entry.takenBy, recallCount_) == recallCount_ ? nullptr : &entry;
  }
  Entry* nearest = nullptr;
  double least = 0.0;
  const Key key = only.key;
  while (stretch != kNoStretch) {
    const Stretch& s = stretches_[stretch];
    for (std::uint32_t i = s.end; i-- > s.first;) {
      Entry& entry = entries_[i];
      if (entry.takenBy == recallCount_) continue;
      const Vec3 way = entry.position - position;
      const double distance2 = dot(way, way);
      if (nearest != nullptr && !(distance2 < least)) continue;
      nearest = &entry;
      least = distance2;
    }
    stretch = s.isAlone ? kNoStretch : findInChain(key, s.next);
  }
  if (nearest != nullptr) nearest->takenBy = recallCount_;
  return nearest;
}

void ImpulseMemory::recall(const std::vector<ContactPair>& pairs,
                           const std::vector<Object*>& objects, double dt,
                           size_t objectChangeCount) {
  if (entries_.empty() || objectChangeCount != objectChangeCount_) return;
  ++recallCount_;
  std::uint32_t cursor = 0;
  for (const ContactPair& pair : pairs) {
    const Contact* contacts = contactsOf(pair, objects);
    if (contacts == nullptr) continue;
    const Key key = keyOf(pair);
    const std::uint32_t stretch = findStretch(key, cursor);
    if (stretch == kNoStretch) continue;
    cursor = stretch;
    const double scale = signOf(pair, key) * dt / timeStep_;
    for (std::uint32_t i = 0; i < pair.count; ++i) {
      const Contact& c = contacts[i];
      const Entry* entry =
          c.contactProblem_ == nullptr ? nullptr : takeNearest(stretch, c.position_);
      if (entry == nullptr) continue;
      Problem& p = *c.contactProblem_;
      p.imp_ = scale * (c.frame_ * entry->impulse);
      // Wires and contacts without friction never get a tangential part.
      if (pair.isWire || p.mu_ < Problem::kFrictionless) p.imp_ = {{0.0, 0.0, p.imp_[2]}};
    }
  }
}

}  // namespace zelvik
