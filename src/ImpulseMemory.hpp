// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelvik/contact/Contact.hpp>

namespace zelvik {

class Object;

/// The impulses of the last step, from which the next one may start.
///
/// A contact is known again by its pair of bodies and, among the points of the pair, as the nearest
/// one that no other contact has taken, however far. Pairs without a contact before start at zero,
/// and so do joint limits, whose visits only ever add to an impulse. The answers depend on the
/// order of contacts only.
///
/// The points of a pair are neighbours in the list of contacts and make up a run of entries. Most
/// contacts come in the order of the last step, so a cursor goes along with them; what it does not
/// find is looked up in chains of runs.
class ImpulseMemory {
 public:
  /// Problems of wires, among those of the step; they may lie on contacts of the same bodies.
  struct Wires {
    size_t first, end;
    bool contain(size_t problem) const { return problem >= first && problem < end; }
  };

  /// Takes the impulses out of solved contacts. @param dt time step of the solve (s)
  void store(const std::vector<Object*>& objects, const Wires& wires, double dt,
             size_t objectChangeCount);
  /// Sets `imp_` of the contacts' problems, all of which are zero. Does nothing if objects came or
  /// went since the `store` of this step. @param dt time step of the coming solve (s)
  void recall(const std::vector<Object*>& objects, const Wires& wires, double dt,
              size_t objectChangeCount);
  void clear() {
    entries_.clear();
    runs_.clear();
  }

 private:
  /// Two bodies, each by object and place; contacts and wires between them apart.
  struct Key {
    std::uint64_t objects, bodies;
    bool operator==(const Key&) const = default;
  };
  struct Entry {
    Vec3 position;          ///< (m, world axes)
    Vec3 impulse;           ///< on the first body (N s, world axes)
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

  static Key contactKey(const std::vector<Object*>& objects, const Object& object,
                        const contact::Contact& c, bool isWire);
  template <typename Visit>
  static void forEachAssembled(const std::vector<Object*>& objects, const Wires& wires,
                               Visit visit);
  std::uint32_t& headOf(const Key& key);
  std::uint32_t findInChain(const Key& key, std::uint32_t run) const;
  std::uint32_t findRun(const Key& key, std::uint32_t cursor);
  void appendRun(const Key& key);
  Entry* takeNearest(std::uint32_t run, const Vec3& position);

  std::vector<Entry> entries_;
  std::vector<Run> runs_;
  std::vector<std::uint32_t> heads_;  ///< a power of two of chains of runs
  std::uint64_t recallCount_ = 0;
  double timeStep_ = 0.0;
  size_t objectChangeCount_ = 0;
};

}  // namespace zelvik
