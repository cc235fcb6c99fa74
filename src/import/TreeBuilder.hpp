// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/model/Robot.hpp>

#include "Findings.hpp"
#include "RobotRecord.hpp"
#include "ShapeBuilder.hpp"
#include "Structure.hpp"

namespace zelvik::model {

/// Which link is the base, where it is, and whether it may move.
struct Base {
  std::size_t link = kNone;
  std::size_t joint = kNone;  ///< that led to it from a root that is left out
  bool isFixed = false;
  Pose pose;  ///< in the world
};

/// Chooses the base by the file and the options. Errors: floating joints elsewhere.
Base chooseBase(const RobotRecord& robot, const Structure& structure, const Options& options,
                Findings& findings);

/// Builds the tree of bodies from the base down, and says what became of each link and joint.
class TreeBuilder {
 public:
  TreeBuilder(const RobotRecord& robot, const Structure& structure, const Options& options,
              ShapeBuilder& shapes, Findings& findings)
      : robot_(robot),
        structure_(structure),
        options_(options),
        shapes_(shapes),
        findings_(findings) {}

  Child build(const Base& base);

 private:
  void setBody(std::size_t link, Child& body);
  void addChild(std::size_t joint, Child& body);
  Child& addPlanar(const JointRecord& joint, Child& body);
  void setJoint(const JointRecord& joint, Child& child) const;
  void describeLink(std::size_t link, const std::string& became);
  void describeJoint(const JointRecord& joint, const std::string& became);

  const RobotRecord& robot_;
  const Structure& structure_;
  const Options& options_;
  ShapeBuilder& shapes_;
  Findings& findings_;
  std::vector<std::string> movingBody_;  ///< names from the base down to the link in work
};

/// Mass, centre of mass, bodies and velocities, for the report.
void computeNumbers(const RobotRecord& robot, const Structure& structure, const Base& base,
                    Report& report);

}  // namespace zelvik::model
