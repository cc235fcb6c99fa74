// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// One rigid body with several collision shapes at fixed poses in its frame. Mass, centre of mass
/// and inertia are the caller's and never computed from the shapes.
class ZELVIK_API Compound : public SingleBodyObject {
 public:
  /// One shape of a compound.
  struct CompoundObjectChild {
    ObjectType objectType;  ///< `BOX`, `CYLINDER`, `CAPSULE` or `SPHERE`
    /// Box: extents along x, y, z. Cylinder and capsule: radius, height (of a capsule without its
    /// caps). Sphere: radius. (m), not negative.
    double objectParam[4];
    std::string material;  ///< of this shape
    Mat<3, 3> rotation;    ///< child to body
    Mat<3, 1> position;    ///< child origin (m, body frame)
  };

  /// @param mass (kg); zero is not checked and gives an infinite inverse
  /// @param com centre of mass (m, body frame)
  /// @param inertia about the centre of mass (kg m^2, body axes), positive definite
  ///
  /// Fatal, and no collision shapes: "Provided less than 2 children. Compound needs at least 2.";
  /// "Unsupported shape: <type> for a compound object"; a size that is negative or not finite,
  /// with the child and the value.
  Compound(const std::vector<CompoundObjectChild>& children, double mass, const Mat<3, 1>& com,
           const Mat<3, 3>& inertia);
  ~Compound() override;

  void updateCollision() override;
  void destroyCollisionBodies(dSpaceID space) override;
  size_t getGeomCount() const override { return collisionGeoms_.size(); }
  /// Geom of child i; not bounds-checked.
  dGeomID getGeom(size_t i) const override { return collisionGeoms_[i]; }

  /// The shapes as they were given.
  const std::vector<CompoundObjectChild>& getChildren() const { return children_; }
  /// One geom per child, in the order of the children. They never collide with each other.
  const std::vector<dGeomID>& getCollisionGeoms() const { return collisionGeoms_; }

 private:
  bool areChildrenUsable() const;
  void createGeoms();
  void destroyChildGeoms();

  std::vector<dGeomID> collisionGeoms_;
  std::vector<CompoundObjectChild> children_;
};

}  // namespace zelvik
