// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// What terrain costs and how exact it is: rays over small cells, loading, steps with our contacts
// and with those of the collision library, sinking of bodies at rest. Times are minima over the
// runs, of the thread's own CPU clock; they tell nothing about another machine.
//
//   terrain_time [runs, default 5]

#include <png.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "Terrain.hpp"

namespace {

using zelvik::HeightMap;
using zelvik::Vec3;
using zelvik::World;

/// A directory that goes with the program.
class Scratch {
 public:
  Scratch()
      : path_(std::filesystem::temp_directory_path() /
              ("zelvik_terrain_" + std::to_string(getpid()))) {
    std::filesystem::create_directory(path_);
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return path_ / name; }
  std::string file(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name) << text;
    return path_ / name;
  }

 private:
  std::filesystem::path path_;
};

double cpuSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// Shortest time of a call (s).
double fastest(int runs, const std::function<void()>& call) {
  double best = std::numeric_limits<double>::infinity();
  for (int run = 0; run < runs; ++run) {
    const double begin = cpuSeconds();
    call();
    best = std::min(best, cpuSeconds() - begin);
  }
  return best;
}

void measureRays(int runs) {
  constexpr double kCell = 0.05;
  World world;
  zelvik::TerrainProperties properties = zelvik::scenes::hills(60.0, kCell, 1.0);
  const HeightMap* map = world.addHeightMap(0.0, 0.0, properties);
  std::puts("ray (m)  cells crossed  hits  us per ray");
  for (double length : {5.0, 25.0, 50.0}) {
    // Through the tops of the hills, out of all grid lines.
    const Vec3 direction{{std::cos(0.4), std::sin(0.4), 0.0}};
    Vec3 start = -0.5 * length * direction;
    start[2] = 0.6;
    size_t hits = 0;
    constexpr int kRays = 1000;
    const double seconds = fastest(runs, [&] {
      for (int i = 0; i < kRays; ++i) hits = world.rayTest(start, direction, length).count;
    });
    double cells = 1.0;
    for (size_t i = 0; i < 2; ++i) {
      const double low = 0.5 * (i == 0 ? map->getXSize() : map->getYSize());
      cells += std::fabs(std::floor((start[i] + length * direction[i] + low) / kCell) -
                         std::floor((start[i] + low) / kCell));
    }
    std::printf("%7.0f  %13.0f  %4zu  %10.2f\n", length, cells, hits, 1e6 * seconds / kRays);
  }
}

std::string heightsAsText(size_t samples) {
  std::string text = std::to_string(samples) + ' ' + std::to_string(samples) + " 50 50\n";
  char number[32];
  for (size_t k = 0; k < samples * samples; ++k) {
    std::snprintf(number, sizeof(number), "%.6f ", std::sin(1e-3 * static_cast<double>(k)));
    text += number;
  }
  return text;
}

void writePng(const std::string& path, unsigned samples) {
  std::vector<std::uint16_t> pixels(size_t{samples} * samples);
  for (size_t k = 0; k < pixels.size(); ++k)
    pixels[k] = static_cast<std::uint16_t>(30000.0 + 20000.0 * std::sin(1e-3 * double(k)));
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = image.height = samples;
  image.format = PNG_FORMAT_LINEAR_Y;
  if (png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr) == 0)
    std::printf("cannot write %s\n", path.c_str());
}

void measureLoading(int runs, const Scratch& scratch) {
  const std::string mesh = scratch.file("ball.obj", zelvik::scenes::sphereObj(0.5, 101, 200));
  const std::string text = scratch.file("map.txt", heightsAsText(1000));
  const std::string png = scratch.file("map.png");
  writePng(png, 1000);
  const auto report = [&](const char* what, const std::function<size_t(World&)>& load) {
    size_t count = 0;
    const double seconds = fastest(runs, [&] {
      World world;
      count = load(world);
    });
    std::printf("%-22s %8zu  %6.1f ms\n", what, count, 1e3 * seconds);
  };
  std::puts("\nloading");
  report("triangles of a mesh", [&](World& world) {
    return world.addMesh(mesh, 1.0, zelvik::Mat33::identity(), Vec3{}, 1.0)->getIndices().size() /
           3;
  });
  report("samples from text",
         [&](World& world) { return world.addHeightMap(text, 0.0, 0.0)->getHeightMap().size(); });
  report("samples from PNG", [&](World& world) {
    return world.addHeightMap(png, 0.0, 0.0, 50.0, 50.0, 1e-5, 0.0)->getHeightMap().size();
  });
}

/// Spheres dropped on hills of 0.1 m cells, one step after the other (us per step).
double sphereSteps(bool exact) {
  World world;
  zelvik::TerrainProperties properties = zelvik::scenes::hills(20.0, 0.1, 0.8);
  HeightMap* map = world.addHeightMap(0.0, 0.0, properties);
  map->setExactContacts(exact);
  for (int i = 0; i < 100; ++i) {
    const double x = 0.5 * (i % 10) - 2.3, y = 0.5 * (i / 10) - 2.3;
    zelvik::Sphere* sphere = world.addSphere(0.15, 1.0);
    sphere->setPosition(x, y, map->getHeight(x, y) + 0.2);
    sphere->setAngularDamping({{0.05, 0.05, 0.05}});
  }
  constexpr int kSteps = 400;
  return 1e6 / kSteps * fastest(1, [&] {
           for (int i = 0; i < kSteps; ++i) world.integrate();
         });
}

double rowSteps(bool exact, const std::string& cube) {
  zelvik::scenes::BodiesOnTerrain scene(0.1, cube, 8, exact);
  constexpr int kSteps = 1000;
  return 1e6 / kSteps * fastest(1, [&] {
           for (int i = 0; i < kSteps; ++i) scene.world.integrate();
         });
}

/// A ball of many triangles on hills of 0.1 m cells.
double meshSteps(bool exact, const std::string& ball) {
  World world;
  zelvik::TerrainProperties properties = zelvik::scenes::hills(8.0, 0.1, 0.8);
  HeightMap* map = world.addHeightMap(0.0, 0.0, properties);
  map->setExactContacts(exact);
  world.addMesh(ball, 10.0, zelvik::Mat33::identity(), Vec3{}, 0.5)
      ->setPosition(0.0, 0.0, map->getHeight(0.0, 0.0) + 0.25);
  constexpr int kSteps = 100;
  return 1e6 / kSteps * fastest(1, [&] {
           for (int i = 0; i < kSteps; ++i) world.integrate();
         });
}

double robotSteps(bool exact) {
  zelvik::scenes::RobotOnTerrain scene(ZELVIK_MODEL_DIR "/quadruped.urdf", 0.0025, exact);
  constexpr int kSteps = 2000;
  return 1e6 / kSteps * fastest(1, [&] {
           for (int i = 0; i < kSteps; ++i) scene.world.integrate();
         });
}

void measureSteps(int runs, const std::string& cube, const std::string& ball) {
  std::puts("\nsteps on 0.1 m cells          us per step: exact  collision library");
  const auto report = [&](const char* scene, const std::function<double(bool)>& time) {
    double best[2] = {1e9, 1e9};
    for (int run = 0; run < runs; ++run)
      for (bool exact : {true, false})
        best[exact ? 0 : 1] = std::min(best[exact ? 0 : 1], time(exact));
    std::printf("%-30s %17.1f  %17.1f\n", scene, best[0], best[1]);
  };
  report("100 spheres", sphereSteps);
  report("box, 3 round bodies, mesh", [&](bool exact) { return rowSteps(exact, cube); });
  report("mesh of 40000 triangles", [&](bool exact) { return meshSteps(exact, ball); });
  report("quadruped", robotSteps);
}

/// Largest sinking of each body of the row in the last 2 of 12 s, over five terrains.
void measureSinking(const std::string& cube) {
  std::puts("\nsinking at rest (mm)    box   sphere  capsule cylinder   mesh");
  for (bool exact : {true, false})
    for (double cell : {0.05, 0.1, 0.3, 1.0}) {
      double deepest[5] = {-1.0, -1.0, -1.0, -1.0, -1.0};
      for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        zelvik::scenes::BodiesOnTerrain scene(cell, cube, seed, exact);
        for (int i = 0; i < 2400; ++i) {
          scene.world.integrate();
          for (size_t k = 0; k < 5 && i >= 2000 && i % 20 == 0; ++k)
            deepest[k] = std::max(deepest[k], scene.sinkingOf(k));
        }
      }
      std::printf("%-8s cells %.2f m", exact ? "exact" : "library", cell);
      for (double depth : deepest) std::printf("  %7.2f", 1e3 * depth);
      std::puts("");
    }
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 5;
  const Scratch scratch;
  const std::string cube = scratch.file("cube.obj", zelvik::scenes::cubeObj(0.3));
  measureRays(runs);
  measureLoading(runs, scratch);
  measureSteps(runs, cube, scratch.file("ball.obj"));
  measureSinking(cube);
}
