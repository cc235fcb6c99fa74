// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <limits>
#include <zelvik/object/HeightMap.hpp>

namespace zelvik {

/// Walks a ray over the cells of a height map, from border to border (J. Amanatides and A. Woo, A
/// fast voxel traversal algorithm, Eurographics 1987, in two dimensions).
///
/// The ray over the field, in units of cells, is a = a0 + t da along the columns and b = b0 + t db
/// along the rows, at height z = z0 + t dz. Over one triangle the gap between ray and surface is
/// linear in t, so a hit is a change of the gap's sign from one crossed line to the next. Each gap
/// is computed once and handed to the next triangle: no ray slips through between two of them.
class HeightMapRayWalk {
 public:
  HeightMapRayWalk(const HeightMap& map, const Vec3& startW, const Vec3& directionW, double length)
      : map_(map), startW_(startW), directionW_(directionW), length_(length) {
    const Vec3 start = transposeMul(map.rot_, startW - map.bodyPos_);
    const Vec3 direction = transposeMul(map.rot_, directionW);
    const double columns = static_cast<double>(map.xSamples_ - 1);
    const double rows = static_cast<double>(map.ySamples_ - 1);
    a0_ = (start[0] + 0.5 * map.xSize_) / map.xSize_ * columns;
    da_ = direction[0] / map.xSize_ * columns;
    b0_ = (0.5 * map.ySize_ - start[1]) / map.ySize_ * rows;
    db_ = -direction[1] / map.ySize_ * rows;
    z0_ = start[2];
    dz_ = direction[2];
  }

  size_t run(HeightMapRayHit* hits, size_t capacity) {
    hits_ = hits;
    capacity_ = capacity;
    if (capacity == 0 || !isFinite() || !enterField()) return 0;
    for (;;) {
      const double tColumn = borderTime(column_, a0_, da_), tRow = borderTime(row_, b0_, db_);
      const double tEnd = std::max(t_, std::min(tExit_, std::min(tColumn, tRow)));
      crossCell(tEnd);
      if (count_ == capacity_ || tEnd >= tExit_) return count_;
      if (tColumn <= tRow)
        column_ += da_ > 0.0 ? 1 : -1;
      else
        row_ += db_ > 0.0 ? 1 : -1;
      if (!isInField()) return count_;
    }
  }

 private:
  bool isFinite() const {
    return std::isfinite(a0_) && std::isfinite(da_) && std::isfinite(b0_) && std::isfinite(db_) &&
           std::isfinite(z0_) && std::isfinite(dz_);
  }

  bool isInField() const {
    return column_ >= 0 && column_ < static_cast<long>(map_.xSamples_) - 1 && row_ >= 0 &&
           row_ < static_cast<long>(map_.ySamples_) - 1;
  }

  /// Narrows [t_, tExit_] to where `start + t rate` lies in [0, cells]; false if nothing is left.
  /// A ray along an edge hits at the low edge and misses at the high one, as in the collider.
  bool clip(double start, double rate, size_t samples) {
    const double cells = static_cast<double>(samples - 1);
    if (rate == 0.0) return start >= 0.0 && start < cells;
    const double tLow = -start / rate, tHigh = (cells - start) / rate;
    t_ = std::max(t_, std::min(tLow, tHigh));
    tExit_ = std::min(tExit_, std::max(tLow, tHigh));
    return t_ <= tExit_;
  }

  static long cellOf(double value, size_t samples) {
    return static_cast<long>(std::clamp(value, 0.0, static_cast<double>(samples - 2)));
  }

  /// Sets the first cell and the gap there; false if the ray misses the footprint of the field.
  bool enterField() {
    t_ = 0.0;
    tExit_ = length_;
    if (!clip(a0_, da_, map_.xSamples_) || !clip(b0_, db_, map_.ySamples_)) return false;
    column_ = cellOf(a0_ + t_ * da_, map_.xSamples_);
    row_ = cellOf(b0_ + t_ * db_, map_.ySamples_);
    gap_ = gapAt(t_, facet(isFarAt(t_)));
    return true;
  }

  /// When the ray leaves the cell along one direction; never if it does not move along it.
  static double borderTime(long cell, double start, double rate) {
    if (rate == 0.0) return std::numeric_limits<double>::infinity();
    return (static_cast<double>(rate > 0.0 ? cell + 1 : cell) - start) / rate;
  }

  double alphaAt(double t) const { return a0_ + t * da_ - static_cast<double>(column_); }
  double betaAt(double t) const { return b0_ + t * db_ - static_cast<double>(row_); }
  bool isFarAt(double t) const { return alphaAt(t) + betaAt(t) >= 1.0; }

  HeightMap::Facet facet(bool far) const {
    return map_.facetAt(static_cast<size_t>(column_), static_cast<size_t>(row_), far);
  }

  /// Height of the ray above the plane of a facet of the present cell (m).
  double gapAt(double t, const HeightMap::Facet& facet) const {
    return z0_ + t * dz_ - facet.height(alphaAt(t), betaAt(t));
  }

  /// Crosses the present cell up to `tEnd`: one triangle, or two with the diagonal between them.
  void crossCell(double tEnd) {
    const double rate = da_ + db_;
    if (rate != 0.0) {
      const double tDiagonal = (1.0 - (alphaAt(0.0) + betaAt(0.0))) / rate;
      if (tDiagonal > t_ && tDiagonal < tEnd) crossFacet(tDiagonal, rate < 0.0);
      if (count_ == capacity_) return;
    }
    crossFacet(tEnd, isFarAt(t_ + 0.5 * (tEnd - t_)));
  }

  void crossFacet(double tEnd, bool far) {
    const HeightMap::Facet surface = facet(far);
    const double gapEnd = gapAt(tEnd, surface);
    const bool changesSide = (gap_ >= 0.0) != (gapEnd >= 0.0);
    // A ray that begins or ends on the surface touches it from above, too.
    const bool begins = t_ == 0.0 && gap_ == 0.0 && gapEnd > 0.0;
    const bool ends = tEnd == length_ && gapEnd == 0.0 && gap_ > 0.0;
    const double rate = dz_ - da_ * surface.slopeAlpha() - db_ * surface.slopeBeta();
    if ((changesSide || begins || ends) && rate != 0.0)
      addHit(std::clamp(t_ - gap_ / rate, t_, tEnd), surface);
    t_ = tEnd;
    gap_ = gapEnd;
  }

  void addHit(double t, const HeightMap::Facet& surface) {
    const Vec3 n = map_.fieldNormal(surface);
    hits_[count_++] = {t, startW_ + t * directionW_, map_.rot_ * Vec3{{n[0], -n[1], n[2]}}};
  }

  const HeightMap& map_;
  const Vec3 startW_, directionW_;
  const double length_;
  double a0_, da_, b0_, db_;  ///< ray over the field (cells, cells/m)
  double z0_, dz_;            ///< ray above the object's origin (m, 1)
  double t_ = 0.0;            ///< present distance along the ray (m)
  double gap_ = 0.0;          ///< height above the surface there (m)
  double tExit_ = 0.0;        ///< where the ray ends or leaves the field (m)
  long column_ = 0, row_ = 0;
  HeightMapRayHit* hits_ = nullptr;
  size_t capacity_ = 0, count_ = 0;
};

size_t HeightMap::rayHits(const Mat<3, 1>& startW, const Mat<3, 1>& directionW, double length,
                          HeightMapRayHit* hits, size_t capacity) const {
  if (!isReadable() || !(length >= 0.0) || !isUsablePose(bodyPos_, rot_)) return 0;
  const double finiteLength = std::min(length, std::numeric_limits<double>::max());
  return HeightMapRayWalk(*this, startW, directionW, finiteLength).run(hits, capacity);
}

}  // namespace zelvik
