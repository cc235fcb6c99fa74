// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <numeric>
#include <random>
#include <utility>
#include <zelvik/object/HeightMap.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

constexpr size_t kMostOctaves = 1000;

/// Largest integer below the value, found by truncation; for a negative integer it is the one below
/// it, which gives the same noise.
double floorByTruncation(double value) {
  return std::trunc(value) - (value < 0.0 ? 1.0 : 0.0);
}

/// A coordinate on the lattice of the noise.
struct LatticeCoordinate {
  unsigned int cell;  ///< modulo 256
  double fraction;

  explicit LatticeCoordinate(double value) {
    // Beyond 2^52 doubles have no fraction, and what does not fit an integer must not become one.
    constexpr double kMostPrecise = 4503599627370496.0;
    const double below = floorByTruncation(value);
    cell = std::fabs(value) < kMostPrecise
               ? static_cast<unsigned int>(static_cast<long long>(below) & 255)
               : 0u;
    fraction = value - below;
  }
};

double fade(double t) {
  return t * t * t * (t * (t * 6.0 - 15.0) + 10.0);
}

double lerp(double t, double a, double b) {
  return a + t * (b - a);
}

/// Dot product with one of twelve gradients.
double grad(int hash, double x, double y, double z) {
  const int h = hash & 15;
  const double a = h < 8 ? x : y;
  const double b = h < 4 ? y : (h == 12 || h == 14 ? x : z);
  return ((h & 1) == 0 ? a : -a) + ((h & 2) == 0 ? b : -b);
}

/// K. Perlin's improved gradient noise in three dimensions, from -1 to 1; 0 at lattice points.
class PerlinNoise {
 public:
  explicit PerlinNoise(std::uint32_t seed) {
    std::iota(p_.begin(), p_.begin() + 256, 0);
    // libstdc++ draws two swap positions from one random number where the range allows; another
    // standard library may shuffle differently, and terrain would no longer be reproducible.
    std::mt19937 random(seed);
    std::shuffle(p_.begin(), p_.begin() + 256, random);
    std::copy_n(p_.begin(), 256, p_.begin() + 256);
  }

  double operator()(double fx, double fy, double fz) const {
    const LatticeCoordinate X(fx), Y(fy), Z(fz);
    const double x = X.fraction, y = Y.fraction, z = Z.fraction;
    const double u = fade(x), v = fade(y), w = fade(z);
    const unsigned int A = at(X.cell) + Y.cell, AA = at(A) + Z.cell, AB = at(A + 1) + Z.cell;
    const unsigned int B = at(X.cell + 1) + Y.cell, BA = at(B) + Z.cell, BB = at(B + 1) + Z.cell;
    const double low = lerp(v, lerp(u, grad(p_[AA], x, y, z), grad(p_[BA], x - 1, y, z)),
                            lerp(u, grad(p_[AB], x, y - 1, z), grad(p_[BB], x - 1, y - 1, z)));
    const double high =
        lerp(v, lerp(u, grad(p_[AA + 1], x, y, z - 1), grad(p_[BA + 1], x - 1, y, z - 1)),
             lerp(u, grad(p_[AB + 1], x, y - 1, z - 1), grad(p_[BB + 1], x - 1, y - 1, z - 1)));
    return lerp(w, low, high);
  }

 private:
  unsigned int at(unsigned int i) const { return static_cast<unsigned int>(p_[i]); }

  std::array<int, 512> p_;  ///< permutation of 0..255, twice
};

/// 1 / (1 + g + g^2 + ...), which brings the sum of all octaves back to -1..1.
double normalisation(const TerrainProperties& terrain) {
  double sum = 1.0, amplitude = 1.0;
  for (size_t octave = 1; octave < terrain.fractalOctaves; ++octave) {
    amplitude *= terrain.fractalGain;
    sum += amplitude;
  }
  return 1.0 / sum;
}

/// Sum of all octaves at one point.
double fractalNoise(const PerlinNoise& noise, const TerrainProperties& terrain, double fx,
                    double fy) {
  double fz = 0.0, a = 1.0;
  double n = noise(fx, fy, fz);
  for (size_t octave = 1; octave < terrain.fractalOctaves; ++octave) {
    fx *= terrain.fractalLacunarity;
    fy *= terrain.fractalLacunarity;
    fz *= terrain.fractalLacunarity;
    a *= terrain.fractalGain;
    n += a * noise(fx, fy, fz);
  }
  return n;
}

}  // namespace

HeightMap::HeightMap(double centerX, double centerY, const TerrainProperties& terrain)
    : SingleBodyObject(HEIGHTMAP) {
  bodyType_ = BodyType::STATIC;
  if (!generateTerrain(terrain)) return;
  init(terrain.xSamples, terrain.ySamples, terrain.xSize, terrain.ySize, centerX, centerY);
}

bool HeightMap::generateTerrain(const TerrainProperties& terrain) {
  if (terrain.xSamples > 0 && terrain.ySamples > INT_MAX / terrain.xSamples) {
    MSG_FATAL("A height map of " << terrain.xSamples << " x " << terrain.ySamples
                                 << " samples is too large");
    return false;
  }
  if (terrain.fractalOctaves > kMostOctaves) {
    MSG_FATAL("A terrain has at most " << kMostOctaves << " octaves, but " << terrain.fractalOctaves
                                       << " are asked for");
    return false;
  }
  const PerlinNoise noise(terrain.seed);
  const double inverseSum = normalisation(terrain);
  const double dx = terrain.frequency * terrain.xSize / static_cast<double>(terrain.xSamples);
  const double dy = terrain.frequency * terrain.ySize / static_cast<double>(terrain.ySamples);

  std::vector<double> heights(terrain.xSamples * terrain.ySamples);
  for (size_t j = 0; j < terrain.ySamples; ++j)
    for (size_t i = 0; i < terrain.xSamples; ++i) {
      const double n =
          fractalNoise(noise, terrain, static_cast<double>(i) * dx, static_cast<double>(j) * dy);
      double h = (n * inverseSum * 0.5 + 0.5) * terrain.zScale;
      if (terrain.stepSize > 0.0) h = floorByTruncation(h / terrain.stepSize) * terrain.stepSize;
      heights[j * terrain.xSamples + i] = h;
    }
  heights_ = std::move(heights);
  return true;
}

}  // namespace zelvik
