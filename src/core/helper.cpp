// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <zelvik/helper.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

constexpr size_t kSignatureSize = 8;
/// Largest width and height (pixels): a forged header must not make us allocate terabytes.
constexpr png_uint_32 kLargestSide = 16384;
/// Most samples: 2^26 are half a gigabyte of heights, and compress to next to nothing.
constexpr size_t kMostSamples = size_t{1} << 26;

/// Everything that a read holds. It is an object of the caller of those functions that call
/// `setjmp`, and functions that libpng may leave by a jump have no objects of their own: so nothing
/// leaks.
struct PngReader {
  std::FILE* file = nullptr;
  png_structp png = nullptr;
  png_infop info = nullptr;
  png_bytep* rows = nullptr;
  png_uint_32 width = 0, height = 0;
  int bitDepth = 0;

  PngReader() = default;
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() {
    if (rows != nullptr)
      for (png_uint_32 r = 0; r < height; ++r) std::free(rows[r]);
    std::free(rows);
    if (png != nullptr) png_destroy_read_struct(&png, &info, nullptr);
    if (file != nullptr) std::fclose(file);
  }
};

/// Opens the file and tests its first bytes; false after a fatal message.
bool openPng(PngReader& reader, const char* path) {
  reader.file = std::fopen(path, "rb");
  if (reader.file == nullptr) {
    MSG_FATAL(path << " not found");
    return false;
  }
  png_byte signature[kSignatureSize];
  if (std::fread(signature, 1, kSignatureSize, reader.file) != kSignatureSize) {
    MSG_FATAL("Error reading header");
    return false;
  }
  if (png_sig_cmp(signature, 0, kSignatureSize) != 0) {
    MSG_FATAL(path << " is not png");
    return false;
  }
  return true;
}

/// Reads size and bit depth; false on an error of libpng or a size beyond the limit.
bool readPngInfo(PngReader& reader) {
  if (setjmp(*png_set_longjmp_fn(reader.png, std::longjmp, sizeof(jmp_buf))) != 0) return false;
  png_init_io(reader.png, reader.file);
  // Texts, colour profiles and the like are skipped unread: libpng would allocate whatever length
  // they claim to have.
  png_set_keep_unknown_chunks(reader.png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_set_sig_bytes(reader.png, static_cast<int>(kSignatureSize));
  png_read_info(reader.png, reader.info);
  reader.width = png_get_image_width(reader.png, reader.info);
  reader.height = png_get_image_height(reader.png, reader.info);
  reader.bitDepth = png_get_bit_depth(reader.png, reader.info);
  png_set_interlace_handling(reader.png);
  png_read_update_info(reader.png, reader.info);
  return reader.width <= kLargestSide && reader.height <= kLargestSide &&
         static_cast<size_t>(reader.width) * reader.height <= kMostSamples;
}

/// One block per row; false if memory runs out.
bool allocateRows(PngReader& reader) {
  const size_t rowBytes = png_get_rowbytes(reader.png, reader.info);
  reader.rows = static_cast<png_bytep*>(std::calloc(reader.height, sizeof(png_bytep)));
  if (reader.rows == nullptr) return false;
  for (png_uint_32 r = 0; r < reader.height; ++r) {
    reader.rows[r] = static_cast<png_bytep>(std::malloc(rowBytes));
    if (reader.rows[r] == nullptr) return false;
  }
  return true;
}

/// Reads the pixels; false on an error of libpng.
bool readPngImage(PngReader& reader) {
  if (setjmp(*png_set_longjmp_fn(reader.png, std::longjmp, sizeof(jmp_buf))) != 0) return false;
  png_read_image(reader.png, reader.rows);
  return true;
}

/// Appends the samples of all rows, each from the last column to the first.
void convertPixels(const PngReader& reader, std::vector<double>& values, double scale,
                   double offset) {
  values.reserve(static_cast<size_t>(reader.width) * reader.height);
  for (png_uint_32 r = 0; r < reader.height; ++r) {
    const png_bytep row = reader.rows[r];
    for (size_t c = reader.width; c-- > 0;) {
      // The high byte weighs 255, not 256, on purpose.
      const int p = reader.bitDepth == 8 ? row[c] : 255 * row[2 * c] + row[2 * c + 1];
      values.push_back(p * scale + offset);
    }
  }
}

}  // namespace

void read_png_file(const char* path, int& width, int& height, std::vector<double>& values,
                   double scale, double offset) {
  values.clear();
  PngReader reader;
  if (!openPng(reader, path)) return;
  reader.png = png_create_read_struct("1.6.16", nullptr, nullptr, nullptr);
  if (reader.png == nullptr) {
    MSG_FATAL("libpng failed to read the file");
    return;
  }
  reader.info = png_create_info_struct(reader.png);
  if (reader.info == nullptr || !readPngInfo(reader) || !allocateRows(reader) ||
      !readPngImage(reader)) {
    MSG_FATAL("libpng fialed to read the png info");
    return;
  }
  width = static_cast<int>(reader.width);
  height = static_cast<int>(reader.height);
  if (reader.bitDepth != 8 && reader.bitDepth != 16) {
    MSG_FATAL("PNG height map only support bit depth of 8 or 16");
    return;
  }
  convertPixels(reader, values, scale, offset);
}

}  // namespace zelvik
