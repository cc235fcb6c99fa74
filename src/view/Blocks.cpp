// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Blocks.hpp"

#include <bit>
#include <cmath>
#include <limits>

namespace zelvik::view {

namespace {

constexpr double kLargest = 2147483647.0;  // 2^31 - 1

std::uint32_t zigzag(std::uint32_t difference) {
  return (difference << 1) ^ (0u - (difference >> 31));
}

}  // namespace

std::size_t Blocks::open(std::size_t count, const char* encoding) {
  description_.push_back({{"offset", bytes_.size()}, {"count", count}, {"encoding", encoding}});
  return description_.size() - 1;
}

void Blocks::appendWord(std::uint32_t word) {
  for (int shift = 0; shift < 32; shift += 8)
    bytes_.push_back(static_cast<std::uint8_t>(word >> shift));
}

std::size_t Blocks::addFloats(const std::vector<float>& values) {
  const std::size_t index = open(values.size(), "f32");
  for (const float value : values) appendWord(std::bit_cast<std::uint32_t>(value));
  return index;
}

std::size_t Blocks::addUnsigned(const std::vector<std::uint32_t>& values) {
  const std::size_t index = open(values.size(), "u32");
  for (const std::uint32_t value : values) appendWord(value);
  return index;
}

std::size_t Blocks::addDelta(const std::vector<std::int32_t>& values, std::size_t channels) {
  const std::size_t index = open(values.size(), "delta");
  description_[index]["channels"] = channels;
  const std::size_t run = values.size() / channels, start = bytes_.size();
  bytes_.resize(start + 4 * values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto value = static_cast<std::uint32_t>(values[i]);
    const auto before = i % run == 0 ? 0u : static_cast<std::uint32_t>(values[i - 1]);
    const std::uint32_t word = zigzag(value - before);
    for (std::size_t plane = 0; plane < 4; ++plane)
      bytes_[start + plane * values.size() + i] = static_cast<std::uint8_t>(word >> (8 * plane));
  }
  return index;
}

double fittingUnit(double largest, double unit) {
  while (std::isfinite(largest) && largest / unit > kLargest - 1.0) unit *= 10.0;
  return unit;
}

std::int32_t quantise(double value, double unit) {
  if (!std::isfinite(value)) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(std::llround(value / unit));
}

}  // namespace zelvik::view
