// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "core/Lanes.hpp"

// From the two views of a contact, one per object, to the one record of the solver. Every sign of
// the coupling is decided here.
//
// An object's blocks are for impulses acting on it. The side with `objectA_` false receives the
// impulse of its problem with the opposite sign, and its velocity counts negatively: a block
// between an A side and a B side is negated.

namespace zelvik {

namespace {

using contact::Contact;
using Problem = contact::Single3DContactProblem;

/// The block of contact i on itself.
const Mat33& ownBlock(Object& object, size_t i) {
  const DelassusRow& blocks = object.getDelassusAndTauStar()[i].blocks;
  return object.usesFullDelassus() ? blocks[i] : blocks[0];
}

/// Appends a block that couples contact c to contact `cj` of the same object. The sign is a factor,
/// since a branch on it would be guessed wrong every other time.
void appendCoupling(Problem& p, const Mat33& block, const Contact& c, const Contact& cj,
                    Problem& other) {
  const double sign = cj.objectA_ != c.objectA_ ? -1.0 : 1.0;
  p.otherBlocks_.push_back(block);
  double* B = p.otherBlocks_.back().v;
  storeLanes(B, sign * loadLanes(block.v));
  storeLanes(B + 4, sign * loadLanes(block.v + 4));
  B[8] = sign * block[8];
  p.otherProblems_.push_back(&other);
}

/// a + b. In registers: the plain form makes a copy in small pieces and waits for it.
void addBlocks(const Mat33& a, const Mat33& b, Mat33& sum) {
  storeLanes(sum.v, loadLanes(a.v) + loadLanes(b.v));
  storeLanes(sum.v + 4, loadLanes(a.v + 4) + loadLanes(b.v + 4));
  sum[8] = a[8] + b[8];
}

/// Whether two points of one system can part: a normal mobility that is nothing beside that of the
/// whole system belongs to links that are joined, however their shapes overlap. To take such an
/// overlap out would only pump energy in. Links that can touch and part have 10 and more.
bool canPart(const Problem& p) {
  return !(p.delassus_(2, 2) * p.systemMass_ < Problem::kLeastSystemMobility);
}

size_t couplingCount(Object& object) {
  return object.usesFullDelassus() ? object.getContacts().size() - 1 : 0;
}

}  // namespace

void World::contactProblemUpdate(Object* object) {
  if (object == nullptr) {
    MSG_FATAL("World::contactProblemUpdate: Got a nullptr for the object");
    return;
  }
  std::vector<Contact>& contacts = object->getContacts();
  for (size_t i = 0; i < contacts.size(); ++i) {
    Contact& c = contacts[i];
    Problem& p = contactProblems_[c.contactProblemIndex_];
    c.contactProblem_ = &p;
    c.delassusPtr_ = &p.delassus_;
    const bool singleSided = c.pairBodyType_ != BodyType::DYNAMIC;
    // A skipped twin and the B side of a dynamic pair are assembled from the other side.
    if (c.skip_ || (!singleSided && !c.objectA_)) continue;
    // A partner whose state was set between the halves has dropped its contacts: nothing to solve.
    if (!singleSided &&
        c.pairContactIndex_ >= objectList_[c.pairObjectIndex_]->getContacts().size())
      continue;
    if (!p.otherBlocks_.empty()) {
      p.otherBlocks_.clear();
      p.otherProblems_.clear();
    }
    if (singleSided)
      assembleSingleSided(*object, i, p);
    else
      assembleTwoSided(*object, i, p);
  }
}

/// Empties the list of problems and keeps the memory of their coupling lists.
void World::clearContactProblems() {
  for (Problem& p : contactProblems_)
    if (p.otherBlocks_.capacity() > 0)
      spareCouplingLists_.push_back({std::move(p.otherBlocks_), std::move(p.otherProblems_)});
  contactProblems_.clear();
  wireProblems_[0] = wireProblems_[1] = 0;
}

/// Makes room for `count` coupling blocks in the empty lists of p, and for some more, which a later
/// contact that takes the lists over may need.
void World::reserveCoupling(Problem& p, size_t count) {
  if (p.otherBlocks_.capacity() == 0 && !spareCouplingLists_.empty()) {
    CouplingLists& spare = spareCouplingLists_.back();
    p.otherBlocks_ = std::move(spare.blocks);
    p.otherProblems_ = std::move(spare.problems);
    spareCouplingLists_.pop_back();
    p.otherBlocks_.clear();
    p.otherProblems_.clear();
  }
  constexpr size_t usualCount = 8;
  p.otherBlocks_.reserve(std::max(count, usualCount));
  p.otherProblems_.reserve(std::max(count, usualCount));
}

/// The other side is static or kinematic.
void World::assembleSingleSided(Object& object, size_t i, Problem& p) {
  std::vector<Contact>& contacts = object.getContacts();
  const Contact& c = contacts[i];
  const DelassusAndTauStar& e = object.getDelassusAndTauStar()[i];
  p.impactVel_ = c.impactVel_;
  p.delassus_ = ownBlock(object, i);
  if (object.usesFullDelassus()) {
    p.tauStar_ = e.tauStar;
    if (contacts.size() > 1) reserveCoupling(p, contacts.size() - 1);
    for (size_t j = 0; j < contacts.size(); ++j) {
      const Contact& cj = contacts[j];
      if (j == i || cj.skip_) continue;
      appendCoupling(p, e.blocks[j], c, cj, contactProblems_[cj.contactProblemIndex_]);
    }
  } else {
    (c.objectA_ ? p.objA_ : p.objB_) = &object;
    (c.objectA_ ? p.contactIdxA_ : p.contactIdxB_) = i;
    p.appliedDelassus_ = p.delassus_;
    p.hasAppliedDelassus_ = true;
    p.tauStar_.setZero();
  }
  if (c.pairBodyType_ == BodyType::KINEMATIC) {
    // A kinematic partner contributes its velocity, but no inertia.
    Object& partner = *objectList_[c.pairObjectIndex_];
    // Its own list is not visited; it too shall lead to the impulse.
    Contact& twin = partner.getContacts()[c.pairContactIndex_];
    twin.contactProblem_ = &p;
    twin.delassusPtr_ = &p.delassus_;
    p.tauStar_ -= partner.getDelassusAndTauStar()[c.pairContactIndex_].tauStar;
    p.impactVel_ -= twin.impactVel_;
  }
  if (!c.objectA_) {
    p.tauStar_ = -p.tauStar_;
    p.impactVel_ = -p.impactVel_;
  }
}

/// Both sides are dynamic; `object` is the A side. A merged self-collision describes both sides in
/// the data of its A side.
void World::assembleTwoSided(Object& object, size_t i, Problem& p) {
  const Contact& c = object.getContacts()[i];
  Object& q = *objectList_[c.pairObjectIndex_];
  const size_t k = c.pairContactIndex_;
  if (!c.selfCollision_ && !object.usesFullDelassus() && !q.usesFullDelassus())
    return assembleQueried(object, i, q, p);
  if (c.selfCollision_) {
    p.impactVel_ = c.impactVel_;
    p.delassus_ = ownBlock(object, i);
    p.systemMass_ = static_cast<ArticulatedSystem&>(object).getCompositeMass()[0];
    if (!canPart(p)) p.rank_ = Problem::NOTHING_MOVES;
  } else {
    p.impactVel_ = c.impactVel_ - q.getImpactVel(k);
    addBlocks(ownBlock(object, i), ownBlock(q, k), p.delassus_);
  }
  const size_t bound = couplingCount(object) + couplingCount(q);
  if (bound > 0) reserveCoupling(p, bound);
  assembleSideA(object, i, q, p);
  if (!c.selfCollision_) assembleSideB(q, k, object, p);
}

/// Both sides are queried: their velocities hold everything.
void World::assembleQueried(Object& object, size_t i, Object& q, Problem& p) {
  const Contact& c = object.getContacts()[i];
  const size_t k = c.pairContactIndex_;
  const Mat33& a = object.getDelassusAndTauStar()[i].blocks[0];
  const Mat33& b = q.getDelassusAndTauStar()[k].blocks[0];
  p.impactVel_ = c.impactVel_ - q.getImpactVel(k);
  p.tauStar_.setZero();
  addBlocks(a, b, p.delassus_);
  addBlocks(a, b, p.appliedDelassus_);
  p.hasAppliedDelassus_ = true;
  p.objA_ = &object;
  p.contactIdxA_ = i;
  p.objB_ = &q;
  p.contactIdxB_ = k;
}

void World::assembleSideA(Object& object, size_t i, Object& q, Problem& p) {
  std::vector<Contact>& contacts = object.getContacts();
  const Contact& c = contacts[i];
  const DelassusAndTauStar& e = object.getDelassusAndTauStar()[i];
  if (!object.usesFullDelassus()) {
    p.objA_ = &object;
    p.contactIdxA_ = i;
    p.appliedDelassus_ = e.blocks[0];
    p.hasAppliedDelassus_ = true;
    p.tauStar_.setZero();
    return;
  }
  p.tauStar_ = e.tauStar;
  const bool qIsFull = q.usesFullDelassus() && !c.selfCollision_;
  for (size_t j = 0; j < contacts.size(); ++j) {
    const Contact& cj = contacts[j];
    if (j == i || cj.skip_) continue;
    Problem& other = contactProblems_[cj.contactProblemIndex_];
    if (!qIsFull || cj.pairObjectIndex_ != q.getIndexInWorld()) {
      appendCoupling(p, e.blocks[j], c, cj, other);
      continue;
    }
    // Between the same two objects: both couplings in one block.
    if (cj.contactProblemIndex_ == c.contactProblemIndex_) continue;
    const DelassusAndTauStar& f = q.getDelassusAndTauStar()[c.pairContactIndex_];
    appendCoupling(p, e.blocks[j] + f.blocks[cj.pairContactIndex_], c, cj, other);
  }
}

void World::assembleSideB(Object& q, size_t k, Object& object, Problem& p) {
  std::vector<Contact>& contacts = q.getContacts();
  const DelassusAndTauStar& f = q.getDelassusAndTauStar()[k];
  if (!q.usesFullDelassus()) {
    p.objB_ = &q;
    p.contactIdxB_ = k;
    // Where both sides are queried, the velocities hold the whole block.
    p.appliedDelassus_ = object.usesFullDelassus() ? f.blocks[0] : p.delassus_;
    p.hasAppliedDelassus_ = true;
    return;
  }
  p.tauStar_ -= f.tauStar;
  const Contact& c = contacts[k];
  for (size_t j = 0; j < contacts.size(); ++j) {
    const Contact& cj = contacts[j];
    if (j == k || cj.skip_) continue;
    if (cj.pairObjectIndex_ == object.getIndexInWorld() && object.usesFullDelassus()) continue;
    appendCoupling(p, f.blocks[j], c, cj, contactProblems_[cj.contactProblemIndex_]);
  }
}

}  // namespace zelvik
