// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "scenes/Variants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace zelvik::bench {

namespace {

constexpr double kShift = 1e-4;              // m, rad
constexpr size_t kFirstJointCoordinate = 7;  // of a free robot

/// Between -1 and 1. The distributions of the standard library differ from one to another.
double uniform(std::mt19937& generator) {
  return generator() / 2147483648.0 - 1.0;
}

/// Figure `k` of all variants, sorted. NaN if no variant has it, as where an engine cannot tell; a
/// single variant without it has gone wrong, which no figure is worse than.
std::vector<double> sortedFigure(const std::vector<Figures>& all, size_t k) {
  std::vector<double> values;
  for (const Figures& figures : all) values.push_back(figures[k].second);
  const auto isMissing = [](double value) { return std::isnan(value); };
  if (std::all_of(values.begin(), values.end(), isMissing)) return values;
  std::replace_if(values.begin(), values.end(), isMissing, std::numeric_limits<double>::infinity());
  std::sort(values.begin(), values.end());
  return values;
}

}  // namespace

scenes::NeutralScene variantOf(const scenes::NeutralScene& scene, int index) {
  scenes::NeutralScene variant = scene;
  if (index == 0) return variant;
  std::mt19937 generator(static_cast<std::mt19937::result_type>(index));
  for (scenes::FreeBody& body : variant.bodies)
    for (size_t axis = 0; axis < 2; ++axis) body.position[axis] += kShift * uniform(generator);
  for (scenes::RobotSetup& robot : variant.robots)
    for (size_t k = kFirstJointCoordinate; k < robot.coordinates.size(); ++k)
      robot.coordinates[k] += kShift * uniform(generator);
  return variant;
}

FigureSpread accuracyOfVariants(
    const scenes::NeutralScene& scene, int count,
    const std::function<std::unique_ptr<Engine>(const scenes::NeutralScene&)>& make) {
  std::vector<Figures> all;
  for (int index = 0; index < count; ++index) {
    const scenes::NeutralScene variant = variantOf(scene, index);
    all.push_back(accuracyOf(variant, *make(variant)));
  }
  FigureSpread spread;
  for (size_t k = 0; k < all[0].size(); ++k) {
    const std::vector<double> values = sortedFigure(all, k);
    const std::string& name = all[0][k].first;
    spread.median.emplace_back(name, values[(values.size() - 1) / 2]);
    spread.low.emplace_back(name, values.front());
    spread.high.emplace_back(name, values.back());
  }
  return spread;
}

}  // namespace zelvik::bench
