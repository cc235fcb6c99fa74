// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <exception>
#include <span>
#include <vector>
#include <zelvik/World.hpp>

#include "collision/PairSearch.hpp"

namespace zelvik {

/// The collision side of a world: the space of ODE with all geoms, the raw points of a step, and
/// rays. The geoms belong to the objects, which the world owns.
class CollisionSpace {
 public:
  /// @param objects of the world, in list order; outlives this
  explicit CollisionSpace(const std::vector<Object*>& objects);
  /// The objects' geoms have to be gone.
  ~CollisionSpace();
  CollisionSpace(const CollisionSpace&) = delete;
  CollisionSpace& operator=(const CollisionSpace&) = delete;

  dSpaceID space() const { return space_; }
  World::BroadPhase broadPhase() const { return broadPhase_; }
  /// Puts all geoms, in object order, into a new space.
  void setBroadPhase(World::BroadPhase kind);
  /// To be called before geoms are moved in a step, see docs/reproducibility.md.
  void settleGeoms();

  /// Finds the raw points of the present poses.
  void detect();
  /// Raw points of `detect`, those of a pair of geoms consecutive.
  std::span<const dContactGeom> points() const { return {points_.data(), pointCount_}; }
  /// Whether pairs come in the order in which geoms begin along x.
  bool isSorted() const { return searchesPairs() && search_.isSorted(); }

  /// See `World::rayTest`.
  const RayHitList& castRay(const Vec3& start, const Vec3& direction, double length,
                            unsigned long mask);

 private:
  /// A ray under way.
  struct Ray {
    Vec3 start, direction;  ///< (m), unit
    double length;          ///< (m)
  };

  void renewSpace();
  bool areStaticGeomsInOrder() const;
  bool searchesPairs() const;
  void collideSpace();
  void collideFoundPairs();
  void listGeoms();
  void testPair(dGeomID o1, dGeomID o2);
  void testMissedPairs();
  void testRay(dGeomID geom);
  int collideRayWithMesh(dGeomID mesh, int capacity, dContactGeom* points);
  static void nearCallback(void* space, dGeomID o1, dGeomID o2);
  static void rayCallback(void* space, dGeomID o1, dGeomID o2);
  void rethrow();

  const std::vector<Object*>& objects_;
  World::BroadPhase broadPhase_ = World::BroadPhase::AUTO;
  dSpaceID space_ = nullptr;
  std::vector<dContactGeom> points_;  ///< its size is a capacity
  size_t pointCount_ = 0;             ///< used entries of it
  PairSearch search_;                 ///< see `searchesPairs`
  dGeomID rayGeom_ = nullptr;
  Ray ray_{};
  RayHitList rayHits_;
  std::exception_ptr error_;  ///< raised inside of a callback of ODE, rethrown after it
};

}  // namespace zelvik
