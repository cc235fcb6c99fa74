// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zlib.h>

#include <algorithm>

#include "HeightMapTrial.hpp"

// PNG height maps: a map that loads carries bodies. Mutants get right check sums again, else hardly
// one of them would come further than the first chunk.

#if defined(ZELVIK_LIBFUZZER)

namespace {

constexpr size_t kSignature = 8, kChunkFrame = 12;

std::uint32_t readBigEndian(const std::uint8_t* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
}

/// Chunks are length, type, data, check sum of type and data.
void repairCheckSums(std::uint8_t* data, size_t size) {
  for (size_t p = kSignature; p + kChunkFrame <= size;) {
    const size_t length = readBigEndian(data + p);
    if (length > size - p - kChunkFrame) return;
    const auto sum =
        static_cast<std::uint32_t>(crc32(0, data + p + 4, static_cast<unsigned int>(length + 4)));
    for (size_t i = 0; i < 4; ++i)
      data[p + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    p += kChunkFrame + length;
  }
}

}  // namespace

extern "C" size_t LLVMFuzzerMutate(std::uint8_t* data, size_t size, size_t largest);

extern "C" size_t LLVMFuzzerCustomMutator(std::uint8_t* data, size_t size, size_t largest,
                                          unsigned int seed) {
  const size_t mutated = LLVMFuzzerMutate(data, size, largest);
  if (seed % 16 != 0) repairCheckSums(data, mutated);
  return mutated;
}
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string file = fuzz::writeScratch("heights.png", data, size);
  fuzz::runBothWays([&] {
    World world;
    fuzz::meetShapes(world, world.addHeightMap(file, 0.0, 0.0, 5.0, 5.0, 0.01, -0.5),
                     size % 2 == 0);
  });
  return 0;
}
