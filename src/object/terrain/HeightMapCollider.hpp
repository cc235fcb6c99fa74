// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <zelvik/object/HeightMap.hpp>

namespace zelvik {

/// Collects touches of a body with a height map, in the frame of the map. A touch is the deepest
/// point of the body along a normal of the ground; the plane through the ground there, the tangent
/// plane, makes touches of what lies below it superfluous.
class HeightMapCollider {
 public:
  HeightMapCollider(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity)
      : map_(map), geom_(geom), points_(points), capacity_(capacity) {
    const dReal *p = dGeomGetPosition(geom), *R = dGeomGetRotation(geom);
    center_ = transposeMul(map.rot_, Vec3{{p[0], p[1], p[2]}} - map.bodyPos_);
    for (size_t k = 0; k < 3; ++k)
      axes_[k] = transposeMul(map.rot_, Vec3{{R[k], R[4 + k], R[8 + k]}});
    cellX_ = map.xSize_ / static_cast<double>(map.xSamples_ - 1);
    cellY_ = map.ySize_ / static_cast<double>(map.ySamples_ - 1);
  }

 protected:
  using Step = std::array<long, 2>;
  /// An edge of the ground at which it bends down; beside the map there is no third vertex.
  struct Ridge {
    Vec3 a, b, left, right;  ///< ends, and the third vertices of the triangles on both sides
    bool hasLeft, hasRight;
  };
  /// How steeply ground may rise above its tangent plane, or the body fall below it (1): a flat
  /// face that lies on several vertices touches them all, though it is parallel to them only
  /// almost.
  static constexpr double kSlopeTolerance = 0.02;
  /// How far ground has to bend down to count as convex (1, of the cell's size).
  static constexpr double kFlatness = 1e-9;

  /// Range of cells under a box; empty beside the map.
  struct Cells {
    long column0, column1, row0, row1;
  };

  Cells cellsUnder(const Vec3& low, const Vec3& high) const {
    const double x0 = 0.5 * map_.xSize_, y0 = 0.5 * map_.ySize_;
    const long columns = static_cast<long>(map_.xSamples_) - 2;
    const long rows = static_cast<long>(map_.ySamples_) - 2;
    return {std::max(cellOf((low[0] + x0) / cellX_), 0l),
            std::min(cellOf((high[0] + x0) / cellX_), columns),
            std::max(cellOf((y0 - high[1]) / cellY_), 0l),
            std::min(cellOf((y0 - low[1]) / cellY_), rows)};
  }

  bool hasVertex(long column, long row) const {
    return column >= 0 && column < static_cast<long>(map_.xSamples_) && row >= 0 &&
           row < static_cast<long>(map_.ySamples_);
  }

  Vec3 vertex(long column, long row) const {
    return {{static_cast<double>(column) * cellX_ - 0.5 * map_.xSize_,
             0.5 * map_.ySize_ - static_cast<double>(row) * cellY_,
             map_.sample(static_cast<size_t>(column), static_cast<size_t>(row))}};
  }

  /// Calls `visit(column, row)` for the vertices of all cells under a box.
  template <typename Visit>
  void forVertices(const Vec3& low, const Vec3& high, Visit&& visit) const {
    const Cells cells = cellsUnder(low, high);
    if (cells.column0 > cells.column1 || cells.row0 > cells.row1) return;
    for (long row = cells.row0; row <= cells.row1 + 1; ++row)
      for (long column = cells.column0; column <= cells.column1 + 1; ++column) visit(column, row);
  }

  /// Height above the plane of the triangle below the point (m) and its normal; false beside the
  /// map.
  bool gapBelow(const Vec3& p, double& gap, Vec3& normal) const {
    const double u = (p[0] + 0.5 * map_.xSize_) / cellX_, v = (0.5 * map_.ySize_ - p[1]) / cellY_;
    const double columns = static_cast<double>(map_.xSamples_ - 1);
    const double rows = static_cast<double>(map_.ySamples_ - 1);
    if (!(u >= 0.0 && u <= columns && v >= 0.0 && v <= rows)) return false;
    const size_t column = static_cast<size_t>(std::min(u, columns - 1.0));
    const size_t row = static_cast<size_t>(std::min(v, rows - 1.0));
    const double alpha = u - static_cast<double>(column), beta = v - static_cast<double>(row);
    const HeightMap::Facet facet = map_.facetAt(column, row, alpha + beta >= 1.0);
    normal = map_.fieldNormal(facet);
    normal[1] = -normal[1];
    gap = (p[2] - facet.height(alpha, beta)) * normal[2];
    return true;
  }

  /// Whether the ground round a vertex lies below the plane of the given normal through it.
  bool isTangent(long column, long row, const Vec3& v, const Vec3& normal) const {
    if (normal[2] <= 0.0) return false;
    for (const Step& step : kNeighbours)
      if (rises(column + step[0], row + step[1], v, normal) ||
          rises(column - step[0], row - step[1], v, normal))
        return false;
    return true;
  }

  /// Whether the ground bends down at a vertex, in any direction; corners of the body are enough to
  /// find out about other ground.
  bool isConvex(long column, long row, const Vec3& v) const {
    for (const Step& step : kNeighbours) {
      const long c1 = column + step[0], r1 = row + step[1];
      const long c2 = column - step[0], r2 = row - step[1];
      if (!hasVertex(c1, r1) || !hasVertex(c2, r2)) return true;
      if (vertex(c1, r1)[2] + vertex(c2, r2)[2] < 2.0 * v[2] - kFlatness * cellX_) return true;
    }
    return false;
  }

  /// Calls `visit` for the ridges under a box that reach above its bottom.
  template <typename Visit>
  void forRidges(const Vec3& low, const Vec3& high, Visit&& visit) const {
    forVertices(low, high, [&](long column, long row) {
      for (const Edge& edge : kEdges) {
        const long c = column + edge.to[0], r = row + edge.to[1];
        if (!hasVertex(c, r)) continue;
        Ridge ridge{vertex(column, row), vertex(c, r), {}, {}, false, false};
        if (std::max(ridge.a[2], ridge.b[2]) <= low[2]) continue;
        ridge.hasLeft = readVertex(column + edge.left[0], row + edge.left[1], ridge.left);
        ridge.hasRight = readVertex(column + edge.right[0], row + edge.right[1], ridge.right);
        if (bendsDown(ridge)) visit(ridge);
      }
    });
  }

  /// Whether the ground on both sides of a ridge lies below the plane of the given normal.
  static bool isTangent(const Ridge& ridge, const Vec3& normal) {
    return normal[2] > 0.0 && !(ridge.hasLeft && isAbove(ridge.left, ridge.a, normal)) &&
           !(ridge.hasRight && isAbove(ridge.right, ridge.a, normal));
  }

  static Vec3 positionOf(const dContactGeom& g) { return {{g.pos[0], g.pos[1], g.pos[2]}}; }
  static Vec3 normalOf(const dContactGeom& g) { return {{g.normal[0], g.normal[1], g.normal[2]}}; }

  /// Adds a touch, unless one from `first` on covers it, and drops what it covers from `own_` on:
  /// a touch between the ends must not take the support of an end away.
  void add(const Vec3& position, const Vec3& normal, double depth, int first) {
    dContactGeom touch{};
    for (int i = 0; i < 3; ++i) {
      touch.pos[i] = position[i];
      touch.normal[i] = normal[i];
    }
    touch.depth = depth;
    touch.side1 = touch.side2 = -1;
    for (int k = first; k < count_; ++k)
      if (covers(points_[k], touch)) return;
    const auto end = std::remove_if(points_ + own_, points_ + count_,
                                    [&](const dContactGeom& g) { return covers(touch, g); });
    count_ = static_cast<int>(end - points_);
    if (count_ < capacity_) points_[count_++] = touch;
  }

  /// A point of the body, if it lies below the ground.
  void touchPoint(const Vec3& p) {
    own_ = count_;
    double gap = 0.0;
    Vec3 up{};
    if (gapBelow(p, gap, up) && gap < 0.0) add(p, up, -gap, count_);
  }

  void toWorld() {
    for (int k = 0; k < count_; ++k) {
      const Vec3 p = map_.rot_ * positionOf(points_[k]) + map_.bodyPos_;
      const Vec3 n = map_.rot_ * normalOf(points_[k]);
      for (int i = 0; i < 3; ++i) {
        points_[k].pos[i] = p[i];
        points_[k].normal[i] = n[i];
      }
    }
  }

  dGeomID probe() const { return map_.probe_; }
  const Mat33& mapRotation() const { return map_.rot_; }
  const Vec3& mapPosition() const { return map_.bodyPos_; }

  const HeightMap& map_;
  const dGeomID geom_;
  dContactGeom* const points_;
  const int capacity_;
  int count_ = 0;
  int own_ = 0;  ///< first touch of the part of the body that is looked at
  Vec3 center_{};
  std::array<Vec3, 3> axes_{};        ///< of the body
  double cellX_ = 0.0, cellY_ = 0.0;  ///< (m)

 private:
  struct Edge {
    Step to, left, right;
  };
  /// Edges that begin at a vertex, and the third vertices of the triangles on both sides.
  static constexpr Edge kEdges[] = {
      {{1, 0}, {0, 1}, {1, -1}}, {{0, 1}, {1, 0}, {-1, 1}}, {{-1, 1}, {-1, 0}, {0, 1}}};
  /// Half of the vertices next to one; the others lie opposite.
  static constexpr Step kNeighbours[] = {{1, 0}, {0, 1}, {-1, 1}};

  /// A touch is left out if it does not rise above the tangent plane of a deeper one by this (m).
  static constexpr double kPlaneTolerance = 1e-7;

  bool readVertex(long column, long row, Vec3& out) const {
    if (!hasVertex(column, row)) return false;
    out = vertex(column, row);
    return true;
  }

  bool bendsDown(const Ridge& r) const {
    return !r.hasLeft || !r.hasRight ||
           r.left[2] + r.right[2] < r.a[2] + r.b[2] - kFlatness * cellX_;
  }

  /// Whether v lies above the plane through p.
  static bool isAbove(const Vec3& v, const Vec3& p, const Vec3& normal) {
    const Vec3 d = v - p;
    return dot(d, normal) > kSlopeTolerance * norm(d);
  }

  /// The same for a vertex of the ground, if there is one.
  bool rises(long column, long row, const Vec3& p, const Vec3& normal) const {
    return hasVertex(column, row) && isAbove(vertex(column, row), p, normal);
  }

  static long cellOf(double value) {
    return static_cast<long>(std::floor(std::clamp(value, -1.0, 2e9)));
  }

  /// Whether the ground of `k` does not rise above the tangent plane of the deeper `a`.
  static bool covers(const dContactGeom& a, const dContactGeom& k) {
    const Vec3 na = normalOf(a);
    const Vec3 ground = positionOf(k) + k.depth * normalOf(k);
    return a.depth >= k.depth && dot(ground - positionOf(a) - a.depth * na, na) <= kPlaneTolerance;
  }
};

/// Touches of a sphere, capsule or cylinder with a height map, see `HeightMap::collide`.
int collideRound(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity);
/// Touches of a box.
int collideBox(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity);
/// Touches of a triangle mesh.
int collideMesh(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity);

}  // namespace zelvik
