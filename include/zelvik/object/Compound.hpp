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

  /// Sets the material of all children.
  void setMaterial(const std::string& material) override;
  /// Sets the material of one child, for the contacts of the next step. Fatal for an index out of
  /// range.
  void setChildMaterial(size_t child, const std::string& material);
  ///@{
  /// Changes the size of one child between steps; mass, centre of mass and inertia stay. Fatal, and
  /// nothing changes, for an index out of range and for sizes that are not finite and above 0 (the
  /// height of a capsule may be 0).
  /// @param lengths (m) as `CompoundObjectChild::objectParam`; what the shape does not need is not
  /// read
  void setChildSize(size_t child, const Mat<3, 1>& lengths);
  template <typename Derived, typename = IfVector3<Derived>>
  void setChildSize(size_t child, const Eigen::MatrixBase<Derived>& lengths) {
    Vec3 v;
    if (readArgument(lengths, "setChildSize", v)) setChildSize(child, v);
  }
  ///@}
  ///@{
  /// Moves one child inside the body between steps; mass, centre of mass and inertia stay. Fatal,
  /// and nothing changes, for an index out of range and for values that are not finite.
  /// @param position child origin (m, body frame)
  /// @param rotation child to body
  void setChildPose(size_t child, const Mat<3, 1>& position, const Mat<3, 3>& rotation);
  template <typename P, typename R, typename = IfVector3<P>, typename = IfMatrix33<R>>
  void setChildPose(size_t child, const Eigen::MatrixBase<P>& position,
                    const Eigen::MatrixBase<R>& rotation) {
    Vec3 p;
    Mat33 M;
    if (readArgument(position, "setChildPose", p) && readArgument(rotation, "setChildPose", M))
      setChildPose(child, p, M);
  }
  ///@}

  /// The shapes as they were given, with what has been changed since.
  const std::vector<CompoundObjectChild>& getChildren() const { return children_; }
  /// One geom per child, in the order of the children. They never collide with each other.
  const std::vector<dGeomID>& getCollisionGeoms() const { return collisionGeoms_; }
  std::unique_ptr<Object> copy() const override;

 private:
  Compound(const Compound& other);  // for `copy`

  bool areChildrenUsable() const;
  bool checkChild(size_t child, const char* operation) const;
  void createGeoms();
  void destroyChildGeoms();

  std::vector<dGeomID> collisionGeoms_;
  std::vector<CompoundObjectChild> children_;
};

}  // namespace zelvik
