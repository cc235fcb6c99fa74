// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/view/Picture.hpp>

namespace zelvik {
class World;
}

namespace zelvik::view {

struct Recording;
class Recorder;

/// What a recorder keeps beside the poses.
struct RecorderOptions {
  bool contacts = true;            ///< with their impulses
  bool wires = true;               ///< with their ends
  bool forces = true;              ///< external forces and torques
  bool visualShapes = true;        ///< visual shapes of robots, where they have any
  bool collisionShapes = true;     ///< collision shapes of bodies that have visual ones as well
  std::size_t expectedFrames = 0;  ///< room that is reserved; more is fine
};

/// What a page holds beside the recording.
struct HtmlOptions {
  std::string title = "zelvik replay";  ///< of the page
  /// Another recording, shown translucent in the same place; not owned, may be null.
  const Recorder* ghost = nullptr;
};

/// Records a world, frame by frame, and writes what it has seen as a page, as raw data or as a
/// picture.
///
///     zelvik::view::Recorder recorder(world);
///     ... world.integrate(); recorder.capture(); ...
///     recorder.writeHtml("replay.html");
///
/// The recorder only reads, and only in `capture`: objects may be added and removed between two
/// captures, and the world may be gone when the files are written. A pose takes 28 bytes a body and
/// frame; a body that has not moved takes them once. Poses that are not finite or
/// 1e6 m away are not drawn.
///
/// Name, mass and shapes of a body are those of the first capture that sees it.
class ZELVIK_API Recorder {
 public:
  /// Keeps a reference to the world, which has to live while frames are captured.
  explicit Recorder(const World& world, const RecorderOptions& options = {});
  ~Recorder();
  /// Takes the frames of `other`, which is empty afterwards and may go on to capture.
  Recorder(Recorder&& other) noexcept;
  /// Takes the frames of `other`, which is empty afterwards and may go on to capture.
  Recorder& operator=(Recorder&& other) noexcept;

  /// Appends a frame: poses as they are, contacts, wires and forces of the last step. Reads the
  /// mesh files of a robot that it sees for the first time; one that cannot be shown is left out
  /// with a warning. Faces of visual meshes may have any number of corners.
  void capture();
  /// Frames captured so far.
  std::size_t getFrameCount() const;
  /// Bytes of memory that the frames take, without shapes.
  std::size_t getMemory() const;

  /// Writes the recording as one page that opens in any browser, without a server or network.
  ///
  /// Fatal: no frame ("nothing has been captured"), a build without the page ("the HTML viewer is
  /// not built in ..."), a file that cannot be written.
  /// @return whether the file was written
  bool writeHtml(const std::string& file, const HtmlOptions& options = {}) const;
  /// Whether this build holds the page of `writeHtml`; it does if Node.js was there.
  static bool hasHtmlViewer();
  /// Writes the bare container of docs/replay-format.md. Errors as `writeHtml`.
  bool writeReplay(const std::string& file, const std::string& title = "zelvik replay") const;
  /// The bytes of `writeReplay`; empty after a fatal message.
  std::vector<std::uint8_t> encodeReplay(const std::string& title = "zelvik replay") const;

  /// Draws a frame by a software rasteriser, without screen or graphics card.
  ///
  /// Fatal, and an empty image: no frame, a size out of range, a camera that is not a number.
  Image render(const PictureOptions& options = {}) const;
  /// `render` into a PNG file. Errors: those of `render` and of `zelvik::view::writePng`.
  /// @return whether the file was written
  bool writePng(const std::string& file, const PictureOptions& options = {}) const;

 private:
  const World* world_;
  std::unique_ptr<Recording> recording_;
};

}  // namespace zelvik::view
