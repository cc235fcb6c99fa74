// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/view/Picture.hpp>

namespace zelvik::view {

/// Columns that a text takes (pixels).
int labelWidth(const std::string& text, int scale);

/// Writes a text of digits, small letters "dgikmrst", ".", "-", "=" and blanks into a picture,
/// other characters as blanks.
/// @param x, y left upper corner (pixels); what lies outside is cut off
/// @param scale pixels per dot of the letters, which are 5 wide and 7 high
void drawLabel(Image& image, const std::string& text, int x, int y, int scale, std::uint8_t grey);

}  // namespace zelvik::view
