// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "NeutralScene.hpp"

namespace zelvik::bench {

/// Thrown by an engine that cannot run a scene or a setting; the text says why.
struct Unsupported : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A setting as given on the command line: "default", or "key=value,key=value".
class Setting {
 public:
  explicit Setting(const std::string& text);
  std::string word(const std::string& key, const std::string& fallback) const;
  double number(const std::string& key, double fallback) const;
  /// Throws `Unsupported` for a key that was never asked for.
  void refuseUnknown() const;

 private:
  std::map<std::string, std::string> values_;
  mutable std::map<std::string, bool> asked_;
};

/// Pose and velocity of a free body at its centre of mass (world axes).
struct BodyState {
  Vec3 position{};
  Vec4 quaternion{};
  Vec3 velocity{};
};

/// State of a robot, laid out as in `RobotSetup`.
struct RobotState {
  std::vector<double> coordinates, velocities;
};

/// One scene in one engine.
class Engine {
 public:
  virtual ~Engine() = default;
  virtual void step() = 0;
  /// Targets of the PD law, as coordinates.
  virtual void setTargets(const std::vector<double>& targets) = 0;
  /// Contact points of the last step.
  virtual size_t contactCount() const = 0;
  /// Iterations of the contact solver in the last step; 0 if not told.
  virtual double iterations() { return 0.0; }
  /// Sum of the vertical contact forces on the ground of the last step (N); NaN if not told.
  virtual double groundForce() const = 0;
  virtual BodyState body(size_t i) const = 0;
  virtual RobotState robot() const = 0;
};

/// What an engine's program hands to the driver.
struct EngineProgram {
  std::string name;
  std::string version;
  std::string remarks;  ///< how the controller acts, what the engine lacks
  std::unique_ptr<Engine> (*make)(const scenes::NeutralScene&, const Setting&);
  std::string compiler = {};  ///< of the engine; empty if not known
};

/// The command line, the clock and the printed lines that all programs share.
///
///   --scene NAME (repeatable, "all")   --setting TEXT (repeatable)   --runs N   --budget S
///   --steps N (under the clock, in place of the scene's own)   --no-accuracy
///
/// Prints one JSON line per scene and setting. Returns 0, or 2 for a bad option.
int runBenchmark(int argc, char** argv, const EngineProgram& program);

}  // namespace zelvik::bench
