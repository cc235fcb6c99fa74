// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <zelvik/view/Picture.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik::view {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Plain surfaces with thin lines on them pack best without a filter, and little effort is enough.
constexpr int kCompression = 2;

/// Between `setjmp` and libpng's jumps back there must be nothing that wants to be destroyed.
bool encode(std::FILE* file, const Image& image, png_structp png, png_infop info) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
               static_cast<png_uint_32>(image.height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, kCompression);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  for (int y = 0; y < image.height; ++y) png_write_row(png, image.pixel(0, y));
  png_write_end(png, nullptr);
  return true;
}

bool encode(std::FILE* file, const Image& image) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (png == nullptr) return false;
  png_infop info = png_create_info_struct(png);
  const bool isWritten = info != nullptr && encode(file, image, png, info);
  png_destroy_write_struct(&png, &info);
  return isWritten && std::fflush(file) == 0;
}

}  // namespace

bool writePng(const std::string& file, const Image& image) {
  if (image.width < 1 || image.height < 1 ||
      image.rgb.size() !=
          3 * static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height)) {
    MSG_FATAL(file << " is not written: an image of " << image.width << " x " << image.height
                   << " pixels with " << image.rgb.size() << " bytes");
    return false;
  }
  errno = 0;
  const std::unique_ptr<std::FILE, FileCloser> stream(std::fopen(file.c_str(), "wb"));
  if (stream != nullptr && encode(stream.get(), image)) return true;
  MSG_FATAL(file << " cannot be written: " << std::strerror(errno != 0 ? errno : EIO));
  return false;
}

}  // namespace zelvik::view
