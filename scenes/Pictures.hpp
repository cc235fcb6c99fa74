// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

/// 120 bodies of four shapes that fall into a tray of 1.5 m.
class Pile {
 public:
  explicit Pile(std::uint32_t seed = 4);

  World world;
};

/// A gantry with five steel balls on ropes, of which the first is drawn aside, and a plank on four
/// springs that carries a box.
class Gantry {
 public:
  Gantry();

  World world;

 private:
  /// Hangs a ball on two ropes. @param swing angle to the vertical (rad)
  void addBall(double x, double swing);
  void addScale(double x);

  Box* front_;
  Box* back_;
};

}  // namespace zelvik::scenes
