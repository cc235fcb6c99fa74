// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// What recording costs: one JSON line each for a capture of the standing quadruped, with the memory
// that it takes, for its replay of 30 s at 60 frames a second while it is pushed about, and for a
// picture of 640 x 400 pixels. Times are those of the thread's own CPU clock; on a shared machine
// take the minima.
//
//   view_time [runs, default 5]

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>
#include <zelvik/view/Recorder.hpp>

#include "StandingRobot.hpp"

namespace {

using zelvik::scenes::StandingRobot;
using zelvik::view::Recorder;

double cpuSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

void printTimes(const char* what, const char* unit, std::vector<double> times,
                const std::string& more) {
  std::sort(times.begin(), times.end());
  std::printf(
      "{\"measure\": \"%s\", \"%s\": {\"median\": %.3f, \"min\": %.3f, \"max\": %.3f}, "
      "\"runs\": %zu%s}\n",
      what, unit, times[times.size() / 2], times.front(), times.back(), times.size(), more.c_str());
}

/// 30 s at 60 frames a second; the push changes its direction every 1.5 s.
Recorder recordPushed(StandingRobot& scene) {
  Recorder recorder(scene.world);
  for (int frame = 0; frame < 1800; ++frame) {
    for (int i = 0; i < 7; ++i) {
      const double side = frame / 90 % 2 == 0 ? 30.0 : -25.0;
      scene.robot->setExternalForce(0, zelvik::Mat<3, 1>{{0.3 * side, side, 0.0}});
      scene.world.integrate();
    }
    recorder.capture();
  }
  return recorder;
}

void measureCapture(int runs) {
  constexpr int frames = 2000;
  std::vector<double> times;
  double bytes = 0.0;
  for (int run = 0; run < runs; ++run) {
    StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
    for (int i = 0; i < 400; ++i) scene.world.integrate();
    Recorder recorder(scene.world);
    double seconds = 0.0;
    for (int i = 0; i < frames; ++i) {
      scene.world.integrate();
      const double begin = cpuSeconds();
      recorder.capture();
      seconds += cpuSeconds() - begin;
    }
    times.push_back(1e6 * seconds / frames);
    bytes = static_cast<double>(recorder.getMemory()) / frames;
  }
  printTimes("capture of the standing quadruped", "us", times,
             ", \"bytes_per_frame\": " + std::to_string(bytes));
}

void measurePicture(const Recorder& recorder, const std::string& file, int runs) {
  std::vector<double> draw, write;
  for (int run = 0; run < std::max(runs, 10); ++run) {
    const double begin = cpuSeconds();
    const zelvik::view::Image image = recorder.render();
    const double drawn = cpuSeconds();
    zelvik::view::writePng(file, image);
    draw.push_back(1e3 * (drawn - begin));
    write.push_back(1e3 * (cpuSeconds() - begin));
  }
  printTimes("picture of the quadruped, drawn", "ms", draw, "");
  printTimes("picture of the quadruped, drawn and written", "ms", write,
             ", \"bytes\": " + std::to_string(std::filesystem::file_size(file)));
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 5;
  const std::string base =
      (std::filesystem::temp_directory_path() / ("zelvik_view_time_" + std::to_string(getpid())))
          .string();
  measureCapture(runs);
  StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  const Recorder recorder = recordPushed(scene);
  std::printf("{\"measure\": \"replay of 30 s at 60 Hz\", \"container_bytes\": %zu",
              recorder.encodeReplay().size());
  if (Recorder::hasHtmlViewer() && recorder.writeHtml(base + ".html"))
    std::printf(", \"page_bytes\": %ju",
                static_cast<std::uintmax_t>(std::filesystem::file_size(base + ".html")));
  std::printf("}\n");
  measurePicture(recorder, base + ".png", runs);
  std::filesystem::remove(base + ".html");
  std::filesystem::remove(base + ".png");
}
