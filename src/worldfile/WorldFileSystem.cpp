// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Path.hpp>
#include <zelvik/TextFile.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

// Articulated systems of a world file.

namespace zelvik::worldfile {

/// Robots often stand in a directory of their own name; so "robot/robot.urdf" is also looked for as
/// "robot/robot/robot.urdf".
bool addArticulatedSystem(World& world, const Element& element, const ObjectDescription& d,
                          Object*& object) {
  std::string urdfPath, resourceDirectory;
  if (!element.readMust("urdfPath", urdfPath)) return false;
  element.getAttributeIfExists("resDir", resourceDirectory);
  const Path path(urdfPath);
  if (path.getString().find("..") != std::string::npos) return false;  // left of a refused path
  const Path nested(path.getTopDirectory().getString() + "/" + path.getString(), true);
  const bool isThere = isReadable(path.getString());
  if (!isThere && !isReadable(nested.getString())) {
    MSG_FATAL("Could not find URDF file: " << path.getString());
    return false;
  }
  object = world.addArticulatedSystem((isThere ? path : nested).getString(), resourceDirectory, {},
                                      d.group, d.mask);
  return true;
}

}  // namespace zelvik::worldfile
