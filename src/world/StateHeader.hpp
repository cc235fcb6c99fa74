// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zelvik {

/// What stands in front of the values of a state.
struct StateHeader {
  static constexpr char kMagic[4] = {'Z', 'L', 'V', 'S'};

  char magic[4];
  std::uint32_t version;
  std::uint64_t size;  ///< of all, this header included (bytes)
  std::uint64_t hash;  ///< `hashWords` of what follows
};

/// Hash of words of 8 bytes. Four of them are taken at a time, each into a sum of its own, so that
/// they need not wait for each other; every step is one-to-one, so a single change is always seen.
inline std::uint64_t hashWords(const std::uint8_t* bytes, size_t size) {
  constexpr std::uint64_t factor = 0x9E3779B97F4A7C15ull;
  const auto mix = [](std::uint64_t h, std::uint64_t word) {
    h = (h ^ word) * factor;
    return h ^ (h >> 32);
  };
  std::uint64_t sums[4] = {1, 2, 3, 4};
  for (size_t i = 0; i + 8 <= size; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + i, sizeof word);
    sums[i / 8 % 4] = mix(sums[i / 8 % 4], word);
  }
  std::uint64_t hash = size;
  for (const std::uint64_t sum : sums) hash = mix(hash, sum);
  return hash;
}

}  // namespace zelvik
