// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Records worlds and draws them: the pictures of README.md, and a replay beside each.
// pictures DIR [SECONDS]: with SECONDS, no world runs longer than that.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <zelvik/view/Recorder.hpp>

#include "Pictures.hpp"
#include "Terrain.hpp"

namespace {

using zelvik::view::PictureOptions;
using zelvik::view::Recorder;

/// Where the pictures go, and how long a world runs at most (s).
struct Gallery {
  std::string directory;
  double longest;
};

/// Runs a world, records it at some 60 frames a second, and draws its last frame. What cannot be
/// written is a fatal message, which ends the program.
void draw(const Gallery& gallery, const std::string& name, zelvik::World& world, double seconds,
          PictureOptions options) {
  Recorder recorder(world);
  const long steps = std::lround(std::min(seconds, gallery.longest) / world.getTimeStep());
  const long stride = std::max(1l, std::lround(1.0 / 60.0 / world.getTimeStep()));
  for (long k = 0; k < steps; ++k) {
    world.integrate();
    if (k % stride == 0 || k + 1 == steps) recorder.capture();
  }
  options.width = 640;
  options.height = 380;
  const std::string path = gallery.directory + "/" + name;
  recorder.writePng(path + ".png", options);
  std::printf("%s.png, %zu frames\n", path.c_str(), recorder.getFrameCount());
  if (!Recorder::hasHtmlViewer()) return;
  recorder.writeHtml(path + ".html", {name});
  std::printf("%s.html\n", path.c_str());
}

/// Draws the forces of contacts, too, and looks at one object wherever it goes.
void drawQuadruped(const Gallery& gallery) {
  zelvik::scenes::RobotOnTerrain scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  PictureOptions options;
  options.contacts = true;
  options.camera.azimuth = -0.75;
  options.camera.elevation = 0.28;
  options.camera.follow = "quadruped";
  draw(gallery, "quadruped_on_terrain", scene.world, 2.0, options);
}

/// Looks at a point from a distance.
void drawPile(const Gallery& gallery) {
  zelvik::scenes::Pile scene;
  PictureOptions options;
  options.camera.azimuth = -1.1;
  options.camera.elevation = 0.45;
  options.camera.targetW = zelvik::Vec3{{0.0, 0.0, 0.1}};
  options.camera.distance = 4.2;
  draw(gallery, "pile", scene.world, 6.0, options);
}

/// Without target and distance the camera sees all that moves.
void drawGantry(const Gallery& gallery) {
  zelvik::scenes::Gantry scene;
  PictureOptions options;
  options.camera.azimuth = -1.25;
  options.camera.elevation = 0.22;
  draw(gallery, "wires", scene.world, 2.05, options);
}

}  // namespace

int main(int argc, char** argv) {
  const double longest = argc > 2 ? std::atof(argv[2]) : std::numeric_limits<double>::infinity();
  if (argc < 2 || argc > 3 || !(longest > 0.0)) {
    std::fputs("usage: pictures DIR [SECONDS]\n", stderr);
    return 2;
  }
  const Gallery gallery{argv[1], longest};
  drawQuadruped(gallery);
  drawPile(gallery);
  drawGantry(gallery);
}
