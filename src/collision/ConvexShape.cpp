// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/ConvexShape.hpp"

#include <algorithm>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/MeshGeom.hpp"

namespace zelvik {

namespace {

/// Corners of the polygon that stands for the rim of a cap; cosine and sine of 1/16 turns.
constexpr int kRimCorners = 16;
constexpr double kCos[] = {1.0, 0.92387953251128674, 0.70710678118654752, 0.38268343236508977};

double rimCosine(int k) {
  k &= kRimCorners - 1;
  if (k > 8) k = 16 - k;
  return k < 4 ? kCos[k] : k == 4 ? 0.0 : -kCos[8 - k];
}

double rimSine(int k) {
  return rimCosine(k - 4);
}

/// A cylinder shows its cap from this cosine between axis and direction on, else its side.
constexpr double kCapCosine = 0.7071;
/// Below this tilt (rad) the lowest point of a cap is not told from the others.
constexpr double kFlatTilt = 1e-6;

/// A corner belongs to the facets that pass it by no more than this share of a hull's size.
constexpr double kOnFacet = 1e-3;

/// Some unit vector square to n.
Vec3 anySquareTo(const Vec3& n) {
  const Vec3 other = std::fabs(n[0]) < 0.6 ? Vec3{{1.0, 0.0, 0.0}} : Vec3{{0.0, 1.0, 0.0}};
  const Vec3 square = other - dot(n, other) * n;
  return (1.0 / norm(square)) * square;
}

}  // namespace

const ConvexPolyhedron* hullOf(dGeomID geom) {
  if (dGeomGetClass(geom) != dTriMeshClass) return nullptr;
  const MeshShape* shape = geomRecord(geom).meshShape.get();
  return shape == nullptr ? nullptr : shape->hull.get();
}

bool readConvexShape(dGeomID geom, ConvexShape& shape) {
  switch (dGeomGetClass(geom)) {
    case dBoxClass: {
      dVector3 sides;
      dGeomBoxGetLengths(geom, sides);
      for (size_t i = 0; i < 3; ++i) shape.half[i] = 0.5 * sides[i];
      shape.kind = ConvexShape::Kind::BOX;
      break;
    }
    case dCapsuleClass:
      dGeomCapsuleGetParams(geom, &shape.radius, &shape.halfLength);
      shape.halfLength *= 0.5;
      shape.kind = ConvexShape::Kind::CAPSULE;
      break;
    case dCylinderClass:
      dGeomCylinderGetParams(geom, &shape.radius, &shape.halfLength);
      shape.halfLength *= 0.5;
      shape.kind = ConvexShape::Kind::CYLINDER;
      break;
    case dSphereClass:
      shape.radius = dGeomSphereGetRadius(geom);
      shape.halfLength = 0.0;
      shape.kind = ConvexShape::Kind::SPHERE;
      break;
    default:
      shape.hull = hullOf(geom);
      if (shape.hull == nullptr) return false;
      shape.kind = ConvexShape::Kind::HULL;
  }
  const dReal *p = dGeomGetPosition(geom), *R = dGeomGetRotation(geom);
  shape.center = {{p[0], p[1], p[2]}};
  for (size_t k = 0; k < 3; ++k) shape.axes[k] = {{R[k], R[4 + k], R[8 + k]}};
  if (shape.kind == ConvexShape::Kind::HULL) shape.center += shape.toWorld(shape.hull->centroid);
  return true;
}

bool ConvexShape::radial(const Vec3& n, Vec3& out) const {
  out = n - dot(n, axes[2]) * axes[2];
  const double length = norm(out);
  if (!(length > kFlatTilt * norm(n))) return false;
  out *= 1.0 / length;
  return true;
}

Vec3 ConvexShape::support(const Vec3& d) const {
  if (kind == Kind::BOX) {
    Vec3 p = center;
    for (size_t k = 0; k < 3; ++k) p += std::copysign(half[k], dot(d, axes[k])) * axes[k];
    return p;
  }
  if (kind == Kind::HULL) {
    double along = 0.0;
    return center + toWorld(hull->corner(hull->farthest(toShape(d), along)));
  }
  Vec3 p = center + std::copysign(halfLength, dot(d, axes[2])) * axes[2];
  if (kind != Kind::CYLINDER) return p + (radius / norm(d)) * d;
  Vec3 out;
  if (radial(d, out)) p += radius * out;
  return p;
}

double ConvexShape::reach(const Vec3& n) const {
  if (kind == Kind::BOX)
    return half[0] * std::fabs(dot(n, axes[0])) + half[1] * std::fabs(dot(n, axes[1])) +
           half[2] * std::fabs(dot(n, axes[2]));
  if (kind == Kind::HULL) {
    double along = 0.0;
    hull->farthest(toShape(n), along);
    return along;
  }
  const double along = dot(n, axes[2]), side = halfLength * std::fabs(along);
  if (kind != Kind::CYLINDER) return side + radius;
  return side + radius * norm(n - along * axes[2]);
}

bool ConvexShape::contains(const Vec3& point, double tolerance) const {
  const Vec3 p = toShape(point - center);
  if (kind == Kind::HULL)
    return std::all_of(hull->facets.begin(), hull->facets.end(), [&](const auto& facet) {
      return dot(facet.normal, p) <= facet.offset + tolerance;
    });
  if (kind == Kind::BOX)
    return std::fabs(p[0]) <= half[0] + tolerance && std::fabs(p[1]) <= half[1] + tolerance &&
           std::fabs(p[2]) <= half[2] + tolerance;
  const double beyond = std::max(std::fabs(p[2]) - halfLength, 0.0);
  const double fromAxis2 = p[0] * p[0] + p[1] * p[1];
  if (kind == Kind::CYLINDER) return beyond <= tolerance && fromAxis2 <= radius * radius;
  return fromAxis2 + beyond * beyond <= radius * radius;
}

void ConvexShape::boxFace(const Vec3& n, Face& face) const {
  size_t k = 0;
  double most = -1.0;
  for (size_t i = 0; i < 3; ++i) {
    const double along = std::fabs(dot(n, axes[i]));
    if (along > most) k = i, most = along;
  }
  const size_t i = (k + 1) % 3, j = (k + 2) % 3;
  face.normal = std::copysign(1.0, dot(n, axes[k])) * axes[k];
  const Vec3 middle = center + half[k] * face.normal;
  const Vec3 u = half[i] * axes[i], v = half[j] * axes[j];
  for (const Vec3& corner : {middle + u + v, middle + u - v, middle - u - v, middle - u + v})
    face.add(corner);
}

/// Of the facets round the farthest corner the one that faces n most. Of a facet of many corners
/// only some are taken, all the way round.
void ConvexShape::hullFace(const Vec3& n, Face& face) const {
  const Vec3 d = toShape(n);
  double along = 0.0;
  const Vec3 corner = hull->corner(hull->farthest(d, along));
  const ConvexPolyhedron::Facet* best = hull->facets.data();
  double most = -2.0 * norm(n);
  for (const ConvexPolyhedron::Facet& facet : hull->facets) {
    const double facing = dot(facet.normal, d);
    if (facing <= most || dot(facet.normal, corner) < facet.offset - kOnFacet * size()) continue;
    best = &facet;
    most = facing;
  }
  face.normal = toWorld(best->normal);
  const size_t step = (best->count + Face::kMostCorners - 1) / Face::kMostCorners;
  for (size_t k = 0; k < best->count; k += step)
    face.add(center + toWorld(hull->corner(hull->loops[best->first + k])));
}

bool ConvexShape::showsCap(const Vec3& n) const {
  return std::fabs(dot(n, axes[2])) > kCapCosine;
}

bool ConvexShape::rimAlong(const Vec3& n, Face& face) const {
  face.count = 0;
  face.normal = std::copysign(1.0, dot(n, axes[2])) * axes[2];
  const Vec3 middle = center + halfLength * face.normal;
  Vec3 u;
  const bool isTilted = radial(n, u);
  if (!isTilted) u = anySquareTo(axes[2]);
  const Vec3 v = cross(axes[2], u);
  for (int k = 0; k < kRimCorners; ++k)
    face.add(middle + (radius * rimCosine(k)) * u + (radius * rimSine(k)) * v);
  return isTilted;
}

double ConvexShape::size() const {
  if (kind == Kind::BOX) return std::min(half[0], std::min(half[1], half[2]));
  if (kind == Kind::HULL) return hull->innerRadius;
  return kind == Kind::CYLINDER ? std::min(radius, halfLength) : radius;
}

void ConvexShape::faceAlong(const Vec3& n, Face& face) const {
  face.count = 0;
  if (kind == Kind::BOX) return boxFace(n, face);
  if (kind == Kind::HULL) return hullFace(n, face);
  if (kind == Kind::SPHERE) return face.add(center + radius * n);
  Vec3 a, b, out = n;
  if (kind == Kind::CYLINDER && (showsCap(n) || !radial(n, out))) {
    rimAlong(n, face);
    return;
  }
  ends(a, b);
  face.add(a + radius * out);
  face.add(b + radius * out);
}

}  // namespace zelvik
