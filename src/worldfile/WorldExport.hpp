// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <set>
#include <string>
#include <zelvik/Path.hpp>
#include <zelvik/World.hpp>
#include <zelvik/ZelvikTinyXmlWriter.hpp>

namespace zelvik::worldexport {

using Writer = ZelvikTinyXmlWriterElement;

/// The files of one export.
struct Files {
  Path directory;               ///< put in front of names as it stands
  std::set<std::string> taken;  ///< that are written, or that robots of the world are read from
};

/// Writes one object into its element. The order of attributes and children is part of the format.
/// @param files where the URDF text of a robot goes, to a file of its own
/// @param name of the object in the file
/// @return false after a fatal message
bool writeObject(const Object& object, Files& files, const std::string& name, Writer& element);

}  // namespace zelvik::worldexport
