// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <span>
#include <vector>
#include <zelvik/World.hpp>

#include "collision/ContactPair.hpp"
#include "collision/PairOrder.hpp"

namespace zelvik {

struct GeomRecord;

/// The contacts of a step: from raw points and wires to records, a `Contact` per moving side, and
/// from the records to the problems of the solver.
class StepContacts {
 public:
  /// @param objects of the world, in list order; outlives this
  explicit StepContacts(const std::vector<Object*>& objects) : objects_(objects) {}

  /// Forgets the step before; the memory stays.
  void clear();
  /// Makes records of raw points, those of a pair of geoms consecutive.
  /// @param arrange whether pairs may change places, see `PairOrder`
  void build(std::span<const dContactGeom> points, bool arrange, MaterialManager& materials);
  /// The same of active wires, which come after the contacts.
  void appendWires(const std::vector<std::unique_ptr<StiffLengthConstraint>>& wires);
  /// Makes room for contacts. @param count of all that may come
  void reserve(size_t count) { problems_.reserve(count); }
  /// Who touches whom, in the order of the problems.
  const std::vector<ContactPair>& pairs() const { return pairs_; }
  /// Where objects append their joint limits, after the wires.
  contact::ContactProblemList& list() { return problems_; }

  /// Fills the problems of one object's contacts: own block, free velocity, who is queried.
  void assemble(Object& object);
  /// Fills the coupling of the same problems, which only a sweep over the records reads.
  void couple(Object& object);
  /// All are assembled: takes out wires that can move nothing. The coupling waits for `problems`.
  void finishAssembly();
  /// The problems with their coupling, which is formed if it has not been since `finishAssembly`.
  const contact::ContactProblemList& problems();

  /// Nothing leads to the object any more, nor to the place that the last object leaves for it.
  void release(const Object& object);

 private:
  /// What the two contacts and the problem of a point have in common.
  struct Point;

  ContactPair::Side sideOf(const GeomRecord& geom) const;
  void listTouchingPairs(std::span<const dContactGeom> points);
  void buildPair(ContactPair& pair, std::span<const dContactGeom> points,
                 MaterialManager& materials);
  void startContacts(ContactPair& pair, size_t first) const;
  void append(const ContactPair& pair, const size_t (&shapes)[2], const Point& point,
              const MaterialPairProperties& material);
  bool fillsProblem(const contact::Contact& c) const;
  void assembleSingleSided(Object& object, size_t i, contact::Single3DContactProblem& p);
  void assembleTwoSided(Object& object, size_t i, contact::Single3DContactProblem& p);
  void coupleContact(Object& object, size_t i, contact::Single3DContactProblem& p);
  void coupleSideA(Object& object, size_t i, Object* fullPartner,
                   contact::Single3DContactProblem& p);
  void coupleSideB(Object& q, size_t k, const Object& object, contact::Single3DContactProblem& p);

  const std::vector<Object*>& objects_;
  contact::ContactProblemList problems_;
  std::vector<ContactPair> pairs_;        ///< in the order of the problems
  PairOrder order_;                       ///< of `pairs_`
  size_t wiresBegin_ = 0, wiresEnd_ = 0;  ///< in `problems_`
  bool isCoupled_ = true;                 ///< whether the coupling of all problems is formed
};

}  // namespace zelvik
