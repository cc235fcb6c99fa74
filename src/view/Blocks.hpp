// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace zelvik::view {

/// The arrays after the header of a replay (docs/replay-format.md). Each `add` returns the index
/// of the new block.
class Blocks {
 public:
  std::size_t addFloats(const std::vector<float>& values);
  std::size_t addUnsigned(const std::vector<std::uint32_t>& values);
  /// Differences along each channel, zigzag, as four byte planes.
  /// @param values all of channel 0, then all of channel 1, ...
  std::size_t addDelta(const std::vector<std::int32_t>& values, std::size_t channels);

  /// What the header says of the blocks.
  const nlohmann::ordered_json& description() const { return description_; }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  std::size_t open(std::size_t count, const char* encoding);
  void appendWord(std::uint32_t word);

  nlohmann::ordered_json description_ = nlohmann::ordered_json::array();
  std::vector<std::uint8_t> bytes_;
};

/// `unit`, or the smallest multiple of it by a power of ten in which `largest` fits.
double fittingUnit(double largest, double unit);

/// A number in units; what is not finite becomes -2^31.
std::int32_t quantise(double value, double unit);

}  // namespace zelvik::view
