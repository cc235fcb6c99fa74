// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik::model {

/// How much a finding matters.
enum class Severity {
  NOTE,     ///< for information
  WARNING,  ///< the robot loads, and may not be what its author meant
  ERROR     ///< the robot does not load
};

/// One thing that the reader has to say about a file.
struct Finding {
  Severity severity = Severity::NOTE;  ///< how much it matters
  std::string code;                    ///< the kind, one name for all of it: "mesh-not-found"
  std::string file;                    ///< where it is; empty for text in memory
  int line = 0;                        ///< from 1; 0: the file as a whole
  int column = 0;                      ///< from 1
  std::string element;                 ///< "link 'base' / visual / mesh"
  std::string message;                 ///< what there is
  std::string advice;                  ///< what may be done about it; may be empty
};

/// What became of a link.
struct LinkEntry {
  std::string name;    ///< as written
  int line = 0;        ///< in the file; 0 for one that only a joint names
  double mass = 0.0;   ///< (kg)
  std::string became;  ///< "body", "frame of body 'base'", "left out"
};

/// What became of a joint.
struct JointEntry {
  std::string name;     ///< as written
  int line = 0;         ///< in the file
  std::string type;     ///< as written
  std::string became;   ///< "revolute", "fixed", "floating base", "three joints"
  double lower = 0.0;   ///< (rad or m); not below `upper`: none
  double upper = 0.0;   ///< (rad or m)
  double effort = 0.0;  ///< (N or N m); 0: no limit
};

/// What became of a visual or a collision shape.
struct ShapeEntry {
  std::string link;     ///< that holds it
  int line = 0;         ///< in the file
  bool visual = false;  ///< otherwise it collides
  std::string kind;     ///< as written: "mesh", "box", ...
  std::string file;     ///< of a mesh, as written
  std::string became;   ///< "hull of 34 corners", "box 0.2 x 0.1 x 0.1 m", "left out", ...
  double error = 0.0;   ///< largest distance between it and what it stands for (m)
};

/// A mesh file.
struct MeshEntry {
  std::string name;              ///< as written
  std::string path;              ///< where it was found
  std::size_t triangles = 0;     ///< that are used
  std::size_t parts = 0;         ///< of one colour each
  std::size_t corners = 0;       ///< once equal ones are one
  std::size_t degenerate = 0;    ///< triangles without area, left out
  std::size_t openEdges = 0;     ///< edges of one triangle
  std::size_t crowdedEdges = 0;  ///< edges of more than two triangles
  Vec3 lower{};                  ///< smallest coordinates (m), scale applied
  Vec3 upper{};                  ///< largest coordinates (m), scale applied
  bool fromCache = false;        ///< whether it had been converted before
};

/// What a file holds, what became of it, and what is odd about it.
class ZELVIK_API Report {
 public:
  std::string robot;               ///< name of the robot
  std::string file;                ///< as given; empty for text in memory
  std::string base;                ///< "floating" or "fixed"
  double mass = 0.0;               ///< of all links (kg)
  Vec3 com{};                      ///< centre of mass with all joints at 0 (m, root link)
  std::size_t bodies = 0;          ///< links that move by themselves, the base included
  std::size_t velocities = 0;      ///< degrees of freedom
  std::vector<Finding> findings;   ///< in the order of the stages
  std::vector<LinkEntry> links;    ///< as in the file
  std::vector<JointEntry> joints;  ///< as in the file
  std::vector<ShapeEntry> shapes;  ///< as in the file
  std::vector<MeshEntry> meshes;   ///< in the order of their first use
  std::map<std::string, std::size_t> unused;  ///< elements that have no effect, and their number

  /// Whether there is no error.
  bool ok() const { return count(Severity::ERROR) == 0; }
  /// Number of findings of a severity.
  std::size_t count(Severity severity) const;
  /// For people: findings first, then numbers, then lists.
  std::string text() const;
  /// For programs: an object with the members of this class, by the names that they have here.
  std::string json() const;
};

/// "note", "warning", "error".
ZELVIK_API const char* severityName(Severity severity);
/// "file:line:column: warning: link 'base': message. Advice", without what is not known.
ZELVIK_API std::string findingText(const Finding& finding);

}  // namespace zelvik::model
