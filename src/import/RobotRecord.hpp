// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/rotation.hpp>

// A robot file as plain records: what is written there and where, before anything is made of it.
// Lengths in m, angles in rad, masses in kg.

namespace zelvik::model {

/// Where something stands in the file.
struct Place {
  int line = 0;         ///< from 1; 0: nowhere
  int column = 0;       ///< from 1
  std::string element;  ///< "link 'base' / visual / mesh"
};

struct Pose {
  Vec3 position{};                     ///< in the frame that holds it
  Mat33 rotation = Mat33::identity();  ///< to the frame that holds it
};

/// A pose in a frame that has itself that pose.
inline Pose product(const Pose& outer, const Pose& inner) {
  Pose pose;
  pose.position = outer.rotation * inner.position + outer.position;
  rotmatmul(outer.rotation, inner.rotation, pose.rotation);
  return pose;
}

struct MaterialRecord {
  std::optional<Vec4> color;  ///< red, green, blue, alpha, 0 to 1
  std::string texture;        ///< file, as written
};

struct ShapeRecord {
  Place place;
  bool visual = false;
  bool isRead = false;                    ///< whether it is a shape; otherwise an error was told
  std::string name;                       ///< of the element, may be empty
  Pose pose;                              ///< in the link
  std::string kind;                       ///< name of the element below `geometry`
  Shape::Type shape = Shape::BOX;         ///< `kind` as a type
  std::vector<double> size;               ///< see `Shape::Type`
  std::string file;                       ///< of a mesh, as written
  Place filePlace;                        ///< of the mesh element
  Vec3 scale{{1.0, 1.0, 1.0}};            ///< of a mesh
  std::string material;                   ///< name, may be empty
  std::optional<MaterialRecord> inlined;  ///< what stands inside of the shape's `material`
  std::string contactMaterial;            ///< name that the material table knows
};

struct LinkRecord {
  std::string name;
  Place place;
  bool hasInertial = false;
  double mass = 0.0;
  Pose inertial;                    ///< centre of mass and axes of the inertia, in the link
  Mat33 inertia{};                  ///< about the centre of mass, in these axes
  std::vector<ShapeRecord> shapes;  ///< visual and collision, in document order
};

enum class JointKind { FIXED, REVOLUTE, CONTINUOUS, PRISMATIC, SPHERICAL, FLOATING, PLANAR };

struct JointRecord {
  std::string name;
  Place place;
  std::string type;  ///< as written
  JointKind kind = JointKind::FIXED;
  std::string parent, child;   ///< links
  Pose pose;                   ///< of the child in the parent
  Vec3 axis{{1.0, 0.0, 0.0}};  ///< in the child, as written
  bool hasLimit = false;
  std::optional<double> lower, upper, effort, velocity;
  std::optional<double> damping, rotorInertia;
  double friction = 0.0;
  double stiffness = 0.0;
  Vec4 springMount{};
  std::string mimics;  ///< joint that it follows, may be empty
};

struct RobotRecord {
  std::string name;
  std::vector<LinkRecord> links;    ///< in document order, each name once
  std::vector<JointRecord> joints;  ///< in document order, each name once
  std::map<std::string, MaterialRecord> materials;
};

}  // namespace zelvik::model
