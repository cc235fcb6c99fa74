// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelvik::contact {

/// An order of visits in which up to four problems without a common object share a stop.
///
/// A visit reads and changes its own objects only: problems without a common object may be visited
/// in any order, or at once, and nothing changes. Each problem that is inserted goes to the first
/// stop with room after all stops of its objects, so problems with a common object keep their
/// order. The same holds for the stops from back to front.
class SweepOrder {
 public:
  /// What a stop holds: one problem of any kind, or up to four that touch one or two rigid bodies.
  enum Kind : std::uint8_t { SINGLE, ONE_BODY, TWO_BODIES };
  static constexpr std::uint32_t kRoom = 4;

  struct Stop {
    Kind kind;
    std::uint32_t count;  ///< of problems at the stop
    std::uint32_t index;  ///< among the stops of its kind
  };

  /// Forgets all stops. @param objectCount objects are numbered from 0
  void clear(size_t objectCount);
  /// Takes the next problem. @param a, b its objects, `ContactPair::kNobody` for none
  /// @return its stop; its place there is the last
  const Stop& insert(Kind kind, std::uint32_t a, std::uint32_t b);

  const std::vector<Stop>& stops() const { return stops_; }
  /// Stops of a kind.
  size_t count(Kind kind) const { return counts_[kind]; }

 private:
  std::uint32_t append(Kind kind);
  std::uint32_t findOpen(Kind kind, std::uint32_t first);

  std::vector<Stop> stops_;
  std::uint32_t counts_[3]{};
  std::vector<std::uint32_t> next_;  ///< per object: the stop after the last one that touches it
  /// Per kind and stop: the stop itself if it is of that kind and has room, else a later stop from
  /// which to go on looking. One more entry stands for the stop that would be appended. (Disjoint
  /// sets with path halving.)
  std::vector<std::uint32_t> open_[3];
};

}  // namespace zelvik::contact
