// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/export.hpp>

namespace zelvik {

/// Reads a grey PNG image as heights: one sample per pixel, pixel value * `scale` + `offset` (m).
///
/// The rows follow each other from the top of the image; each is mirrored, from its rightmost pixel
/// to its leftmost. A pixel of 16 bits counts 255 * high byte + low byte, so the largest is 65280.
/// The image is taken to have one channel: of one with more, the first bytes of each row are read
/// as if they were pixels.
///
/// Fatal, with `values` empty: "<path> not found"; "Error reading header" for a file of less than
/// 8 bytes; "<path> is not png"; "libpng failed to read the file"; "libpng fialed to read the png
/// info" for a damaged file, for lack of memory and for an image of more than 16384 pixels in a
/// direction or 2^26 (67 million) in all; "PNG height map only support bit depth of 8 or 16".
/// @param width,height size of the image in pixels
/// @param values emptied first; its capacity stays
ZELVIK_API void read_png_file(const char* path, int& width, int& height,
                              std::vector<double>& values, double scale, double offset);

}  // namespace zelvik
