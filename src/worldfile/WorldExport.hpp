// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/Path.hpp>
#include <zelvik/World.hpp>
#include <zelvik/ZelvikTinyXmlWriter.hpp>

namespace zelvik::worldexport {

using Writer = ZelvikTinyXmlWriterElement;

/// Writes one object into its element. The order of attributes and children is part of the format.
/// @param directory where URDF text of a robot goes, put in front of the name as it stands
/// @param name of the object in the file
/// @return false after a fatal message
bool writeObject(const Object& object, const Path& directory, const std::string& name,
                 Writer& element);

}  // namespace zelvik::worldexport
