// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/StepContacts.hpp"

#include <cmath>
#include <zelvik/object/GeomRecord.hpp>

#include "solver/ImpulseMemory.hpp"

// From raw points to contact records: one `Contact` per moving side and one problem per point.

namespace zelvik {

namespace {

/// Whether two bodies of one object already have a contact in this step: the walk looks at all
/// neighbours in the list, not only at those that were appended together.
bool selfContactExists(const Object& object, size_t l1, size_t l2) {
  const std::vector<contact::Contact>& contacts = object.getContacts();
  for (size_t j = 0; j + 1 < contacts.size(); ++j) {
    if (contacts[j].pairObjectIndex_ != object.getIndexInWorld()) continue;
    const size_t b1 = contacts[j].localBodyIndex_, b2 = contacts[j + 1].localBodyIndex_;
    if ((b1 == l1 && b2 == l2) || (b1 == l2 && b2 == l1)) return true;
  }
  return false;
}

/// What a stiff wire is made of; its problem has no tangential part.
const MaterialPairProperties kWireMaterial = {0.8, 0.0, 0.0, 0.0};

}  // namespace

struct StepContacts::Sides {
  Object& A;
  size_t bodyA;
  bool aIsObjectA;
  Object& B;
  size_t bodyB;
  bool bIsObjectA;
  size_t shapeA = kNone, shapeB = kNone;
  BodyType typeA = A.getBodyType(bodyA), typeB = B.getBodyType(bodyB);

  bool canMove() const { return typeA == BodyType::DYNAMIC || typeB == BodyType::DYNAMIC; }
};

void StepContacts::append(const Sides& s, const Mat<3, 3>& frame, const Mat<3, 1>& position,
                          const Mat<3, 1>& normal, double depth,
                          const MaterialPairProperties& material) {
  std::vector<contact::Contact>&contactsA = s.A.getContacts(), &contactsB = s.B.getContacts();
  const int problem = static_cast<int>(problems_.size());
  const size_t a = contactsA.size(), worldA = s.A.getIndexInWorld(), worldB = s.B.getIndexInWorld();
  // The twin of a contact inside one object comes right after it.
  const size_t b = contactsB.size() + (&s.A == &s.B && s.typeA != BodyType::STATIC ? 1 : 0);
  if (s.typeA != BodyType::STATIC)
    contactsA
        .emplace_back(frame, position, normal, s.aIsObjectA, problem, a, worldB, s.typeB, b,
                      s.bodyA, depth)
        .setShapes(s.shapeA, s.shapeB);
  const size_t twin = s.typeA != BodyType::STATIC ? a : a - 1;
  if (s.typeB != BodyType::STATIC)
    contactsB
        .emplace_back(frame, position, normal, s.bIsObjectA, problem, b, worldA, s.typeA, twin,
                      s.bodyB, depth)
        .setShapes(s.shapeB, s.shapeA);
  problems_.emplace_back(material, position[0], position[1], position[2], depth);
}

void StepContacts::clear() {
  problems_.clear();
  wiresBegin_ = wiresEnd_ = 0;
  isCoupled_ = true;
}

void StepContacts::build(std::span<const dContactGeom> points, bool arrange,
                         MaterialManager& materials, ImpulseMemory* memory) {
  listTouchingPairs(points);
  // All pairs keep their order: which bodies are far away then makes no difference to those that
  // touch.
  if (arrange) order_.arrange(objects_.size());
  for (const TouchingPair& pair : order_.pairs())
    buildPair(points.subspan(pair.first, pair.end - pair.first), materials, memory);
}

void StepContacts::listTouchingPairs(std::span<const dContactGeom> points) {
  const auto mover = [this](dGeomID geom) {
    const GeomRecord& record = geomRecord(geom);
    const Object& object = *objects_[record.objectIdx];
    return object.getBodyType(record.localBodyIdx) == BodyType::DYNAMIC
               ? static_cast<std::uint32_t>(record.objectIdx)
               : TouchingPair::kNobody;
  };
  const auto count = static_cast<std::uint32_t>(points.size());
  order_.clear();
  for (std::uint32_t i = 0, end; i < count; i = end) {
    const dGeomID g1 = points[i].g1, g2 = points[i].g2;
    for (end = i + 1; end < count; ++end)
      if (points[end].g1 != g1 || points[end].g2 != g2) break;
    const TouchingPair pair = {i, end, mover(g1), mover(g2)};
    if (pair.a != TouchingPair::kNobody || pair.b != TouchingPair::kNobody) order_.append(pair);
  }
}

/// From the raw points of one pair of geoms.
void StepContacts::buildPair(std::span<const dContactGeom> points, MaterialManager& materials,
                             ImpulseMemory* memory) {
  const GeomRecord& r1 = geomRecord(points[0].g1);
  const GeomRecord& r2 = geomRecord(points[0].g2);
  const Sides sides = {
      *objects_[r1.objectIdx], r1.localBodyIdx, true,        *objects_[r2.objectIdx],
      r2.localBodyIdx,         false,           r1.shapeIdx, r2.shapeIdx};
  const MaterialPairProperties& material =
      materials.getMaterialPairProp(r1.materialName, r2.materialName);
  const ContactGroup group = startGroup(sides, false);
  Vec3 rawNormal{}, normal{};
  Mat33 frame{};
  for (const dContactGeom& g : points) {
    if (&sides.A == &sides.B && selfContactExists(sides.A, sides.bodyA, sides.bodyB)) break;
    // Most points of a pair share their normal.
    const Vec3 n{{g.normal[0], g.normal[1], g.normal[2]}};
    if (n[0] != rawNormal[0] || n[1] != rawNormal[1] || n[2] != rawNormal[2]) {
      rawNormal = n;
      normal = (1.0 / norm(n)) * n;
      frame = contact::Contact::frameOf(normal);
    }
    append(sides, frame, {{g.pos[0], g.pos[1], g.pos[2]}}, normal, -g.depth, material);
  }
  if (memory != nullptr) memory->appendGroup(group, problems_.size());
}

/// The contacts that are appended next, of a pair or a wire.
ContactGroup StepContacts::startGroup(const Sides& s, bool isWire) const {
  const Object& holder = s.typeA != BodyType::STATIC ? s.A : s.B;
  const std::uint64_t a = ContactGroup::sideOf(s.A.getIndexInWorld(), s.bodyA);
  const std::uint64_t b = ContactGroup::sideOf(s.B.getIndexInWorld(), s.bodyB);
  return {s.aIsObjectA ? a : b,
          s.aIsObjectA ? b : a,
          static_cast<std::uint32_t>(problems_.size()),
          0,
          static_cast<std::uint32_t>(holder.getIndexInWorld()),
          static_cast<std::uint32_t>(holder.getContacts().size()),
          isWire};
}

void StepContacts::appendWires(const std::vector<std::unique_ptr<StiffLengthConstraint>>& wires,
                               ImpulseMemory* memory) {
  wiresBegin_ = problems_.size();
  for (const auto& wire : wires) {
    if (!wire->isActive()) continue;
    // An unresolved gap, whatever the sign of the error: the sign decides which side is A.
    const double stretch = wire->getStretch();
    const bool firstIsA = stretch > 0.0;
    const Sides sides = {*wire->getBody1(), wire->getLocalIdx1(), firstIsA,
                         *wire->getBody2(), wire->getLocalIdx2(), !firstIsA};
    if (!sides.canMove()) continue;
    const ContactGroup group = startGroup(sides, true);
    append(sides, contact::Contact::frameOf(wire->getNorm()), wire->getP1(), wire->getNorm(),
           -std::fabs(stretch), kWireMaterial);
    problems_.back().rank_ = contact::Single3DContactProblem::NORMAL_ONLY;
    if (memory != nullptr) memory->appendGroup(group, problems_.size());
  }
  wiresEnd_ = problems_.size();
}

void StepContacts::release(const Object& object) {
  constexpr unsigned int dead = contact::Single3DContactProblem::NOTHING_MOVES;
  const size_t index = object.getIndexInWorld(), last = objects_.size() - 1;
  for (const contact::Contact& c : object.getContacts())
    problems_[c.contactProblemIndex_].rank_ = dead;
  for (Object* other : objects_)
    for (contact::Contact& c : other->getContacts()) {
      if (c.pairObjectIndex_ == index) {
        c.pairObjectIndex_ = kNone;
        c.skip_ = true;
        problems_[c.contactProblemIndex_].rank_ = dead;
      } else if (c.pairObjectIndex_ == last) {
        c.pairObjectIndex_ = index;
      }
    }
  for (contact::Single3DContactProblem& p : problems_)
    if (p.rank_ == dead || p.objA_ == &object) {
      p.rank_ = dead;  // a joint limit of the object belongs to no contact
      p.objA_ = p.objB_ = nullptr;
    }
}

}  // namespace zelvik
