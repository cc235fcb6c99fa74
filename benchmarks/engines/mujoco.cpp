// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The scenes in MuJoCo. Settings: cone=elliptic|pyramidal, solver=Newton|CG|PGS,
// integrator=Euler|RK4|implicit, iterations, tolerance, impratio, noslip, and for all contacts
// timeconst (s) and dmax (0 to 1).

#include <mujoco/mujoco.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <zelvik/rotation.hpp>

#include "engines/Engine.hpp"
#include "engines/MjcfText.hpp"

namespace zelvik::bench {

namespace {

struct ModelDeleter {
  void operator()(mjModel* model) const { mj_deleteModel(model); }
};
struct DataDeleter {
  void operator()(mjData* data) const { mj_deleteData(data); }
};
using ModelPointer = std::unique_ptr<mjModel, ModelDeleter>;
using DataPointer = std::unique_ptr<mjData, DataDeleter>;

/// By way of a file, which all versions read in the same way.
ModelPointer compile(const std::string& text) {
  const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("zelvik_bench_" + std::to_string(getpid()) + ".xml");
  std::ofstream(path) << text;
  char error[1000] = "";
  ModelPointer model(mj_loadXML(path.c_str(), nullptr, error, sizeof error));
  std::filesystem::remove(path);
  if (model == nullptr) throw Unsupported(error);
  return model;
}

void fillTerrain(const scenes::TerrainGrid& t, mjModel& model) {
  if (t.samples == 0) return;
  const auto [low, high] = std::minmax_element(t.heights.begin(), t.heights.end());
  for (size_t i = 0; i < t.heights.size(); ++i)
    model.hfield_data[i] = static_cast<float>((t.heights[i] - *low) / (*high - *low));
}

class MujocoEngine : public Engine {
 public:
  MujocoEngine(const scenes::NeutralScene& scene, const Setting& setting)
      : model_(compile(mjcfText(scene, setting))),
        hasGround_(scene.hasGround || scene.terrain.samples > 0) {
    fillTerrain(scene.terrain, *model_);
    data_.reset(mj_makeData(model_.get()));
    for (const scenes::RobotSetup& robot : scene.robots) placeRobot(robot);
    firstBody_ = model_->nbody - static_cast<int>(scene.bodies.size());
    for (size_t i = 0; i < scene.bodies.size(); ++i) {
      const int dof = model_->body_dofadr[bodyIndex(i)];
      mju_copy3(data_->qvel + dof, scene.bodies[i].velocity.v);
      mju_copy3(data_->xfrc_applied + 6 * bodyIndex(i), scene.bodies[i].force.v);
    }
  }

  void step() override { mj_step(model_.get(), data_.get()); }

  void setTargets(const std::vector<double>& targets) override {
    for (int k = 0; k < model_->nu; ++k)
      data_->ctrl[k] =
          targets[static_cast<size_t>(model_->jnt_qposadr[model_->actuator_trnid[2 * k]])];
  }

  size_t contactCount() const override { return static_cast<size_t>(data_->ncon); }

  /// Newer versions solve groups of bodies that do not touch each other apart: the longest counts.
  double iterations() override {
#if mjVERSION_HEADER >= 300
    const int groups = std::clamp(data_->nisland, 1, mjNISLAND);
    return *std::max_element(data_->solver_niter, data_->solver_niter + groups);
#else
    return data_->solver_iter;
#endif
  }

  double groundForce() const override {
    double sum = 0.0;
    for (int i = 0; hasGround_ && i < data_->ncon; ++i) {
      const mjContact& c = data_->contact[i];
      if (c.geom1 != 0 && c.geom2 != 0) continue;
      mjtNum force[6], forceW[3];
      mj_contactForce(model_.get(), data_.get(), i, force);
      mju_mulMatTVec(forceW, c.frame, force, 3, 3);  // acts on the second geom
      sum += c.geom1 == 0 ? forceW[2] : -forceW[2];
    }
    return sum;
  }

  BodyState body(size_t i) const override {
    const int b = bodyIndex(i), q = model_->jnt_qposadr[model_->body_jntadr[b]];
    BodyState state;
    mju_copy(state.position.v, data_->qpos + q, 3);
    mju_copy(state.quaternion.v, data_->qpos + q + 3, 4);
    mju_copy(state.velocity.v, data_->qvel + model_->body_dofadr[b], 3);
    return state;
  }

  RobotState robot() const override {
    const int b = robotDofs_, q = robotCoordinates_;
    RobotState state{{data_->qpos, data_->qpos + q}, {data_->qvel, data_->qvel + b}};
    // Angular velocity of a free joint is in body axes here.
    mju_rotVecQuat(&state.velocities[3], data_->qvel + 3, data_->qpos + 3);
    return state;
  }

 private:
  void placeRobot(const scenes::RobotSetup& robot) {
    robotCoordinates_ = static_cast<int>(robot.coordinates.size());
    robotDofs_ = static_cast<int>(robot.velocities.size());
    mju_copy(data_->qpos, robot.coordinates.data(), robotCoordinates_);
    mju_copy(data_->qvel, robot.velocities.data(), robotDofs_);
    mjtNum inverse[4];
    mju_negQuat(inverse, data_->qpos + 3);
    mju_rotVecQuat(data_->qvel + 3, robot.velocities.data() + 3, inverse);
    setTargets(robot.coordinates);
  }
  int bodyIndex(size_t i) const {
    return firstBody_ + static_cast<int>(i);
  }

  ModelPointer model_;
  DataPointer data_;
  bool hasGround_;
  int firstBody_ = 1, robotCoordinates_ = 0, robotDofs_ = 0;
};

std::unique_ptr<Engine> make(const scenes::NeutralScene& scene, const Setting& setting) {
  return std::make_unique<MujocoEngine>(scene, setting);
}

/// The library ends the process on its errors by default; a full buffer is only a warning.
void throwError(const char* text) {
  throw Unsupported(text);
}

}  // namespace

}  // namespace zelvik::bench

int main(int argc, char** argv) {
  mju_user_error = zelvik::bench::throwError;
  return zelvik::bench::runBenchmark(
      argc, argv,
      {ZELVIK_BENCH_ENGINE, mj_versionString(),
       "P gain explicit, damping implicit; force limits on the P part", zelvik::bench::make});
}
