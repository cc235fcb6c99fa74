// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// What goes wrong at first, with figures: one case for each section of docs/troubleshooting.md.
// Without an argument all cases run, otherwise the one that is named.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace {

void run(zelvik::World& world, double seconds) {
  const int steps = static_cast<int>(std::lround(seconds / world.getTimeStep()));
  for (int i = 0; i < steps; ++i) world.integrate();
}

/// A thousand balls are shot at a plate; how many come through.
int shotThrough(double speed, double dt) {
  zelvik::World world;
  world.setTimeStep(dt);
  world.setGravity(zelvik::Vec3{});
  zelvik::Box* plate = world.addBox(100.0, 100.0, 0.02, 1.0);
  plate->setBodyType(zelvik::BodyType::STATIC);
  std::vector<zelvik::Sphere*> balls;
  for (int i = 0; i < 1000; ++i) {
    balls.push_back(world.addSphere(0.02, 0.1, "", 2, 1));  // balls do not meet each other
    const int row = i / 50;
    balls.back()->setPosition(i % 50 - 25.0, row - 10.0, 0.5 + 0.001 * i);
    balls.back()->setVelocity(0, 0, -speed, 0, 0, 0);
  }
  run(world, 2.0 / speed + 10 * dt);
  return static_cast<int>(std::count_if(balls.begin(), balls.end(), [](const auto* ball) {
    return ball->getComPosition()[2] < 0.0;
  }));
}

void fallThrough() {
  std::puts("Balls of 4 cm shot at a plate of 2 cm: how many of 1000 come through");
  std::puts("speed (m/s)   time step (ms)   way per step (cm)   through");
  const double table[][2] = {{5, 0.005}, {10, 0.005}, {20, 0.005}, {20, 0.002}, {20, 0.001}};
  for (const auto& [speed, dt] : table)
    std::printf("%11.0f %16.1f %19.1f %9d\n", speed, 1e3 * dt, 1e2 * speed * dt,
                shotThrough(speed, dt));

  // Group and mask: a pair is left alone only if neither side wants it.
  std::puts("\nBall on a ground, height after 1 s:");
  for (const bool groundWants : {true, false}) {
    zelvik::World world;
    world.addGround(0.0, "", groundWants ? ~0ul : ~2ul);
    zelvik::Sphere* ball = world.addSphere(0.1, 1.0, "", 2, 0);  // group 2, mask 0
    ball->setPosition({0, 0, 0.1});
    run(world, 1.0);
    std::printf("mask of the ball 0, of the ground %s: %.2f m\n",
                groundWants ? "all ones" : "without the ball's group", ball->getComPosition()[2]);
  }
}

// ---- creep ----

struct Setting {
  const char* name;
  int sweeps;
  double threshold;
  bool warmStart;
  double layer;  ///< (m)
};

const Setting kSettings[] = {
    {"as it is", 150, 1e-8, false, 0.0},
    {"threshold 1e-12", 150, 1e-12, false, 0.0},
    {"warm start", 150, 1e-8, true, 0.0},
    {"surface layer 1e-5", 150, 1e-8, false, 1e-5},
    {"threshold 1e-12, warm start, layer", 150, 1e-12, true, 1e-5},
};

void use(const Setting& setting, zelvik::World& world) {
  world.setContactSolverParam(1.0, 1.0, 1.0, setting.sweeps, setting.threshold);
  world.setWarmStart(setting.warmStart);
  world.setContactSurfaceLayer(setting.layer);
}

const char* const kGripper = R"(<robot name="gripper">
  <link name="world"/><link name="palm"><inertial><mass value="1"/>
    <inertia ixx="0.01" iyy="0.01" izz="0.01" ixy="0" ixz="0" iyz="0"/></inertial></link>
  <joint name="mount" type="fixed"><parent link="world"/><child link="palm"/></joint>
  <link name="left"><inertial><mass value="0.1"/>
    <inertia ixx="1e-4" iyy="1e-4" izz="1e-4" ixy="0" ixz="0" iyz="0"/></inertial>
    <collision><geometry><box size="0.02 0.04 0.04"/></geometry></collision></link>
  <link name="right"><inertial><mass value="0.1"/>
    <inertia ixx="1e-4" iyy="1e-4" izz="1e-4" ixy="0" ixz="0" iyz="0"/></inertial>
    <collision><geometry><box size="0.02 0.04 0.04"/></geometry></collision></link>
  <joint name="l" type="prismatic"><origin xyz="-0.0349 0 1"/><axis xyz="1 0 0"/>
    <parent link="palm"/><child link="left"/></joint>
  <joint name="r" type="prismatic"><origin xyz="0.0349 0 1"/><axis xyz="-1 0 0"/>
    <parent link="palm"/><child link="right"/></joint></robot>)";

/// How far a cube of 200 g slides out of two fingers that press it with 20 N each, in 10 s (m).
double slipOfGrasp(const Setting& setting) {
  zelvik::World world;
  world.setTimeStep(0.002);
  use(setting, world);
  zelvik::ArticulatedSystem* gripper = world.addArticulatedSystem(kGripper, "/");
  gripper->setGeneralizedForce({20.0, 20.0});
  zelvik::Box* cube = world.addBox(0.05, 0.05, 0.05, 0.2);
  cube->setPosition({0, 0, 1});
  run(world, 10.0);
  return std::hypot(1.0 - cube->getComPosition()[2], cube->getComPosition()[1]);
}

/// How far the top of a tower of five boxes goes sideways in 10 s (m).
double creepOfStack(const Setting& setting) {
  zelvik::World world;
  world.setTimeStep(0.002);
  use(setting, world);
  world.addGround();
  zelvik::Box* top = nullptr;
  for (int i = 0; i < 5; ++i) {
    top = world.addBox(0.2, 0.2, 0.1, 1.0);
    top->setPosition(0.01 * (i % 2), 0.005 * i, 0.05 + 0.1 * i - 1e-5 * (i + 1));
  }
  const zelvik::Vec3 start = top->getComPosition();
  run(world, 10.0);
  const zelvik::Vec3 way = top->getComPosition() - start;
  return std::hypot(way[0], way[1]);
}

void creep() {
  std::puts("setting                              grasp, 10 s (mm)   tower, 10 s (mm)");
  for (const Setting& setting : kSettings)
    std::printf("%-36s %16.4f %18.4f\n", setting.name, 1e3 * slipOfGrasp(setting),
                1e3 * creepOfStack(setting));
}

// ---- heavy on light ----

/// How much of a box of 1 kg and 10 cm is left under a heavier one after 5 s (m).
double heightUnderLoad(double ratio, const Setting& setting) {
  zelvik::World world;
  world.setTimeStep(0.002);
  use(setting, world);
  world.addGround();
  world.addBox(0.1, 0.1, 0.1, 1.0)->setPosition({0, 0, 0.05});
  zelvik::Box* heavy = world.addBox(0.1, 0.1, 0.1, ratio);
  heavy->setPosition({0, 0, 0.15});
  run(world, 5.0);
  return heavy->getComPosition()[2] - 0.05;
}

/// Length after 5 s of a rope of ten balls of 100 g that carries a load; 1 m at rest (m).
double ropeUnderLoad(double load, const Setting& setting) {
  zelvik::World world;
  world.setTimeStep(0.002);
  use(setting, world);
  zelvik::Sphere* last = world.addSphere(0.01, 1.0);
  last->setBodyType(zelvik::BodyType::STATIC);
  last->setPosition({0, 0, 0});
  for (int i = 1; i <= 10; ++i) {
    zelvik::Sphere* next = world.addSphere(0.01, i < 10 ? 0.1 : load);
    next->setPosition(0.0, 0.0, -0.1 * i);
    world.addStiffWire(last, 0, {}, next, 0, {}, 0.1)->setStretchType(2);
    last = next;
  }
  run(world, 5.0);
  return -last->getComPosition()[2];
}

void heavyOnLight() {
  const Setting settings[] = {{"as it is", 150, 1e-8, false, 0.0},
                              {"warm start", 150, 1e-8, true, 0.0}};
  std::puts("Height of a box of 10 cm and 1 kg that carries another (cm), after 5 s");
  std::puts("setting          10 kg    100 kg   1000 kg");
  for (const Setting& s : settings)
    std::printf("%-12s %9.3f %9.3f %9.3f\n", s.name, 1e2 * heightUnderLoad(10.0, s),
                1e2 * heightUnderLoad(100.0, s), 1e2 * heightUnderLoad(1000.0, s));
  std::puts(
      "\nLength of a rope of 1 m of ten balls of 100 g, with a load at its end (m), after 5 s");
  std::puts("setting           1 kg     10 kg    100 kg");
  for (const Setting& s : settings)
    std::printf("%-12s %9.4f %9.4f %9.4f\n", s.name, ropeUnderLoad(1.0, s), ropeUnderLoad(10.0, s),
                ropeUnderLoad(100.0, s));
}

// ---- a robot that falls apart ----

/// An arm of three links; the parents that its two joints name.
std::string arm(const std::string& ofShoulder, const std::string& ofElbow) {
  const auto link = [](const std::string& name) {
    return "<link name=\"" + name +
           "\"><inertial><mass value=\"1\"/><inertia ixx=\"0.01\" iyy=\"0.01\" izz=\"0.01\" "
           "ixy=\"0\" ixz=\"0\" iyz=\"0\"/></inertial></link>";
  };
  const auto joint = [](const std::string& name, const std::string& parent,
                        const std::string& child) {
    return "<joint name=\"" + name + "\" type=\"revolute\"><parent link=\"" + parent +
           "\"/><child link=\"" + child + "\"/><axis xyz=\"0 1 0\"/></joint>";
  };
  return "<robot name=\"arm\">" + link("base") + link("upper") + link("lower") +
         joint("shoulder", ofShoulder, "upper") + joint("elbow", ofElbow, "lower") + "</robot>";
}

void typo() {
  std::puts("parents of shoulder and elbow   bodies   velocities   mass (kg)");
  const char* const parents[][2] = {{"base", "upper"}, {"base", "uper"}, {"bse", "upper"}};
  for (const auto& [shoulder, elbow] : parents) {
    zelvik::World world;
    zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(arm(shoulder, elbow), "/");
    std::printf("%-8s %-22s %6zu %12zu %11.1f\n", shoulder, elbow, robot->getBodyCount(),
                robot->getDOF(), robot->getCompositeMass()[0]);
  }
}

// ---- deep overlap ----

/// A ball that starts 5 cm inside of the ground: what is left of that after some seconds (m).
std::vector<double> overlaps(double erp) {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.setERP(erp, 0.0);
  world.addGround();
  zelvik::Sphere* ball = world.addSphere(0.1, 1.0);
  ball->setPosition({0, 0, 0.05});
  std::vector<double> left;
  for (const double seconds : {1.0, 2.0, 7.0}) {
    run(world, seconds);
    left.push_back(0.1 - ball->getComPosition()[2]);
  }
  return left;
}

void overlap() {
  std::puts("Overlap of a ball that starts 5 cm deep in the ground (cm)");
  std::puts("erp (1/s)     1 s       3 s      10 s");
  for (const double erp : {0.3, 3.0, 30.0}) {
    const std::vector<double> left = overlaps(erp);
    std::printf("%7.1f %9.3f %9.3f %9.3f\n", erp, 1e2 * left[0], 1e2 * left[1], 1e2 * left[2]);
  }
}

// ---- gains ----

const char* const kPendulum = R"(<robot name="pendulum"><link name="world"/><link name="mount"/>
  <joint name="fix" type="fixed"><parent link="world"/><child link="mount"/></joint>
  <link name="rod"><inertial><mass value="1"/><origin xyz="0 0 -0.1"/>
  <inertia ixx="0.001" iyy="0.001" izz="0.001" ixy="0" ixz="0" iyz="0"/></inertial></link>
  <joint name="hinge" type="revolute"><parent link="mount"/><child link="rod"/>
  <axis xyz="0 1 0"/></joint></robot>)";

/// Largest speed in 2 s of a rod of 0.011 kg m^2 that shall be at 0 and begins at 0.1 rad (rad/s).
double fastest(double stiffness, double damping, bool isOwnLaw) {
  zelvik::World world;
  world.setTimeStep(0.005);
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(kPendulum, "/");
  robot->setGeneralizedCoordinate({0.1});
  if (!isOwnLaw) {
    robot->setControlMode(zelvik::ArticulatedSystem::PD_PLUS_FEED_FORWARD);
    robot->setPGain({stiffness});
    robot->setDGain({damping});
    robot->setPTarget({0.0});
  }
  double speed = 0.0;
  for (int i = 0; i < 400 && speed < 1e6; ++i) {
    if (isOwnLaw)
      robot->setGeneralizedForce({-stiffness * robot->getGeneralizedCoordinate()[0] -
                                  damping * robot->getGeneralizedVelocity()[0]});
    world.integrate();
    speed = std::max(speed, std::fabs(robot->getGeneralizedVelocity()[0]));
  }
  return speed;
}

void gains() {
  std::puts("Largest speed (rad/s) of a rod of 0.011 kg m^2 that a PD law brings 0.1 rad back,");
  std::puts("time step 5 ms (a million: it has left)");
  std::puts("P (N m/rad)   D (N m s/rad)   own law   setPGain, setDGain");
  const double table[][2] = {{10, 0.2}, {100, 2}, {1000, 2}, {1000, 20}, {100000, 200}};
  for (const auto& [p, d] : table)
    std::printf("%11.0f %15.1f %9.2g %20.2g\n", p, d, fastest(p, d, true), fastest(p, d, false));
}

// ---- not a number ----

void notANumber() {
  // The library tells of such a value once; here its message comes without time and source.
  zelvik::ZelvikMsg::sink_ = [](auto, const char*, int, const std::string& text) {
    std::printf("%s\n", text.c_str());
  };
  zelvik::World world;
  world.addGround();
  zelvik::Box* good = world.addBox(0.1, 0.1, 0.1, 1.0);
  zelvik::Box* bad = world.addBox(0.1, 0.1, 0.1, 1.0);
  good->setPosition({0, 0, 0.05});
  bad->setPosition({0.5, 0, 0.05});
  zelvik::Box* upon = world.addBox(0.1, 0.1, 0.1, 1.0);
  upon->setPosition({0.5, 0, 0.15});
  int firstStep = 0;
  for (int i = 1; i <= 200 && firstStep == 0; ++i) {
    if (i == 100) bad->setExternalTorque(0, Eigen::Vector3d(0.0, std::sqrt(-1.0), 0.0));
    world.integrate();
    for (const zelvik::Object* object : world.getObjList()) {
      Eigen::Vector3d position;
      object->getPosition(0, position);
      if (!position.allFinite() && firstStep == 0) firstStep = i;
    }
  }
  std::printf(
      "set in step 100, seen after step %d; a box beside it is at %.3f m, one upon it at "
      "%.3f m\n",
      firstStep, good->getComPosition()[2], upon->getComPosition()[2]);
  zelvik::ZelvikMsg::sink_ = nullptr;
}

const struct {
  const char* name;
  void (*show)();
} kCases[] = {
    {"fall-through", fallThrough}, {"creep", creep}, {"heavy", heavyOnLight}, {"typo", typo},
    {"overlap", overlap},          {"gains", gains}, {"nan", notANumber}};

}  // namespace

int main(int argc, char** argv) {
  bool isKnown = argc < 2;
  for (const auto& each : kCases) {
    if (argc > 1 && std::strcmp(argv[1], each.name) != 0) continue;
    isKnown = true;
    std::printf("---- %s\n", each.name);
    each.show();
    std::puts("");
  }
  if (isKnown) return 0;
  std::printf("usage: troubles [case]; the cases are:");
  for (const auto& each : kCases) std::printf(" %s", each.name);
  std::puts("");
  return 1;
}
