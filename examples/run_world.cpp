// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Loads a world file and lets it run.

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

constexpr const char* kUsage =
    "run_world FILE [--seconds S] [--export DIR]: loads a world file and lets it run\n"
    "  --seconds S    simulated time (default 2)\n"
    "  --export DIR   write the world as it is at the end to DIR/world.xml\n"
    "Exit status: 0 done, 1 the world file is missing or broken, or the state is no longer\n"
    "finite, 2 bad option";

Options parse(int argc, char** argv) {
  Options options;
  bool good = true;
  for (int i = 1; i < argc && good; ++i) {
    const std::string argument = argv[i];
    if (argument == "--seconds" && i + 1 < argc) {
      options.seconds = std::atof(argv[++i]);
      good = std::isfinite(options.seconds) && options.seconds > 0.0;
    } else if (argument == "--export" && i + 1 < argc) {
      options.exportDirectory = argv[++i];
    } else {
      good = options.file.empty() && argument.rfind("--", 0) != 0;
      options.file = argument;
    }
  }
  if (good && !options.file.empty()) return options;
  std::puts(kUsage);
  std::exit(argc == 2 && std::string(argv[1]) == "--help" ? 0 : 2);
}

void run(zelvik::World& world, double seconds) {
  const long steps = std::max(std::lround(seconds / world.getTimeStep()), 1l);
  const auto begin = std::chrono::steady_clock::now();
  for (long k = 0; k < steps; ++k) {
    world.integrate();
    if (k % (steps / 10 + 1) == 0 || k + 1 == steps)
      std::printf("%6.2f s  %zu objects  %zu contacts\n", world.getWorldTime(),
                  world.getObjList().size(), world.getContactProblems().size());
  }
  const auto end = std::chrono::steady_clock::now();
  std::printf("%ld steps, %.0f per second\n\n", steps,
              static_cast<double>(steps) / std::chrono::duration<double>(end - begin).count());
}

/// One line per object: name, type, position, quaternion, velocity; of a robot those of its base.
/// @return whether all numbers are finite
bool printTable(const zelvik::World& world) {
  bool isFinite = true;
  std::printf("%-20s %-18s %26s %31s %26s\n", "name", "type", "position (m)", "quaternion w x y z",
              "velocity (m/s)");
  for (const zelvik::Object* object : world.getObjList()) {
    zelvik::Mat<3, 1> p, v;
    zelvik::Mat<4, 1> q;
    zelvik::Mat<3, 3> rotation;
    object->getPosition(0, zelvik::Mat<3, 1>{}, p);
    object->getVelocity(0, v);
    object->getOrientation(0, rotation);
    zelvik::rotMatToQuat(rotation, q);
    std::printf("%-20s %-18s %8.3f %8.3f %8.3f %7.3f %7.3f %7.3f %7.3f %8.3f %8.3f %8.3f\n",
                object->getName().c_str(),
                zelvik::objectTypeToString(object->getObjectType()).c_str(), p[0], p[1], p[2], q[0],
                q[1], q[2], q[3], v[0], v[1], v[2]);
    isFinite = isFinite && std::isfinite(dot(p, p) + dot(v, v) + dot(q, q));
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
  if (!std::filesystem::exists(options.file)) {
    std::fprintf(stderr, "run_world: there is no file %s\n", options.file.c_str());
    return 1;
  }
  try {
    return simulate(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "run_world: %s: cannot be read: %s\n", options.file.c_str(), error.what());
    return 1;
  }
}
