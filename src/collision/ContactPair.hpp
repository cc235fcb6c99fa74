// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelvik/object/BodyType.hpp>

namespace zelvik {

/// Two bodies that touch in a step, or that a stiff wire joins: the one record of who touches whom.
///
/// `StepContacts` makes it from the raw points of two geoms. Its sides are all that the order of
/// pairs asks for (`PairOrder`); the places of its contacts and problems are written when these are
/// appended. From then on the sweeps find the objects of a problem in it (`ContactSweep`), and the
/// memory of impulses finds the pair of bodies to which an impulse belongs (`ImpulseMemory`).
///
/// The problems of a pair are consecutive, and so are its contacts in the list of each side:
/// contact k of a side belongs to problem k.
struct ContactPair {
  /// Stands for an object where there is none.
  static constexpr std::uint32_t kNobody = ~0u;

  struct Side {
    std::uint32_t object = kNobody;    ///< place in the world
    std::uint32_t body = 0;            ///< inside the object
    BodyType type = BodyType::STATIC;  ///< of the body
    std::uint32_t contact = 0;         ///< place of the first contact in the object's list

    /// Static bodies keep none: `contact` has no meaning.
    bool keepsContacts() const { return type != BodyType::STATIC; }
    /// The object, if impulses move the body.
    std::uint32_t mover() const { return type == BodyType::DYNAMIC ? object : kNobody; }
  };

  Side sides[2];              ///< A, on which the impulses act, and B
  std::uint32_t point = 0;    ///< the first of its raw points
  std::uint32_t problem = 0;  ///< the first of its problems
  std::uint32_t count = 0;    ///< of raw points, later of problems
  /// The side whose contacts are appended first; one that keeps them.
  std::uint32_t holder = 0;
  bool isWire = false;

  bool canMove() const {
    return sides[0].type == BodyType::DYNAMIC || sides[1].type == BodyType::DYNAMIC;
  }
  const Side& holdingSide() const { return sides[holder]; }
};

/// Takes out the pairs of an object that leaves the world; the last object takes its place.
inline void removeObjectFrom(std::vector<ContactPair>& pairs, size_t index, size_t last) {
  std::erase_if(pairs, [&](const ContactPair& pair) {
    return pair.sides[0].object == index || pair.sides[1].object == index;
  });
  for (ContactPair& pair : pairs)
    for (ContactPair::Side& side : pair.sides)
      if (side.object == last) side.object = static_cast<std::uint32_t>(index);
}

}  // namespace zelvik
