// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Each stage of a step by itself, for the quadruped, the humanoid and piles. Read the CPU column;
// loops of one stage keep their data in the first cache, so the sum is less than a step.

#include <benchmark/benchmark.h>

#include <cstring>
#include <zelvik/contact/BisectionContactSolver.hpp>

#include "NeutralScene.hpp"
#include "scenes/WorldBuilder.hpp"

namespace zelvik::bench {

namespace {

/// A scene some steps after its start.
class Stage {
 public:
  explicit Stage(const char* name, World::BroadPhase kind = World::BroadPhase::SIMPLE)
      : scene(scenes::neutralScene(name)), built(buildWorld(world, scene)) {
    world.setBroadPhase(kind);
    for (int k = 0; k < 200; ++k) world.integrate();
    world.integrate1();
    world.integrate2();
  }
  ArticulatedSystem& robot() { return *built.robot; }

  scenes::NeutralScene scene;
  World world;
  BuiltWorld built;
};

void wholeStep(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.world.integrate();
}

void kinematics(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().updateKinematics();
}

void massMatrix(benchmark::State& state, const char* name) {
  Stage stage(name);
  MatDyn M = stage.robot().getMassMatrix();
  for (auto _ : state) stage.robot().computeMassMatrix(M);
}

void nonlinearTerms(benchmark::State& state, const char* name) {
  Stage stage(name);
  VecDyn h = stage.robot().getNonlinearities();
  for (auto _ : state) stage.robot().computeNonlinearities(stage.scene.gravity, h);
}

/// The factor of a robot's mass matrix, as the step makes it from packed rows.
struct Factor {
  explicit Factor(Stage& stage) {
    pattern.build(stage.robot().getDofParent());
    factor.setPattern(pattern);
    rows.resize(pattern.storage);
    pattern.pack(stage.robot().getMassMatrix().v, rows.v);
  }
  void factorise() {
    std::memcpy(factor.rows(), rows.v, pattern.storage * sizeof(double));
    factor.factorise();
  }

  TreePattern pattern;
  TreeFactor factor;
  VecDyn rows;
};

void factorisation(benchmark::State& state, const char* name) {
  Stage stage(name);
  Factor f(stage);
  for (auto _ : state) f.factorise();
}

/// Of the whole matrix, which the step forms only when somebody asks for it.
void inverse(benchmark::State& state, const char* name) {
  Stage stage(name);
  Factor f(stage);
  f.factorise();
  MatDyn Minv = stage.robot().getInverseMassMatrix();
  for (auto _ : state) f.factor.invert(Minv.v);
}

/// Mass matrix to contact Jacobians: all that depends on the pose alone.
void firstUpdate(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().preContactSolverUpdate1(stage.scene.gravity, stage.scene.dt);
}

/// One call per contact, world axes.
void contactJacobians(benchmark::State& state, const char* name) {
  Stage stage(name);
  const std::vector<contact::Contact> contacts = stage.robot().getContacts();
  SparseJacobian jacobian;
  jacobian.reserve(stage.robot().getDOF());
  for (auto _ : state)
    for (const contact::Contact& c : contacts)
      stage.robot().getSparseJacobian_internal(c.localBodyIndex_, c.position_, jacobian);
  state.counters["contacts"] = static_cast<double>(contacts.size());
}

void responsesAndBlocks(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().getFullDelassusAndTauStar(stage.scene.dt);
}

void freeVelocity(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().integrateWithoutContact(stage.scene.gravity, stage.scene.dt);
}

/// The robot stands: integration hardly moves it.
void integration(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().integrate(stage.scene.dt, stage.scene.gravity);
}

void updateCollision(benchmark::State& state, const char* name) {
  Stage stage(name);
  for (auto _ : state) stage.robot().updateCollision();
}

double slidingShare(const contact::ContactProblemList& problems) {
  double sliding = 0.0;
  for (const contact::Single3DContactProblem& p : problems)
    if (std::hypot(p.imp_[0], p.imp_[1]) > 0.999 * p.mu_ * p.imp_[2] && p.imp_[2] > 0.0)
      sliding += 1.0;
  return problems.empty() ? 0.0 : sliding / static_cast<double>(problems.size());
}

/// Time of one sweep over the contacts of a robot: 100 sweeps over its converged problems, without
/// an end by the threshold. With a speed (m/s) the robot is pushed sideways, and contacts slide.
void sweep(benchmark::State& state, const char* name, double speed) {
  constexpr int kSweeps = 100;
  Stage stage(name);
  std::vector<double> velocity(stage.robot().getDOF(), 0.0);
  velocity[1] = speed;
  stage.robot().setGeneralizedVelocity(velocity.data(), velocity.size());
  stage.world.integrate();
  contact::ContactProblemList problems = stage.world.getContactProblems();
  contact::BisectionContactSolver solver;
  solver.setParameters(1.0, 1.0, 1.0, kSweeps, -1.0);
  for (auto _ : state) solver.solve(problems);
  state.counters["contacts"] = static_cast<double>(problems.size());
  state.counters["sliding_share"] = slidingShare(problems);
  state.counters["per_sweep"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kSweeps,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

struct PairCounter {
  bool narrow = false;
  double pairs = 0.0, points = 0.0;
};

void countPair(void* data, dGeomID a, dGeomID b) {
  PairCounter& counter = *static_cast<PairCounter*>(data);
  counter.pairs += 1.0;
  dContactGeom points[16];
  if (counter.narrow) counter.points += dCollide(a, b, 16, points, sizeof(dContactGeom));
}

/// Pairs of the world's own space; with `narrow` their points, too. Poses are marked as moved, as
/// they are in every step.
void collision(benchmark::State& state, const char* name, World::BroadPhase kind, bool narrow) {
  Stage stage(name, kind);
  Object* first = stage.built.robot;
  dGeomID geom = first != nullptr ? stage.robot().getCollisionBodies()[0].colObj
                                  : stage.built.bodies[0]->getCollisionObject();
  PairCounter counter{narrow};
  for (auto _ : state) {
    for (Object* object : stage.world.getObjList())
      if (object->getBodyType() == BodyType::DYNAMIC) object->updateCollision();
    dSpaceCollide(dGeomGetSpace(geom), &counter, countPair);
  }
  const double steps = static_cast<double>(state.iterations());
  state.counters["pairs"] = counter.pairs / steps;
  state.counters["points"] = counter.points / steps;
}

// Stages of articulated systems, for both robots.
#define ZELVIK_ROBOT_STAGE(stage)            \
  BENCHMARK_CAPTURE(stage, quadruped, "S1"); \
  BENCHMARK_CAPTURE(stage, humanoid, "S6-standing")
ZELVIK_ROBOT_STAGE(wholeStep);
ZELVIK_ROBOT_STAGE(kinematics);
ZELVIK_ROBOT_STAGE(massMatrix);
ZELVIK_ROBOT_STAGE(nonlinearTerms);
ZELVIK_ROBOT_STAGE(factorisation);
ZELVIK_ROBOT_STAGE(inverse);
ZELVIK_ROBOT_STAGE(firstUpdate);
ZELVIK_ROBOT_STAGE(contactJacobians);
ZELVIK_ROBOT_STAGE(responsesAndBlocks);
ZELVIK_ROBOT_STAGE(freeVelocity);
ZELVIK_ROBOT_STAGE(integration);
ZELVIK_ROBOT_STAGE(updateCollision);
#undef ZELVIK_ROBOT_STAGE

BENCHMARK_CAPTURE(sweep, quadrupedSticking, "S1", 0.0);
BENCHMARK_CAPTURE(sweep, quadrupedSliding, "S1", 1.0);

using Phase = World::BroadPhase;
#define ZELVIK_COLLISION(phase, kind)                                              \
  BENCHMARK_CAPTURE(collision, phase##BroadQuadruped, "S1", kind, false);          \
  BENCHMARK_CAPTURE(collision, phase##BothQuadruped, "S1", kind, true);            \
  BENCHMARK_CAPTURE(collision, phase##Broad216Boxes, "S4-216-boxes", kind, false); \
  BENCHMARK_CAPTURE(collision, phase##Both216Boxes, "S4-216-boxes", kind, true)
ZELVIK_COLLISION(hash, Phase::HASH);
ZELVIK_COLLISION(simple, Phase::SIMPLE);
ZELVIK_COLLISION(sap, Phase::SWEEP_AND_PRUNE);
#undef ZELVIK_COLLISION

BENCHMARK_CAPTURE(wholeStep, spheres216, "S4-216-spheres")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(wholeStep, pyramid, "S5")->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace zelvik::bench

BENCHMARK_MAIN();
