// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cmath>
#include <cstdint>
#include <zelvik/math.hpp>

#include "collision/ConvexPolyhedron.hpp"

namespace zelvik {

/// A polygon in which a shape faces another one: a face, a side line, a point. Corners turn either
/// way round.
struct Face {
  static constexpr int kMostCorners = 32;

  int count = 0;
  Vec3 corners[kMostCorners];
  Vec3 normal{};  ///< of three and more corners: unit, out of the shape

  void add(const Vec3& corner) { corners[count++] = corner; }
};

/// A convex shape in the world, as points of contact are found on it.
struct ConvexShape {
  enum class Kind : std::uint8_t { BOX, CAPSULE, CYLINDER, SPHERE, HULL };

  Kind kind;
  Vec3 center;        ///< of a hull: its centroid
  Vec3 axes[3];       ///< unit
  Vec3 half;          ///< of a box: half of its sides (m)
  double radius;      ///< of a round shape (m)
  double halfLength;  ///< of a capsule without its caps, of a cylinder (m)

  const ConvexPolyhedron* hull;

  bool isRound() const { return kind != Kind::BOX && kind != Kind::HULL; }

  /// The point farthest along d, which need not be a unit vector.
  Vec3 support(const Vec3& d) const;
  /// How far the shape reaches from its centre along the unit vector n (m).
  double reach(const Vec3& n) const;
  /// Whether a point lies inside, or outside by no more than `tolerance` (m).
  bool contains(const Vec3& point, double tolerance) const;
  /// The part that faces along the unit vector n. It holds the farthest point along n. Corners on
  /// rims are placed relative to that point, not to the body, so that they stay while it rolls.
  void faceAlong(const Vec3& n, Face& face) const;
  /// Whether a cylinder faces the unit vector n with a cap, not with its side.
  bool showsCap(const Vec3& n) const;
  /// The rim of the cap of a cylinder that faces n as a polygon, from its farthest corner along n
  /// on. @return false if n is the axis, so that none is the farthest
  bool rimAlong(const Vec3& n, Face& face) const;
  /// Radius of a ball about the centre that lies inside (m).
  double size() const;
  /// A direction in the axes of the shape, and back.
  Vec3 toShape(const Vec3& d) const {
    return {{dot(d, axes[0]), dot(d, axes[1]), dot(d, axes[2])}};
  }
  Vec3 toWorld(const Vec3& d) const { return d[0] * axes[0] + d[1] * axes[1] + d[2] * axes[2]; }
  /// Ends of the axis of a capsule or cylinder.
  void ends(Vec3& a, Vec3& b) const {
    a = center - halfLength * axes[2];
    b = center + halfLength * axes[2];
  }

 private:
  void boxFace(const Vec3& n, Face& face) const;
  void hullFace(const Vec3& n, Face& face) const;
  /// Unit vector square to the axis that points along n, as far as there is one.
  bool radial(const Vec3& n, Vec3& out) const;
};

/// The polyhedron of a geom; null if it is no hull.
const ConvexPolyhedron* hullOf(dGeomID geom);

/// Reads a box, capsule, cylinder, sphere or hull. @return whether the geom is one
bool readConvexShape(dGeomID geom, ConvexShape& shape);

}  // namespace zelvik
