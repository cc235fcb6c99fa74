// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "core/Lanes.hpp"
#include "world/StepContacts.hpp"

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

/// Appends a block that couples contact c to contact `cj` of the same object.
void appendCoupling(Problem& p, const Mat33& block, const Contact& c, const Contact& cj,
                    Problem& other) {
  p.otherBlocks_.push_back((cj.objectA_ != c.objectA_ ? -1.0 : 1.0) * block);
  p.otherProblems_.push_back(&other);
}

/// sum = a + b, in registers: the plain form copies in small pieces and waits for the copy.
void addBlocks(const Mat33& a, const Mat33& b, Mat33& sum) {
  storeLanes(sum.v, loadLanes(a.v) + loadLanes(b.v));
  storeLanes(sum.v + 4, loadLanes(a.v + 4) + loadLanes(b.v + 4));
  sum[8] = a[8] + b[8];
}

/// Whether two points of one system can part. A normal mobility that is tiny compared with that of
/// the whole system belongs to links that are joined, however their shapes overlap, and a
/// correction of that overlap would only add energy. Of links that can touch and part the product
/// of mobility and mass is 10 and more.
bool canPart(const Problem& p) {
  return !(p.delassus_(2, 2) * p.systemMass_ < Problem::kLeastSystemMobility);
}

/// Mass of the moving bodies of a system on a fixed base (kg); 0 for all else, whose mass at a
/// contact is bounded: what can move as a whole never resists with more than what it weighs.
double anchoredMass(Object& object) {
  if (object.getObjectType() != ARTICULATED_SYSTEM) return 0.0;
  auto& system = static_cast<ArticulatedSystem&>(object);
  if (system.getJointType(0) != Joint::FIXED) return 0.0;
  return system.getCompositeMass()[0] - system.getMass(0);
}

/// A wire that can move nothing, since both ends are on one body or an end has lost its contacts
/// between the halves, would take an infinite impulse.
void takeOutIfNothingMoves(Problem& p) {
  if (p.rank_ == Problem::NORMAL_ONLY && p.delassus_(2, 2) == 0.0) p.rank_ = Problem::NOTHING_MOVES;
}

}  // namespace

/// A merged twin and the B side of a dynamic pair are filled from the other side; a partner whose
/// state was set between the halves has dropped its contacts, and there is nothing to solve.
bool StepContacts::fillsProblem(const Contact& c) const {
  if (c.skip_) return false;
  if (c.pairBodyType_ != BodyType::DYNAMIC) return true;
  return c.objectA_ && c.pairContactIndex_ < objects_[c.pairObjectIndex_]->getContacts().size();
}

void StepContacts::assemble(Object& object) {
  std::vector<Contact>& contacts = object.getContacts();
  for (size_t i = 0; i < contacts.size(); ++i) {
    Contact& c = contacts[i];
    Problem& p = problems_[c.contactProblemIndex_];
    c.contactProblem_ = &p;
    c.delassusPtr_ = &p.delassus_;
    if (!fillsProblem(c)) continue;
    if (c.pairBodyType_ != BodyType::DYNAMIC)
      assembleSingleSided(object, i, p);
    else
      assembleTwoSided(object, i, p);
  }
}

void StepContacts::finishAssembly() {
  for (size_t i = wiresBegin_; i < wiresEnd_; ++i) takeOutIfNothingMoves(problems_[i]);
  isCoupled_ = false;
}

/// The other side is static or kinematic.
void StepContacts::assembleSingleSided(Object& object, size_t i, Problem& p) {
  const Contact& c = object.getContacts()[i];
  p.impactVel_ = c.impactVel_;
  p.delassus_ = ownBlock(object, i);
  p.systemMass_ = anchoredMass(object);
  if (object.usesFullDelassus()) {
    p.tauStar_ = object.getDelassusAndTauStar()[i].tauStar;
  } else {
    (c.objectA_ ? p.objA_ : p.objB_) = &object;
    (c.objectA_ ? p.contactIdxA_ : p.contactIdxB_) = i;
    p.tauStar_.setZero();
  }
  if (c.pairBodyType_ == BodyType::KINEMATIC) {
    // A kinematic partner contributes its velocity, but no inertia.
    Object& partner = *objects_[c.pairObjectIndex_];
    // The partner's own list is not assembled, but its contact has to lead to the impulse, too.
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
/// the data of its A side. What is queried holds its velocity itself.
void StepContacts::assembleTwoSided(Object& object, size_t i, Problem& p) {
  const Contact& c = object.getContacts()[i];
  if (object.usesFullDelassus()) {
    p.tauStar_ = object.getDelassusAndTauStar()[i].tauStar;
  } else {
    p.tauStar_.setZero();
    p.objA_ = &object;
    p.contactIdxA_ = i;
  }
  p.impactVel_ = c.impactVel_;
  if (c.selfCollision_) {
    p.delassus_ = ownBlock(object, i);
    p.systemMass_ = static_cast<ArticulatedSystem&>(object).getCompositeMass()[0];
    if (!canPart(p)) p.rank_ = Problem::NOTHING_MOVES;
    return;
  }
  Object& q = *objects_[c.pairObjectIndex_];
  const size_t k = c.pairContactIndex_;
  p.impactVel_ -= q.getImpactVel(k);
  addBlocks(ownBlock(object, i), ownBlock(q, k), p.delassus_);
  const double massA = anchoredMass(object), massB = anchoredMass(q);
  if (massA > 0.0 && massB > 0.0) p.systemMass_ = massA + massB;
  if (q.usesFullDelassus()) {
    p.tauStar_ -= q.getDelassusAndTauStar()[k].tauStar;
  } else {
    p.objB_ = &q;
    p.contactIdxB_ = k;
  }
}

// ---- coupling ----

const contact::ContactProblemList& StepContacts::problems() {
  if (!isCoupled_)
    for (Object* object : objects_)
      if (object->getBodyType() == BodyType::DYNAMIC) couple(*object);
  isCoupled_ = true;
  return problems_;
}

void StepContacts::couple(Object& object) {
  const std::vector<Contact>& contacts = object.getContacts();
  for (size_t i = 0; i < contacts.size(); ++i)
    if (fillsProblem(contacts[i]))
      coupleContact(object, i, problems_[contacts[i].contactProblemIndex_]);
}

/// The blocks of sides that store them, and the own block of those that are queried.
void StepContacts::coupleContact(Object& object, size_t i, Problem& p) {
  const Contact& c = object.getContacts()[i];
  const bool hasSideB = c.pairBodyType_ == BodyType::DYNAMIC && !c.selfCollision_;
  Object* q = hasSideB ? objects_[c.pairObjectIndex_] : nullptr;
  const bool isFull = object.usesFullDelassus(), qIsFull = q != nullptr && q->usesFullDelassus();
  p.otherBlocks_.clear();
  p.otherProblems_.clear();
  if (isFull) coupleSideA(object, i, qIsFull ? q : nullptr, p);
  if (qIsFull) coupleSideB(*q, c.pairContactIndex_, object, p);
  p.hasAppliedDelassus_ = !isFull || (q != nullptr && !qIsFull);
  if (!p.hasAppliedDelassus_) return;
  if (q == nullptr || isFull == qIsFull)
    p.appliedDelassus_ = p.delassus_;
  else
    p.appliedDelassus_ = isFull ? ownBlock(*q, c.pairContactIndex_) : ownBlock(object, i);
}

/// @param fullPartner the other object if it stores blocks, too
void StepContacts::coupleSideA(Object& object, size_t i, Object* fullPartner, Problem& p) {
  const std::vector<Contact>& contacts = object.getContacts();
  const Contact& c = contacts[i];
  const DelassusAndTauStar& e = object.getDelassusAndTauStar()[i];
  for (size_t j = 0; j < contacts.size(); ++j) {
    const Contact& cj = contacts[j];
    if (j == i || cj.skip_) continue;
    Problem& other = problems_[cj.contactProblemIndex_];
    if (fullPartner == nullptr || cj.pairObjectIndex_ != fullPartner->getIndexInWorld()) {
      appendCoupling(p, e.blocks[j], c, cj, other);
      continue;
    }
    // Between the same two objects: both couplings in one block.
    if (cj.contactProblemIndex_ == c.contactProblemIndex_) continue;
    const DelassusAndTauStar& f = fullPartner->getDelassusAndTauStar()[c.pairContactIndex_];
    appendCoupling(p, e.blocks[j] + f.blocks[cj.pairContactIndex_], c, cj, other);
  }
}

void StepContacts::coupleSideB(Object& q, size_t k, const Object& object, Problem& p) {
  const std::vector<Contact>& contacts = q.getContacts();
  const DelassusAndTauStar& f = q.getDelassusAndTauStar()[k];
  const Contact& c = contacts[k];
  for (size_t j = 0; j < contacts.size(); ++j) {
    const Contact& cj = contacts[j];
    if (j == k || cj.skip_) continue;
    if (cj.pairObjectIndex_ == object.getIndexInWorld() && object.usesFullDelassus()) continue;
    appendCoupling(p, f.blocks[j], c, cj, problems_[cj.contactProblemIndex_]);
  }
}

}  // namespace zelvik
