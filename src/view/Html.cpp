// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>
#include <zelvik/zlv_message_logger.hpp>

#include "EmbeddedPage.hpp"
#include "Recording.hpp"

// Replays as files: the page with the compressed container in it, or the container alone.

namespace zelvik::view {

namespace {

constexpr std::string_view kMarker = "<!--ZELVIK-REPLAY-->";

std::vector<std::uint8_t> compressed(const std::vector<std::uint8_t>& bytes) {
  uLongf size = compressBound(bytes.size());
  std::vector<std::uint8_t> packed(size);
  compress2(packed.data(), &size, bytes.data(), bytes.size(), Z_BEST_COMPRESSION);
  packed.resize(size);
  return packed;
}

std::string base64(const std::vector<std::uint8_t>& bytes) {
  static constexpr char digits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
    std::uint32_t word = 0;
    for (std::size_t k = 0; k < 3; ++k) word = word << 8 | (k < count ? bytes[i + k] : 0u);
    for (std::size_t k = 0; k < 4; ++k)
      text += k <= count ? digits[word >> (18 - 6 * k) & 63u] : '=';
  }
  return text;
}

std::string element(const char* id, const std::vector<std::uint8_t>& container) {
  return std::string("<script type=\"text/plain\" id=\"") + id + "\">" +
         base64(compressed(container)) + "</script>";
}

bool hasFrames(const Recording& recording, const char* what) {
  if (recording.frameCount() > 0) return true;
  MSG_FATAL(what << ": nothing has been captured");
  return false;
}

bool writeFile(const std::string& file, const char* bytes, std::size_t size) {
  errno = 0;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(bytes, static_cast<std::streamsize>(size));
  stream.close();
  if (stream) return true;
  MSG_FATAL(file << " cannot be written: " << std::strerror(errno != 0 ? errno : EIO));
  return false;
}

/// Place of the marker in the page; `npos` after a message.
std::size_t findMarker(std::string_view page) {
  const std::size_t place = page.find(kMarker);
  if (page.empty()) {
    MSG_FATAL(
        "the HTML viewer is not built in: Node.js or the npm packages were missing when "
        "zelvik was built (scripts/install-dependencies.sh --viewer)");
    return std::string_view::npos;
  }
  if (place == std::string_view::npos)
    MSG_FATAL("the HTML viewer that was built in has no place for a replay: " << kMarker);
  return place;
}

}  // namespace

bool Recorder::hasHtmlViewer() {
  return !embeddedPage().empty();
}

std::vector<std::uint8_t> Recorder::encodeReplay(const std::string& title) const {
  if (!hasFrames(*recording_, "Recorder::encodeReplay")) return {};
  return encodeContainer(*recording_, title);
}

bool Recorder::writeReplay(const std::string& file, const std::string& title) const {
  if (!hasFrames(*recording_, "Recorder::writeReplay")) return false;
  const std::vector<std::uint8_t> bytes = encodeContainer(*recording_, title);
  return writeFile(file, reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

bool Recorder::writeHtml(const std::string& file, const HtmlOptions& options) const {
  if (!hasFrames(*recording_, "Recorder::writeHtml")) return false;
  if (options.ghost != nullptr &&
      !hasFrames(*options.ghost->recording_, "Recorder::writeHtml, ghost"))
    return false;
  const std::string_view page = embeddedPage();
  const std::size_t place = findMarker(page);
  if (place == std::string_view::npos) return false;
  std::string text(page.substr(0, place));
  text += element("zelvik-replay", encodeContainer(*recording_, options.title));
  if (options.ghost != nullptr)
    text += element("zelvik-ghost", encodeContainer(*options.ghost->recording_, options.title));
  text += page.substr(place + kMarker.size());
  return writeFile(file, text.data(), text.size());
}

}  // namespace zelvik::view
