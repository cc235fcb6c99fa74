// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cstdint>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

/// The joint that connects a body to its parent. Frames: "body" is the child body, "parent" the
/// body above it.
class Joint {
 public:
  /// Motion that a joint leaves free; coordinates and velocities: see `ArticulatedSystem`.
  enum Type : std::int32_t { FIXED = 0, REVOLUTE = 1, PRISMATIC = 2, SPHERICAL = 3, FLOATING = 4 };
};

// The shapes carry the names of the object types on purpose; scoped as they are, none hides
// another.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
/// Kinds of shapes of an articulated system.
struct Shape {
  /// In brackets: what a shape's `size` holds, full lengths in metres.
  enum Type : std::int32_t {
    BOX = 0,       ///< x, y, z
    CYLINDER = 1,  ///< radius, length
    SPHERE = 2,    ///< radius
    MESH = 3,      ///< nothing is read
    CAPSULE = 4,   ///< radius, length of the cylinder part
    HULL = 5       ///< nothing is read: a mesh that is convex, see `ConvexHull`
  };
};
#pragma GCC diagnostic pop

/// Coordinates that a joint of this type adds; 0 for `FIXED` and anything invalid.
ZELVIK_API size_t coordinateCount(Joint::Type type);
/// Velocities that a joint of this type adds; 0 for `FIXED` and anything invalid.
ZELVIK_API size_t velocityCount(Joint::Type type);

/// A collision shape before its geom exists.
class CollisionBody {
 public:
  Shape::Type shape = Shape::SPHERE;            ///< kind
  Mat<3, 1> scale{{1.0, 1.0, 1.0}};             ///< applied to mesh vertices
  std::vector<double> size;                     ///< see `Shape::Type` (m)
  Mat<3, 1> posOffset{};                        ///< position in the body frame (m)
  Mat<3, 3> rotOffset = Mat<3, 3>::identity();  ///< shape to body frame
  std::string collisionBodyName;                ///< of the shape, for the caller's use
  std::string material;        ///< collision material, the name that the material table knows
  std::string visualMaterial;  ///< for a renderer
  std::string meshFileName;    ///< relative to the system's resource directory
};

/// A shape for a renderer, fixed in a body.
class ZELVIK_API VisObject {
 public:
  VisObject() = default;
  /// Fatal for `MESH` with an empty name: "Provide a valid mesh file name".
  VisObject(Shape::Type shape, const std::vector<double>& size, const Mat<3, 1>& position,
            const Mat<3, 3>& rotation, const Mat<4, 1>& color, const Mat<3, 1>& scale,
            const std::string& meshFileName, const std::string& name, const std::string& material);

  Shape::Type shape = Shape::SPHERE;      ///< kind
  std::vector<double> size;               ///< see `Shape::Type` (m)
  Mat<3, 1> offset{};                     ///< position in the body frame (m)
  Mat<3, 3> rot = Mat<3, 3>::identity();  ///< shape to body frame
  Mat<4, 1> color{};                      ///< red, green, blue, alpha, 0 to 1
  Mat<3, 1> scale{{1.0, 1.0, 1.0}};       ///< applied to mesh vertices
  std::string meshFileName;               ///< relative to the system's resource directory
  std::string name;                       ///< of the shape
  size_t localIdx = 0;                    ///< body index, written by `Child::initVisuals`
  std::string material;                   ///< for a renderer
};

/// A live collision geom of an articulated system.
class ZELVIK_API CollisionDefinition {
 public:
  Mat<3, 3> offsetRotation;  ///< geom to body frame
  Mat<3, 1> offsetPosition;  ///< in the body frame (m)
  std::string colName;       ///< of the shape
  size_t localIdx = 0;       ///< body index
  dGeomID colObj = nullptr;  ///< the geom; null in a record made by hand and after
                             ///< `ArticulatedSystem::destroyCollisionBodies`

  /// The collision material, kept with the geom; empty without one.
  const std::string& getMaterial() const;
  /// Name that the material table knows, from the next step on. Fatal without a geom:
  /// "CollisionDefinition::setMaterial: the collision object '*name*' has no geom that could carry
  /// the material '*material*'".
  void setMaterial(const std::string& material);
};

/// A named frame fixed in a body. Every joint has one, fixed joints included; the frame of a
/// movable joint is the frame of the body below it.
class CoordinateFrame {
 public:
  Mat<3, 3> orientation{};               ///< frame to body
  Mat<3, 1> position{};                  ///< in the body frame (m)
  size_t parentId = 0;                   ///< body index
  size_t reserved = 0;                   ///< read by nothing
  std::string name;                      ///< of the joint
  std::string parentName;                ///< of the body that it is fixed in
  std::string bodyName;                  ///< of the link at the far side of the joint
  bool isChild = false;                  ///< whether it is the origin of a movable body
  Joint::Type jointType = Joint::FIXED;  ///< of the joint
};

/// A rigid body with the joint that connects it to its parent: what a `Child` is without the bodies
/// below it.
class JointAndBody {
 public:
  // body
  std::vector<CollisionBody> collisionBodies;  ///< shapes that collide
  std::vector<VisObject> visObjects;           ///< shapes to draw
  double mass = 0.0;                           ///< (kg)
  Mat<3, 3> inertia{};                         ///< about the centre of mass (kg m^2, body axes)
  Mat<3, 1> com{};                             ///< centre of mass (m, body frame)

  // joint
  Mat<3, 1> jointAxis{};      ///< unit vector, body frame
  Mat<3, 1> jointPosition{};  ///< joint origin (m, parent frame); of a fixed root: in the world
  Mat<3, 3> jointRotation = Mat<3, 3>::identity();  ///< body to parent at coordinate zero
  /// Lower and upper limit (rad or m). Equal values: no limit. A spherical joint reads the lower
  /// value as the largest angle from the rest pose, where a negative value means no limit; so the
  /// default (0, 0) locks a spherical joint: set the lower value to -1 for none.
  double jointLimit[2] = {0.0, 0.0};
  Joint::Type jointType = Joint::FIXED;  ///< of the joint above
  double effort = -1.0;                  ///< largest joint force (N or N m); none unless above 0
  double damping = 0.0;       ///< (N s/m or N m s/rad); a spherical joint: first velocity only
  double friction = 0.0;      ///< stored only
  double stiffness = 0.0;     ///< (N/m or N m/rad)
  double rotorInertia = 0.0;  ///< added to the diagonal of the mass matrix (kg or kg m^2)
  double springMount[4] = {0.0, 0.0, 0.0, 0.0};  ///< rest coordinate: the first, or a quaternion
  std::string jointName;                         ///< of the joint above

  // tree
  std::string bodyName;         ///< of the body
  size_t bodyIdx = 0;           ///< written by `ArticulatedSystem`
  size_t parentIdx = 0;         ///< written by `ArticulatedSystem`
  std::string parentJointName;  ///< name of the parent body
  bool registered = false;      ///< written by `ArticulatedSystem`
};

/// A body with its joint and the bodies below it: the input model of an articulated system,
/// assembled by hand or from URDF. Copied deeply. Nothing here recurses, so that no depth of a tree
/// exhausts the stack.
///
/// A node stands in `childrenFixed` exactly if its joint is `FIXED`, otherwise in
/// `childrenMovable`. The joint of the root is `FIXED` or `FLOATING`.
class ZELVIK_API Child : public JointAndBody {
 public:
  Child() = default;
  ///@{
  /// Copies and moves the whole subtree.
  Child(const Child& other);
  Child(Child&& other) noexcept = default;
  Child& operator=(const Child& other);
  Child& operator=(Child&& other) noexcept = default;
  ///@}
  ~Child();

  std::vector<Child> childrenMovable;  ///< bodies on joints that move
  std::vector<Child> childrenFixed;    ///< bodies on fixed joints

  ///@{
  /// Counts over this node and its movable descendants. They mean something once fixed bodies have
  /// been consumed.
  size_t numberOfBodiesFromHere() const;
  size_t numberOfGCFromHere() const;
  size_t numberOfDOFFromHere() const;
  ///@}

  /// Merges every body on a fixed joint into its movable ancestor: mass, centre of mass, inertia,
  /// shapes; re-hangs its movable children there and leaves a `CoordinateFrame` of it; so for the
  /// whole subtree.
  /// Fatal if a movable joint has no name: "All joints must have a name".
  /// @param frames frames of movable children, then of fixed ones, are appended per node, depth
  /// first
  void consumeFixedBodies(std::vector<CoordinateFrame>& frames);

  /// Appends the visual objects of the subtree with their body index. Fatal for an unknown shape,
  /// which is left out.
  void initVisuals(std::vector<VisObject>& visObjects);

  /// Creates the geoms of the subtree, outside of any space, and a `VisObject` beside each. Mesh
  /// data and its arrays must outlive the geoms. Fatal for a mesh that is no obj file,
  /// has no whole number of vertices, or cannot be read, for one that is no convex hull though its
  /// shape is `HULL`, and for sizes that are missing, negative or not finite; such a shape gets no
  /// geom.
  void initCollisionBodies(std::vector<CollisionDefinition>& collisionBodies,
                           std::vector<VisObject>& visColObjects,
                           std::vector<dTriMeshDataID>& meshData,
                           std::vector<std::vector<float>>& meshVertices,
                           std::vector<std::vector<unsigned int>>& meshIndices,
                           const std::string& resDir);

 private:
  bool flattenFixedSweep(size_t& begin);
  void consumeOwnFixedBodies(std::vector<CoordinateFrame>& frames);
  bool appendMovableFrames(std::vector<CoordinateFrame>& frames) const;
  void mergeFixedBody(Child& fixed, std::vector<CoordinateFrame>& frames);
};

/// Re-expresses the joint of `child` in the frame of the parent of `parent`, which hangs on a fixed
/// joint.
ZELVIK_API void changeParent(Child& parent, Child& child);

}  // namespace zelvik
