// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/ContactPoints.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "collision/FaceClip.hpp"
#include "collision/OdeGuard.hpp"
#include "collision/PortalSearch.hpp"

namespace zelvik {

namespace {

using Kind = ConvexShape::Kind;

/// Points that reach this share of the overlap show that its normal is the right one.
constexpr double kReached = 0.99;
/// A normal of a face is preferred to one that the search for a portal finds, up to this.
constexpr double kPreference = 1.001;

/// Points that are apart by less than this share of the smaller size, seen along the normal, are
/// one.
constexpr double kAboveEachOther = 0.1;
/// A point this share of the size outside of a shape is on it.
constexpr double kOnSurface = 1e-6;
/// From this share of the smaller shape's size on a way out across edges of hulls may be shorter
/// than one that is reached.
constexpr double kDeep = 0.02;
/// Overlaps below this share of the smaller shape's size are rounding: their normal is that of a
/// face, or they are none.
constexpr double kTinyOverlap = 1e-10;

enum class Found : std::uint8_t { NOTHING, POINTS, NO_NORMAL };

/// The points of two shapes: a separating axis test over the normals of faces and of round sides,
/// and the search for a portal where none of these is reached by a point of both shapes.
class PairOfShapes {
 public:
  PairOfShapes(const ConvexShape& a, const ConvexShape& b) : a_(a), b_(b) {}

  /// Tries the normals of faces and of round sides.
  Found run() {
    best_.depth = std::numeric_limits<double>::infinity();
    if (!tryFaces(a_, b_, -1.0) || !tryFaces(b_, a_, 1.0) || !trySides()) return Found::NOTHING;
    clip(best_);
    const double deepest = points_.deepest() + kTinyOverlap * smallerSize();
    if (deepest < kReached * best_.depth || !isDeepestInside()) return Found::NO_NORMAL;
    if (hasHull() && best_.depth > kDeep * smallerSize()) searchNormal();
    return points_.count > 0 ? Found::POINTS : Found::NOTHING;
  }

  /// Searches another normal, for the case that none of those was it.
  /// @return whether the shapes overlap
  bool searchNormal() {
    Overlap found;
    if (!searchPortal(a_, b_, found)) return false;
    if (found.depth * kPreference + kTinyOverlap * smallerSize() < best_.depth) clip(best_ = found);
    if (points_.deepest() < kReached * best_.depth) touchInOnePoint();
    return true;
  }

  const Vec3& normal() const { return best_.normal; }
  TouchingPoints& points() { return points_; }

 private:
  bool hasHull() const { return a_.kind == Kind::HULL || b_.kind == Kind::HULL; }

  /// Notes a normal, turned into the first shape; both ways if they may differ. @return false if it
  /// parts the shapes
  bool tryNormal(Vec3 n) {
    if (dot(b_.center - a_.center, n) > 0.0) n = -n;
    return note(n, depthAlong(n)) && (!hasHull() || note(-n, depthAlong(-n)));
  }

  double depthAlong(const Vec3& n) const {
    return dot(b_.center - a_.center, n) + a_.reach(-n) + b_.reach(n);
  }

  bool note(const Vec3& n, double depth) {
    if (!(depth > 0.0)) return false;
    if (depth < best_.depth) best_ = {n, depth};
    return true;
  }

  bool tryDirection(const Vec3& d) {
    const double length = norm(d);
    return !(length > 1e-9) || tryNormal((1.0 / length) * d);
  }

  /// @param sign of the way out of `shape` in the normal of the pair
  bool tryFaces(const ConvexShape& shape, const ConvexShape& other, double sign) {
    if (shape.kind == Kind::HULL) return tryFacets(shape, other, sign);
    if (shape.kind == Kind::BOX)
      for (const Vec3& axis : shape.axes)
        if (!tryNormal(axis)) return false;
    return shape.kind != Kind::CYLINDER || tryNormal(shape.axes[2]);
  }

  /// Of a hull's facets only those count behind which the middle of the other shape, with the ball
  /// about it, lies less far than the overlap found so far. The farthest one in front comes first.
  bool tryFacets(const ConvexShape& shape, const ConvexShape& other, double sign) {
    const Vec3 middle = shape.toShape(other.center - shape.center);
    const auto& facets = shape.hull->facets;
    const auto behind = [&](const auto& facet) { return facet.offset - dot(facet.normal, middle); };
    const auto tryFacet = [&](const auto& facet) {
      const Vec3 n = shape.toWorld(facet.normal);
      return note(sign * n, behind(facet) + other.reach(-n));
    };
    const auto first =
        std::min_element(facets.begin(), facets.end(),
                         [&](const auto& f, const auto& g) { return behind(f) < behind(g); });
    const double ball = other.size();
    return tryFacet(*first) && std::all_of(facets.begin(), facets.end(), [&](const auto& facet) {
             return behind(facet) + ball >= best_.depth || tryFacet(facet);
           });
  }

  bool trySides() {
    if (hasHull()) return true;  // edges are many: the search for a portal finds them
    if (a_.isRound() && b_.isRound()) return tryCrossing() && tryParallel();
    const ConvexShape &round = a_.isRound() ? a_ : b_, &box = a_.isRound() ? b_ : a_;
    for (const Vec3& edge : box.axes)
      if (!tryDirection(cross(round.axes[2], edge))) return false;
    return true;
  }

  bool tryCrossing() { return tryDirection(cross(a_.axes[2], b_.axes[2])); }

  /// The way from one axis to the other where they run side by side.
  bool tryParallel() {
    const Vec3 between = a_.center - b_.center;
    for (const Vec3& axis : {a_.axes[2], b_.axes[2]})
      if (!tryScaled(between - dot(between, axis) * axis, norm(between))) return false;
    return true;
  }

  bool tryScaled(const Vec3& d, double size) {
    const double length = norm(d);
    return !(length > 1e-9 * size) || tryNormal((1.0 / length) * d);
  }

  void clip(const Overlap& overlap) {
    Face faceA, faceB;
    a_.faceAlong(-overlap.normal, faceA);
    b_.faceAlong(overlap.normal, faceB);
    const double radii = (a_.isRound() ? a_.radius : 0.0) + (b_.isRound() ? b_.radius : 0.0);
    points_.count = 0;
    clipFaces(faceA, faceB, overlap.normal, radii > 0.0 ? 1.0 / radii : 0.0, points_);
  }

  /// Whether the deepest point of one shape lies inside of the other. The clipped faces reach as
  /// deep beside a pointed hull, too.
  bool isDeepestInside() const {
    if (!hasHull() || points_.count == 0) return true;
    const TouchingPoints::Point* deep = points_.points;
    for (int k = 1; k < points_.count; ++k)
      if (points_.points[k].depth > deep->depth) deep = points_.points + k;
    const Vec3 half = (0.5 * deep->depth) * best_.normal;
    const double tolerance = kOnSurface * smallerSize();
    return b_.contains(deep->position - half, tolerance) ||
           a_.contains(deep->position + half, tolerance);
  }

  double smallerSize() const { return std::min(a_.size(), b_.size()); }

  /// Adds the farthest points of both shapes as one, where the faces do not hold it: two rims, or
  /// the end of a capsule and a rim. They lie one above the other then.
  void touchInOnePoint() {
    const Vec3 onA = a_.support(-best_.normal), onB = b_.support(best_.normal);
    const Vec3 lateral = onB - onA - best_.depth * best_.normal;
    if (points_.count == 0 || norm(lateral) < kAboveEachOther * smallerSize())
      points_.add(0.5 * (onA + onB), best_.depth);
  }

  const ConvexShape &a_, &b_;
  Overlap best_{};
  TouchingPoints points_;
};

/// An order of two shapes that does not depend on which of them was given first, so that a pair and
/// the swapped one give the same points.
bool comesFirst(const ConvexShape& a, const ConvexShape& b) {
  if (a.kind != b.kind) return a.kind < b.kind;
  for (size_t i = 0; i < 3; ++i)
    if (a.center[i] != b.center[i]) return a.center[i] < b.center[i];
  return false;
}

/// Whether our own search finds normals that faces do not give, rather than ODE.
bool isSearched(Kind kind) {
  return kind == Kind::CYLINDER || kind == Kind::HULL;
}

void write(const TouchingPoints::Point& from, const Vec3& normal, dGeomID o1, dGeomID o2,
           dContactGeom& to) {
  for (size_t i = 0; i < 3; ++i) {
    to.pos[i] = from.position[i];
    to.normal[i] = normal[i];
  }
  to.depth = from.depth;
  to.g1 = o1;
  to.g2 = o2;
  to.side1 = to.side2 = -1;
}

}  // namespace

bool hasOwnContactPoints(int class1, int class2) {
  const bool round1 = class1 == dCapsuleClass || class1 == dCylinderClass;
  const bool round2 = class2 == dCapsuleClass || class2 == dCylinderClass;
  if (class1 == dCapsuleClass && class2 == dCapsuleClass) return false;
  return (round1 && (round2 || class2 == dBoxClass)) || (round2 && class1 == dBoxClass);
}

int findContactPoints(dGeomID o1, dGeomID o2, dContactGeom* points) {
  ConvexShape a, b;
  if (!readConvexShape(o1, a) || !readConvexShape(o2, b)) return 0;
  const bool isSwapped = comesFirst(b, a);
  PairOfShapes pair(isSwapped ? b : a, isSwapped ? a : b);
  switch (pair.run()) {
    case Found::NOTHING:
      return 0;
    case Found::NO_NORMAL:
      if (isSearched(a.kind) || isSearched(b.kind)) {
        if (!pair.searchNormal()) return 0;
        break;
      }
      return collideGuarded(o1, o2, kMostConvexPoints, points, sizeof(dContactGeom));
    case Found::POINTS:
      break;
  }
  pair.points().keep(kMostConvexPoints, pair.normal());
  const Vec3 normal = (isSwapped ? -1.0 : 1.0) * pair.normal();
  const int count = pair.points().count;
  for (int k = 0; k < count; ++k) write(pair.points().points[k], normal, o1, o2, points[k]);
  return count;
}

int findPointsOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points) {
  const bool planeFirst = dGeomGetClass(o1) == dPlaneClass;
  dVector4 parameters;  // n . x = offset
  dGeomPlaneGetParams(planeFirst ? o1 : o2, parameters);
  const Vec3 nW{{parameters[0], parameters[1], parameters[2]}};
  ConvexShape shape;
  if (!readConvexShape(planeFirst ? o2 : o1, shape)) return 0;
  const Vec3 n = shape.toShape(nW);
  const double height = dot(nW, shape.center) - parameters[3];
  TouchingPoints touching;
  for (size_t k = 0; k < shape.hull->cornerCount; ++k) {
    const Vec3 corner = shape.hull->corner(k);
    if (touching.count == TouchingPoints::kMost) touching.keep(kMostConvexPoints, nW);
    touching.add(shape.center + shape.toWorld(corner), -height - dot(n, corner));
  }
  touching.keep(kMostConvexPoints, nW);
  for (int k = 0; k < touching.count; ++k)
    write(touching.points[k], planeFirst ? -nW : nW, o1, o2, points[k]);
  return touching.count;
}

int completeCylinderOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points, int count) {
  dGeomID geom = o1, plane = o2;
  if (dGeomGetClass(geom) == dPlaneClass) std::swap(geom, plane);
  if (dGeomGetClass(geom) != dCylinderClass || dGeomGetClass(plane) != dPlaneClass) return count;
  dVector4 parameters;  // n . x = offset
  dGeomPlaneGetParams(plane, parameters);
  const Vec3 nW{{parameters[0], parameters[1], parameters[2]}};
  ConvexShape cylinder;
  readConvexShape(geom, cylinder);
  if (count == 2 && !cylinder.showsCap(nW)) return count;

  Face rim;
  if (!cylinder.rimAlong(-nW, rim)) return count;
  TouchingPoints touching;
  for (int k = 0; k < rim.count; ++k)
    touching.add(rim.corners[k], parameters[3] - dot(nW, rim.corners[k]));
  touching.keep(kMostConvexPoints, nW);
  const dContactGeom deepest = points[0];
  for (int k = 1; k < touching.count; ++k) {
    points[k] = deepest;
    points[k].depth = touching.points[k].depth;
    for (size_t i = 0; i < 3; ++i) points[k].pos[i] = touching.points[k].position[i];
  }
  return std::max(touching.count, 1);
}

}  // namespace zelvik
