// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/World.hpp>

// The order of calls in a step, seen by objects that only record.

namespace zelvik {
namespace {

class Recorder : public Object {
 public:
  Recorder(std::string label, BodyType type, std::vector<std::string>& log)
      : label_(std::move(label)), log_(log) {
    bodyType_ = type;
  }
  void updateCollision() override { note("collision"); }
  void preContactSolverUpdate1(const Mat<3, 1>&, double) override { note("update1"); }
  void preContactSolverUpdate2(const Mat<3, 1>&, double) override { note("update2"); }
  void integrate(double, const Mat<3, 1>&) override { note("integrate"); }
  void setExternalForce(size_t, const Mat<3, 1>&) override {}
  void setExternalTorque(size_t, const Mat<3, 1>&) override {}
  void setExternalForce(size_t, const Mat<3, 1>&, const Mat<3, 1>&) override {}
  void setConstraintForce(size_t, const Mat<3, 1>&, const Mat<3, 1>&) override {}
  double getMass(size_t) const override { return 1.0; }
  ObjectType getObjectType() const override { return GROUND; }
  void getPosition(size_t, Mat<3, 1>& pos) const override { pos.setZero(); }
  void getVelocity(size_t, Mat<3, 1>& vel) const override { vel.setZero(); }
  void getOrientation(size_t, Mat<3, 3>& rot) const override { rot.setIdentity(); }
  void getPosition(size_t, const Mat<3, 1>&, Mat<3, 1>& p) const override { p.setZero(); }
  void getContactPointVel(size_t, Mat<3, 1>& vel) const override { vel.setZero(); }
  void clearExternalForcesAndTorques() override {}
  void destroyCollisionBodies(dSpaceID) override { note("destroy"); }
  void addContactPointVel(size_t, Mat<3, 1>&) override {}
  void subContactPointVel(size_t, Mat<3, 1>&) override {}
  void updateTimeStep(double) override {}
  void updateTimeStepIfNecessary(double) override { note("timestep"); }
  void updateGenVelWithImpulse(size_t, const Mat<3, 1>&) override {}
  void appendJointLimits(contact::ContactProblemList& problems) override {
    note("limits");
    if (!addLimit) return;
    problems.emplace_back();
    problems.back().rank_ = contact::Single3DContactProblem::JOINT_LIMIT;
    problems.back().objA_ = this;
  }
  double enforceJointLimits(contact::Single3DContactProblem&) override {
    note("enforce");
    return 0.0;
  }
  bool addLimit = false;

 private:
  void note(const std::string& what) { log_.push_back(label_ + " " + what); }
  std::string label_;
  std::vector<std::string>& log_;
};

TEST(Step, IsASequenceOfSweepsInListOrder) {
  std::vector<std::string> log;
  {
    World world;
    Recorder* s = new Recorder("s", STATIC, log);
    Recorder* k = new Recorder("k", KINEMATIC, log);
    Recorder* d = new Recorder("d", DYNAMIC, log);
    d->addLimit = true;
    for (Recorder* object : {s, k, d}) {
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

TEST(Step, EmptyWorldOnlyAdvancesTime) {
  World world;
  world.integrate();
  world.setTimeStep(0.5);
  world.integrate();
  EXPECT_DOUBLE_EQ(world.getWorldTime(), 0.505);
  EXPECT_EQ(world.getStepCount(), 2u);
  EXPECT_TRUE(world.getContactProblems().empty());
}

}  // namespace
}  // namespace zelvik
