// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik::view {

/// A picture in memory: rows from the top, three bytes (red, green, blue; sRGB) a pixel.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgb;

  const std::uint8_t* pixel(int x, int y) const {
    return &rgb[3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x))];
  }
};

/// Writes an image as a PNG file of 8 bits a channel.
///
/// A file that cannot be written is fatal: "<file> cannot be written: <reason>"; so is an image
/// whose bytes do not fit its size.
/// @return whether the file was written
ZELVIK_API bool writePng(const std::string& file, const Image& image);

/// Where a picture is taken from. Angles in rad, lengths in m, world axes.
struct CameraOptions {
  double azimuth = -0.9;    ///< of the camera seen from the target, from +x towards +y (rad)
  double elevation = 0.35;  ///< of the camera above the target (rad), within +-pi/2
  /// From the camera to the target (m); 0: so that everything but grounds and height maps is seen.
  double distance = 0.0;
  /// What the camera looks at (m); without a value the middle of what `distance` describes.
  std::optional<Vec3> targetW;
  /// Name of an object or body that the camera looks at, in the frame drawn; empty: none. A name
  /// that is not in the recording is a warning.
  std::string follow;
  double fieldOfView = 0.6;  ///< over the picture's height (rad)
};

/// What a picture shows.
struct PictureOptions {
  static constexpr std::size_t kLastFrame = static_cast<std::size_t>(-1);

  int width = 640;                 ///< (pixels), 16 to 8192
  int height = 400;                ///< (pixels), 16 to 8192
  std::size_t frame = kLastFrame;  ///< from 0; a later one than the last means the last
  CameraOptions camera;
  bool dark = false;             ///< background
  bool collisionShapes = false;  ///< instead of visual ones, where a body has both
  bool wires = true;
  /// Impulses of contacts as arrows: green where the contact sticks, orange where it slides.
  bool contacts = false;
  bool forces = false;  ///< external forces as arrows
  bool grid = true;     ///< lines on the ground and on height maps, and their spacing as a label
};

}  // namespace zelvik::view
