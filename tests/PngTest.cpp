// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <zelvik/helper.hpp>
#include <zelvik/object/HeightMap.hpp>

#include "Messages.hpp"
#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

using namespace terrain_test;

/// A PNG image built by hand, so that each fault can be put in alone.
struct PngImage {
  unsigned int width, height;
  int bitDepth;
  int colourType;   ///< 0 grey, 2 colour
  std::string raw;  ///< rows, each after its filter byte 0

  static std::string bigEndian(unsigned int value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
    return text;
  }
  static std::string chunk(const std::string& type, const std::string& data) {
    const std::string body = type + data;
    const auto crc = crc32(0, reinterpret_cast<const Bytef*>(body.data()),
                           static_cast<unsigned int>(body.size()));
    return bigEndian(static_cast<unsigned int>(data.size())) + body +
           bigEndian(static_cast<unsigned int>(crc));
  }
  std::string file() const {
    std::string packed(compressBound(raw.size()), 0);
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(raw.data()), raw.size());
    return std::string("\x89PNG\r\n\x1a\n", 8) +
           chunk("IHDR", bigEndian(width) + bigEndian(height) + static_cast<char>(bitDepth) +
                             static_cast<char>(colourType) + std::string(3, '\0')) +
           chunk("IDAT", packed.substr(0, size)) + chunk("IEND", "");
  }
};

std::vector<double> valuesOf(const std::string& content, double scale = 1.0, double offset = 0.0) {
  const TemporaryFile file("image.png", content);
  std::vector<double> values{1, 2, 3};
  int width = 0, height = 0;
  read_png_file(file.path.c_str(), width, height, values, scale, offset);
  return values;
}

std::string bytes(std::initializer_list<int> list) {
  return std::string(list.begin(), list.end());
}

TEST(Png, RowsAreMirroredAndScaled) {
  EXPECT_EQ(valuesOf(PngImage{2, 2, 8, 0, bytes({0, 1, 2, 0, 3, 255})}.file(), 0.5, -1.0),
            (std::vector<double>{0, -0.5, 126.5, 0.5}));
  // The high byte of 16 bits weighs 255.
  EXPECT_EQ(valuesOf(PngImage{3, 1, 16, 0, bytes({0, 1, 0, 0, 255, 255, 255})}.file()),
            (std::vector<double>{65280, 255, 255}));
  // Of three channels the first bytes of the row count.
  EXPECT_EQ(valuesOf(PngImage{2, 1, 8, 2, bytes({0, 1, 2, 3, 4, 5, 6})}.file()),
            (std::vector<double>{2, 1}));
}

TEST(Png, BrokenImagesAreRefusedWithOneMessage) {
  const PngImage good{2, 2, 8, 0, bytes({0, 1, 2, 0, 3, 4})};
  std::string badChecksum = good.file();
  badChecksum[30] = static_cast<char>(badChecksum[30] + 1);
  const std::pair<std::string, const char*> table[] = {
      {"\x89PNG", "Error reading header"},
      {"GIF89a, not a picture of ours", "image.png is not png"},
      {badChecksum, "libpng fialed to read the png info"},
      {good.file().substr(0, 47), "libpng fialed to read the png info"},
      {PngImage{2, 3, 8, 0, good.raw}.file(), "libpng fialed to read the png info"},
      {PngImage{16385, 1, 8, 0, ""}.file(), "libpng fialed to read the png info"},
      {PngImage{2, 2, 1, 0, bytes({0, 64, 0, 128})}.file(),
       "PNG height map only support bit depth of 8 or 16"},
      {PngImage{2, 2, 4, 0, bytes({0, 64, 0, 128})}.file(),
       "PNG height map only support bit depth of 8 or 16"},
  };
  for (const auto& [content, expected] : table) {
    const TemporaryFile file("image.png", content);
    std::vector<double> values{1.0};
    int width, height;
    testing::internal::CaptureStderr();  // libpng tells its side there
    const auto read = [&] { read_png_file(file.path.c_str(), width, height, values, 1.0, 0.0); };
    const std::string message = messages::of(read, messages::OnFatal::GO_ON);
    testing::internal::GetCapturedStderr();
    EXPECT_NE(message.find(expected), std::string::npos) << expected << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << "more than one message: " << message;
    EXPECT_TRUE(values.empty());
  }
}

// An image of zeros is a small file. It is refused before libpng, which would complain of missing
// data, is asked for a row.
TEST(Png, TooManySamplesAreRefusedBeforeTheyTakeMemory) {
  for (const unsigned int height : {8192u, 4096u}) {
    testing::internal::CaptureStderr();
    messages::expect("libpng fialed to read the png info", [&] {
      valuesOf(PngImage{16384, height, 8, 0, ""}.file());
    });
    EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), height == 8192) << height;
  }
}

TEST(Png, BecomesAHeightMap) {
  const OdeScope ode;
  const auto missing = [] { HeightMap(0, 0, "no.png", 1, 1, 1, 0); };
  messages::refused("no.png not found", missing);
  const auto other = [] { HeightMap(0, 0, "map.PNG", 1, 1, 1, 0); };
  messages::refused("This constructor is for png file", other);
  // Row 0 of the image at low y, its rightmost pixel at low x.
  const TemporaryFile file("terrain.png",
                           PngImage{3, 2, 8, 0, bytes({0, 1, 2, 3, 0, 4, 5, 6})}.file());
  const HeightMap map(10.0, 20.0, file.path, 4.0, 2.0, 0.5, 1.0);
  EXPECT_DOUBLE_EQ(map.getHeight(8.0, 19.0), 2.5);
  EXPECT_DOUBLE_EQ(map.getHeight(12.0, 21.0), 3.0);
}

}  // namespace
}  // namespace zelvik
