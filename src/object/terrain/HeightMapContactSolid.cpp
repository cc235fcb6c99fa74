// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <limits>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/OdeGuard.hpp"
#include "object/terrain/HeightMapCollider.hpp"

// Contacts of boxes and meshes with a height map: corners of the body below the ground, vertices of
// the ground inside of the body, ridges of the ground across edges of the body. A normal counts if
// the ground lies below the plane that it makes and the body above it, see D. Gregorius, The
// separating axis test between convex polyhedra (GDC 2013).

namespace zelvik {

namespace {

/// Where a line meets a face of the body.
struct FacePoint {
  Vec3 position;
  Vec3 normal;  ///< unit, out of the body
};

struct Touch {
  Vec3 position{};                                         ///< on the body
  Vec3 normal{};                                           ///< into the body
  double depth = std::numeric_limits<double>::infinity();  ///< (m)
};

/// A body touches in no more points than this.
constexpr int kMostTouches = 16;

/// What boxes and meshes have in common.
class SolidCollider : public HeightMapCollider {
 public:
  using HeightMapCollider::HeightMapCollider;

 protected:
  ~SolidCollider() = default;

  /// Finds where the way from a to b enters the body; false if it does not, or begins inside.
  virtual bool findEntry(const Vec3& a, const Vec3& b, FacePoint& entry) const = 0;
  /// Finds where the way along d from a point on the surface leaves the body by another face.
  virtual bool findExit(const FacePoint& point, const Vec3& d, FacePoint& exit) const = 0;
  /// Adds a touch of a vertex of the ground, if it is inside of the body.
  virtual void touchVertex(long column, long row, const Vec3& v) = 0;

  /// Keeps the deepest touch and those that are farthest from one another.
  void thinOut() {
    if (count_ <= kMostTouches) return;
    const auto deeper = [](const dContactGeom& a, const dContactGeom& b) {
      return a.depth < b.depth;
    };
    std::iter_swap(points_, std::max_element(points_, points_ + count_, deeper));
    for (int chosen = 1; chosen < kMostTouches; ++chosen) {
      const auto distance = [&](const dContactGeom& g) {
        double nearest = std::numeric_limits<double>::infinity();
        for (int k = 0; k < chosen; ++k)
          nearest = std::min(nearest, squaredNorm(positionOf(g) - positionOf(points_[k])));
        return nearest;
      };
      int farthest = chosen;
      double most = -1.0;
      for (int k = chosen; k < count_; ++k) {
        const double d = distance(points_[k]);
        if (d <= most) continue;
        most = d;
        farthest = k;
      }
      std::swap(points_[chosen], points_[farthest]);
    }
    count_ = kMostTouches;
  }

  void addTouch(const Touch& touch) {
    if (count_ == capacity_) thinOut();
    own_ = count_;
    add(touch.position, touch.normal, touch.depth, count_);
  }

  /// Vertices and ridges of the ground inside of the body, whose box in the frame of the map is
  /// given.
  void touchGround(const Vec3& low, const Vec3& high) {
    forVertices(low, high, [&](long column, long row) {
      const Vec3 v = vertex(column, row);
      if (isIn(v, low, high) && isConvex(column, row, v)) touchVertex(column, row, v);
    });
    forRidges(low, high, [&](const Ridge& ridge) { touchRidge(ridge); });
  }

 private:
  static bool isIn(const Vec3& p, const Vec3& low, const Vec3& high) {
    return p[0] > low[0] && p[0] < high[0] && p[1] > low[1] && p[1] < high[1] && p[2] > low[2];
  }

  /// An edge of the ground that passes through an edge of the body: one of those between a face
  /// where it goes in or out and another such face, or the one below.
  void touchRidge(const Ridge& ridge) {
    const Vec3 &a = ridge.a, &b = ridge.b;
    const auto tryWedge = [&](const FacePoint& f, const FacePoint& g) {
      Touch touch;
      if (!findWedge(b - a, f, g, touch)) return false;
      const double along = dot(touch.position + touch.depth * touch.normal - a, b - a);
      if (along < 0.0 || along > squaredNorm(b - a) || !isTangent(ridge, touch.normal))
        return false;
      addTouch(touch);
      return true;
    };
    FacePoint in, out, below;
    const bool goesIn = findEntry(a, b, in), goesOut = findEntry(b, a, out);
    if (goesIn && goesOut && tryWedge(in, out)) return;
    if (goesIn && findBelow(in, below)) tryWedge(in, below);
    if (goesOut && findBelow(out, below)) tryWedge(out, below);
  }

  /// Finds the face on the other side of the lower edge of a point's face.
  bool findBelow(const FacePoint& point, FacePoint& below) const {
    const Vec3 d = point.normal[2] * point.normal - Vec3{{0.0, 0.0, 1.0}};
    return findExit(point, d, below) && dot(below.normal, point.normal) < 0.999;
  }

  /// The touch of a line along d with the edge between two faces of the body, of which the line
  /// crosses the first; false if the edge is not below the line and the body above it.
  static bool findWedge(const Vec3& d, const FacePoint& f, const FacePoint& g, Touch& touch) {
    const Vec3 wedge = cross(f.normal, g.normal);
    Vec3& n = touch.normal;
    n = cross(d, wedge);
    const double length = norm(n);
    if (!(length > 1e-6 * norm(d))) return false;
    n *= (n[2] > 0.0 ? 1.0 : -1.0) / length;
    // -n = x f.normal + y g.normal has to have x, y >= 0: the body is above.
    const double fN = dot(n, f.normal), gN = dot(n, g.normal), cosine = dot(f.normal, g.normal);
    const double tolerance = kSlopeTolerance * (1.0 - cosine * cosine);
    if (std::max(fN - cosine * gN, gN - cosine * fN) > tolerance) return false;
    const Vec3 across = cross(f.normal, wedge);  // in the first face, square to the edge
    const double s = dot(g.normal, g.position - f.position) / dot(g.normal, across);
    const Vec3 onWedge = f.position + s * across;
    touch.depth = dot(n, f.position - onWedge);
    const Vec3 side = cross(wedge, n), under = f.position - touch.depth * n;
    touch.position = under - (dot(under - onWedge, side) / dot(d, side)) * d;
    return touch.depth > 0.0 && touch.depth <= norm(g.position - f.position);
  }
};

class BoxCollider final : public SolidCollider {
 public:
  using SolidCollider::SolidCollider;

  int run() {
    dVector3 sides;
    dGeomBoxGetLengths(geom_, sides);
    Vec3 reach{};
    for (size_t k = 0; k < 3; ++k) {
      half_[k] = 0.5 * sides[k];
      for (size_t i = 0; i < 3; ++i) reach[i] += std::fabs(half_[k] * axes_[k][i]);
    }
    for (unsigned corner = 0; corner < 8; ++corner) {
      Vec3 p = center_;
      for (unsigned k = 0; k < 3; ++k) p += ((corner >> k & 1 ? 1.0 : -1.0) * half_[k]) * axes_[k];
      touchPoint(p);
    }
    touchGround(center_ - reach, center_ + reach);
    thinOut();
    toWorld();
    return count_;
  }

 private:
  Vec3 toBox(const Vec3& d) const {
    return {{dot(d, axes_[0]), dot(d, axes_[1]), dot(d, axes_[2])}};
  }

  bool findEntry(const Vec3& a, const Vec3& b, FacePoint& entry) const override {
    const Vec3 from = toBox(a - center_), d = toBox(b - a);
    double first = 0.0, last = 1.0;
    for (size_t k = 0; k < 3; ++k) {
      const double sign = d[k] > 0.0 ? -1.0 : 1.0;  // of the face that is met first
      if (d[k] == 0.0 && std::fabs(from[k]) >= half_[k]) return false;
      if (d[k] == 0.0) continue;
      const double in = (sign * half_[k] - from[k]) / d[k];
      last = std::min(last, (-sign * half_[k] - from[k]) / d[k]);
      if (in <= first) continue;
      first = in;
      entry.normal = sign * axes_[k];
    }
    if (!(first > 0.0 && first < last)) return false;
    entry.position = a + first * (b - a);
    return true;
  }

  bool findExit(const FacePoint& point, const Vec3& d, FacePoint& exit) const override {
    const Vec3 p = toBox(point.position - center_), way = toBox(d);
    double nearest = std::numeric_limits<double>::infinity();
    for (size_t k = 0; k < 3; ++k) {
      if (std::fabs(way[k]) < 1e-9 * norm(d)) continue;  // the point's own face
      const double sign = way[k] > 0.0 ? 1.0 : -1.0;
      const double distance = (half_[k] - sign * p[k]) / std::fabs(way[k]);
      if (distance >= nearest) continue;
      nearest = distance;
      exit = {point.position + distance * d, sign * axes_[k]};
    }
    return std::isfinite(nearest);
  }

  /// Out by the nearest face whose plane has the ground below it.
  void touchVertex(long column, long row, const Vec3& v) override {
    const Vec3 p = toBox(v - center_);
    double depth = std::numeric_limits<double>::infinity();
    Vec3 normal{};
    for (size_t k = 0; k < 3; ++k)
      for (double sign : {-1.0, 1.0}) {
        const double inside = half_[k] - sign * p[k];
        if (inside <= 0.0) return;
        if (inside >= depth || !isTangent(column, row, v, -sign * axes_[k])) continue;
        depth = inside;
        normal = -sign * axes_[k];
      }
    if (std::isfinite(depth)) addTouch({v - depth * normal, normal, depth});
  }

  Vec3 half_{};  ///< half of the sides (m)
};

class MeshCollider final : public SolidCollider {
 public:
  using SolidCollider::SolidCollider;

  int run() {
    const GeomRecord& record = geomRecord(geom_);
    const double infinity = std::numeric_limits<double>::infinity();
    Vec3 low{{infinity, infinity, infinity}}, high = -low;
    for (size_t k = 0; k < record.vertexCount; ++k) {
      const Vec3 p = corner(record.vertices + 3 * k);
      for (size_t i = 0; i < 3; ++i) {
        low[i] = std::min(low[i], p[i]);
        high[i] = std::max(high[i], p[i]);
      }
    }
    bottom_ = low[2];
    size_ = norm(high - low);
    touchCorners(record, highestUnder(low, high));
    touchGround(low, high);
    thinOut();
    toWorld();
    return count_;
  }

 private:
  Vec3 corner(const float* v) const {
    return center_ + static_cast<double>(v[0]) * axes_[0] + static_cast<double>(v[1]) * axes_[1] +
           static_cast<double>(v[2]) * axes_[2];
  }

  double highestUnder(const Vec3& low, const Vec3& high) const {
    double highest = -std::numeric_limits<double>::infinity();
    forVertices(low, high, [&](long column, long row) {
      highest = std::max(highest, vertex(column, row)[2]);
    });
    return highest;
  }

  void touchCorners(const GeomRecord& record, double highest) {
    for (size_t k = 0; k < record.vertexCount; ++k) {
      const Vec3 p = corner(record.vertices + 3 * k);
      if (p[2] >= highest) continue;
      if (count_ == capacity_) thinOut();
      touchPoint(p);
    }
    thinOut();
  }

  Vec3 toWorldPoint(const Vec3& p) const { return mapPosition() + mapRotation() * p; }

  /// The first face on the way from a to b (frame of the map), whichever side it shows.
  bool firstFace(const Vec3& a, const Vec3& b, FacePoint& face) const {
    const Vec3 from = toWorldPoint(a), d = mapRotation() * (b - a);
    const double length = norm(d);
    if (!(length > 0.0)) return false;
    dGeomRaySetLength(probe(), length);
    dGeomRaySet(probe(), from[0], from[1], from[2], d[0], d[1], d[2]);
    dContactGeom hit;
    if (collideGuarded(probe(), geom_, 1, &hit, sizeof(hit)) == 0) return false;
    face.position = a + (hit.depth / length) * (b - a);
    face.normal = transposeMul(mapRotation(), normalOf(hit));
    return true;
  }

  bool findEntry(const Vec3& a, const Vec3& b, FacePoint& entry) const override {
    return firstFace(a, b, entry) && dot(entry.normal, b - a) < 0.0;
  }

  bool findExit(const FacePoint& point, const Vec3& d, FacePoint& exit) const override {
    const double length = norm(d);
    if (!(length > 1e-9)) return false;
    const Vec3 start = point.position - (1e-6 * size_) * point.normal;
    return firstFace(start, start + (size_ / length) * d, exit) && dot(exit.normal, d) > 0.0;
  }

  /// Whether p is inside of the mesh, and where the way down leaves it. The way is a little
  /// slanted: the collider misses lines exactly through edges.
  bool leavesBelow(const Vec3& p, FacePoint& face) const {
    const double way = p[2] - bottom_;
    const Vec3 down{{3.1e-4 * way, 1.7e-4 * way, -1.01 * way}};
    return way > 0.0 && firstFace(p, p + down, face) && dot(face.normal, down) > 0.0;
  }

  /// Out by the face below.
  void touchVertex(long column, long row, const Vec3& v) override {
    FacePoint face;
    if (!leavesBelow(v, face) || !isTangent(column, row, v, -face.normal)) return;
    const double depth = dot(face.normal, face.position - v);
    addTouch({v + depth * face.normal, -face.normal, depth});
  }

  double bottom_ = 0.0;  ///< height of the lowest vertex (m)
  double size_ = 0.0;    ///< longest way through the body (m)
};

}  // namespace

int collideBox(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity) {
  return BoxCollider(map, geom, points, capacity).run();
}

int collideMesh(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity) {
  return MeshCollider(map, geom, points, capacity).run();
}

}  // namespace zelvik
