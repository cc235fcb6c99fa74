// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <locale>
#include <sstream>
#include <utility>
#include <zelvik/TextFile.hpp>
#include <zelvik/helper.hpp>
#include <zelvik/object/HeightMap.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Room for the heights that a header announces. It may lie: what goes beyond 128 MB is taken only
/// as the values come. More than a vector can hold raises `std::length_error`.
void reserveHeights(std::vector<double>& heights, size_t announced) {
  constexpr size_t kMostAtOnce = size_t{1} << 24;
  heights.reserve(announced > heights.max_size() ? announced : std::min(announced, kMostAtOnce));
}

}  // namespace

HeightMap::HeightMap(double centerX, double centerY, const std::string& file)
    : SingleBodyObject(HEIGHTMAP) {
  bodyType_ = BodyType::STATIC;
  std::string text;
  const TextRead read = readTextFile(file, text);
  if (read == TextRead::UNREADABLE) MSG_FATAL("\n Error opening file.\n");
  if (read != TextRead::DONE) return;
  std::istringstream stream(std::move(text));
  stream.imbue(std::locale::classic());
  unsigned long xSamples = 0, ySamples = 0;
  double xSize = 0.0, ySize = 0.0;
  if (!(stream >> xSamples >> ySamples >> xSize >> ySize)) {
    MSG_FATAL("Height Map is in a wrong format");
    return;
  }
  reserveHeights(heights_, xSamples * ySamples);
  for (double height; stream >> height;) heights_.push_back(height);
  if (heights_.size() != xSamples * ySamples) {
    MSG_FATAL("insufficient number of height values");
    return;
  }
  init(xSamples, ySamples, xSize, ySize, centerX, centerY);
}

HeightMap::HeightMap(double centerX, double centerY, const std::string& file, double xSize,
                     double ySize, double heightScale, double heightOffset)
    : SingleBodyObject(HEIGHTMAP) {
  bodyType_ = BodyType::STATIC;
  if (file.substr(file.rfind('.') + 1) != "png") {
    MSG_FATAL("This constructor is for png file");
    return;
  }
  int width = 0, height = 0;
  read_png_file(file.c_str(), width, height, heights_, heightScale, heightOffset);
  if (heights_.empty()) return;  // the reader has told why
  init(static_cast<unsigned long>(width), static_cast<unsigned long>(height), xSize, ySize, centerX,
       centerY);
}

}  // namespace zelvik
