// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>
#include <zelvik/export.hpp>

namespace zelvik {

class World;

/// A moment of a world: all that its next step depends on, apart from its parameters. A value: copy
/// it, compare it, keep it, write its bytes to a file or send them to another process.
///
/// `World::saveState` fills it and `World::restoreState` goes back to it. What it holds, and the
/// order of its bytes, is in docs/state-format.md.
class ZELVIK_API State {
 public:
  /// Version of the format that this library writes and reads.
  static constexpr std::uint32_t kVersion = 1;

  /// Whether it holds no moment, as at first.
  bool isEmpty() const { return bytes_.empty(); }
  /// The moment as bytes: little-endian, with version, structure and checksum in front.
  const std::vector<std::uint8_t>& getBytes() const { return bytes_; }
  /// The state of which `getBytes` gave these bytes. Fatal, and the state is empty, for bytes that
  /// are too few or too many, no state, a state of another version, or damaged:
  /// "State::fromBytes: ..." with what was found and what was expected.
  static State fromBytes(const void* bytes, size_t count);
  /// The same.
  static State fromBytes(const std::vector<std::uint8_t>& bytes) {
    return fromBytes(bytes.data(), bytes.size());
  }
  /// Hash of all values: equal for states that are equal to the last bit, and for others with a
  /// chance of one in 2^64. 0 for an empty state.
  std::uint64_t getHash() const;
  ///@{
  /// Whether two states are equal to the last bit.
  friend bool operator==(const State& a, const State& b) { return a.bytes_ == b.bytes_; }
  friend bool operator!=(const State& a, const State& b) { return !(a == b); }
  ///@}

 private:
  friend class World;

  std::vector<std::uint8_t> bytes_;
};

}  // namespace zelvik
