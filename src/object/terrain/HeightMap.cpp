// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <numbers>
#include <zelvik/object/HeightMap.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/GeomCopy.hpp"
#include "object/terrain/HeightMapCollider.hpp"

namespace zelvik {

namespace {

/// How far ODE's box round the field reaches below its lowest sample (m).
constexpr double kThickness = 100.0;
/// Of pi/2 as a double: what a rotation by it leaves on its diagonal.
constexpr double kQuarterTurnCosine = 6.123233995736766e-17;
/// Of the centre and of heights; pose and heights may add up (m).
constexpr double kLargestCoordinate = kLargestForOde;

/// ODE counts cells in an int: half of what it can count, since its box round a turned geom may be
/// wider than ours.
constexpr double kMostCells = 1e9;

/// The size that ODE gets: `size` or some units in the last place more. ODE finds the first cell
/// under a body's box by the rounded reciprocal of the cell size and ends the process if the far
/// edge comes out beyond the last cell, as it does for about one field in ten.
double sizeForOde(double size, size_t samples) {
  const double cells = static_cast<double>(samples) - 1.0;
  for (int i = 0; i < 4096; ++i) {
    const double inverseCellSize = 1.0 / (size / cells);
    if (size * inverseCellSize <= cells) break;
    size = std::nextafter(size, std::numeric_limits<double>::infinity());
  }
  return size;
}

/// Splits a coordinate in units of cells into the cell and the place inside it, both clamped to the
/// field; NaN goes to the first cell as NaN.
void splitCoordinate(double value, size_t samples, size_t& cell, double& fraction) {
  const double last = static_cast<double>(samples - 2);
  cell = value > 0.0 ? static_cast<size_t>(std::min(value, last)) : 0;
  fraction = value - static_cast<double>(cell);
  if (fraction < 0.0) fraction = 0.0;
  if (fraction > 1.0) fraction = 1.0;
}

}  // namespace

HeightMap::HeightMap(unsigned long xSamples, unsigned long ySamples, double xSize, double ySize,
                     double centerX, double centerY, const std::vector<double>& heights)
    : SingleBodyObject(HEIGHTMAP), heights_(heights) {
  init(xSamples, ySamples, xSize, ySize, centerX, centerY);
}

HeightMap::~HeightMap() {
  destroyField();
}

void HeightMap::init(unsigned long xSamples, unsigned long ySamples, double xSize, double ySize,
                     double centerX, double centerY) {
  bodyType_ = BodyType::STATIC;
  if (!checkGrid(xSamples, ySamples, xSize, ySize, centerX, centerY) || !checkHeights()) return;
  centerX_ = centerX;
  centerY_ = centerY;
  xSize_ = xSize;
  ySize_ = ySize;
  xSamples_ = xSamples;
  ySamples_ = ySamples;
  rot_.setIdentity();
  quaternion_ = {{1.0, 0.0, 0.0, 0.0}};
  bodyPos_ = {{centerX, centerY, 0.0}};
  comPos_ = bodyPos_;
  fixedRotation_ = {{1.0, 0.0, 0.0,                 //
                     0.0, kQuarterTurnCosine, 1.0,  //
                     0.0, -1.0, kQuarterTurnCosine}};
  createGeom();
  updateCollision();
}

bool HeightMap::checkGrid(unsigned long xSamples, unsigned long ySamples, double xSize,
                          double ySize, double centerX, double centerY) const {
  if (xSamples < 2 || ySamples < 2) {
    MSG_FATAL("A height map needs 2 or more samples in each direction, but has "
              << xSamples << " x " << ySamples);
    return false;
  }
  // Written as divisions, since the product may overflow.
  if (heights_.size() % xSamples != 0 || heights_.size() / xSamples != ySamples) {
    MSG_FATAL("insufficient number of height values");
    return false;
  }
  if (heights_.size() > INT_MAX) {
    MSG_FATAL("A height map of " << xSamples << " x " << ySamples << " samples is too large");
    return false;
  }
  if (!(xSize > 0.0 && ySize > 0.0 && std::isfinite(xSize) && std::isfinite(ySize))) {
    MSG_FATAL("The size of a height map must be finite and above 0, but is " << xSize << " x "
                                                                             << ySize);
    return false;
  }
  if (!(std::fabs(centerX) < kLargestCoordinate && std::fabs(centerY) < kLargestCoordinate)) {
    MSG_FATAL("The centre of a height map must be within " << kLargestCoordinate << " m, but is "
                                                           << centerX << ", " << centerY);
    return false;
  }
  return true;
}

bool HeightMap::checkHeights() const {
  for (size_t i = 0; i < heights_.size(); ++i)
    if (!(std::fabs(heights_[i]) < kLargestCoordinate)) {
      MSG_FATAL("The height at position " << i << " of a height map is " << heights_[i]
                                          << ", which is not within " << kLargestCoordinate
                                          << " m");
      return false;
    }
  return true;
}

void HeightMap::createGeom() {
  const auto [lowest, highest] = std::minmax_element(heights_.begin(), heights_.end());
  lowest_ = *lowest;
  highest_ = *highest;
  // ODE's rows run against y: its copy is mirrored.
  std::vector<double> mirrored(heights_.size());
  for (size_t r = 0; r < ySamples_; ++r)
    std::copy_n(&heights_[r * xSamples_], xSamples_, &mirrored[(ySamples_ - 1 - r) * xSamples_]);

  heightFieldData_ = dGeomHeightfieldDataCreate();
  dGeomHeightfieldDataBuildDouble(heightFieldData_, mirrored.data(), 1,
                                  sizeForOde(xSize_, xSamples_), sizeForOde(ySize_, ySamples_),
                                  static_cast<int>(xSamples_), static_cast<int>(ySamples_), 1.0,
                                  0.0, kThickness, 0);
  adoptGeom(dCreateHeightfield(nullptr, heightFieldData_, 1));
  dGeomHeightfieldDataSetBounds(heightFieldData_, lowest_, highest_);
  probe_ = dCreateRay(nullptr, 1.0);
  dGeomRaySetClosestHit(probe_, 1);
}

std::unique_ptr<Object> HeightMap::copy() const {
  std::unique_ptr<HeightMap> out(new HeightMap(*this));
  // The caller has had the heights in hand.
  if (collisionObject_ == nullptr || !isReadable() || !checkHeights()) return out;
  out->createGeom();
  out->lowest_ = lowest_;
  out->highest_ = highest_;
  dGeomHeightfieldDataSetBounds(out->heightFieldData_, lowest_, highest_);
  copyGeomRecord(collisionObject_, out->collisionObject_);
  return out;
}

void HeightMap::destroyField() {
  destroyGeoms();
  if (heightFieldData_ != nullptr) dGeomHeightfieldDataDestroy(heightFieldData_);
  heightFieldData_ = nullptr;
  if (probe_ != nullptr) dGeomDestroy(probe_);
  probe_ = nullptr;
}

void HeightMap::destroyCollisionBodies(dSpaceID) {
  destroyField();
}

void HeightMap::updateCollision() {
  if (collisionObject_ == nullptr) return;
  Mat33 geomToWorld;
  rotmatmul(rot_, fixedRotation_, geomToWorld);
  writeGeomPose(collisionObject_, bodyPos_, geomToWorld);
}

HeightMap::BoxW HeightMap::boxW() const {
  const Vec3 middle = bodyPos_ + rot_ * Vec3{{0.0, 0.0, 0.5 * (highest_ + lowest_ - kThickness)}};
  const Vec3 half{{0.5 * xSize_, 0.5 * ySize_, 0.5 * (highest_ - lowest_ + kThickness)}};
  BoxW box{};
  for (size_t i = 0; i < 3; ++i) {
    double reach = 0.0;
    for (size_t k = 0; k < 3; ++k) reach += std::fabs(rot_(i, k)) * half[k];
    box[2 * i] = middle[i] - reach;
    box[2 * i + 1] = middle[i] + reach;
  }
  return box;
}

bool HeightMap::isTurned() const {
  if (collisionObject_ == nullptr) return false;
  for (size_t k = 0; k < 9; ++k)
    if (std::fabs(rot_[k]) > 1e-12 && std::fabs(std::fabs(rot_[k]) - 1.0) > 1e-12) return true;
  return false;
}

bool HeightMap::isMissedByOde(dGeomID other) const {
  if (dGeomIsEnabled(collisionObject_) == 0 || dGeomIsEnabled(other) == 0) return false;
  const bool wanted = (dGeomGetCategoryBits(other) & dGeomGetCollideBits(collisionObject_)) != 0 ||
                      (dGeomGetCategoryBits(collisionObject_) & dGeomGetCollideBits(other)) != 0;
  if (!wanted || dGeomGetClass(other) == dHeightfieldClass) return false;
  dReal odeBox[6], box[6];
  dGeomGetAABB(collisionObject_, odeBox);
  dGeomGetAABB(other, box);
  const BoxW ownBox = boxW();
  bool metByOde = true, met = true;
  for (size_t i = 0; i < 6; i += 2) {
    metByOde = metByOde && box[i] <= odeBox[i + 1] && box[i + 1] >= odeBox[i];
    met = met && box[i] <= ownBox[i + 1] && box[i + 1] >= ownBox[i];
  }
  return met && !metByOde;
}

int HeightMap::collide(dGeomID geom, dContactGeom* points, int capacity) const {
  if (geom == nullptr) {
    MSG_FATAL("HeightMap::collide: Got a nullptr for the geom");
    return -1;
  }
  const bool usable = isReadable() && isUsablePose(bodyPos_, rot_);
  switch (dGeomGetClass(geom)) {
    case dSphereClass:
    case dCapsuleClass:
    case dCylinderClass:
      return usable ? collideRound(*this, geom, points, capacity) : 0;
    case dBoxClass:
      return usable ? collideBox(*this, geom, points, capacity) : 0;
    case dTriMeshClass:
      return usable ? collideMesh(*this, geom, points, capacity) : 0;
    default:
      return -1;
  }
}

bool HeightMap::isInReach(dGeomID other) const {
  dReal box[6];
  dGeomGetAABB(other, box);
  double radius2 = 0.0;
  for (size_t i = 0; i < 3; ++i) {
    const double side =
        std::max(std::fabs(box[2 * i] - bodyPos_[i]), std::fabs(box[2 * i + 1] - bodyPos_[i]));
    radius2 += side * side;
  }
  // An orientation that is not of unit length scales what the field sees of the other geom.
  double scale2 = 1.0;
  for (size_t i = 0; i < 3; ++i) scale2 = std::max(scale2, squaredNorm(column(rot_, i)));
  const double cellSize = std::min(xSize_ / static_cast<double>(xSamples_ - 1),
                                   ySize_ / static_cast<double>(ySamples_ - 1));
  return std::sqrt(radius2 * scale2) < kMostCells * cellSize;
}

/// Whether there is a grid to read, also after the caller has had the heights in hand.
bool HeightMap::isReadable() const {
  return xSamples_ >= 2 && ySamples_ >= 2 && heights_.size() == xSamples_ * ySamples_;
}

HeightMap::FieldPoint HeightMap::locate(double x, double y) const {
  const double u = (x - centerX_) + 0.5 * xSize_;
  const double v = (centerY_ - y) + 0.5 * ySize_;
  FieldPoint point;
  // Division by the size comes first: the far edge then is exactly the last sample.
  splitCoordinate(u / xSize_ * static_cast<double>(xSamples_ - 1), xSamples_, point.column,
                  point.alpha);
  splitCoordinate(v / ySize_ * static_cast<double>(ySamples_ - 1), ySamples_, point.row,
                  point.beta);
  return point;
}

HeightMap::Facet HeightMap::facetAt(size_t column, size_t row, bool far) const {
  const double h10 = sample(column + 1, row), h01 = sample(column, row + 1);
  if (far) return {true, sample(column + 1, row + 1), h01, h10};
  return {false, sample(column, row), h10, h01};
}

Mat<3, 1> HeightMap::fieldNormal(const Facet& facet) const {
  const double gradU = facet.slopeAlpha() * static_cast<double>(xSamples_ - 1) / xSize_;
  const double gradV = facet.slopeBeta() * static_cast<double>(ySamples_ - 1) / ySize_;
  const double inverse = 1.0 / std::sqrt(1.0 + gradU * gradU + gradV * gradV);
  return {{-gradU * inverse, -gradV * inverse, inverse}};
}

double HeightMap::getHeight(double x, double y) const {
  if (!isReadable()) return std::numeric_limits<double>::quiet_NaN();
  const FieldPoint point = locate(x, y);
  return facetAt(point.column, point.row, point.isFar()).height(point.alpha, point.beta);
}

void HeightMap::getNormal(double x, double y, Mat<3, 1>& normal) const {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  normal = {{nan, nan, nan}};
  if (!isReadable() || std::isnan(x) || std::isnan(y)) return;
  const FieldPoint point = locate(x, y);
  normal = fieldNormal(facetAt(point.column, point.row, point.isFar()));
  normal[1] = -normal[1];  // rows of the field run against y
}

}  // namespace zelvik
