// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <time.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engines/Engine.hpp"
#include "scenes/SceneNames.hpp"
#include "scenes/Variants.hpp"

namespace zelvik::bench {

namespace {

struct Options {
  std::vector<std::string> scenes, settings;
  int runs = 5;
  int steps = 0;         ///< under the clock; 0: as many as the scene says
  int variants = 1;      ///< of the scene, over which accuracy is taken
  double budget = 20.0;  ///< longest run, CPU time (s)
  bool accuracy = true;
};

double secondsOf(clockid_t clock) {
  timespec t;
  clock_gettime(clock, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// What one run leaves.
struct Run {
  double wall = 0.0, cpu = 0.0;             ///< per step (us)
  double contacts = 0.0, iterations = 0.0;  ///< mean per step
  unsigned long hash = 0;
};

/// FNV-1a over the bytes of the state.
unsigned long stateHash(const NeutralScene& scene, const Engine& engine) {
  std::vector<double> state;
  for (size_t i = 0; i < scene.bodies.size(); ++i) {
    const BodyState b = engine.body(i);
    state.insert(state.end(), b.position.v, b.position.v + 3);
    state.insert(state.end(), b.quaternion.v, b.quaternion.v + 4);
  }
  if (!scene.robots.empty()) {
    const RobotState r = engine.robot();
    state.insert(state.end(), r.coordinates.begin(), r.coordinates.end());
    state.insert(state.end(), r.velocities.begin(), r.velocities.end());
  }
  std::vector<unsigned char> bytes(state.size() * sizeof(double));
  std::memcpy(bytes.data(), state.data(), bytes.size());
  unsigned long hash = 14695981039346656037ul;
  for (const unsigned char byte : bytes) hash = (hash ^ byte) * 1099511628211ul;
  return hash;
}

/// The targets of all steps, made before the clock starts; empty where they stand still.
std::vector<std::vector<double>> allTargets(const NeutralScene& scene) {
  std::vector<std::vector<double>> targets;
  if (scene.robots.empty() || scene.robots[0].targetAmplitude == 0.0) return targets;
  for (int k = 0; k < scene.warmUpSteps + scene.steps; ++k)
    targets.push_back(scene.targetsAt(k * scene.dt));
  return targets;
}

/// Steps from `begin` to `end`; the count of contacts costs nothing worth mentioning. Looks at the
/// clock seldom where steps are fast, and in every step where they are not.
void stepThrough(Engine& engine, const std::vector<std::vector<double>>& targets, int begin,
                 int end, double deadline, Run& run) {
  int stride = 1;
  double last = secondsOf(CLOCK_THREAD_CPUTIME_ID);
  for (int k = begin; k < end; ++k) {
    if (!targets.empty()) engine.setTargets(targets[static_cast<size_t>(k)]);
    engine.step();
    run.contacts += static_cast<double>(engine.contactCount());
    run.iterations += engine.iterations();
    if ((k - begin) % stride != 0) continue;
    const double now = secondsOf(CLOCK_THREAD_CPUTIME_ID);
    if (now > deadline)
      throw Unsupported("over the time budget after " + std::to_string(k + 1) + " steps");
    stride = now - last < 1e-3 * stride ? 64 : 1;
    last = now;
  }
}

Run timedRun(const NeutralScene& scene, Engine& engine,
             const std::vector<std::vector<double>>& targets, double budget) {
  Run run, warmUp;
  const double deadline = secondsOf(CLOCK_THREAD_CPUTIME_ID) + budget;
  stepThrough(engine, targets, 0, scene.warmUpSteps, deadline, warmUp);
  const double wall = secondsOf(CLOCK_MONOTONIC), cpu = secondsOf(CLOCK_THREAD_CPUTIME_ID);
  stepThrough(engine, targets, scene.warmUpSteps, scene.warmUpSteps + scene.steps, deadline, run);
  run.cpu = 1e6 * (secondsOf(CLOCK_THREAD_CPUTIME_ID) - cpu) / scene.steps;
  run.wall = 1e6 * (secondsOf(CLOCK_MONOTONIC) - wall) / scene.steps;
  run.contacts /= scene.steps;
  run.iterations /= scene.steps;
  run.hash = stateHash(scene, engine);
  return run;
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

/// JSON knows no NaN and no infinity.
std::string numberText(double value, const char* format = "%.6g") {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return std::isfinite(value) ? text : "null";
}

std::string spreadText(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return "{\"median\": " + numberText(values[values.size() / 2], "%.3f") +
         ", \"min\": " + numberText(values.front(), "%.3f") +
         ", \"max\": " + numberText(values.back(), "%.3f") + "}";
}

std::string headText(const EngineProgram& program, const NeutralScene& scene,
                     const std::string& setting) {
  return "{\"scene\": " + quoted(scene.name) + ", \"engine\": " + quoted(program.name) +
         ", \"version\": " + quoted(program.version) +
         (program.compiler.empty() ? "" : ", \"compiler\": " + quoted(program.compiler)) +
         ", \"setting\": " + quoted(setting) + ", \"remarks\": " + quoted(program.remarks) +
         ", \"dt\": " + numberText(scene.dt);
}

std::string runsText(const std::vector<Run>& runs) {
  std::vector<double> wall, cpu;
  for (const Run& run : runs) {
    wall.push_back(run.wall);
    cpu.push_back(run.cpu);
  }
  const bool repeats =
      std::all_of(runs.begin(), runs.end(), [&](const Run& r) { return r.hash == runs[0].hash; });
  char hash[20];
  std::snprintf(hash, sizeof hash, "%016lx", runs.back().hash);
  return ", \"us_per_step\": " + spreadText(wall) + ", \"cpu_us_per_step\": " + spreadText(cpu) +
         ", \"runs\": " + std::to_string(runs.size()) +
         ", \"contacts\": " + numberText(runs.back().contacts, "%.1f") +
         ", \"iterations\": " + numberText(runs.back().iterations, "%.1f") +
         ", \"state_hash\": \"" + hash + "\", \"repeats\": " + (repeats ? "true" : "false");
}

std::string figuresText(const char* key, const Figures& figures) {
  std::string text = ", ";
  text += quoted(key) + ": {";
  for (const auto& [name, value] : figures)
    text += (text.back() == '{' ? "" : ", ") + quoted(name) + ": " + numberText(value);
  return text + "}";
}

std::string accuracyText(const EngineProgram& program, const NeutralScene& scene,
                         const Setting& setting, int variants) {
  const FigureSpread spread = accuracyOfVariants(
      scene, variants, [&](const NeutralScene& variant) { return program.make(variant, setting); });
  std::string text = figuresText("accuracy", spread.median);
  if (variants == 1) return text;
  return text + ", \"variants\": " + std::to_string(variants) +
         figuresText("accuracy_min", spread.low) + figuresText("accuracy_max", spread.high);
}

/// All runs of one scene in one setting as one line. The first run is not counted.
std::string measure(const EngineProgram& program, const NeutralScene& scene,
                    const std::string& settingText, const Options& options) {
  const Setting setting(settingText);
  const std::vector<std::vector<double>> targets = allTargets(scene);
  std::vector<Run> runs;
  for (int k = 0; k <= options.runs; ++k) {
    const std::unique_ptr<Engine> engine = program.make(scene, setting);
    setting.refuseUnknown();
    const Run run = timedRun(scene, *engine, targets, options.budget);
    if (k > 0 || options.runs == 0) runs.push_back(run);
  }
  std::string text = runsText(runs) + ", \"steps\": " + std::to_string(scene.steps);
  if (options.accuracy) text += accuracyText(program, scene, setting, options.variants);
  return text;
}

void printLine(const EngineProgram& program, const NeutralScene& scene, const std::string& setting,
               const Options& options) {
  std::string line = headText(program, scene, setting);
  try {
    line += measure(program, scene, setting, options);
  } catch (const Unsupported& reason) {
    line += ", \"skipped\": " + quoted(reason.what());
  }
  std::printf("%s}\n", line.c_str());
  std::fflush(stdout);
}

[[noreturn]] void refuse(const std::string& program, const std::string& what) {
  std::fprintf(stderr,
               "bench_%s: %s\n"
               "usage: --scene NAME|all ... [--setting TEXT ...] [--runs N] [--budget S] "
               "[--steps N] [--variants N] [--no-accuracy]\n",
               program.c_str(), what.c_str());
  std::exit(2);
}

double numberOption(const std::string& program, const char* text) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(text, text + std::strlen(text), value);
  if (error != std::errc() || *end != '\0' || value < 0.0)
    refuse(program, std::string("not a number: ") + text);
  return value;
}

Options parse(int argc, char** argv, const std::string& program) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--no-accuracy") {
      options.accuracy = false;
      continue;
    }
    if (i + 1 == argc) refuse(program, "unknown option or no value: " + option);
    const char* value = argv[++i];
    if (option == "--scene")
      options.scenes.push_back(value);
    else if (option == "--setting")
      options.settings.push_back(value);
    else if (option == "--runs")
      options.runs = static_cast<int>(numberOption(program, value));
    else if (option == "--steps")
      options.steps = static_cast<int>(numberOption(program, value));
    else if (option == "--variants")
      options.variants = std::max(1, static_cast<int>(numberOption(program, value)));
    else if (option == "--budget")
      options.budget = numberOption(program, value);
    else
      refuse(program, "unknown option: " + option);
  }
  if (options.scenes.empty()) refuse(program, "no --scene");
  if (options.scenes[0] == "all") options.scenes = scenes::neutralSceneNames();
  if (options.settings.empty()) options.settings.push_back("default");
  return options;
}

}  // namespace

Setting::Setting(const std::string& text) {
  if (text == "default") return;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find(',', begin), text.size());
    const std::string pair = text.substr(begin, end - begin);
    const size_t equals = pair.find('=');
    if (equals == std::string::npos) throw Unsupported("a setting is key=value, not " + pair);
    values_[pair.substr(0, equals)] = pair.substr(equals + 1);
    begin = end + 1;
  }
}

std::string Setting::word(const std::string& key, const std::string& fallback) const {
  asked_[key] = true;
  const auto found = values_.find(key);
  return found == values_.end() ? fallback : found->second;
}

double Setting::number(const std::string& key, double fallback) const {
  const std::string text = word(key, "");
  double value = fallback;
  if (!text.empty()) std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

void Setting::refuseUnknown() const {
  for (const auto& [key, value] : values_)
    if (!asked_[key]) throw Unsupported("unknown setting: " + key);
}

int runBenchmark(int argc, char** argv, const EngineProgram& program) {
  const Options options = parse(argc, argv, program.name);
  for (const std::string& name : options.scenes) {
    NeutralScene scene = scenes::neutralScene(name);
    if (scene.name.empty()) refuse(program.name, "unknown scene: " + name);
    if (options.steps > 0) scene.steps = options.steps;
    for (const std::string& setting : options.settings) printLine(program, scene, setting, options);
  }
  return 0;
}

}  // namespace zelvik::bench
