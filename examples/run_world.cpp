// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Loads a world file and lets it run.

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <zelvik/World.hpp>

namespace {

struct Options {
  std::string file;
  double seconds = 2.0;
  std::string exportDirectory;
};

void printUsage() {
  std::puts(
      "run_world: loads a world file and lets it run\n"
      "  FILE           world file\n"
      "  --seconds S    simulated time (default 2)\n"
      "  --export DIR   write the world as it is at the end to DIR/world.xml\n"
      "  --help         this text\n"
      "Exit status: 0 done, 1 the world file is missing or broken, or the state is no longer\n"
      "finite, 2 bad option");
}

[[noreturn]] void refuse(const char* problem, const char* argument) {
  std::fprintf(stderr, "run_world: %s: %s (see --help)\n", problem, argument);
  std::exit(2);
}

double positiveNumber(const char* text) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (end == text || *end != '\0' || !std::isfinite(value) || value <= 0.0)
    refuse("--seconds needs a number above 0, not", text);
  return value;
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--help") {
      printUsage();
      std::exit(0);
    }
    if (argument == "--seconds" || argument == "--export") {
      if (i + 1 == argc) refuse("no value", argv[i]);
      const char* value = argv[++i];
      if (argument == "--seconds")
        options.seconds = positiveNumber(value);
      else
        options.exportDirectory = value;
    } else if (argument.rfind("--", 0) == 0 || !options.file.empty()) {
      refuse("unknown option or second file", argv[i]);
    } else {
      options.file = argument;
    }
  }
  if (options.file.empty()) refuse("no world file given", "FILE");
  return options;
}

/// One line that overwrites itself on a terminal.
void printProgress(const zelvik::World& world, bool onTerminal) {
  std::printf("%s%6.2f s  %zu objects  %zu contacts%s", onTerminal ? "\r" : "",
              world.getWorldTime(), world.getObjList().size(), world.getContactProblems().size(),
              onTerminal ? "  " : "\n");
  std::fflush(stdout);
}

void run(zelvik::World& world, double seconds) {
  const bool onTerminal = isatty(STDOUT_FILENO) != 0;
  const long steps = std::max(std::lround(seconds / world.getTimeStep()), 1l);
  const long progressLines = onTerminal ? 100 : 10;
  const auto begin = std::chrono::steady_clock::now();
  for (long k = 0; k < steps; ++k) {
    world.integrate();
    if (k % (steps / progressLines + 1) == 0 || k + 1 == steps) printProgress(world, onTerminal);
  }
  const auto end = std::chrono::steady_clock::now();
  if (onTerminal) std::printf("\n");
  std::printf("%ld steps, %.0f per second\n\n", steps,
              static_cast<double>(steps) / std::chrono::duration<double>(end - begin).count());
}

/// Pose and velocity of an object; of a robot those of its base.
struct Row {
  zelvik::Mat<3, 1> position{}, velocity{};
  zelvik::Mat<4, 1> orientation{};
  bool isFinite() const {
    for (size_t i = 0; i < 3; ++i)
      if (!std::isfinite(position[i]) || !std::isfinite(velocity[i])) return false;
    return std::isfinite(orientation[0]);
  }
};

Row rowOf(const zelvik::Object& object) {
  Row row;
  zelvik::Mat<3, 3> rotation;
  if (object.getObjectType() == zelvik::ARTICULATED_SYSTEM)
    object.getPosition(0, row.position);
  else
    row.position = static_cast<const zelvik::SingleBodyObject&>(object).getBodyPosition();
  object.getVelocity(0, row.velocity);
  object.getOrientation(0, rotation);
  zelvik::rotMatToQuat(rotation, row.orientation);
  return row;
}

bool printTable(const zelvik::World& world) {
  bool isFinite = true;
  std::printf("%-20s %-18s %26s %31s %26s\n", "name", "type", "position (m)", "quaternion w x y z",
              "velocity (m/s)");
  for (const zelvik::Object* object : world.getObjList()) {
    const Row row = rowOf(*object);
    const auto &p = row.position, &v = row.velocity;
    const auto& q = row.orientation;
    std::printf("%-20s %-18s %8.3f %8.3f %8.3f %7.3f %7.3f %7.3f %7.3f %8.3f %8.3f %8.3f\n",
                object->getName().c_str(),
                zelvik::objectTypeToString(object->getObjectType()).c_str(), p[0], p[1], p[2], q[0],
                q[1], q[2], q[3], v[0], v[1], v[2]);
    isFinite = isFinite && row.isFinite();
  }
  return isFinite;
}

int simulate(const Options& options) {
  // An absolute path lets files that the world names by "[THIS_DIR]/.." be found from anywhere.
  zelvik::World world(std::filesystem::absolute(options.file).string());
  if (!(world.getTimeStep() > 0.0)) {
    std::fprintf(stderr, "run_world: the time step of the world is %g\n", world.getTimeStep());
    return 1;
  }
  run(world, options.seconds);
  const bool isFinite = printTable(world);
  if (!options.exportDirectory.empty())
    world.exportToXml(options.exportDirectory + "/", "world.xml");
  if (!isFinite) std::puts("the state is no longer finite");
  return isFinite ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  try {
    return simulate(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "run_world: %s: cannot be read: %s\n", options.file.c_str(), error.what());
    return 1;
  }
}
