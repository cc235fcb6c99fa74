// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelvik/contact/Contact.hpp>

namespace zelvik {

class Object;
class StateArchive;

/// Contacts of one pair of bodies, or a wire, as they stand one behind the other in the list of
/// problems.
struct ContactGroup {
  std::uint64_t sideA, sideB;     ///< see `sideOf`; `imp_` acts on the first
  std::uint32_t problem, count;   ///< first problem, and how many
  std::uint32_t object, contact;  ///< whose list holds the contacts, and where the first one is
  bool isWire;

  /// Number of a body of an object.
  static std::uint64_t sideOf(size_t object, size_t body) {
    return static_cast<std::uint64_t>(object) << 32 | static_cast<std::uint64_t>(body);
  }
};

/// The impulses of the last step, from which the next one may start.
///
/// A contact is known again by its pair of bodies and, among the points of the pair, as the nearest
/// one that no other contact has taken, however far. Pairs without a contact before start at zero,
/// and so do joint limits, whose visits only ever add to an impulse. The answers depend on the
/// order of contacts only.
///
/// The points of a pair make up a run of entries. Most pairs come in the order of the last step, so
/// a cursor goes along with them; what it does not find is looked up in chains of runs.
class ImpulseMemory {
 public:
  /// Forgets the groups of the step before.
  void clearGroups() {
    groups_.clear();
    areGroupsRestored_ = false;
  }
  /// Contacts of the present step, in the order of their problems. @param end behind their problems
  void appendGroup(const ContactGroup& group, size_t end) {
    if (end == group.problem) return;
    groups_.push_back(group);
    groups_.back().count = static_cast<std::uint32_t>(end) - group.problem;
  }
  /// Forgets the contacts of an object that leaves the world; the last one takes its place.
  void removeObject(size_t index, size_t last);

  /// Takes the impulses out of solved contacts. @param dt time step of the solve (s)
  void store(const std::vector<Object*>& objects, double dt, size_t objectChangeCount);
  /// Sets `imp_` of the contacts' problems, all of which are zero. Does nothing if objects came or
  /// went between the halves of this step. @param dt time step of the coming solve (s)
  void recall(const std::vector<Object*>& objects, double dt, size_t objectChangeCount);
  /// See `Object::visitState`, between steps: the impulses that the next `store` takes.
  void visitState(StateArchive& archive, const std::vector<Object*>& objects);
  /// Forgets everything.
  void clear() {
    clearGroups();
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
    Vec3 impulse;   ///< on the body of the group's side A (N s, world axes)
  };
  struct Entry {
    Vec3 position;          ///< (m, world axes)
    Vec3 impulse;           ///< on the lower body (N s, world axes)
    std::uint64_t takenBy;  ///< number of the recall that took it
  };
  /// Neighbours in the list of entries with the same key.
  struct Run {
    Key key;
    std::uint32_t first, end;  ///< in the list of entries
    std::uint32_t next;        ///< of its chain
    bool isAlone;              ///< no other run has the same key
  };
  static constexpr std::uint32_t kNoRun = ~0u;

  void clearEntries() {
    entries_.clear();
    runs_.clear();
  }
  static Key keyOf(const ContactGroup& group);
  static const contact::Contact* contactsOf(const ContactGroup& group,
                                            const std::vector<Object*>& objects);
  static Point pointOf(const contact::Contact& contact);
  bool isKnown(const ContactGroup& group, const std::vector<Object*>& objects) const;
  template <typename Take>
  void forEachPoint(const ContactGroup& group, const std::vector<Object*>& objects,
                    Take&& take) const;
  void visitGroup(StateArchive& archive, const std::vector<Object*>& objects, ContactGroup& group);
  std::uint32_t& headOf(const Key& key);
  std::uint32_t findInChain(const Key& key, std::uint32_t run) const;
  std::uint32_t findRun(const Key& key, std::uint32_t cursor);
  void appendRun(const Key& key);
  Entry* takeNearest(std::uint32_t run, const Vec3& position);

  std::vector<ContactGroup> groups_;  ///< of the present step: state, with the impulses
  /// Whether groups and their points are those of a saved state. `ContactGroup::contact` is then
  /// the place of the first point in `restoredPoints_`.
  bool areGroupsRestored_ = false;
  std::vector<Point> restoredPoints_;
  std::vector<Entry> entries_;
  std::vector<Run> runs_;
  std::vector<std::uint32_t> heads_;  ///< a power of two of chains of runs
  std::uint64_t recallCount_ = 0;
  double timeStep_ = 0.0;
  size_t objectChangeCount_ = 0;
};

}  // namespace zelvik
