// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <sstream>
#include <tuple>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/OdeGuard.hpp"
#include "collision/PairSearch.hpp"
#include "object/NarrowPhase.hpp"

// Pairs of shapes of one system that overlap before anything has moved.

namespace zelvik {

namespace {

/// Overlap from which on a pair counts (m).
constexpr double kLargestOverlap = 1e-3;
/// Pairs that a message names.
constexpr size_t kNamedPairs = 10;

/// Keeps ODE initialised for its own lifetime: a system may exist without a world.
class OdeHolder {
 public:
  OdeHolder() { acquireOde(); }
  ~OdeHolder() { releaseOde(); }
  OdeHolder(const OdeHolder&) = delete;
  OdeHolder& operator=(const OdeHolder&) = delete;
};

/// Depth of the deepest point of a pair (m); 0 if they do not touch.
double depthOf(const PairSearch::GeomPair& pair, std::vector<dContactGeom>& points) {
  const int found = collidePair(pair.first, pair.second, {}, points.data());
  double depth = 0.0;
  for (int i = 0; i < found; ++i) {
    const dContactGeom& point = points[static_cast<size_t>(i)];
    if (isUsablePoint(point)) depth = std::max(depth, point.depth);
  }
  return depth;
}

bool areIgnored(dGeomID a, dGeomID b) {
  return geomRecord(a).ignoredGeoms.count(b) > 0;
}

bool doGroupsMeet(dGeomID a, dGeomID b) {
  return (dGeomGetCategoryBits(a) & dGeomGetCollideBits(b)) != 0 ||
         (dGeomGetCategoryBits(b) & dGeomGetCollideBits(a)) != 0;
}

/// A name for a shape in a message; those of trees made by hand may have none.
std::string nameOf(const CollisionDefinition& shape, const std::vector<std::string>& bodies) {
  return shape.colName.empty() ? bodies[shape.localIdx] : shape.colName;
}

}  // namespace

/// Runs at construction, where all joint coordinates are zero: the state is the zero pose, and no
/// later one has to be put aside for it.
void ArticulatedSystem::findInitialOverlaps() {
  if (collisionBodies_.size() < 2) return;
  const OdeHolder ode;
  updateCollision();
  PairSearch search;
  std::vector<dContactGeom> points(kMaxPointsPerPair);
  for (const CollisionDefinition& shape : collisionBodies_)
    search.append(shape.colObj, getBodyType(shape.localIdx) == BodyType::DYNAMIC);
  for (const PairSearch::GeomPair& pair :
       search.findPairs(search.geomCount() >= PairSearch::kManyGeoms)) {
    if (areIgnored(pair.first, pair.second)) continue;
    const double depth = depthOf(pair, points);
    if (!(depth > kLargestOverlap)) continue;
    GeomRecord &first = geomRecord(pair.first), &second = geomRecord(pair.second);
    const auto [a, b] = std::minmax(first.shapeIdx, second.shapeIdx);
    initialOverlaps_.push_back({a, b, depth});
    if (!ignoreInitialOverlaps_) continue;
    first.ignoredGeoms.insert(pair.second);
    second.ignoredGeoms.insert(pair.first);
  }
  if (ignoreInitialOverlaps_) initialOverlaps_.clear();
}

/// Warns once, at the first step, of the pairs that can still collide then.
void ArticulatedSystem::warnOfInitialOverlaps() {
  std::vector<InitialOverlap> overlaps;
  overlaps.swap(initialOverlaps_);
  const auto canNotCollide = [this](const InitialOverlap& overlap) {
    const dGeomID a = collisionBodies_[overlap.a].colObj, b = collisionBodies_[overlap.b].colObj;
    return a == nullptr || b == nullptr || areIgnored(a, b) || !doGroupsMeet(a, b);
  };
  std::erase_if(overlaps, canNotCollide);
  if (overlaps.empty()) return;
  std::sort(overlaps.begin(), overlaps.end(), [](const InitialOverlap& x, const InitialOverlap& y) {
    return std::tie(y.depth, x.a, x.b) < std::tie(x.depth, y.a, y.b);
  });
  std::ostringstream pairs;
  pairs.imbue(std::locale::classic());
  for (size_t i = 0; i < std::min(overlaps.size(), kNamedPairs); ++i)
    pairs << (i == 0 ? "'" : ", '") << nameOf(collisionBodies_[overlaps[i].a], bodyNames_)
          << "' and '" << nameOf(collisionBodies_[overlaps[i].b], bodyNames_) << "' by "
          << std::round(1e4 * overlaps[i].depth) / 10.0 << " mm";
  if (overlaps.size() > kNamedPairs) pairs << " and " << overlaps.size() - kNamedPairs << " more";
  // A robot that was given as text has its name in the text only.
  std::string name = robotName_;
  if (name.empty() && !modelText_.empty())
    ZelvikTinyXmlWrapper(modelText_, "robot").getAttributeIfExists("name", name);
  MSG_WARN("shapes of the robot '"
           << name << "' overlap while all its joints are at zero, and push each other apart "
           << "in every step: " << pairs.str()
           << ". Ways out: ArticulatedSystemOption::ignoreInitialOverlaps, ignoreCollisionBetween "
           << "of their bodies, or a collision mask without the robot's own group");
}

}  // namespace zelvik
