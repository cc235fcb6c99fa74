// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelvik/contact/Contact.hpp>

#include "collision/ContactPair.hpp"

namespace zelvik {

class Object;
class StateArchive;

/// The impulses of the last step, from which the next one may start.
///
/// A contact is known again by its pair of bodies and, among the points of the pair, as the nearest
/// one that no other contact has taken, however far. Pairs without a contact before start at zero,
/// and so do joint limits, whose visits only ever add to an impulse. The answers depend on the
/// order of contacts only.
///
/// The points of a pair make up a stretch of entries. Most pairs come in the order of the last
/// step, so a cursor goes along with them; what it does not find is looked up in chains of
/// stretches.
class ImpulseMemory {
 public:
  /// The pairs that are handed over from now on are those of a step.
  void startStep() {
    source_ = Source::STEP;
    restoredPairs_.clear();
  }
  /// Forgets the contacts of an object that leaves the world; the last one takes its place.
  void removeObject(size_t index, size_t last) { removeObjectFrom(restoredPairs_, index, last); }

  /// Takes the impulses out of solved contacts. @param pairs of the step that is over
  /// @param dt time step of the solve (s)
  void store(const std::vector<ContactPair>& pairs, const std::vector<Object*>& objects, double dt,
             size_t objectChangeCount);
  /// Sets `imp_` of the contacts' problems, all of which are zero. Does nothing if objects came or
  /// went between the halves of this step. @param dt time step of the coming solve (s)
  void recall(const std::vector<ContactPair>& pairs, const std::vector<Object*>& objects, double dt,
              size_t objectChangeCount);
  /// See `Object::visitState`, between steps: the impulses that the next `store` takes.
  void visitState(StateArchive& archive, const std::vector<ContactPair>& pairs,
                  const std::vector<Object*>& objects);
  /// Forgets everything, also the pairs of the present step.
  void clear() {
    source_ = Source::NOTHING;
    restoredPairs_.clear();
    clearEntries();
  }

 private:
  /// Two bodies; contacts and wires between them apart.
  struct Key {
    std::uint64_t lower, upper;
    bool isWire;
    bool operator==(const Key&) const = default;
  };
  /// A solved contact.
  struct Point {
    Vec3 position;  ///< (m, world axes)
    Vec3 impulse;   ///< on the body of side A (N s, world axes)
  };
  struct Entry {
    Vec3 position;          ///< (m, world axes)
    Vec3 impulse;           ///< on the lower body (N s, world axes)
    std::uint64_t takenBy;  ///< number of the recall that took it
  };
  /// Neighbours in the list of entries with the same key.
  struct Stretch {
    Key key;
    std::uint32_t first, end;  ///< in the list of entries
    std::uint32_t next;        ///< of its chain
    bool isAlone;              ///< no other stretch has the same key
  };
  static constexpr std::uint32_t kNoStretch = ~0u;
  /// Where the impulses of the next `store` stand.
  enum class Source : std::uint8_t { NOTHING, STEP, STATE };

  void clearEntries() {
    entries_.clear();
    stretches_.clear();
  }
  static Key keyOf(const ContactPair& pair);
  static double signOf(const ContactPair& pair, const Key& key);
  static const contact::Contact* contactsOf(const ContactPair& pair,
                                            const std::vector<Object*>& objects);
  static Point pointOf(const contact::Contact& contact);
  const std::vector<ContactPair>& solvedPairs(const std::vector<ContactPair>& pairsOfStep) const;
  bool isKnown(const ContactPair& pair, const std::vector<Object*>& objects) const;
  template <typename Take>
  void forEachPoint(const ContactPair& pair, const std::vector<Object*>& objects,
                    Take&& take) const;
  void writeState(StateArchive& archive, const std::vector<ContactPair>& pairs,
                  const std::vector<Object*>& objects) const;
  void readPair(StateArchive& archive, size_t objectCount);
  std::uint32_t& headOf(const Key& key);
  std::uint32_t findInChain(const Key& key, std::uint32_t stretch) const;
  std::uint32_t findStretch(const Key& key, std::uint32_t cursor);
  void appendStretch(const Key& key);
  Entry* takeNearest(std::uint32_t stretch, const Vec3& position);

  Source source_ = Source::NOTHING;  ///< state, with the impulses
  /// Of a saved state. `ContactPair::point` is the first of a pair in `restoredPoints_`.
  std::vector<ContactPair> restoredPairs_;
  std::vector<Point> restoredPoints_;
  std::vector<Entry> entries_;
  std::vector<Stretch> stretches_;
  std::vector<std::uint32_t> heads_;  ///< a power of two of chains of stretches
  std::uint64_t recallCount_ = 0;
  double timeStep_ = 0.0;
  size_t objectChangeCount_ = 0;
};

}  // namespace zelvik
