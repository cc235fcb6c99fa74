// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cmath>
#include <cstdint>
#include <zelvik/math.hpp>

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
  enum class Kind : std::uint8_t { BOX, CAPSULE, CYLINDER };

  Kind kind;
  Vec3 center;
  Vec3 axes[3];       ///< unit
  Vec3 half;          ///< of a box: half of its sides (m)
  double radius;      ///< of a round shape (m)
  double halfLength;  ///< of a capsule without its caps, of a cylinder (m)

  bool isRound() const { return kind != Kind::BOX; }

  /// The point farthest along d, which need not be a unit vector.
  Vec3 support(const Vec3& d) const;
  /// How far the shape reaches from its centre along the unit vector n (m).
  double halfWidth(const Vec3& n) const;
  /// The part that faces along the unit vector n. It holds the farthest point along n. Corners on
  /// rims are placed relative to that point, not to the body, so that they stay while it rolls.
  void faceAlong(const Vec3& n, Face& face) const;
  /// Whether a cylinder faces the unit vector n with a cap, not with its side.
  bool showsCap(const Vec3& n) const;
  /// The rim of the cap of a cylinder that faces n as a polygon, from its farthest corner along n
  /// on. @return false if n is the axis, so that none is the farthest
  bool rimAlong(const Vec3& n, Face& face) const;
  /// Smallest half width (m).
  double size() const;
  /// Ends of the axis of a round shape.
  void ends(Vec3& a, Vec3& b) const {
    a = center - halfLength * axes[2];
    b = center + halfLength * axes[2];
  }

 private:
  void boxFace(const Vec3& n, Face& face) const;
  /// Unit vector square to the axis that points along n, as far as there is one.
  bool radial(const Vec3& n, Vec3& out) const;
};

/// Reads a box, capsule or cylinder. @return whether the geom is one
bool readConvexShape(dGeomID geom, ConvexShape& shape);

}  // namespace zelvik
