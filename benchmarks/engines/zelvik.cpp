// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The scenes in zelvik itself. Settings: broad=auto|hash|simple|sap|quadtree, warm=0|1, ledger=0|1,
// threshold, iterations, erp, layer (m), scheme=trapezoid|semi|explicit|rk4.

#include "engines/Engine.hpp"
#include "scenes/WorldBuilder.hpp"

namespace zelvik::bench {

namespace {

World::BroadPhase broadPhase(const Setting& setting) {
  const std::string word = setting.word("broad", "auto");
  if (word == "auto") return World::BroadPhase::AUTO;
  if (word == "hash") return World::BroadPhase::HASH;
  if (word == "simple") return World::BroadPhase::SIMPLE;
  if (word == "quadtree") return World::BroadPhase::QUADTREE;
  if (word == "sap") return World::BroadPhase::SWEEP_AND_PRUNE;
  throw Unsupported("unknown broad phase " + word);
}

ArticulatedSystem::IntegrationScheme scheme(const Setting& setting) {
  const std::string word = setting.word("scheme", "trapezoid");
  if (word == "trapezoid") return ArticulatedSystem::TRAPEZOID;
  if (word == "semi") return ArticulatedSystem::SEMI_IMPLICIT;
  if (word == "explicit") return ArticulatedSystem::EXPLICIT;
  if (word == "rk4") return ArticulatedSystem::RUNGE_KUTTA_4;
  throw Unsupported("unknown scheme " + word);
}

class ZelvikEngine : public Engine {
 public:
  ZelvikEngine(const scenes::NeutralScene& scene, const Setting& setting)
      : bodies_(scene.bodies), dt_(scene.dt) {
    built_ = buildWorld(world_, scene);
    world_.setBroadPhase(broadPhase(setting));
    // The small addition to the restitution would make an elastic ball gain energy.
    world_.setERP(setting.number("erp", world_.getERP()),
                  scene.restitution == 1.0 ? 0.0 : world_.getERP2());
    const contact::BisectionContactSolver& solver = world_.getContactSolver();
    world_.setContactSolverParam(
        1.0, 1.0, 1.0, static_cast<int>(setting.number("iterations", solver.getMaxIterations())),
        setting.number("threshold", solver.getThreshold()));
    world_.setWarmStart(setting.number("warm", 0.0) != 0.0);
    world_.setLedger(setting.number("ledger", 0.0) != 0.0);
    world_.setContactSurfaceLayer(setting.number("layer", 0.0));
    const ArticulatedSystem::IntegrationScheme chosen = scheme(setting);
    if (built_.robot != nullptr) built_.robot->setIntegrationScheme(chosen);
  }

  void step() override {
    for (size_t i = 0; i < bodies_.size(); ++i)
      if (bodies_[i].force[0] != 0.0) built_.bodies[i]->setExternalForce(0, bodies_[i].force);
    world_.integrate();
  }
  void setTargets(const std::vector<double>& targets) override {
    built_.robot->setPTarget(targets.data(), targets.size());
  }
  size_t contactCount() const override { return world_.getContactProblems().size(); }

  double iterations() override {
    return contactCount() > 0 ? world_.getContactSolver().getLoopCounter() : 0.0;
  }

  double groundForce() const override {
    double sum = 0.0;
    if (built_.ground == nullptr) return sum;
    for (const Object* object : world_.getObjList())
      for (const contact::Contact& c : object->getContacts()) {
        if (c.pairObjectIndex_ != built_.ground->getIndexInWorld()) continue;
        Vec3 impulse;
        c.getImpulse(impulse);
        sum += impulse[2];
      }
    return sum / dt_;
  }

  BodyState body(size_t i) const override {
    const SingleBodyObject& b = *built_.bodies[i];
    return {b.getComPosition(), b.getQuaternion(), b.getLinearVelocity()};
  }
  RobotState robot() const override {
    const VecDyn& q = built_.robot->getGeneralizedCoordinate();
    const VecDyn& u = built_.robot->getGeneralizedVelocity();
    return {{q.v, q.v + q.n}, {u.v, u.v + u.n}};
  }

 private:
  World world_;
  BuiltWorld built_;
  std::vector<scenes::FreeBody> bodies_;
  double dt_;
};

#ifdef __clang__
const std::string kCompiler = "clang++ " + std::to_string(__clang_major__) + '.' +
                              std::to_string(__clang_minor__) + '.' +
                              std::to_string(__clang_patchlevel__);
#else
const std::string kCompiler = "g++ " __VERSION__;
#endif

std::unique_ptr<Engine> make(const scenes::NeutralScene& scene, const Setting& setting) {
  return std::make_unique<ZelvikEngine>(scene, setting);
}

}  // namespace

}  // namespace zelvik::bench

int main(int argc, char** argv) {
  return zelvik::bench::runBenchmark(argc, argv,
                                     {"zelvik", "0.1.0", "PD and damping implicit",
                                      zelvik::bench::make, zelvik::bench::kCompiler});
}
