// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/view/Rasterizer.hpp>

#include "Recording.hpp"

namespace zelvik::view {

/// Triangles of a shape in its own frame, round ones in facets; empty for a ground.
TriangleMesh trianglesOf(const Shape& shape, const Recording& recording);

/// An arrow along z from the origin (m).
TriangleMesh arrow(double length, double radius);
/// A cylinder along z, centred (m).
TriangleMesh rod(double length, double radius);

}  // namespace zelvik::view
