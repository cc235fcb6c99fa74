// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/StepContacts.hpp"

#include <cmath>
#include <zelvik/object/GeomRecord.hpp>

// From raw points to contact records: one `ContactPair` per pair of geoms, one problem per point,
// and a `Contact` of each side that is not static.

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

ContactPair::Side sideOfBody(const Object& object, size_t body) {
  return {static_cast<std::uint32_t>(object.getIndexInWorld()), static_cast<std::uint32_t>(body),
          object.getBodyType(body)};
}

}  // namespace

struct StepContacts::Point {
  Mat33 frame;
  Vec3 position, normal;
  double depth;
};

void StepContacts::clear() {
  pairs_.clear();
  problems_.clear();
  wiresBegin_ = wiresEnd_ = 0;
  isCoupled_ = true;
}

void StepContacts::build(std::span<const dContactGeom> points, bool arrange,
                         MaterialManager& materials) {
  listTouchingPairs(points);
  // All pairs keep their order: which bodies are far away then makes no difference to those that
  // touch.
  if (arrange) order_.arrange(pairs_, objects_.size());
  for (ContactPair& pair : pairs_)
    buildPair(pair, points.subspan(pair.point, pair.count), materials);
  std::erase_if(pairs_, [](const ContactPair& pair) { return pair.count == 0; });
}

ContactPair::Side StepContacts::sideOf(const GeomRecord& geom) const {
  return sideOfBody(*objects_[geom.objectIdx], geom.localBodyIdx);
}

void StepContacts::listTouchingPairs(std::span<const dContactGeom> points) {
  const auto count = static_cast<std::uint32_t>(points.size());
  for (std::uint32_t i = 0, end; i < count; i = end) {
    const dGeomID g1 = points[i].g1, g2 = points[i].g2;
    for (end = i + 1; end < count; ++end)
      if (points[end].g1 != g1 || points[end].g2 != g2) break;
    ContactPair pair;
    pair.sides[0] = sideOf(geomRecord(g1));
    pair.sides[1] = sideOf(geomRecord(g2));
    pair.point = i;
    pair.count = end - i;
    if (pair.canMove()) pairs_.push_back(pair);
  }
}

/// Contacts and problems from the raw points of one pair of geoms.
void StepContacts::buildPair(ContactPair& pair, std::span<const dContactGeom> points,
                             MaterialManager& materials) {
  const GeomRecord& r1 = geomRecord(points[0].g1);
  const GeomRecord& r2 = geomRecord(points[0].g2);
  const size_t shapes[2] = {r1.shapeIdx, r2.shapeIdx};
  const MaterialPairProperties& material =
      materials.getMaterialPairProp(r1.materialName, r2.materialName);
  const ContactPair::Side &A = pair.sides[0], &B = pair.sides[1];
  startContacts(pair, 0);
  Vec3 rawNormal{};
  Point point{};
  for (const dContactGeom& g : points) {
    if (A.object == B.object && selfContactExists(*objects_[A.object], A.body, B.body)) break;
    // Most points of a pair share their normal.
    const Vec3 n{{g.normal[0], g.normal[1], g.normal[2]}};
    if (n[0] != rawNormal[0] || n[1] != rawNormal[1] || n[2] != rawNormal[2]) {
      rawNormal = n;
      point.normal = (1.0 / norm(n)) * n;
      point.frame = contact::Contact::frameOf(point.normal);
    }
    point.position = {{g.pos[0], g.pos[1], g.pos[2]}};
    point.depth = -g.depth;
    append(pair, shapes, point, material);
  }
  pair.count = static_cast<std::uint32_t>(problems_.size()) - pair.problem;
}

/// Writes where the contacts and problems that are appended next will stand.
/// @param first the side that is appended first, if it keeps contacts
void StepContacts::startContacts(ContactPair& pair, size_t first) const {
  pair.holder = static_cast<std::uint32_t>(pair.sides[first].keepsContacts() ? first : 1 - first);
  pair.problem = static_cast<std::uint32_t>(problems_.size());
  for (ContactPair::Side& side : pair.sides)
    side.contact = static_cast<std::uint32_t>(objects_[side.object]->getContacts().size());
  // The twin of a contact inside one object comes right after it.
  if (pair.sides[0].object == pair.sides[1].object) ++pair.sides[1 - pair.holder].contact;
}

/// One problem, and a contact of each side that keeps them.
void StepContacts::append(const ContactPair& pair, const size_t (&shapes)[2], const Point& point,
                          const MaterialPairProperties& material) {
  const size_t problem = problems_.size(), k = problem - pair.problem;
  for (const size_t s : {size_t{pair.holder}, size_t{1} - pair.holder}) {
    const ContactPair::Side &own = pair.sides[s], &other = pair.sides[1 - s];
    if (!own.keepsContacts()) continue;
    const size_t twin = other.keepsContacts() ? other.contact + k : kNone;
    objects_[own.object]
        ->getContacts()
        .emplace_back(point.frame, point.position, point.normal, s == 0, static_cast<int>(problem),
                      own.contact + k, other.object, other.type, twin, own.body, point.depth)
        .setShapes(shapes[s], shapes[1 - s]);
  }
  const Vec3& x = point.position;
  problems_.emplace_back(material, x[0], x[1], x[2], point.depth);
}

void StepContacts::appendWires(const std::vector<std::unique_ptr<StiffLengthConstraint>>& wires) {
  constexpr size_t noShapes[2] = {kNone, kNone};
  wiresBegin_ = problems_.size();
  for (const auto& wire : wires) {
    if (!wire->isActive()) continue;
    // An unresolved gap, whatever the sign of the error: the sign decides which side is A.
    const double stretch = wire->getStretch();
    const size_t first = stretch > 0.0 ? 0 : 1;
    ContactPair pair;
    pair.sides[first] = sideOfBody(*wire->getBody1(), wire->getLocalIdx1());
    pair.sides[1 - first] = sideOfBody(*wire->getBody2(), wire->getLocalIdx2());
    if (!pair.canMove()) continue;
    startContacts(pair, first);
    pair.count = 1;
    pair.isWire = true;
    pairs_.push_back(pair);
    const Vec3& normal = wire->getNorm();
    append(pair, noShapes,
           {contact::Contact::frameOf(normal), wire->getP1(), normal, -std::fabs(stretch)},
           kWireMaterial);
    problems_.back().rank_ = contact::Single3DContactProblem::NORMAL_ONLY;
  }
  wiresEnd_ = problems_.size();
}

void StepContacts::release(const Object& object) {
  constexpr unsigned int dead = contact::Single3DContactProblem::NOTHING_MOVES;
  const size_t index = object.getIndexInWorld(), last = objects_.size() - 1;
  removeObjectFrom(pairs_, index, last);
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
