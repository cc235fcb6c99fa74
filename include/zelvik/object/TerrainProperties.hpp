// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

namespace zelvik {

/// Rough ground by a handful of numbers; equal properties give equal terrain.
struct TerrainProperties {
  double frequency = 0.1;  ///< noise cycles per metre of the first octave (1/m)
  double xSize = 10.0;     ///< extent (m)
  double ySize = 10.0;     ///< extent (m)
  double zScale = 2.0;     ///< height of the range of the noise (m); heights run from 0 to it
  double fractalLacunarity = 2.0;  ///< factor of the frequency from octave to octave
  double fractalGain = 0.25;       ///< factor of the amplitude from octave to octave
  double stepSize = 0.0;           ///< height of a terrace (m); 0 or less for smooth terrain
  std::size_t fractalOctaves = 3;  ///< number of octaves, up to 1000; 0 counts as 1
  std::size_t xSamples = 100;      ///< grid size, 2 or more
  std::size_t ySamples = 100;      ///< grid size, 2 or more
  std::uint32_t seed = 0;          ///< another seed, another terrain
};

}  // namespace zelvik
