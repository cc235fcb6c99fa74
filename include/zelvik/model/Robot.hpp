// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <string>
#include <zelvik/World.hpp>
#include <zelvik/export.hpp>
#include <zelvik/model/Options.hpp>
#include <zelvik/model/Report.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>

namespace zelvik::model {

/// A robot that has been read and has not yet been put into a world.
struct Model {
  std::string name;                              ///< of the robot
  Child root;                                    ///< bodies, joints, shapes; empty after an error
  std::string meshDirectory;                     ///< of the files that the shapes name
  std::map<std::string, double> jointPositions;  ///< to begin with (rad or m), by joint
  Vec3 basePosition{};                           ///< of the root body (m, world axes)
  Vec4 baseOrientation{{1.0, 0.0, 0.0, 0.0}};    ///< of the root body: w, x, y, z
  Report report;                                 ///< what became of it

  /// Whether it can be put into a world.
  bool ok() const { return report.ok(); }
};

/// Reads a robot as its maker publishes it: a URDF or xacro file, or URDF text (anything that holds
/// a "<"). Prints nothing: what there is to say stands in the report. The file is not changed;
/// meshes are converted and kept in `Options::cacheDirectory`.
ZELVIK_API Model readRobot(const std::string& fileOrText, const Options& options = {});

/// Puts a robot that was read into a world, in its initial pose. A model with errors is fatal; null
/// is then returned if the fatal callback comes back. Pairs of shapes that ignore each other since
/// they overlap are told in one warning, or in the report.
/// @param report gets the report of the model and what is found here; may be null
ZELVIK_API ArticulatedSystem* addRobot(World& world, const Model& model,
                                       const Options& options = {}, Report* report = nullptr);

/// Reads a robot and puts it into a world. Findings of severity `WARNING` are printed as warnings
/// unless `report` takes them. Errors are fatal, all of them in one message; null is then returned
/// if the fatal callback comes back.
/// @param report where the report goes, may be null
ZELVIK_API ArticulatedSystem* addRobot(World& world, const std::string& fileOrText,
                                       const Options& options = {}, Report* report = nullptr);

}  // namespace zelvik::model
