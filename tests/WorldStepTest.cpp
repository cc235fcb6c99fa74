// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/World.hpp>

// The order of calls in a step, seen by objects that only record.

namespace zelvik {
namespace {

class Recorder : public Sphere {
 public:
  Recorder(std::string label, BodyType type, std::vector<std::string>& log)
      : Sphere(0.1, 1.0), label_(std::move(label)), log_(log) {
    bodyType_ = type;
  }
  void updateCollision() override { note("collision"); }
  void preContactSolverUpdate1(const Vec3&, double) override { note("update1"); }
  void preContactSolverUpdate2(const Vec3&, double) override { note("update2"); }
  void integrate(double, const Vec3&) override { note("integrate"); }
  void updateTimeStepIfNecessary(double) override { note("timestep"); }
  void destroyCollisionBodies(dSpaceID space) override {
    note("destroy");
    Sphere::destroyCollisionBodies(space);
  }
  void appendJointLimits(contact::ContactProblemList& problems) override {
    note("limits");
    if (bodyType_ != DYNAMIC) return;
    problems.emplace_back();
    problems.back().rank_ = contact::Single3DContactProblem::JOINT_LIMIT;
    problems.back().objA_ = this;
  }
  double enforceJointLimits(contact::Single3DContactProblem&) override {
    note("enforce");
    return 0.0;
  }

 private:
  void note(const std::string& what) { log_.push_back(label_ + " " + what); }
  std::string label_;
  std::vector<std::string>& log_;
};

TEST(Step, IsASequenceOfSweepsInListOrder) {
  std::vector<std::string> log;
  {
    World world;
    for (const auto& [label, type] : {std::pair{"s", STATIC}, {"k", KINEMATIC}, {"d", DYNAMIC}}) {
      auto* object = new Recorder(label, type, log);
      object->setIndexInWorld(world.getObjList().size());
      world.getObjList().push_back(object);
    }
    world.integrate1();
    const std::vector<std::string> first = {"d timestep", "k collision", "d collision", "k update1",
                                            "d update1",  "s limits",    "k limits",    "d limits"};
    EXPECT_EQ(log, first);
    log.clear();
    world.integrate2();
    const std::vector<std::string> second = {"k update2", "d update2", "d enforce", "k integrate",
                                             "d integrate"};
    EXPECT_EQ(log, second);
    log.clear();
  }
  EXPECT_EQ(log, (std::vector<std::string>{"s destroy", "k destroy", "d destroy"}));
}

}  // namespace
}  // namespace zelvik
