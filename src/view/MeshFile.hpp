// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "Recording.hpp"

namespace zelvik::view {

/// Reads the triangles of an OBJ file. What cannot be shown must not end a simulation: nothing is
/// fatal here, whereas the reader of collision meshes refuses.
/// @param mostCorners corners of a face that are read; a collision mesh has up to four
/// @return why the file cannot be shown; empty if it can
std::string readObj(const std::string& file, std::size_t mostCorners, MeshData& mesh);

}  // namespace zelvik::view
