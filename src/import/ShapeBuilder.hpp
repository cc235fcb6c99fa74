// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <set>
#include <string>
#include <zelvik/model/Options.hpp>

#include "FileFinder.hpp"
#include "Findings.hpp"
#include "MeshConverter.hpp"
#include "RobotRecord.hpp"

namespace zelvik::model {

/// Turns the shapes of links into those of the core.
class ShapeBuilder {
 public:
  ShapeBuilder(const RobotRecord& robot, const FileFinder& finder, const Options& options,
               Findings& findings)
      : robot_(robot),
        finder_(finder),
        options_(options),
        findings_(findings),
        converter_(options) {}

  /// Appends the shapes of a link to its body.
  void build(const LinkRecord& link, Child& body);

  /// Of the files that the shapes name.
  std::string directory() const { return converter_.cache().directory().string(); }

 private:
  bool loadMesh(const LinkRecord& link, const ShapeRecord& shape, ConvertedMesh& mesh);
  void noteMesh(const ShapeRecord& shape, const ConvertedMesh& mesh);
  MeshUse useOf(const LinkRecord& link, const ShapeRecord& shape) const;
  Vec4 colorOf(const ShapeRecord& shape) const;
  void addVisual(const LinkRecord& link, const ShapeRecord& shape, Child& body, ShapeEntry& entry);
  void addCollision(const LinkRecord& link, const ShapeRecord& shape, Child& body,
                    ShapeEntry& entry);

  const RobotRecord& robot_;
  const FileFinder& finder_;
  const Options& options_;
  Findings& findings_;
  MeshConverter converter_;
  std::set<std::string> noted_;  ///< mesh files that findings have been made of
};

}  // namespace zelvik::model
