// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A robot from a URDF file stands on the ground under PD control, is pushed, and is recorded.

#include <getopt.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <zelvik/view/Recorder.hpp>

#include "StandingReport.hpp"

namespace {

struct Options {
  std::string robot = ZELVIK_MODEL_DIR "/quadruped.urdf";
  double seconds = 10.0;
  double dt = 0.0025;
  double push = 0.0;
  std::string recordDirectory;
};

constexpr const char* kUsage =
    "stand: a robot from a URDF file stands on the ground under PD control\n"
    "  --robot FILE   URDF file (default: our quadruped)\n"
    "  --seconds S    simulated time (default 10)\n"
    "  --dt S         time step (default 0.0025)\n"
    "  --push N       sideways force on the base for 0.2 s in the middle (default 0)\n"
    "  --record DIR   write a replay and a picture into DIR, named after the URDF file\n"
    "  --help         this text\n"
    "Exit status: 0 done, 1 the URDF file is missing or broken, a file cannot be written, or the\n"
    "robot fell, 2 bad option\n";

/// A number above `least`, or the end of the program.
double number(const char* option, const char* text, double least) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (end != text && *end == '\0' && std::isfinite(value) && value > least) return value;
  std::fprintf(stderr, "stand: %s needs a number above %g, not '%s'\n", option, least, text);
  std::exit(2);
}

Options parse(int argc, char** argv) {
  Options options;
  const option known[] = {{"robot", 1, nullptr, 'r'},
                          {"seconds", 1, nullptr, 's'},
                          {"dt", 1, nullptr, 'd'},
                          {"push", 1, nullptr, 'p'},
                          {"record", 1, nullptr, 'o'},
                          {"help", 0, nullptr, 'h'},
                          {}};
  for (int c; (c = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    if (c == 'r') options.robot = optarg;
    if (c == 's') options.seconds = number("--seconds", optarg, 0.0);
    if (c == 'd') options.dt = number("--dt", optarg, 0.0);
    if (c == 'p') options.push = number("--push", optarg, -1e6);
    if (c == 'o') options.recordDirectory = optarg;
    if (c == 'h') std::exit(std::fputs(kUsage, stdout) < 0);
    if (c == '?') std::exit(2);  // the reason is printed by then
  }
  if (optind == argc) return options;
  std::fprintf(stderr, "stand: '%s' is not an option (see --help)\n", argv[optind]);
  std::exit(2);
}

/// An external force acts for one step; it is set anew before each.
void pushBase(zelvik::scenes::StandingRobot& scene, const Options& options) {
  const double t = scene.world.getWorldTime(), middle = 0.5 * options.seconds;
  if (options.push == 0.0 || t < middle || t >= middle + 0.2) return;
  scene.robot->setExternalForce(0, zelvik::Mat<3, 1>{{0.0, options.push, 0.0}});
}

void writeRecording(const zelvik::view::Recorder& recorder, const Options& options) {
  const std::string name = std::filesystem::path(options.robot).stem();
  const std::string path = std::filesystem::path(options.recordDirectory) / name;
  zelvik::view::PictureOptions picture;
  picture.contacts = true;
  if (recorder.writePng(path + ".png", picture))
    std::printf("picture                   %s.png\n", path.c_str());
  if (!zelvik::view::Recorder::hasHtmlViewer())
    std::puts("replay                    none: built without Node.js, see README.md");
  else if (recorder.writeHtml(path + ".html", {name}))
    std::printf("replay                    %s.html\n", path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  zelvik::scenes::StandingRobot scene(options.robot, options.dt);
  const long steps = std::max(std::lround(options.seconds / options.dt), 1l);
  const long stride = std::max(std::lround(1.0 / 60.0 / options.dt), 1l);
  const bool isRecorded = !options.recordDirectory.empty();
  zelvik::view::Recorder recorder(scene.world);
  zelvik::scenes::StandingReport report(scene, steps);
  for (long k = 0; k < steps; ++k) {
    pushBase(scene, options);
    scene.world.integrate();
    if (isRecorded && k % stride == 0) recorder.capture();  // 60 frames a second at most
    report.seeStep();
  }
  if (isRecorded) writeRecording(recorder, options);
  report.print();
  return report.stands() ? 0 : 1;
}
