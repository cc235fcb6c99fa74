// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A robot from a URDF file stands on the ground under PD control.

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <zelvik/view/Recorder.hpp>

#include "StandingRobot.hpp"

namespace {

struct Options {
  std::string robot = ZELVIK_MODEL_DIR "/quadruped.urdf";
  double seconds = 10.0;
  double dt = 0.0025;
  double push = 0.0;
  std::string recordDirectory;
};

void printUsage() {
  std::puts(
      "stand: a robot from a URDF file stands on the ground under PD control\n"
      "  --robot FILE   URDF file (default: our quadruped)\n"
      "  --seconds S    simulated time (default 10)\n"
      "  --dt S         time step (default 0.0025)\n"
      "  --push N       sideways force on the base for 0.2 s in the middle (default 0)\n"
      "  --record DIR   write a replay and a picture into DIR, named after the URDF file\n"
      "  --help         this text\n"
      "Exit status: 0 done, 1 the URDF file is missing or broken, a file cannot be written, or "
      "the\n"
      "robot fell, 2 bad option");
}

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
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--help") {
      printUsage();
      std::exit(0);
    }
    if (i + 1 == argc) {
      std::fprintf(stderr, "stand: unknown option or no value: %s (see --help)\n", argv[i]);
      std::exit(2);
    }
    const char* value = argv[++i];
    if (option == "--robot") {
      options.robot = value;
    } else if (option == "--seconds") {
      options.seconds = number("--seconds", value, 0.0);
    } else if (option == "--dt") {
      options.dt = number("--dt", value, 0.0);
    } else if (option == "--push") {
      options.push = number("--push", value, -1e6);
    } else if (option == "--record") {
      options.recordDirectory = value;
    } else {
      std::fprintf(stderr, "stand: unknown option: %s (see --help)\n", option.c_str());
      std::exit(2);
    }
  }
  return options;
}

/// What the run leaves for the table.
struct Summary {
  double wallSeconds = 0.0;
  double meanForce = 0.0;  ///< over the last tenth of the run (N)
  double deepest = 0.0;    ///< over the whole run (m)
  double residual = 0.0;   ///< error of the last sweep of the last step
  double meanSweeps = 0.0;
};

void pushBase(zelvik::scenes::StandingRobot& scene, const Options& options) {
  const double t = scene.world.getWorldTime(), middle = 0.5 * options.seconds;
  if (options.push == 0.0 || t < middle || t >= middle + 0.2) return;
  scene.robot->setExternalForce(0, zelvik::Mat<3, 1>{{0.0, options.push, 0.0}});
}

/// One line that overwrites itself on a terminal.
void printProgress(const zelvik::scenes::StandingRobot& scene, bool onTerminal) {
  std::printf("%s%6.2f s  base height %.4f m  tilt %.3f deg%s", onTerminal ? "\r" : "",
              scene.world.getWorldTime(), scene.baseHeight(), scene.tilt() * 180.0 / M_PI,
              onTerminal ? "  " : "\n");
  std::fflush(stdout);
}

/// 60 frames a second, or every step if that is longer.
class Recording {
 public:
  Recording(const zelvik::scenes::StandingRobot& scene, const Options& options)
      : recorder_(scene.world),
        isWanted_(!options.recordDirectory.empty()),
        stride_(std::max(std::lround(1.0 / 60.0 / options.dt), 1l)),
        path_(std::filesystem::path(options.recordDirectory) /
              std::filesystem::path(options.robot).stem()) {}

  void see(long step) {
    if (isWanted_ && step % stride_ == 0) recorder_.capture();
  }
  void write() {
    if (!isWanted_) return;
    const std::string html = path_.string() + ".html", png = path_.string() + ".png";
    zelvik::view::PictureOptions picture;
    picture.contacts = true;
    if (recorder_.writePng(png, picture))
      std::printf("picture                   %s\n", png.c_str());
    if (!zelvik::view::Recorder::hasHtmlViewer())
      std::puts("replay                    none: built without Node.js, see README.md");
    else if (recorder_.writeHtml(html, {path_.stem().string()}))
      std::printf("replay                    %s\n", html.c_str());
  }

 private:
  zelvik::view::Recorder recorder_;
  bool isWanted_;
  long stride_;
  std::filesystem::path path_;
};

Summary run(zelvik::scenes::StandingRobot& scene, const Options& options, long steps,
            Recording& recording) {
  Summary summary;
  const long tail = std::max(steps / 10, 1l);
  const bool onTerminal = isatty(STDOUT_FILENO) != 0;
  const long progressLines = onTerminal ? 100 : 10;
  double sweeps = 0.0;
  const auto begin = std::chrono::steady_clock::now();
  for (long k = 0; k < steps; ++k) {
    pushBase(scene, options);
    scene.world.integrate();
    recording.see(k);
    const auto& solver = scene.world.getContactSolver();
    sweeps += solver.getLoopCounter();
    summary.deepest = std::max(summary.deepest, scene.deepestPenetration());
    if (k >= steps - tail) summary.meanForce += scene.groundForce() / static_cast<double>(tail);
    if (k % (steps / progressLines + 1) == 0 || k + 1 == steps) printProgress(scene, onTerminal);
  }
  const auto end = std::chrono::steady_clock::now();
  summary.wallSeconds = std::chrono::duration<double>(end - begin).count();
  summary.meanSweeps = sweeps / static_cast<double>(steps);
  const auto& solver = scene.world.getContactSolver();
  if (solver.getLoopCounter() > 0)
    summary.residual = solver.getErrorHistory()[static_cast<size_t>(solver.getLoopCounter() - 1)];
  if (onTerminal) std::printf("\n");
  return summary;
}

void printTable(const zelvik::scenes::StandingRobot& scene, const Summary& s, long steps) {
  const double weight = 9.81 * scene.totalMass();
  std::printf("robot                     %s, %zu velocities, %.2f kg\n",
              scene.robot->getRobotName().c_str(), scene.robot->getDOF(), scene.totalMass());
  std::printf("base height               %.4f m\n", scene.baseHeight());
  std::printf("base tilt                 %.4f deg\n", scene.tilt() * 180.0 / M_PI);
  std::printf("ground contacts           %zu\n", scene.groundContacts());
  std::printf("normal force              %.2f N, weight %.2f N, ratio %.4f\n", s.meanForce, weight,
              s.meanForce / weight);
  std::printf("solver sweeps             %.1f per step on average\n", s.meanSweeps);
  std::printf("solver residual           %.2e (sum of squares, last step)\n", s.residual);
  std::printf("largest penetration       %.2e m\n", s.deepest);
  std::printf("steps per second          %.0f (%ld steps)\n",
              static_cast<double>(steps) / s.wallSeconds, steps);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  zelvik::scenes::StandingRobot scene(options.robot, options.dt);
  const bool floating = scene.robot->getJointType(0) == zelvik::Joint::FLOATING;
  const long steps = std::max(std::lround(options.seconds / options.dt), 1l);
  const double startHeight = scene.baseHeight();
  Recording recording(scene, options);
  const Summary summary = run(scene, options, steps, recording);
  printTable(scene, summary, steps);
  recording.write();
  const bool stands = !floating || (scene.baseHeight() > 0.8 * startHeight && scene.tilt() < 0.3);
  std::printf("%s\n", stands ? "the robot stands" : "the robot fell");
  return stands ? 0 : 1;
}
