// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>

namespace zelvik {

class ArticulatedSystem;

/// Reading of URDF in our dialect. Beyond the published format: joint types "spherical", "free" and
/// "floating"; "quat" (w, x, y, z), "axisangle" (unit axis, rad) and "zaxis" (unit direction of the
/// z axis) on every `origin`; a `capsule` geometry; a collision material, `contact`, inside
/// `material`; "rotor_inertia", "stiffness" and "spring_mount" in `dynamics`. A joint "continuous"
/// with a `limit` is limited. Colours and joint velocity limits are ignored, and so is every
/// element or attribute that is not known.
///
/// Lengths are in m, angles in rad, masses in kg. Functions that return bool give false after a
/// fatal message, with their output partly filled.
namespace urdf {

/// One `visual` or `collision` of a link.
struct UrdfBody {
  Shape::Type shape = Shape::BOX;         ///< set by `geometry2body`
  std::string fileName;                   ///< of a mesh, as written
  Mat<3, 1> pos{};                        ///< in the link frame
  Mat<3, 3> rot = Mat<3, 3>::identity();  ///< shape to link frame
  Mat<3, 1> scale{{1.0, 1.0, 1.0}};       ///< of a mesh
  std::vector<double> shapeParam;         ///< see `Shape::Type`; of a mesh the scale
  std::string material;                   ///< of the visual
  std::string collisionMaterial;          ///< name that the material table knows
  std::string name;                       ///< always empty
};

/// One `joint` element. Angles in rad, lengths in m.
struct UrdfJoint {
  std::string name;                                      ///< of the joint
  std::string parent;                                    ///< link above
  std::string child;                                     ///< link below
  Joint::Type type = Joint::FIXED;                       ///< "continuous" counts as revolute
  Mat<3, 1> pos{};                                       ///< in the parent link's frame
  Mat<3, 3> rot = Mat<3, 3>::identity();                 ///< child to parent link's frame
  Mat<3, 1> axis{{1.0, 0.0, 0.0}};                       ///< in the child link's frame
  double lower = std::numeric_limits<double>::lowest();  ///< of a spherical joint: the limit
  double upper = std::numeric_limits<double>::max();     ///< (m or rad)
  double damping = 0.0;                                  ///< (N s/m or N m s/rad)
  double friction = 0.0;                                 ///< stored only
  double stiffness = 0.0;                                ///< (N/m or N m/rad)
  double rotorInertia = 0.0;                             ///< (kg or kg m^2)
  double effort = -1.0;                                  ///< negative: no limit
  Mat<4, 1> springMount{};  ///< a quaternion for a spherical joint, else the first entry
};

/// One `link` element.
struct UrdfLink {
  std::string name;                                    ///< of the link
  UrdfJoint parentJoint;                               ///< the joint above
  UrdfLink* parentLink = nullptr;                      ///< null: may be the root
  std::vector<UrdfLink*> childLinks;                   ///< by name of the joint
  std::vector<UrdfBody> visuals;                       ///< in document order
  std::vector<UrdfBody> collisions;                    ///< in document order
  Mat<3, 1> inertialPosition{};                        ///< centre of mass in the link frame
  Mat<3, 3> inertialRotation = Mat<3, 3>::identity();  ///< inertia to link frame
  double mass = 0.0;                                   ///< (kg)
  Mat<3, 3> inertia{};  ///< about the centre of mass, in the inertia frame
};

/// One `material` element; colours are not used further.
struct UrdfMaterial {
  std::string name;                   ///< of the material
  double color[3] = {0.7, 0.7, 0.7};  ///< red, green, blue, 0 to 1
};

/// What a document holds, by name. Records do not move: links point to each other.
struct UrdfModel {
  std::map<std::string, UrdfLink> links;    ///< by name
  std::map<std::string, UrdfJoint> joints;  ///< by name
};

/// What the reader makes of a document.
struct UrdfTree {
  Child root;                     ///< `FIXED` under a link "world", otherwise `FLOATING`
  Mat<3, 1> fixedBasePosition{};  ///< of a fixed base (world axes)
  bool ok = false;                ///< false after a fatal message
};

/// Reads the mandatory "type". Fatal for an unknown one.
ZELVIK_API bool getJointType(const ZelvikTinyXmlWrapper& joint, UrdfJoint& out);
/// Reads "xyz"; absent, `out` stays.
ZELVIK_API bool getPosition(const ZelvikTinyXmlWrapper& element, Mat<3, 1>& out);
/// Reads the first of "quat", "rpy", "axisangle", "zaxis" that is there; without one `out` stays.
/// Only a quaternion is normalised.
ZELVIK_API bool getOrientation(const ZelvikTinyXmlWrapper& element, Mat<3, 3>& out);
/// Reads the first `inertia` child; without one `out` stays, and so do the products of inertia that
/// are not given.
ZELVIK_API bool getInertia(const ZelvikTinyXmlWrapper& inertial, Mat<3, 3>& out);
/// Reads the shape from the first child of a `geometry`. Fatal for none and for an unknown one.
/// @param name has no effect
ZELVIK_API bool geometry2body(const ZelvikTinyXmlWrapper& geometry, UrdfBody& out,
                              const std::string& name);
/// Reads one `visual` or `collision`.
ZELVIK_API bool processBody(const ZelvikTinyXmlWrapper& element, UrdfBody& out,
                            const std::string& name);

// One child element of `robot`.
///@{
/// One child element of `robot`; false after a fatal message.
ZELVIK_API bool readMaterial(const ZelvikTinyXmlWrapper& element, UrdfMaterial& out);
ZELVIK_API bool readLink(const ZelvikTinyXmlWrapper& element, const std::string& bodyName,
                         UrdfLink& out);
ZELVIK_API bool readJoint(const ZelvikTinyXmlWrapper& element, UrdfJoint& out);
///@}

/// Reads a whole document into a tree.
///
/// Children of a link come in the order of `jointOrder`, and where that names none of them, in the
/// order in which their joints stand in the file. The base is the first link, by name, that no
/// joint names as its child. If it is called "world", its first child (by name of the joint) is the
/// base and fixed; the pose of the base is that of the last joint under "world".
/// @param pathOrText a path, or the document itself if it holds a '<'
/// @param jointOrder names of joints in the file, each once; may be empty
ZELVIK_API UrdfTree readUrdfTree(const std::string& pathOrText,
                                 const std::vector<std::string>& jointOrder = {});

/// Reads a document for an articulated system; see `readUrdfTree`.
class ZELVIK_API LoadFromURDF2 {
 public:
  LoadFromURDF2() = default;

  /// Leaves the root in the system. After a fatal message the system gets none.
  /// @param fromFile has no effect; the text itself shows what it is
  LoadFromURDF2(ArticulatedSystem& system, std::string pathOrText,
                std::vector<std::string> jointOrder, bool fromFile);

  /// The same as `readUrdfTree`.
  UrdfTree read(const std::string& pathOrText, std::vector<std::string> jointOrder);

  /// Fills `child` and everything below it from `link`.
  bool processLinkFromUrdf(const UrdfLink* link, Child& child,
                           const std::vector<std::string>& jointOrder);

 private:
  bool readElement(const ZelvikTinyXmlWrapper& element, UrdfModel& model,
                   std::vector<std::string>& jointOrder);
  bool buildTree(const ZelvikTinyXmlWrapper& robot, UrdfModel& model,
                 const std::vector<std::string>& jointOrder, UrdfTree& tree);
  void placeFixedBase(const UrdfModel& model, const UrdfLink& world, UrdfTree& tree);
  bool isTree(const UrdfLink& link, const UrdfLink& child) const;
  bool isTooLarge(const UrdfLink& link) const;
  void setBody(const UrdfLink& link, Child& child);
  void addVisuals(const UrdfLink& link, Child& child);

  std::map<std::string, UrdfMaterial> materials_;
  std::string bodyName_;               ///< always empty
  std::set<const UrdfLink*> reached_;  ///< links that the walk has come to
  std::set<const UrdfLink*> path_;     ///< the link in work and those above it
  size_t depth_ = 0;                   ///< of the link in work below the root
  size_t bodyCount_ = 0;               ///< of the tree so far
};

}  // namespace urdf

}  // namespace zelvik
